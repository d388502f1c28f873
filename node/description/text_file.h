// A whole text file.
#pragma once

#include <string>

namespace ia::node {

// At most 16 MiB. Throws DescriptionError, naming the file and why.
std::string read_text_file(const std::string &file);

}  // namespace ia::node
