// The management process: keeps the framework with its entities in step with the
// engine, the machine's devices and the operator's settings.
#pragma once

#include "client/changes.h"
#include "management/agent_calls.h"
#include "management/engine_link.h"
#include "management/event_loop.h"
#include "management/findings.h"
#include "management/kept_settings.h"
#include "management/port_bindings.h"
#include "management/service_watch.h"
#include "node/description/description.h"
#include "node/framework/framework.h"
#include "node/kernel/links.h"
#include "platform/bll/configFile.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace ia {

// Threads: everything that reacts to events runs on the loop's thread. Operators'
// requests run on the thread that serves them; they and the observer of changes ask
// the loop for later work.
class Management {
public:
    using Clock = EventLoop::Clock;

    // The environment; a test supplies its own.
    struct Seams {
        std::string settings_copy;
        std::string journal;
        std::string messages;  // path of the diagnostic commands' socket; empty: none
        std::string calls;     // path of pppoeiactl's socket; empty: none
        std::string engine;    // path of the engine's socket
        std::function<std::set<std::string>()> devices;
        std::function<std::vector<node::Link>()> links;
    };
    static Seams of_this_machine();

    // Callbacks, on the loop's thread.
    struct Listener {
        std::function<void()> configured;  // the engine is configured, perhaps not completely
        std::function<void(const std::string &)> news;          // the node's health in one line
        std::function<void(const node::Description &)> reread;  // a new description is in force
    };

    // Starts. Without an engine it serves calls and waits for it. Throws
    // std::runtime_error for any other obstacle.
    Management(EventLoop &loop, node::Description description, Seams seams = of_this_machine());
    ~Management();
    Management(const Management &) = delete;
    Management &operator=(const Management &) = delete;

    // Takes effect with the loop's next pass.
    void tell(Listener listener) { listener_ = std::move(listener); }

    void devices_changed() { devices_task_.ask(); }  // any thread

    // Reads the description again and announces the differences; a faulty one is
    // refused whole. The text lists the changes or the faults, one a line; a dry
    // run changes nothing. 0, or 1 when refused. Any thread.
    int reload(bool dry_run, std::string &text);

    // The same, and completes the work that follows from it. On the loop's thread.
    void reload_now();

    // The node's findings, the most severe first. Any thread.
    std::vector<Finding> findings() const;

    EngineLink::State link() const;  // any thread

    // Whether the thread of remote calls exists.
    bool serves();

private:
    // Changes and their results: management.cpp
    EventLoop::Act part(void (Management::*act)());
    void report(const std::string &trouble);
    int made(const EngineCall &call);
    void unanswered(const EngineCall &call);
    bool run_changes(const std::function<bool()> &changes);
    void make_anew();
    void look();
    void tell_reread();

    // follow_engine.cpp
    void engine_came();
    void engine_went();
    void start_or_wait();
    void configure();
    void configure_when_due();
    void configure_if_wanted();
    bool announce_all();
    void repair();

    // follow_devices.cpp
    void follow_devices();
    bool bridges_are_served() const;
    bool announce();
    void arrive(const node::Arrivals &arrivals);
    node::Description present() const;

    // keep_settings.cpp
    void copy_settings();
    void save_when_due();
    void keep_at_the_end();

    // operator_requests.cpp
    void serve_operator();
    int save(std::string &text);
    int clear(std::string &text);
    int status(configFile::status_t &status);

    EventLoop &loop_;
    const Seams seams_;
    Listener listener_;
    mutable std::mutex lock_;  // guards all below; taken before any lock of the framework
    AgentCalls calls_;
    node::Description description_;
    KeptSettings settings_;  // has its own lock, taken after the framework's
    node::Framework framework_;
    PortBindings bindings_;
    EngineLink link_;
    bool started_ = false;  // the framework's entities
    std::set<std::string> devices_;
    bool announced_ = true;       // those devices
    std::string trouble_;         // of a part, as last logged
    std::string reload_problem_;  // of the last reload; empty: no problem
    bool refused_ = false;        // the last announcement had a refused change
    std::uint32_t restores_ = 0;
    Clock::time_point copy_next_{};  // the earliest time
    Clock::time_point unsaved_since_{};

    std::mutex repairs_lock_;
    std::vector<SettingKey> repairs_;  // settings in which engine and store may differ

    EventLoop::Task fail_task_;  // runs when a change could not be recorded
    EventLoop::Task configure_task_;
    EventLoop::Task devices_task_;  // to be looked at
    EventLoop::Task repair_task_;
    EventLoop::Task copy_task_;  // of the settings
    EventLoop::Task save_task_;
    EventLoop::Task look_task_;  // updates the node's findings
    EventLoop::Task reread_task_;
    ServiceWatch engine_;
};

}  // namespace ia
