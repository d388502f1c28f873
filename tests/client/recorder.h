// A server that runs nothing: it keeps what it is sent and answers 1, which no
// client repeats in its own store.
#pragma once

#include "tests/support/datagrams.h"

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
    Bytes last_;  // written before the reply is sent, read after it was received
    std::thread thread_;
};

}  // namespace ia::test
