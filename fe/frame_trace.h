// Traces of one frame, level 7. Nothing is formatted that is not written.
#pragma once

#include "fe/frame.h"

// Hex dump of the frame, 16 bytes a line.
void pppoeia_dump_frame(const ia::Frame &frame, const char *prefix);

namespace ia {

void trace_received(const Frame &frame);
void trace_header(const Frame &frame);
void trace_tags(const Frame &frame);
void trace_forwarded(const Frame &frame);

}  // namespace ia
