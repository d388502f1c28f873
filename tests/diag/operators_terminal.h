// An operator's terminal, and with it a bridge "br0" with eight port slots.
#pragma once

#include "diag/test_data.h"
#include "pppoeia/pppoeia.h"
#include "tests/support/scripted_node.h"
#include "tests/support/terminal.h"

#include <gtest/gtest.h>
#include <string>

namespace ia::test {

class OperatorsTerminal : public testing::Test {
protected:
    static constexpr const char *br = "br0";

    void SetUp() override {
        reset_node();
        ASSERT_EQ(fe_pppoeia_init(), 0);
        ASSERT_EQ(fe_pppoeia_bridge_add(br, 8), 0);
        set_test_data({});
        test_debug = false;
    }
    void TearDown() override { fe_pppoeia_fini(); }

    const char *tty() const { return terminal_.path(); }
    std::string written() const { return terminal_.written(); }

private:
    const Terminal terminal_;
};

}  // namespace ia::test
