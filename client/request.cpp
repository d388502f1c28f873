#include "client/request.h"

#include "client/health.h"

#include <cstdio>

namespace ia {

request::request(std::uint32_t id, int params)
    : handle(ippcFuncDataNew(id, params), &ippcFuncDataDestroy),
      failure(handle ? CLIENT_OK : CLIENT_IPPC_FAILED) {}

void add_parameter(request &call, int code, int direction, void *address) {
    if (call.failure != CLIENT_OK) return;
    const int index = call.next_index++;
    if (!address) {
        std::printf(code == IPPC_TEXT ? "ippc: addparam_str: null pointer not supported: %d\n"
                                      : "ippc: addparam: null pointer not supported: %d\n",
                    index);
        std::fflush(stdout);  // seen when it happens, also through a pipe
        call.failure = CLIENT_NULL_ARGUMENT;
    } else if (ippcFuncDataAddFuncParam(call.handle.get(), index, code, direction, address) != 0) {
        call.failure = CLIENT_IPPC_FAILED;
    }
}

int ask_engine(request &call) {
    if (call.failure != CLIENT_OK) return call.failure;
    if (kvIppcCall(engine_path, call.handle.get()) != 0) {
        ++health.ippc_failures;
        return CLIENT_IPPC_FAILED;
    }
    return call.handle->result;
}

}  // namespace ia
