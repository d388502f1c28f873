// Failures of the kernel side, as exceptions.
#pragma once

#include <string>
#include <system_error>

namespace ia::node {

// `error`: an errno value; `what` names the device or the place.
[[noreturn]] inline void fail(int error, const std::string &what) {
    throw std::system_error(error, std::system_category(), what);
}

}  // namespace ia::node
