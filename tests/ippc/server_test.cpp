// A server's claim to its path, who may call it, and the caller's library.
#include "tests/ippc/echo_server.h"
#include "tests/support/raw_socket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <filesystem>
#include <fstream>

using namespace ia::test;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class Server : public testing::Test {
protected:
    TempDir dir_;
    const std::string path_ = dir_ / "main";

    std::string refusal() const {
        try {
            const EchoServer second(path_);
            return "";
        } catch (const std::exception &error) {
            return error.what();
        }
    }
};

TEST_F(Server, OnlyItsUserMayConnect) {
    const EchoServer server(path_);
    struct stat file {};
    ASSERT_EQ(stat(path_.c_str(), &file), 0);
    EXPECT_TRUE(S_ISSOCK(file.st_mode));
    EXPECT_EQ(file.st_mode & 0777U, 0600U);
}

TEST_F(Server, ASecondOneIsTurnedAway) {
    const EchoServer server(path_);
    EXPECT_EQ(refusal(), "ippc: another server is running at " + path_);
    EXPECT_EQ(echo(path_, 1), 2);  // the first goes on
}

TEST_F(Server, LeavesNothingAndCanComeBack) {
    { const EchoServer server(path_); }
    EXPECT_TRUE(std::filesystem::is_empty(dir_ / ""));
    const EchoServer server(path_);
    EXPECT_EQ(echo(path_, 1), 2);
}

TEST_F(Server, ReplacesTheFileOfADeadOne) {
    const pid_t child = fork();
    if (child == 0) {
        const EchoServer server(path_);
        _exit(0);  // without any clean-up
    }
    waitpid(child, nullptr, 0);
    ASSERT_TRUE(std::filesystem::exists(path_));
    const EchoServer server(path_);
    EXPECT_EQ(echo(path_, 1), 2);
}

TEST_F(Server, LeavesWhatIsNoSocketAlone) {
    std::ofstream(path_) << "precious";
    EXPECT_EQ(refusal(), "ippc: " + path_ + " is there and is not a socket");
    EXPECT_TRUE(std::filesystem::exists(path_));
}

TEST_F(Server, SaysWhichDirectoryIsMissing) {
    EXPECT_THAT([&] { const EchoServer server(dir_ / "none/main"); },
                testing::ThrowsMessage<std::runtime_error>(HasSubstr("none/main.lock: No such")));
}

TEST_F(Server, RefusesOtherUsers) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root, to become another user";
    EchoServer server(path_);
    std::filesystem::permissions(dir_ / "", std::filesystem::perms(0755));
    std::filesystem::permissions(path_, std::filesystem::perms(0666));
    constexpr uid_t nobody = 65534;
    const pid_t child = fork();
    if (child == 0) {
        if (setuid(nobody) != 0) _exit(2);
        const RawSocket socket(path_);
        _exit(socket.exchange(hex("0101 0000 01000000")).empty() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_THAT(server.warnings.all(), ElementsAre("ippc: refused a connection of process " +
                                                   std::to_string(child) + " of user 65534"));
}

// --- messages ------------------------------------------------------------------------

constexpr const char *refusal_bytes = "0103000000000000";

TEST_F(Server, AnswersEveryMessage) {
    EchoServer server(path_);
    const RawSocket socket(path_);
    const Bytes good = hex("0101 0100 01000000 0100 0000 01000000 29");
    EXPECT_EQ(to_hex(socket.exchange(good)), "010200002a000000");
    EXPECT_EQ(to_hex(socket.exchange(hex("01"))), refusal_bytes);
    EXPECT_EQ(to_hex(socket.exchange(hex("0901 0000 01000000"))), refusal_bytes);
    EXPECT_EQ(to_hex(socket.exchange(hex("0102 0000 01000000"))), refusal_bytes);
    EXPECT_EQ(to_hex(socket.exchange(hex("0101 0000 02000000"))), refusal_bytes);
    EXPECT_EQ(to_hex(socket.exchange(Bytes(65537, 1))), refusal_bytes);
    EXPECT_EQ(to_hex(socket.exchange(good)), "010200002a000000");
    EXPECT_EQ(server.calls, 2);
    EXPECT_THAT(server.warnings.all(),
                ElementsAre("ippc: refused a message: it is cut off in its head",
                            "ippc: refused a message: its version is 9, not 1",
                            "ippc: refused a message: it is not a request",
                            "ippc: refused a message: it is over 65536 bytes long"));
}

TEST_F(Server, SurvivesAFunctionThatThrows) {
    Warnings warnings;
    const ia::node::IppcServer server(
        path_, [](const auto &, auto &) -> bool { throw std::runtime_error("no luck"); },
        [&](const std::string &text) { warnings.add(text); });
    EXPECT_EQ(echo(path_, 1), -1);
    EXPECT_EQ(echo(path_, 1), -1);
    EXPECT_THAT(warnings.all(), ElementsAre("ippc: function 1 failed: no luck",
                                            "ippc: function 1 failed: no luck"));
}

// --- the caller's library ----------------------------------------------------------------

TEST(Caller, RefusesParametersOutOfPlace) {
    EXPECT_EQ(ippcFuncDataNew(1, 9), nullptr);
    EXPECT_EQ(ippcFuncDataNew(1, -1), nullptr);
    ippcFuncData *call = ippcFuncDataNew(1, 1);
    std::uint32_t number = 7;
    EXPECT_NE(ippcFuncDataAddFuncParam(call, 1, 4, IPPC_INPUT, &number), 0);
    EXPECT_NE(ippcFuncDataAddFuncParam(call, 0, -4, IPPC_INPUT, &number), 0);
    EXPECT_NE(ippcFuncDataAddFuncParam(call, 0, 0xFFFF, IPPC_OUTPUT, &number), 0);
    EXPECT_NE(ippcFuncDataAddFuncParam(call, 0, 4, 2, &number), 0);
    EXPECT_NE(ippcFuncDataAddFuncParam(call, 0, 4, IPPC_INPUT, nullptr), 0);
    EXPECT_NE(kvIppcCall("/nowhere", call), 0);  // a parameter is missing
    EXPECT_EQ(ippcFuncDataAddFuncParam(call, 0, 4, IPPC_INPUT, &number), 0);
    EXPECT_NE(ippcFuncDataAddFuncParam(call, 1, 4, IPPC_INPUT, &number), 0);
    EXPECT_NE(kvIppcCall("", call), 0);
    EXPECT_NE(kvIppcCall(std::string(200, 'p').c_str(), call), 0);
    ippcFuncDataDestroy(call);
    ippcFuncDataDestroy(nullptr);
}

// A reply that is not what the request asked for fills nothing.
TEST_F(Server, RepliesThatDoNotFitAreNoReplies) {
    ia::platform::IppcAnswer next;
    const ia::node::IppcServer server(
        path_,
        [&](const auto &, ia::platform::IppcAnswer &answer) {
            answer = next;
            return true;
        },
        [](const std::string &) {});
    const auto call = [&](int code, void *out) {
        ippcFuncData *handle = ippcFuncDataNew(1, 1);
        EXPECT_EQ(ippcFuncDataAddFuncParam(handle, 0, code, IPPC_OUTPUT, out), 0);
        const int result = kvIppcCall(path_.c_str(), handle);
        ippcFuncDataDestroy(handle);
        return result;
    };
    char text[64] = "before";
    EXPECT_NE(call(0, text), 0) << "an output is missing";
    next.outputs = 1;
    next.output[0] = {4, 4, {'a', 'b', 'c', 0}};
    EXPECT_NE(call(0, text), 0) << "a block for a text";
    EXPECT_NE(call(6, text), 0) << "a block of another size";
    next.output[0] = {0, 3, {'a', 'b', 'c'}};
    EXPECT_NE(call(0, text), 0) << "a text without its end";
    EXPECT_STREQ(text, "before");
    next.output[0] = {0, 4, {'a', 'b', 'c', 0}};
    EXPECT_EQ(call(0, text), 0);
    EXPECT_STREQ(text, "abc");
    next.result = -2;
    EXPECT_NE(call(0, text), 0) << "outputs of a refusal";
}

}  // namespace
