// Unix socket addresses.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <cstring>
#include <optional>
#include <string_view>

namespace ia::node {

// None for an empty path, or one longer than an address holds.
inline std::optional<sockaddr_un> socket_address(std::string_view path) {
    sockaddr_un address{};
    if (path.empty() || path.size() >= sizeof address.sun_path) return std::nullopt;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());
    return address;
}

}  // namespace ia::node
