// The engine in a process of its own, on the scripted node, served at a path.
#pragma once

#include "client/request.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <sys/types.h>
#include <string>

namespace ia::test {

inline constexpr const char *br = "br0";  // the one bridge of the scripted node

class EngineProcess {
public:
    // Forks, so the caller has no other threads yet. Returns once it serves.
    explicit EngineProcess(const std::string &path);
    ~EngineProcess();  // ends it in good order
    EngineProcess(const EngineProcess &) = delete;
    EngineProcess &operator=(const EngineProcess &) = delete;

    // Runs a function in the engine's process and hands back what it says.
    using Look = std::string (*)();
    std::string look(Look what);

    void stop() const;  // it stands still until it goes on
    void go_on() const;
    void kill();  // at once, without any order

private:
    pid_t pid_ = 0;
    int control_ = -1;
};

// The client's engine is at a path of the test's own.
class EngineAt : public testing::Test {
protected:
    EngineAt() { engine_path = path_.c_str(); }

    const TempDir dir_;
    const std::string path_ = dir_ / "main";
};

}  // namespace ia::test
