// Platform information and text forms. The addresses need a network namespace.
#include "node/linux/ncfm.h"
#include "platform/CKvUtil.h"
#include "platform/ncfm.h"
#include "platform/net_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <string_view>
#include <vector>

namespace ia::node::test {
namespace {

using ::testing::ElementsAre;

TEST(TextForms, AreTheNodes) {
    const std::uint8_t mac[] = {0x00, 0x1A, 0x2B, 0xC0, 0x0D, 0xFF};
    EXPECT_EQ("00:1A:2B:C0:0D:FF", CKvUtil::macToString(mac));
    EXPECT_EQ("0x88a8", CKvUtil::ethertypeToString(0x88A8));
    EXPECT_EQ("0x0006", CKvUtil::ethertypeToString(6));
}

class Information : public ::testing::Test {
protected:
    void SetUp() override {
        if (geteuid() != 0 || unshare(CLONE_NEWNET) != 0) {
            if (std::getenv("PPPOEIA_REQUIRE_ROOT_TESTS"))
                FAIL() << "needs root and network namespaces";
            GTEST_SKIP() << "needs root and network namespaces";
        }
        ASSERT_EQ(0, std::system("ip link add eth9 up type bridge;"
                                 "ip link property add dev eth9 altname mng0;"
                                 "ip addr add 192.0.2.7/24 dev eth9;"
                                 "ip link add mng1 up type bridge"));
        describe_node({});  // of this namespace
    }

    static int describe_and_get(const char *device, ncfm_ipv6 &block) {
        Description description;
        description.management_device = device;
        describe_node(description);
        return ncfmGetIpv6(&block);
    }

    static std::vector<int> address() {
        std::uint8_t mac[6];
        if (platform::net_device_address("mng0", mac) != 0) return {errno};
        return {std::begin(mac), std::end(mac)};
    }

    static void run(const char *commands) { ASSERT_EQ(0, std::system(commands)); }

    // The kernel's notice of a change takes its moment.
    static bool eventually(const std::function<bool()> &condition) {
        for (int i = 0; i < 1000 && !condition(); ++i) usleep(10000);
        return condition();
    }

    static ncfm_interface interface(const char *name) {
        ncfm_interface block{};
        std::string_view(name).copy(block.name, sizeof block.name);
        return block;
    }
};

TEST_F(Information, BoardPosition) {
    Description description;
    description.board = 13;
    describe_node(description);
    std::uint8_t position = 0;
    EXPECT_EQ(0, ncfmGetMyBoardPos(&position));
    EXPECT_EQ(13, position);
}

TEST_F(Information, Ipv4ByEitherName) {
    for (const char *name : {"mng0", "eth9"}) {
        ncfm_interface block = interface(name);
        EXPECT_EQ(0, ncfmGetInterface(&block)) << name;
        EXPECT_THAT(block.ipv4, ElementsAre(192, 0, 2, 7)) << name;
    }
    for (const char *name : {"mng1", "mng7", "", "tenletters"}) {  // none, absent, not a name
        ncfm_interface block = interface(name);
        EXPECT_NE(0, ncfmGetInterface(&block)) << name;
        EXPECT_THAT(block.ipv4, ElementsAre(0, 0, 0, 0)) << name;
    }
}

// What was read is kept, but never beyond a change.
TEST_F(Information, AddressesAreFollowed) {
    ncfm_interface block = interface("mng0");
    ASSERT_EQ(0, ncfmGetInterface(&block));
    const auto becomes = [&](std::uint8_t last) {
        return eventually([&] { return ncfmGetInterface(&block) == 0 && block.ipv4[3] == last; });
    };
    run("ip addr del 192.0.2.7/24 dev eth9; ip addr add 192.0.2.8/24 dev eth9");
    EXPECT_TRUE(becomes(8));
    run("ip link property del dev eth9 altname mng0");
    EXPECT_TRUE(eventually([&] { return ncfmGetInterface(&block) != 0; }));
    run("ip link property add dev mng1 altname mng0; ip addr add 192.0.2.9/24 dev mng1");
    EXPECT_TRUE(becomes(9));
}

// The agent asks for "mng0", whatever the node's management device is.
TEST_F(Information, MacOfTheDescribedDeviceIsFollowed) {
    run("ip link set eth9 address 02:00:00:00:00:09; ip link set mng1 address 02:00:00:00:00:01");
    EXPECT_TRUE(eventually([] { return address() == std::vector{2, 0, 0, 0, 0, 9}; }));
    Description description;
    description.management_device = "mng1";
    describe_node(description);
    EXPECT_THAT(address(), ElementsAre(2, 0, 0, 0, 0, 1));
    run("ip link set mng1 address 02:00:00:00:00:02");
    EXPECT_TRUE(eventually([] { return address() == std::vector{2, 0, 0, 0, 0, 2}; }));
    run("ip link set mng1 down; ip link set mng1 name mng2");
    EXPECT_TRUE(eventually([] { return address() == std::vector{ENODEV}; }));
    run("ip link set mng2 name mng1");
    EXPECT_TRUE(eventually([] { return address() == std::vector{2, 0, 0, 0, 0, 2}; }));
}

// A child that may do nothing but exit asks as each frame does.
TEST_F(Information, AKeptAddressCostsNoSystemCall) {
    const std::vector<int> first = address();
    ASSERT_EQ(6U, first.size());
    const pid_t child = fork();
    if (child == 0) {
        std::uint8_t mac[6];
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT);
        int answers = 0;
        for (int i = 0; i < 1000; ++i)
            answers += platform::net_device_address("mng0", mac) == 0 && mac[5] == first[5];
        syscall(SYS_exit, answers == 1000 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST_F(Information, FirstGlobalIpv6) {
    ncfm_ipv6 block{};
    EXPECT_EQ(0, describe_and_get("mng0", block));
    EXPECT_STREQ("", block.address);  // a link-local one at most
    if (std::system("ip -6 addr add 2001:db8::17/64 dev eth9 nodad") != 0)
        GTEST_SKIP() << "needs IPv6";
    EXPECT_EQ(0, describe_and_get("mng0", block));
    EXPECT_STREQ("2001:db8::17", block.address);
    EXPECT_NE(0, describe_and_get("mng7", block));
}

}  // namespace
}  // namespace ia::node::test
