#include "management/management.h"

#include "client/request.h"
#include "management/device_watch.h"
#include "management/log_error.h"
#include "management/own_changes.h"
#include "management/port_mapper_watch.h"
#include "node/linux/run_folder.h"
#include "node/linux/sockets.h"
#include "pppoeia/client.h"
#include "pppoeia/node.h"

#include <sys/socket.h>
#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>

namespace ia {

Management::Seams Management::of_this_machine() {
    make_run_folder();
    return {.settings_copy = served_path(settings_copy_file),
            .journal = std::string(run_folder) + "/mgmt.journal",
            .messages = served_path(message_socket),
            .calls = rpc_socket,
            .engine = engine_socket,
            .devices = present_devices,
            .links = node::list_links};
}

Management::Management(EventLoop &loop, node::Description description, Seams seams)
    : loop_(loop),
      seams_(std::move(seams)),
      calls_([this](const node::Arrivals &arrivals) { arrive(arrivals); }),
      description_(std::move(description)),
      settings_(seams_.settings_copy, seams_.journal),
      framework_(calls_, seams_.messages, seams_.calls),
      devices_(seams_.devices()),
      fail_task_(loop, part(&Management::make_anew)),
      configure_task_(loop, part(&Management::configure_when_due)),
      devices_task_(loop, part(&Management::follow_devices)),
      repair_task_(loop, part(&Management::repair)),
      copy_task_(loop, part(&Management::copy_settings)),
      save_task_(loop, part(&Management::save_when_due)),
      look_task_(loop, [this] { look(); }),
      reread_task_(loop, part(&Management::tell_reread)),
      engine_(loop, seams_.engine, SOCK_SEQPACKET,
              {part(&Management::engine_came), part(&Management::engine_went)}) {
    settings_.use_file(description_.settings_file);
    settings_.load();
    serve_operator();
    observer.made = [this](const EngineCall &call) { return made(call); };
    observer.unanswered = [this](const EngineCall &call) { unanswered(call); };
    const std::lock_guard guard(lock_);
    start_or_wait();
    devices_changed();  // since the list was made
    copy_task_.ask();
    look_task_.ask();
}

Management::~Management() {
    configFile &requests = configFile::instance();
    framework_.stop();  // after this no request is served
    requests.save = requests.clear = requests.show = requests.diff = {};
    requests.described = {};
    requests.status = {};
    requests.reload = {};
    requests.health = {};
    observer = {};
    if (std::uncaught_exceptions() > 0)
        return;  // failed start: the copy is left for the next process
    keep_at_the_end();
    settings_.remove_copy();
}

// Runs a part of the work; when it fails, for want of descriptors, memory or disk
// space, its task has a time for the next attempt.
EventLoop::Act Management::part(void (Management::*act)()) {
    return [this, act] {
        const std::lock_guard guard(lock_);
        try {
            (this->*act)();
        } catch (const std::exception &error) {
            report(error.what());
        }
    };
}

// Reports a repeated failure only once.
void Management::report(const std::string &trouble) {
    if (trouble != trouble_ && !trouble.empty()) log_error(trouble);
    trouble_ = trouble;
}

// Runs under the framework's exclusive lock before the call is answered. A change
// that cannot be recorded is answered as failed and taken back: everything is
// configured again without it.
int Management::made(const EngineCall &call) {
    if (OwnChanges::current()) return 0;
    const auto key = key_of(call);
    if (!key) return 0;
    const bool recorded = settings_.changed(*key);
    (recorded ? copy_task_ : fail_task_).ask();
    return recorded ? 0 : -EIO;
}

void Management::unanswered(const EngineCall &call) {
    if (OwnChanges *own = OwnChanges::current()) return own->fail();
    const auto key = key_of(call);
    if (!key) return;
    {
        const std::lock_guard guard(repairs_lock_);
        if (std::ranges::find(repairs_, *key) == repairs_.end()) repairs_.push_back(*key);
    }
    repair_task_.ask();
}

// Runs the changes. If one fails, or the engine leaves a call unanswered, the whole
// configuration is made again.
bool Management::run_changes(const std::function<bool()> &changes) {
    const OwnChanges own;
    if (changes() && !own.failed()) return true;
    link_.on(EngineLink::Event::failed);
    look_task_.ask();
    return false;
}

void Management::make_anew() {
    link_.on(EngineLink::Event::failed);
    look_task_.ask();
    configure_task_.ask();
}

// Without the lock, which findings() takes.
void Management::look() {
    try {
        if (listener_.news) listener_.news(summary(findings()));
    } catch (const std::exception &error) {
        log_error(error.what());
    }
}

std::vector<Finding> Management::findings() const {
    pppoeia_stats unused{};
    const bool answers =
        pppoeia_bridge_stats_get(node::managed_bridge, &unused) != client_no_answer;
    std::vector<node::Link> links;
    try {
        links = seams_.links();
    } catch (const std::system_error &error) {  // without a free descriptor, for example
        return {cannot_look(error.what())};
    }
    const std::lock_guard guard(lock_);
    NodeFacts facts(description_, links);
    facts.engine_answers = answers;
    facts.configured = link_.state() == EngineLink::State::in_force;
    if (answers)
        for (const node::Bridge &bridge : description_.bridges)
            facts.bridges[bridge.name] = check_bridge(bridge.name.c_str());
    facts.other_owner = PortMapperWatch::other_owner();
    facts.refused = refused_;
    facts.reload_problem = reload_problem_;
    facts.settings_problem = settings_.problem();
    facts.unsaved = !settings_.file().empty() && settings_.unsaved() && !description_.settings_auto;
    facts.waiting = settings_.waiting();
    return look_at(facts);
}

void Management::tell_reread() {
    if (listener_.reread) listener_.reread(description_);
}

EngineLink::State Management::link() const {
    const std::lock_guard guard(lock_);
    return link_.state();
}

bool Management::serves() {
    if (framework_.serves()) return true;
    log_error("remote calls are no longer served: the watchdog is not told");
    return false;
}

}  // namespace ia
