// A store with the bridge "br0" of eight slots, as the management process
// keeps it. Port 1 is an Ethernet subscriber's, port 2 an ATM PVC, port 3
// faces the network; 4 to 7 are free.
#pragma once

#include "pppoeia/store.h"
#include "tests/support/captured_syslog.h"
#include "tests/support/scripted_node.h"

#include <gtest/gtest.h>
#include <cstdio>

namespace ia::test {

inline constexpr char bridge[] = "br0";

class Store : public testing::Test {
protected:
    void SetUp() override {
        reset_node();
        pppoeia_log_level = 6;
        clear_syslog();
        ASSERT_EQ(pppoeia_cache_init(), 0);
        ASSERT_EQ(pppoeia_cache_on_bridge_add(bridge, 8), 0);
        add(1, "sub1", "eth", 9);
        add(2, "pvc1", "atm", 3);
        add(3, "net0", "eth", 1);
    }
    void TearDown() override { pppoeia_log_level = 6; }

    static void add(std::uint32_t id, const char *device, const char *type, std::uint32_t kind) {
        pppoeia_port_info info{};
        std::snprintf(info.intf_type, sizeof info.intf_type, "%s", type);
        info.intf_kind = kind;
        info.parent_id = 40 + id;
        info.location.port = id;
        ASSERT_EQ(cache_pppoeia_port_add(bridge, id, device, device, &info), 0);
    }

    // One value through any of the number getters.
    template <class Getter, class... Key>
    static std::uint32_t number(Getter getter, Key... key) {
        std::uint32_t out = 0xDEAD;
        EXPECT_EQ(getter(bridge, key..., &out), 0);
        return out;
    }
    template <class Getter, class... Key>
    static std::string text(Getter getter, Key... key) {
        char out[PPPOEIA_FORMAT_SIZE] = "?";
        EXPECT_EQ(getter(bridge, key..., out), 0);
        return out;
    }
};

}  // namespace ia::test
