// Messages over a real socket, good and bad.
#include "node/framework/external_messages.h"

#include "tests/support/raw_socket.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace {

using namespace ia::node;
using namespace std::string_literals;
using testing::HasSubstr;
using testing::ThrowsMessage;

class Messages : public testing::Test {
protected:
    void SetUp() override {
        if (geteuid() != 0) GTEST_SKIP() << "missing: root";
    }

    static std::string answer(const ExternalMessage &message) {
        return message.command + "(" + message.argument + ") for " + message.target + "\n";
    }

    const ia::test::TempDir directory;
    const std::string path = directory / "socket";
};

// What comes back for these bytes in one record.
std::string reply_to(const std::string &path, const std::string &record) {
    const ia::test::Bytes reply =
        ia::test::RawSocket(path).exchange({record.begin(), record.end()});
    return {reply.begin(), reply.end()};
}

TEST_F(Messages, AreDeliveredAndAnswered) {
    const ExternalMessages receiver(path, answer);
    EXPECT_EQ(send_external_message(path, {"pppoeiaDump", "", "/dev/pts/3"}),
              "ok\npppoeiaDump() for /dev/pts/3\n");
    EXPECT_EQ(send_external_message(path, {"pppoe_debug", "1", ""}), "ok\npppoe_debug(1) for \n");
    EXPECT_THROW(send_external_message(path, {"", "x", "y"}), std::invalid_argument);
}

TEST_F(Messages, BadRecordsAreRefused) {
    const ExternalMessages receiver(path, answer);
    const struct {
        const char *name;
        std::string record;
        const char *reply;
    } rows[] = {
        {"longest command", std::string(63, 'c') + "\0\0\0"s, "ok\n"},
        {"command too long", std::string(64, 'c') + "\0\0\0"s, "malformed"},
        {"longest message", "c\0"s + std::string(1020, 'a') + "\0\0"s, "ok\n"},
        {"message too long", "c\0"s + std::string(1021, 'a') + "\0\0"s, "longer than 1024"},
        {"no command", "\0a\0t\0"s, "malformed"},
        {"two texts", "c\0a\0"s, "malformed"},
        {"four texts", "c\0a\0t\0x\0"s, "malformed"},
        {"last text not ended", "c\0a\0t"s, "malformed"},
        {"empty", "", "malformed"},
    };
    for (const auto &row : rows)
        EXPECT_THAT(reply_to(path, row.record), HasSubstr(row.reply)) << row.name;
}

// Even when the file's mode would let others in.
TEST_F(Messages, OnlyRootIsHeard) {
    const ExternalMessages receiver(path, answer);
    struct stat file {};
    stat(path.c_str(), &file);
    EXPECT_EQ(file.st_mode & 0777, 0600U);
    chmod((directory / "").c_str(), 0755);
    chmod(path.c_str(), 0666);
    const pid_t child = fork();
    if (child == 0) {
        if (setgid(65534) != 0 || setuid(65534) != 0) _exit(2);
        _exit(reply_to(path, "c\0a\0t\0"s) == "error: only root may send messages\n" ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(Messages, SocketLeftBehindIsReplacedButNotOneInUse) {
    {
        const ExternalMessages receiver(path, answer);
        EXPECT_THAT([&] { ExternalMessages second(path, answer); },
                    ThrowsMessage<std::system_error>(HasSubstr(path)));
    }
    EXPECT_FALSE(std::filesystem::exists(path));

    const Descriptor abandoned(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    const sockaddr_un address = ia::test::unix_address(path);
    ASSERT_EQ(bind(abandoned.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address),
              0);
    EXPECT_NO_THROW(ExternalMessages(path, answer));

    std::ofstream(path) << "not a socket";
    EXPECT_THROW(ExternalMessages(path, answer), std::system_error);
    EXPECT_TRUE(std::filesystem::is_regular_file(path));
}

}  // namespace
