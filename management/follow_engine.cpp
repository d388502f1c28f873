// Engine tracking of the management process: away, configuring, in force.
#include "client/request.h"
#include "management/agent_settings.h"
#include "management/log_error.h"
#include "management/management.h"
#include "management/own_changes.h"
#include "platform/bll/BLLManager.h"
#include "pppoeia/client.h"
#include "pppoeia/node.h"

#include <syslog.h>
#include <stdexcept>
#include <utility>

namespace ia {

using namespace std::chrono_literals;

namespace {

constexpr auto between_attempts = 1s;

}  // namespace

void Management::start_or_wait() {
    if (engine_.connected()) {
        link_.on(EngineLink::Event::found);
        configure();
        if (!started_ && engine_.connected())
            throw std::runtime_error("the management process did not start: see the system log");
    }
    if (started_) return;
    syslog(LOG_WARNING, "pppoeia-fe is not there: its configuration waits for it");
    if (!framework_.serve(description_))
        throw std::runtime_error("the management process did not start: see the system log");
}

void Management::engine_came() {
    link_.on(EngineLink::Event::found);
    bindings_.forget();  // the engine is a new process
    configure_task_.ask();
    look_task_.ask();
}

void Management::engine_went() {
    syslog(LOG_WARNING, "pppoeia-fe is gone: its frames are held until it is back");
    link_.on(EngineLink::Event::lost);
    configure_task_.cancel();
    look_task_.ask();
}

void Management::configure_when_due() {
    const auto begun = [this] { return std::pair(started_, restores_); };
    const auto before = begun();
    configure_if_wanted();
    if (begun() != before && listener_.configured) listener_.configured();
}

void Management::configure_if_wanted() {
    if (link_.state() == EngineLink::State::configuring) configure();
}

// Announces the whole description and all settings to an engine and a store that
// start empty. If the engine ends meanwhile, that is noticed after this function.
void Management::configure() {
    configure_task_.at(loop_.now() + between_attempts);  // stays in force if this throws
    devices_ = seams_.devices();
    const bool made = run_changes([this] { return announce_all(); });
    look_task_.ask();
    configure_task_.at(loop_.now() + between_attempts);
    if (!made || !bridges_are_served()) return;
    link_.on(EngineLink::Event::configured);
    configure_task_.cancel();
    announced_ = true;
    const std::lock_guard guard(repairs_lock_);
    repairs_.clear();
}

bool Management::announce_all() {
    for (const node::Bridge &bridge : description_.bridges)
        if (hold_frames(bridge.name.c_str(), 0) != 0) return false;
    if (!bindings_.tell(description_, true)) return false;
    if (!started_) return started_ = framework_.start(present());
    bool begun = false;
    const auto begin = [&] {
        begun = pppoeia_init() == 0;
        if (begun) ++restores_;  // without an engine nothing was restored
        return begun;
    };
    refused_ = !framework_.announce_anew(present(), begin) && begun;
    if (refused_) log_error("not all of the node could be announced to the engine");
    return begun;
}

// The engine may have run a call whose answer came too late: the store's value is
// made there again. An engine being configured gets everything anyway.
void Management::repair() {
    if (link_.state() != EngineLink::State::in_force) return;
    repair_task_.at(loop_.now() + between_attempts);
    const BLLManager::exclusiveLock_t alone;
    const OwnChanges own;
    if (!alone.owns_lock() || check_bridge(node::managed_bridge) == client_no_answer) return;
    std::vector<SettingKey> keys;
    {
        const std::lock_guard guard(repairs_lock_);
        keys = repairs_;
    }
    for (const SettingKey &key : keys) {
        repair_part(key);
        if (own.failed()) return;
    }
    const std::lock_guard guard(repairs_lock_);
    repairs_.clear();
    repair_task_.cancel();
    syslog(LOG_NOTICE, "%zu settings are as before in the engine, which had not answered in time",
           keys.size());
}

}  // namespace ia
