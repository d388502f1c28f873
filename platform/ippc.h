// The node's IPPC library: a numbered request from one process to another with its
// parameters; the reply has one integer result and the outputs.
//
// A handle belongs to one thread at a time; different handles may be used by
// different threads at once.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

// A parameter's type-size code: 0 for a terminated text, else the size of the
// block in bytes (at most 65535).
inline constexpr int IPPC_TEXT = 0;

enum ippcDirection : int {
    IPPC_INPUT = 0,   // sent
    IPPC_OUTPUT = 1,  // handed back
};

// A request, from ippcFuncDataNew to ippcFuncDataDestroy.
struct ippcFuncData {
    std::int32_t result;  // the reply's result slot, once kvIppcCall returned 0
};

// Prepares the library in this process. 0 on success.
int kvInitIppc();

// A request for a function with `count` parameters; null when it cannot be made.
ippcFuncData *ippcFuncDataNew(std::uint32_t id, int count);

// Adds the next parameter; `index` counts from 0. An input is copied. An output's
// memory must exist until the call returns: the block's size, or 64 bytes for a
// text. 0 on success.
int ippcFuncDataAddFuncParam(ippcFuncData *handle, int index, int type_size, int direction,
                             void *address);

// Sends the request to the server at a path and waits for the reply, 5 seconds
// at most. 0 when the function was run: the result is in its slot and, for a
// result of 0, the outputs are filled. Otherwise the outputs do not change.
int kvIppcCall(const char *path, ippcFuncData *handle);

// Releases the request and its reply; null is allowed.
void ippcFuncDataDestroy(ippcFuncData *handle);

#pragma GCC visibility pop
