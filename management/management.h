// The management process at work: the framework with its entities, kept in step
// with the engine, the machine's devices and the operator's settings.
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

// Threads: all that follows something runs on the loop's. The operator's requests
// come on the thread that serves them; they and the observer of changes ask the
// loop for what is to be done after them.
class Management {
public:
    using Clock = EventLoop::Clock;

    // The machine around it; a test has its own.
    struct Seams {
        std::string settings_copy;
        std::string journal;
        std::string messages;  // the socket of diagnostic commands; empty: none
        std::string calls;     // that of pppoeiactl's calls; likewise
        std::string engine;    // the engine's own
        std::function<std::set<std::string>()> devices;
        std::function<std::vector<node::Link>()> links;
    };
    static Seams of_this_machine();

    // Who is told, on the loop's thread.
    struct Listener {
        std::function<void()> configured;               // the engine was, also if not with all
        std::function<void(const std::string &)> news;  // how the node is, in one line
        std::function<void(const node::Description &)> reread;  // the description
    };

    // Starts; without an engine it serves calls and waits for it. Throws
    // std::runtime_error when something else is in the way.
    Management(EventLoop &loop, node::Description description, Seams seams = of_this_machine());
    ~Management();
    Management(const Management &) = delete;
    Management &operator=(const Management &) = delete;

    // From the next pass of the loop on.
    void tell(Listener listener) { listener_ = std::move(listener); }

    void devices_changed() { devices_task_.ask(); }  // any thread

    // Reads the description again and announces what differs. One that does not
    // check is refused whole. The text says what changes, a line each, or what is
    // wrong; a dry run changes nothing. 0 or, when it was refused, 1. Any thread.
    int reload(bool dry_run, std::string &text);

    // The same, to the end of all that follows from it. The loop's thread.
    void reload_now();

    // What is not as it should be, the worst first. Any thread.
    std::vector<Finding> findings() const;

    EngineLink::State link() const;  // any thread

    // Whether the thread of remote calls is there.
    bool serves();

private:
    // Changes and their outcome: management.cpp
    EventLoop::Act part(void (Management::*act)());
    void report(const std::string &trouble);
    int made(const EngineCall &call);
    void unanswered(const EngineCall &call);
    bool make_all(const std::function<bool()> &changes);
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
    mutable std::mutex lock_;  // all below; taken before any lock of the framework
    AgentCalls calls_;
    node::Description description_;
    KeptSettings settings_;  // has a lock of its own, taken after the framework's
    node::Framework framework_;
    PortBindings bindings_;
    EngineLink link_;
    bool started_ = false;  // the framework's entities
    std::set<std::string> devices_;
    bool announced_ = true;       // those devices
    std::string trouble_;         // of a part, as last told
    std::string reload_problem_;  // of the last one; empty: it was applied
    bool refused_ = false;        // a change that the last announcement made
    std::uint32_t restores_ = 0;
    Clock::time_point copy_next_{};  // not before
    Clock::time_point unsaved_since_{};

    std::mutex repairs_lock_;
    std::vector<SettingKey> repairs_;  // that the engine may hold otherwise than the store

    EventLoop::Task fail_task_;  // a change could not be put on record
    EventLoop::Task configure_task_;
    EventLoop::Task devices_task_;  // to be looked at
    EventLoop::Task repair_task_;
    EventLoop::Task copy_task_;  // of the settings
    EventLoop::Task save_task_;
    EventLoop::Task look_task_;  // at how the node is
    EventLoop::Task reread_task_;
    ServiceWatch engine_;
};

}  // namespace ia
