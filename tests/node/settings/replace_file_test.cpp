// Replacing a file: whole or not at all, whatever the disk refuses. A process that
// is killed while it does: tests/lab/saving_test.py.
#include "node/settings/settings_text.h"

#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

using ia::node::replace_file;

namespace {

std::string content(const std::string &file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class ReplaceFile : public testing::Test {
protected:
    const ia::test::TempDir dir;
    const std::string file = dir / "settings";
    const std::string before = std::string(20000, 'a');
    const std::string after = std::string(30000, 'b');
};

TEST_F(ReplaceFile, NewAndOverAnOldOne) {
    replace_file(file, before);
    EXPECT_EQ(content(file), before);
    replace_file(file, after);
    EXPECT_EQ(content(file), after);
    EXPECT_NE(access((file + ".new").c_str(), F_OK), 0);
}

TEST_F(ReplaceFile, ThroughALink) {
    const std::string link = dir / "link";
    replace_file(file, before);
    ASSERT_EQ(symlink(file.c_str(), link.c_str()), 0);
    replace_file(link, after);
    struct stat info {};
    EXPECT_EQ(lstat(link.c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    EXPECT_EQ(content(file), after);
}

TEST_F(ReplaceFile, PublishedForAllKeptAsTheUmaskHasIt) {
    const mode_t usual = umask(077);
    replace_file(file, before);
    struct stat kept {};
    EXPECT_EQ(stat(file.c_str(), &kept), 0);
    replace_file(file, after, ia::node::Purpose::publish);
    struct stat published {};
    EXPECT_EQ(stat(file.c_str(), &published), 0);
    umask(usual);
    EXPECT_EQ(kept.st_mode & 0777, 0600u);
    EXPECT_EQ(published.st_mode & 0777, 0644u);
    EXPECT_EQ(content(file), after);
}

TEST_F(ReplaceFile, FailuresNameTheFileAndChangeNothing) {
    try {
        replace_file(dir / "none/settings", after);
        ADD_FAILURE() << "a folder that is not there";
    } catch (const std::system_error &error) {
        EXPECT_NE(std::string(error.what()).find("none/settings.new: cannot be opened: No such"),
                  std::string::npos)
            << error.what();
    }
    replace_file(file, before);
    // A disk that takes half of it.
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit half{15000, 15000};
        setrlimit(RLIMIT_FSIZE, &half);
        try {
            replace_file(file, after);
        } catch (const std::system_error &error) {
            _exit(error.code().value() == EFBIG ? 0 : 2);
        }
        _exit(1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(content(file), before);
    EXPECT_NE(access((file + ".new").c_str(), F_OK), 0);
}

}  // namespace
