// The management process at work: the framework with its entities, kept in step
// with the engine, the machine's devices and the operator's settings.
#pragma once

#include "client/changes.h"
#include "management/agent_calls.h"
#include "management/engine_link.h"
#include "management/findings.h"
#include "management/kept_settings.h"
#include "management/port_bindings.h"
#include "node/description/description.h"
#include "node/framework/framework.h"
#include "node/kernel/links.h"
#include "platform/bll/configFile.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace ia {

// Threads: the owner's runs reload() and attend(); the notices may be given on
// any thread and only ask, through `wake`, that the owner calls attend(). The
// operator's requests come on the thread that serves them.
class Management {
public:
    using Clock = std::chrono::steady_clock;

    // The machine around it; a test has its own.
    struct Seams {
        std::string settings_copy;
        std::string journal;
        std::string messages;  // the socket of diagnostic commands; empty: none
        std::string calls;     // that of pppoeiactl's calls; likewise
        std::function<bool()> engine_is_there;
        std::function<std::set<std::string>()> devices;
        std::function<std::vector<node::Link>()> links;
        std::function<Clock::time_point()> now;
    };
    static Seams of_this_machine();

    // Starts, or waits for the engine to come. Throws std::runtime_error when
    // something else is in the way.
    Management(node::Description description, std::function<void()> wake,
               Seams seams = of_this_machine());
    ~Management();
    Management(const Management &) = delete;
    Management &operator=(const Management &) = delete;

    void engine_found();  // for the first time
    void engine_lost();
    void engine_returned();
    void devices_changed() { ask(devices_changed_); }

    // Reads the description again and announces what differs. One that does not
    // check is refused whole. The text says what changes, a line each, or what is
    // wrong; a dry run changes nothing. 0 or, when it was refused, 1.
    int reload(bool dry_run, std::string &text);

    // How the node is, in one line, when the engine, the devices or the description
    // have changed since the last call.
    std::optional<std::string> news();

    // What is not as it should be, the worst first. Any thread.
    std::vector<Finding> findings() const;

    // As last read.
    node::Description description() const;

    // Does what the notices ask for. True when the engine was configured anew.
    bool attend();

    // Whether the thread of remote calls is there; takes a tenth of a second.
    bool serves();

    // When attend() is to be called without a notice; nothing: not at all.
    std::optional<Clock::time_point> due() const;

private:
    Clock::time_point now() const { return seams_.now(); }
    void ask(std::atomic<bool> &notice);
    int made(const engine_call &call);
    void unanswered(const engine_call &call);
    void serve_operator();
    void catch_up();
    void follow_engine();
    void follow_devices();
    bool bridges_are_served() const;
    bool configure_is_due() const;
    void configure();
    void repair();
    void report(const std::string &trouble);
    void arrive(const node::Arrivals &arrivals);
    static void release(const std::string &bridge, std::uint32_t port);
    bool announce();
    bool make_all(const std::function<bool()> &changes);
    void follow_settings();
    void save_when_due();
    void keep_at_the_end();
    node::Description present() const;

    int save(std::string &text);
    int clear(std::string &text);
    int status(configFile::status_t &status);

    const std::function<void()> wake_;
    const Seams seams_;
    mutable std::mutex lock_;  // all below; taken before any lock of the framework
    AgentCalls calls_;
    node::Description description_;
    KeptSettings settings_;  // has a lock of its own, taken after the framework's
    node::Framework framework_;
    PortBindings bindings_;
    EngineLink link_;
    bool started_ = false;  // the framework
    std::set<std::string> devices_;
    bool announced_ = true;       // those devices
    std::string trouble_;         // of what was due, as last told
    std::string reload_problem_;  // of the last one; empty: it was applied
    bool refused_ = false;        // a change that the last announcement made
    std::uint32_t restores_ = 0;
    Clock::time_point configure_next_{};            // not before
    std::optional<Clock::time_point> devices_due_;  // to be looked at
    std::optional<Clock::time_point> repair_due_;
    std::optional<Clock::time_point> follow_due_;  // the copy of the settings
    std::optional<Clock::time_point> save_due_;
    Clock::time_point follow_next_{};
    Clock::time_point unsaved_since_{};

    std::mutex repairs_lock_;
    std::vector<SettingKey> repairs_;  // that the engine may hold otherwise than the store

    std::atomic<bool> engine_is_away_{true};  // as far as its notices have come
    std::atomic<bool> engine_found_{false};
    std::atomic<bool> engine_lost_{false};
    std::atomic<bool> engine_returned_{false};
    std::atomic<bool> devices_changed_{false};
    std::atomic<bool> look_due_{true};
    std::atomic<bool> settings_changed_{false};
    std::atomic<bool> not_recorded_{false};
    std::atomic<bool> repair_asked_{false};
};

}  // namespace ia
