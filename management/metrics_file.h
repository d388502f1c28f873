// Metrics for a collector that reads files: the textfile folder of Prometheus'
// node exporter.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace ia {

// Writes on a thread of its own, so that a slow disk or engine delays nobody
// else. What it wrote is taken away at its end: old counters would look like a
// node where nothing happens.
class MetricsFile {
public:
    // `text` is called on that thread.
    explicit MetricsFile(std::function<std::string()> text);
    ~MetricsFile();
    MetricsFile(const MetricsFile &) = delete;
    MetricsFile &operator=(const MetricsFile &) = delete;

    // Where to write from now on, and how often. An empty name: nowhere.
    void use(const std::string &file, std::uint32_t seconds);

private:
    void run();
    void write(const std::string &file);
    void remove();

    const std::function<std::string()> text_;
    std::mutex lock_;  // of the next four
    std::condition_variable changed_;
    std::string file_;
    std::chrono::seconds interval_{};
    bool stopping_ = false;
    std::string written_;  // the rest is the thread's
    std::string problem_;
    std::thread thread_;
};

}  // namespace ia
