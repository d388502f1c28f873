#include "client/request.h"

#include "client/health.h"

#include <cstdio>

namespace ia {

Request::Request(std::uint32_t id, int params)
    : handle(ippcFuncDataNew(id, params), &ippcFuncDataDestroy),
      failure(handle ? client_ok : client_no_answer) {}

void add_parameter(Request &call, int code, int direction, void *address) {
    if (call.failure != client_ok) return;
    const int index = call.next_index++;
    if (!address) {
        std::printf(code == IPPC_TEXT ? "ippc: addparam_str: null pointer not supported: %d\n"
                                      : "ippc: addparam: null pointer not supported: %d\n",
                    index);
        std::fflush(stdout);  // visible at once, also through a pipe
        call.failure = client_null_argument;
    } else if (ippcFuncDataAddFuncParam(call.handle.get(), index, code, direction, address) != 0) {
        call.failure = client_no_answer;
    }
}

int ask_engine(Request &call) {
    if (call.failure != client_ok) return call.failure;
    if (kvIppcCall(engine_path, call.handle.get()) != 0) {
        ++health.ippc_failures;
        return client_no_answer;
    }
    return call.handle->result;
}

}  // namespace ia
