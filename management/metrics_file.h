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

// Writes on a thread of its own, so that a slow disk or engine delays nothing else.
// The destructor removes the file: old counters would look like an idle node.
class MetricsFile {
public:
    // `text` is called on that thread.
    explicit MetricsFile(std::function<std::string()> text);
    ~MetricsFile();
    MetricsFile(const MetricsFile &) = delete;
    MetricsFile &operator=(const MetricsFile &) = delete;

    // Sets path and interval from now on. An empty path: no file.
    void use(const std::string &file, std::uint32_t seconds);

private:
    void run();
    void write(const std::string &file);
    void remove();

    const std::function<std::string()> text_;
    std::mutex lock_;  // guards the next four
    std::condition_variable changed_;
    std::string file_;
    std::chrono::seconds interval_{};
    bool stopping_ = false;
    std::string written_;  // this and the rest belong to the thread
    std::string problem_;
    std::thread thread_;
};

}  // namespace ia
