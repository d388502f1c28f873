// Sets a port's Remote ID again and again, as an operator's program would, and
// prints each answer that reports success.
//
//   promise_caller PORT FROM COUNT [KILL]
//
// Sets "line-PORT-N" for N from FROM on. Prints "try N" before each call and "kept
// N" after an answer of 0. A call without an answer is not repeated: the next
// number follows on a new connection. With KILL, a process id, it kills that
// process after the first answer of 0 and exits.
#include "rpc/pppoeia.h"

#include <poll.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

struct Close {
    void operator()(CLIENT *client) const { clnt_destroy(client); }
};
using Client = std::unique_ptr<CLIENT, Close>;

Client connect_to_agent() {
    for (;; poll(nullptr, 0, 20)) {
        Client client(clnt_create("127.0.0.1", RPC_PPPOEIA, RPC_PPPOEIA_V1, "tcp"));
        if (client) return client;
    }
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 4) return 2;
    const auto port = static_cast<u_int>(std::atoi(argv[1]));
    const int begin = std::atoi(argv[2]), count = std::atoi(argv[3]);
    const int victim = argc > 4 ? std::atoi(argv[4]) : 0;
    std::signal(SIGPIPE, SIG_IGN);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Client client = connect_to_agent();
    for (int number = begin; number < begin + count; ++number) {
        std::string text = "line-" + std::to_string(port) + "-" + std::to_string(number);
        std::printf("try %d\n", number);
        const rpcPppoeiaResult *result =
            rpc_pppoeia_set_remoteid_1(port, text.data(), client.get());
        const bool kept = result && *result == 0;
        if (kept && victim) kill(victim, SIGKILL);
        if (kept) std::printf("kept %d\n", number);
        if (kept && victim) return 0;
        if (!result) client = connect_to_agent();
    }
    return 0;
}
