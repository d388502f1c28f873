// The Vendor-Specific tag with the access line's Circuit ID and Remote ID
// (RFC 2516 tag 0x0105 in the form of RFC 4679 and TR-101).
//
//   0     2     4               8   9        10
//   | 0105 | len | 00 00 0D E9 | 01 | c | Circuit ID | 02 | r | Remote ID |
#pragma once

#include "fe/discovery.h"
#include "fe/frame.h"

#include <optional>

namespace ia {

// The frame's own Vendor-Specific tag, and the position for ours.
struct TagPlace {
    std::optional<Tag> own;
    std::size_t at;
};

// Inserts the line's tag into a PADI or PADR, replacing the frame's own. A frame
// that would exceed the maximum PDU becomes an error reply.
Outcome mark(Frame &frame, const TagPlace &place, FrameIds &ids);

// Removes the tag from a PADO or PADS if the bridge's mode says so.
Outcome remove_vendor_tag(Frame &frame, const Tag &tag);

}  // namespace ia
