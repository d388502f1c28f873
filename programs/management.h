// The management process at work: the framework with its entities, kept in step
// with the engine, the machine's devices and the operator's settings.
#pragma once

#include "node/description/description.h"
#include "node/framework/framework.h"
#include "platform/bll/configFile.h"
#include "programs/agent_calls.h"
#include "programs/kept_settings.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace ia {

// Threads: the owner's runs reload() and attend(); the notices may be given on
// any thread and only ask, through `wake`, that the owner calls attend(). The
// operator's requests come on the thread that serves them.
class Management {
public:
    using Clock = std::chrono::steady_clock;

    // Starts; throws std::runtime_error when something does not.
    Management(node::Description description, std::function<void()> wake);
    ~Management();
    Management(const Management &) = delete;
    Management &operator=(const Management &) = delete;

    void engine_lost();
    void engine_returned();
    void devices_changed() { ask(devices_changed_); }

    // Reads the description again and announces what differs. One that does not
    // check is refused whole.
    void reload();

    // As last read.
    node::Description description() const;

    // Does what the notices ask for. True when the engine was configured anew.
    bool attend();

    // Whether the thread of remote calls is there; takes a tenth of a second.
    bool serves();

    // When attend() is to be called without a notice; nothing: not at all.
    std::optional<Clock::time_point> due() const;

private:
    void ask(std::atomic<bool> &notice);
    void serve_operator();
    void follow_devices();
    bool bridges_are_served() const;
    void restore();
    void catch_up();
    void report(const std::string &trouble);
    void arrive(const node::Arrivals &arrivals);
    void announce();
    bool make_all(const std::function<bool()> &changes);
    void follow_settings();
    void save_when_due();
    node::Description present() const;

    int save(std::string &text);
    int clear(std::string &text);
    int status(configFile::status_t &status);

    const std::function<void()> wake_;
    mutable std::mutex lock_;  // all below; taken before any lock of the framework
    AgentCalls calls_;
    node::Description description_;
    KeptSettings settings_;
    node::Framework framework_;
    std::set<std::string> devices_;
    bool announced_ = true;  // those devices
    std::string trouble_;    // of what was due, as last told
    bool intact_ = false;    // the store holds what the operators have set
    std::uint32_t restores_ = 0;
    std::optional<Clock::time_point> restore_due_;
    std::optional<Clock::time_point> devices_due_;  // to be looked at
    std::optional<Clock::time_point> follow_due_;   // the settings in force
    std::optional<Clock::time_point> save_due_;
    Clock::time_point follow_next_{};
    Clock::time_point unsaved_since_{};
    std::atomic<bool> engine_is_away_{false};  // as far as its notices have come
    std::atomic<bool> engine_returned_{false};
    std::atomic<bool> devices_changed_{false};
    std::atomic<bool> settings_changed_{false};
};

}  // namespace ia
