// Messages that no client library sends, to a running engine, while a client
// goes on working.
#include "client/request.h"
#include "pppoeia/pppoeia.h"
#include "tests/client/engine_process.h"
#include "tests/client/operation_rows.h"
#include "tests/support/raw_socket.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <random>
#include <thread>

using namespace ia::test;

namespace {

// One of the ways to spoil a good request; never another good one.
Bytes spoil(Bytes bytes, std::mt19937 &random) {
    const auto below = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    const auto change = [&](std::size_t at) {
        bytes[at] = static_cast<std::uint8_t>(bytes[at] + 1 + below(255));
    };
    constexpr std::size_t id = 4;     // its two upper bytes are zeros
    constexpr std::size_t param = 8;  // code, direction, length
    const bool has_params = bytes.size() > param;
    switch (below(has_params ? 5 : 4)) {
        case 0: bytes.resize(1 + below(bytes.size() - 1)); break;
        case 1: bytes.resize(bytes.size() + 1 + below(300)); break;
        case 2: change(below(id)); break;  // version, kind, count
        case 3: change(id + 2 + below(2)); break;
        default: change(param + below(8)); break;
    }
    return bytes;
}

TEST(Malformed, AThousandMessagesDisturbNobody) {
    const TempDir dir;
    const std::string path = dir / "main";
    ia::engine_path = path.c_str();
    EngineProcess engine(path);
    const pppoeia_port_info info{};
    ASSERT_EQ(pppoeia_init(), 0);
    ASSERT_EQ(pppoeia_bridge_add(br, 8), 0);
    ASSERT_EQ(pppoeia_port_add(br, 1, "dev1", "1/1/1", &info), 0);

    std::atomic<bool> done{false};
    std::thread working([&] {
        for (int state = 0; !done; ++state) {
            std::uint32_t stored = 0;
            EXPECT_EQ(pppoeia_port_state_set(br, 1, state), 0);
            EXPECT_EQ(pppoeia_port_state_get(br, 1, &stored), 0);
            EXPECT_EQ(stored, static_cast<std::uint32_t>(state));
        }
    });
    const RawSocket socket(path);
    std::mt19937 random(20240607);
    int refused = 0;
    for (std::size_t i = 0; i < 1000; ++i) {
        const OperationRow &row = operation_rows()[i % operation_rows().size()];
        const Bytes reply = socket.exchange(spoil(request(row.id, row.params), random));
        EXPECT_EQ(to_hex(reply), "0103000000000000") << "operation " << int{row.id};
        refused += !reply.empty();
    }
    done = true;
    working.join();
    EXPECT_EQ(refused, 1000);
    EXPECT_EQ(engine.look([] {
        char vendor[PPPOEIA_VENDOR_SIZE] = "";
        pppoeia_bridge_vendor_get(br, vendor);
        return std::string(vendor);
    }),
              "KORVALEN");
}

}  // namespace
