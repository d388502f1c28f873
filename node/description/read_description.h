// Reads the node description. docs/node-description.md describes the file.
#pragma once

#include "node/description/description.h"

#include <stdexcept>
#include <string>

#pragma GCC visibility push(default)

namespace ia::node {

// All errors of a description, one a line, in the file's order: "FILE:LINE: error,
// expected ...".
class DescriptionError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads and checks the whole file (at most 16 MiB). Interfaces and VLANs that name
// no bridge get the first one. Throws DescriptionError.
Description read_description(const std::string &file);

}  // namespace ia::node

#pragma GCC visibility pop
