// The node's kernel modules: `kvmng` creates and deletes pseudo devices, `kvbridge`
// bridges and hands filtered frames to a pseudo device.
//
// Both are controlled by requests on control files. On a node with the modules the
// three functions are system calls; on other nodes the platform library implements
// them. The choice is made at link time.
#pragma once

#include "platform/wire_integers.h"

#include <cstddef>
#include <cstdint>

inline constexpr char KVMNG_CONFIG_PATH[] = "/proc/net/mng/config";
inline constexpr char KVBRIDGE_CONFIG_PATH[] = "/proc/net/kvbridge/config";
inline constexpr char KVBRIDGE_BRIDGE_PATH_FORMAT[] = "/proc/net/kvbridge/%s/%s";  // bridge, file
inline constexpr char KVBRIDGE_BRIDGE_FILE[] = "bridge";

inline constexpr int KVMNG_VERSION = 3;
inline constexpr int KVBRIDGE_VERSION = 56;

inline constexpr unsigned long KVMNG_IOC_PSEUDO_ADD = 0x40046D00;        // char *: device name
inline constexpr unsigned long KVMNG_IOC_PSEUDO_DEL = 0x40046D01;        // char *: device name
inline constexpr unsigned long KVMNG_IOC_GET_VERSION = 0x80046D02;       // int32 *: version
inline constexpr unsigned long KVBRIDGE_IOC_FILTER_ATTACH = 0x40047AC8;  // kvbridge_filter_req *
inline constexpr unsigned long KVBRIDGE_IOC_GET_VERSION = 0x80047A05;    // int32 *: version
inline constexpr unsigned long KVBRIDGE_IOC_GET_INFO = 0x80047A06;       // kvbridge_bridge_info *

struct kvbridge_bridge_info {
    std::uint8_t unused1[4];
    std::uint16_t stag_ethertype;  // host byte order
    std::uint8_t unused2[2];
};
static_assert(sizeof(kvbridge_bridge_info) == 8);
static_assert(offsetof(kvbridge_bridge_info, stag_ethertype) == 4);

struct kvbridge_filter_req {
    char filter[17];  // "pppoe"
    char device[17];  // receives the filtered frames
};
static_assert(sizeof(kvbridge_filter_req) == 34);

// The record in front of every frame read from or written to a pseudo device.
// Fields without a name belong to kvbridge and pass through unchanged.
//
//   0      4      6      8          48     52     54         74       90       106 107
//   | .... | vlan | cvlan | ....    | len  | port | ....     | in dev | out dev | . | frame ...
struct kvbridge_frame_hdr {
    std::uint8_t kernel1[4];
    ia::Be16 vlan;   // low 12 bits: the VLAN id
    ia::Be16 cvlan;  // low 12 bits: the customer VLAN id; 0x0FFF when there is none
    std::uint8_t kernel2[40];
    ia::Unaligned<std::uint32_t> total_length;  // record and frame, bytes
    ia::Unaligned<std::uint16_t> input_port;    // 1-based bridge port
    std::uint8_t kernel3[20];
    char input_device[16];
    char output_device[16];
    std::uint8_t kernel4[1];
};
static_assert(sizeof(kvbridge_frame_hdr) == 107 && alignof(kvbridge_frame_hdr) == 1);
static_assert(offsetof(kvbridge_frame_hdr, vlan) == 4);
static_assert(offsetof(kvbridge_frame_hdr, cvlan) == 6);
static_assert(offsetof(kvbridge_frame_hdr, total_length) == 48);
static_assert(offsetof(kvbridge_frame_hdr, input_port) == 52);
static_assert(offsetof(kvbridge_frame_hdr, input_device) == 74);
static_assert(offsetof(kvbridge_frame_hdr, output_device) == 90);

inline constexpr std::uint16_t KVBRIDGE_NO_CVLAN = 0x0FFF;

namespace ia::platform {

// Opens a control file. Returns a handle, or -1 with errno set.
int control_open(const char *path);

// Makes one request on an open control file. Returns 0, or -1 with errno set.
int control_request(int handle, unsigned long request, void *argument);

void control_close(int handle);

}  // namespace ia::platform
