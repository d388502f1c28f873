// Replacing a file: whole or not at all, whatever the disk refuses. A process that
// is killed while it does: tests/lab/saving_test.py.
#include "node/settings/replace_file.h"

#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <system_error>
#include <utility>

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

    // Of all in the folder.
    std::string names() const {
        std::set<std::string> sorted;
        for (const auto &entry : std::filesystem::directory_iterator(dir / ""))
            sorted.insert(entry.path().filename());
        std::string all;
        for (const std::string &name : sorted) all += name + ' ';
        return all;
    }

    const std::string before = std::string(20000, 'a');
    const std::string after = std::string(30000, 'b');
};

TEST_F(ReplaceFile, NewAndOverAnOldOne) {
    replace_file(file, before);
    EXPECT_EQ(content(file), before);
    replace_file(file, after);
    EXPECT_EQ(content(file), after);
    EXPECT_EQ(names(), "settings ");
}

// The data is on the disk before the name, and the name before the answer.
TEST_F(ReplaceFile, FileAndFolderAreSynced) {
    const auto usual = ia::node::disk_calls;
    static std::string calls;
    calls.clear();
    ia::node::disk_calls = {[](int number) {
                                struct stat info {};
                                fstat(number, &info);
                                calls += S_ISDIR(info.st_mode) ? "folder " : "file ";
                                return 0;
                            },
                            [](int from_folder, const char *from, int to_folder, const char *to) {
                                calls += "rename ";
                                return renameat(from_folder, from, to_folder, to);
                            }};
    replace_file(file, before);
    EXPECT_EQ(std::exchange(calls, ""), "file rename folder ");
    replace_file(file, after, ia::node::Purpose::publish);
    EXPECT_EQ(calls, "rename ");
    ia::node::disk_calls = usual;
}

// Whoever may write in the folder cannot direct it elsewhere.
TEST_F(ReplaceFile, PlantedFilesAreNotFollowed) {
    const std::string victim = dir / "victim", target = dir / "target";
    const auto refused = [&] {
        try {
            replace_file(target, after);
            return std::string();
        } catch (const std::system_error &error) {
            return std::string(error.what()).substr(target.size());
        }
    };
    replace_file(victim, before);
    ASSERT_EQ(symlink(victim.c_str(), target.c_str()), 0);
    ASSERT_EQ(symlink(victim.c_str(), (target + ".new").c_str()), 0);
    EXPECT_EQ(refused().find(": is a symbolic link, expected a regular file or none"), 0U);
    unlink(target.c_str());
    ASSERT_EQ(mkfifo(target.c_str(), 0600), 0);
    EXPECT_EQ(refused().find(": is not a regular file"), 0U);
    unlink(target.c_str());
    EXPECT_EQ(refused(), "");
    EXPECT_EQ(content(target), after);
    EXPECT_EQ(content(victim), before);
}

TEST_F(ReplaceFile, RestsOfAKilledProcessAreRemoved) {
    replace_file(dir / ".settings.0123456789abcdef.new", before);
    replace_file(dir / ".settings.toml.0123456789abcdef.new2", before);
    replace_file(file, before);
    ia::node::remove_unfinished(file);
    EXPECT_EQ(names(), ".settings.toml.0123456789abcdef.new2 settings ");
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
        EXPECT_NE(std::string(error.what()).find("none/settings: cannot be opened: No such"),
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
    EXPECT_EQ(names(), "settings ");
}

}  // namespace
