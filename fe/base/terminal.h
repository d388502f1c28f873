// Reports on an operator's terminal.
#pragma once

#include <sstream>
#include <string>

// Writes the stream's text in one write to the terminal device at `path`; an
// empty path writes nothing. Failures are recorded in syslog, whatever the log
// level. Any thread.
void pppoeia_send_stream_to_tty(const std::ostringstream &text, const std::string &path);
