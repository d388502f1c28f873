// The node's platform information calls. Each returns 0 on success.
#pragma once

#include <cstddef>
#include <cstdint>

struct ncfm_interface {
    std::uint8_t ipv4[4];  // out: network byte order
    std::uint8_t unused[8];
    char name[10];  // in: interface name, at most 9 characters
    std::uint8_t unused2[2];
};
static_assert(offsetof(ncfm_interface, name) == 12);

struct ncfm_ipv6 {
    char address[46];  // out: text, empty when there is none
    std::uint8_t unused[2158];
};
static_assert(sizeof(ncfm_ipv6) == 2204);

// This board's position in the node.
int ncfmGetMyBoardPos(std::uint8_t *position);

// The node's IPv6 address; the block comes zero-filled.
int ncfmGetIpv6(ncfm_ipv6 *block);

// The IPv4 address of the interface named in the block.
int ncfmGetInterface(ncfm_interface *block);
