#include "management/metrics_file.h"

#include "node/settings/replace_file.h"

#include <syslog.h>
#include <unistd.h>
#include <system_error>
#include <utility>

namespace ia {

MetricsFile::MetricsFile(std::function<std::string()> text)
    : text_(std::move(text)), thread_([this] { run(); }) {}

MetricsFile::~MetricsFile() {
    {
        const std::lock_guard guard(lock_);
        stopping_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void MetricsFile::use(const std::string &file, std::uint32_t seconds) {
    {
        const std::lock_guard guard(lock_);
        file_ = file;
        interval_ = std::chrono::seconds(seconds);
    }
    changed_.notify_one();
}

void MetricsFile::run() {
    std::unique_lock guard(lock_);
    while (!stopping_) {
        const std::string file = file_;
        const std::chrono::seconds interval = interval_;
        const auto other = [&] { return stopping_ || file_ != file || interval_ != interval; };
        guard.unlock();
        if (file != written_) remove();
        if (!file.empty()) write(file);
        guard.lock();
        if (file.empty())
            changed_.wait(guard, other);
        else
            changed_.wait_for(guard, interval, other);
    }
    remove();
}

// Logs a problem once, until it changes.
void MetricsFile::write(const std::string &file) {
    std::string problem;
    try {
        node::replace_file(file, text_(), node::Purpose::publish);
        written_ = file;
    } catch (const std::system_error &error) {
        problem = error.what();
        if (problem != problem_) syslog(LOG_WARNING, "metrics: %s", problem.c_str());
    }
    problem_ = problem;
}

void MetricsFile::remove() {
    if (!written_.empty()) unlink(written_.c_str());
    written_.clear();
}

}  // namespace ia
