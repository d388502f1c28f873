// Reads the node description. What the file may hold: docs/node-description.md.
#pragma once

#include "node/description/description.h"

#include <stdexcept>
#include <string>

#pragma GCC visibility push(default)

namespace ia::node {

// Everything that is wrong with a description, one line a problem, in the
// file's order: "FILE:LINE: what is wrong, expected what".
class DescriptionError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads and checks the whole file (at most 16 MiB). Interfaces and VLANs that
// name no bridge come back on the first one. Throws DescriptionError.
Description read_description(const std::string &file);

}  // namespace ia::node

#pragma GCC visibility pop
