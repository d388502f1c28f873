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

// The frame's own Vendor-Specific tag, and where one of ours goes.
struct TagPlace {
    std::optional<Tag> own;
    std::size_t at;
};

// Puts the line's tag into a PADI or PADR, in place of the frame's own if it
// has one. A frame that would outgrow the maximum PDU becomes an error reply.
Outcome mark(Frame &frame, const TagPlace &place, FrameIds &ids);

// Takes the tag out of a PADO or PADS, if the bridge is to remove it.
Outcome remove_vendor_tag(Frame &frame, const Tag &tag);

}  // namespace ia
