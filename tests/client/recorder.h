// A server that runs nothing: it keeps what it is sent and answers 1, which no
// client repeats in its own store.
#pragma once

#include "tests/support/datagrams.h"

#include <mutex>
#include <string>
#include <thread>

namespace ia::test {

class Recorder {
public:
    explicit Recorder(const std::string &path);
    ~Recorder();
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;

    // The last request; the caller's call has returned.
    Bytes take();

private:
    void run();

    int listener_;
    int stop_;
    std::mutex lock_;  // of the last request
    Bytes last_;
    std::thread thread_;
};

}  // namespace ia::test
