// Any bytes as a request to a running engine. Every request that is run gets an
// answer that fits the channel. corpus/ippc_dispatch.tar.xz has a request of every
// operation.
#include "client/dispatch/dispatch.h"
#include "fuzz/check.h"
#include "node/ippc/message.h"
#include "pppoeia/pppoeia.h"
#include "tests/support/scripted_node.h"

#include <cstdint>
#include <sstream>
#include <string>

// Replaces the engine's function: a path that the fuzzer invents as terminal must
// not be written.
void pppoeia_send_stream_to_tty(const std::ostringstream &text, const std::string &) {
    MUST(text.str().size() < 100'000'000);
}

namespace {

void start_engine() {
    const pppoeia_port_info info{1, "eth", 9, {}};
    fe_pppoeia_init();
    fe_pppoeia_bridge_add("br0", 8);
    cache_pppoeia_port_add("br0", 1, "dev1", "1/1/1", &info);
}

bool started() {
    char vendor[PPPOEIA_VENDOR_SIZE];
    return cache_pppoeia_bridge_vendor_get("br0", vendor) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    ia::test::reset_node();
    cache_pppoeia_log_level_set(-1);
    start_engine();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    ia::node::Message message;
    if (ia::node::read_message({data, size}, message)) return 0;
    ia::platform::IppcAnswer answer;
    if (!ia::dispatch({message.word, message.params()}, answer)) return 0;

    MUST(answer.outputs <= answer.output.size());
    for (std::size_t i = 0; i < answer.outputs; ++i)
        MUST(answer.output[i].size <= answer.output[i].bytes.size());
    cache_pppoeia_log_level_set(-1);
    if (!started()) start_engine();
    return 0;
}
