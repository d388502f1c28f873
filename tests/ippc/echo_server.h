// A server whose function 1 answers with its first parameter's number plus one
// and counts how often it ran.
#pragma once

#include "node/ippc/ippc_server.h"
#include "platform/ippc.h"
#include "tests/support/temp_dir.h"

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace ia::test {

struct Warnings {
    std::mutex lock;
    std::vector<std::string> texts;

    void add(const std::string &text) {
        const std::scoped_lock guard(lock);
        texts.push_back(text);
    }
    std::vector<std::string> all() {
        const std::scoped_lock guard(lock);
        return texts;
    }
};

struct EchoServer {
    explicit EchoServer(const std::string &at)
        : path(at),
          server(
              at,
              [this](const platform::IppcRequest &request, platform::IppcAnswer &answer) {
                  if (request.function != 1 || request.params.size() != 1) return false;
                  ++calls;
                  answer.result = request.params[0].bytes[0] + 1;
                  return true;
              },
              [this](const std::string &text) { warnings.add(text); }) {}

    std::string path;
    std::atomic<int> calls{0};
    Warnings warnings;
    node::IppcServer server;  // the last: its thread uses the others
};

// One call of function 1; -1 when it fails.
inline int echo(const std::string &path, std::uint8_t number) {
    ippcFuncData *call = ippcFuncDataNew(1, 1);
    int result = -1;
    if (ippcFuncDataAddFuncParam(call, 0, 1, IPPC_INPUT, &number) == 0 &&
        kvIppcCall(path.c_str(), call) == 0)
        result = call->result;
    ippcFuncDataDestroy(call);
    return result;
}

}  // namespace ia::test
