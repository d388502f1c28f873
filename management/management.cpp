#include "management/management.h"

#include "client/changes.h"
#include "management/agent_settings.h"
#include "management/description_changes.h"
#include "management/device_watch.h"
#include "management/own_changes.h"
#include "management/service_watch.h"
#include "node/description/read_description.h"
#include "node/framework/settings.h"
#include "node/linux/ncfm.h"
#include "node/linux/run_folder.h"
#include "node/linux/sockets.h"
#include "platform/bll/BLLManager.h"
#include "platform/bll/Log.h"
#include "pppoeia/client.h"
#include "pppoeia/node.h"

#include <sys/socket.h>
#include <syslog.h>
#include <algorithm>
#include <cerrno>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace ia {

namespace {

using namespace std::chrono_literals;

constexpr auto retry_gap = 1s;         // between two attempts
constexpr auto save_delay = 1s;        // after the last change
constexpr auto save_delay_most = 10s;  // after the first

void log_error(const std::string &text) {
    Log::instance().setMsgLevel(0).write("pppoeia-mgmt: ").write(text).write("\n");
}

constexpr int engine_did_not_answer = 4;

std::string joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) text += line + "\n";
    return text;
}

}  // namespace

Management::Seams Management::of_this_machine() {
    make_run_folder();
    return {
        .settings_copy = served_path(settings_copy_file),
        .journal = std::string(run_folder) + "/mgmt.journal",
        .messages = served_path(message_socket),
        .calls = rpc_socket,
        .engine_is_there = [] { return ServiceWatch::is_served(engine_socket, SOCK_SEQPACKET); },
        .devices = present_devices,
        .links = node::list_links,
        .now = Clock::now};
}

Management::Management(node::Description description, std::function<void()> wake, Seams seams)
    : wake_(std::move(wake)),
      seams_(std::move(seams)),
      calls_([this](const node::Arrivals &arrivals) { arrive(arrivals); }),
      description_(std::move(description)),
      settings_(seams_.settings_copy, seams_.journal),
      framework_(calls_, seams_.messages, seams_.calls),
      devices_(seams_.devices()) {
    settings_.use_file(description_.settings_file);
    settings_.load();
    serve_operator();
    observer.made = [this](const engine_call &call) { return made(call); };
    observer.unanswered = [this](const engine_call &call) { unanswered(call); };
    const std::lock_guard guard(lock_);
    if (seams_.engine_is_there()) {
        engine_is_away_ = false;
        link_.on(EngineLink::Event::found);
        configure();
        if (!started_ && seams_.engine_is_there())
            throw std::runtime_error("the management process did not start: see the system log");
    }
    if (!started_) syslog(LOG_WARNING, "pppoeia-fe is not there: its configuration waits for it");
    devices_changed_ = true;  // since they were listed
    follow_settings();
}

Management::~Management() {
    configFile &operations = configFile::instance();
    framework_.stop();  // no request is served after this
    operations.save = operations.clear = operations.show = operations.diff = {};
    operations.status = {};
    operations.reload = {};
    operations.health = {};
    observer = {};
    if (std::uncaught_exceptions() > 0) return;  // not a stop: the next process takes the copy over
    keep_at_the_end();
    settings_.remove_copy();
}

void Management::ask(std::atomic<bool> &notice) {
    if (!notice.exchange(true)) wake_();
}

void Management::engine_found() {
    engine_is_away_ = false;
    ask(engine_found_);
}

void Management::engine_lost() {
    engine_is_away_ = true;
    syslog(LOG_WARNING, "pppoeia-fe is gone: its frames are held until it is back");
    ask(engine_lost_);
}

void Management::engine_returned() {
    engine_is_away_ = false;
    ask(engine_returned_);
}

// --- changes ------------------------------------------------------------------------------

// Under the exclusive lock of the framework, before the call is answered. One
// that cannot be put on record is answered as failed, and taken back: all is made
// anew without it.
int Management::made(const engine_call &call) {
    if (OwnChanges::current()) return 0;
    const auto key = key_of(call);
    if (!key) return 0;
    const bool recorded = settings_.changed(*key);
    ask(recorded ? settings_changed_ : not_recorded_);
    return recorded ? 0 : -EIO;
}

void Management::unanswered(const engine_call &call) {
    if (OwnChanges *own = OwnChanges::current()) return own->fail();
    const auto key = key_of(call);
    if (!key) return;
    {
        const std::lock_guard guard(repairs_lock_);
        if (std::ranges::find(repairs_, *key) == repairs_.end()) repairs_.push_back(*key);
    }
    ask(repair_asked_);
}

// The engine may have taken a call whose answer came too late: what the store
// holds is made there again.
void Management::repair() {
    repair_due_ = now() + retry_gap;
    const BLLManager::exclusiveLock_t alone;
    const OwnChanges own;
    if (!alone.owns_lock() || check_bridge(node::managed_bridge) == engine_did_not_answer) return;
    std::vector<SettingKey> keys;
    {
        const std::lock_guard guard(repairs_lock_);
        keys = repairs_;
    }
    for (const SettingKey &key : keys) {
        repair_part(key);
        if (own.failed()) return;
    }
    syslog(LOG_NOTICE, "%zu settings are as before in the engine, which had not answered in time",
           keys.size());
    const std::lock_guard guard(repairs_lock_);
    repairs_.clear();
    repair_due_.reset();
}

// What has others below it is there as described, whatever its own device.
node::Description Management::present() const {
    std::set<std::uint32_t> parents;
    for (const node::Interface &interface : description_.interfaces)
        parents.insert(interface.parent);
    node::Description present = description_;
    std::erase_if(present.interfaces, [&](const node::Interface &interface) {
        return follows_device(interface) && !parents.contains(interface.id) &&
               !devices_.contains(interface.device);
    });
    return present;
}

void Management::arrive(const node::Arrivals &arrivals) {
    settings_.arrived(arrivals);
    for (const std::string &bridge : arrivals.bridges) release(bridge, 0);
    for (const auto &[bridge, port] : arrivals.ports)
        if (!arrivals.bridges.contains(bridge)) release(bridge, port);
}

void Management::release(const std::string &bridge, std::uint32_t port) {
    if (release_frames(bridge.c_str(), port) != 0) OwnChanges::current()->fail();
}

// Unless changes have come to their end, and the engine has answered every call
// of them, all of it is to be made anew.
bool Management::make_all(const std::function<bool()> &changes) {
    const OwnChanges own;
    if (changes() && !own.failed()) return true;
    link_.on(EngineLink::Event::failed);
    configure_next_ = now();
    return false;
}

// The settings of what leaves are kept for its return.
bool Management::announce() {
    const BLLManager::exclusiveLock_t alone;
    if (!alone.owns_lock()) return false;
    if (!started_) return true;  // all of it will be announced
    make_all([this] {
        const bool bound = bindings_.tell(description_, false);
        refused_ = !framework_.apply(present());  // what it refuses stays refused
        return bindings_.end_others(description_) && bound;
    });
    return true;
}

// A description that does not check loses nothing: the one before stays in force.
int Management::reload(bool dry_run, std::string &text) {
    const std::lock_guard guard(lock_);
    try {
        node::Description changed = node::read_description(description_.file);
        const std::vector<std::string> changes = describe_changes(description_, changed);
        text = joined(changes);
        if (dry_run) return 0;
        node::describe_node(changed);
        settings_.description_changed(description_, changed);
        description_ = std::move(changed);
        reload_problem_.clear();
        settings_.use_file(description_.settings_file);
        announced_ = announce();
        settings_changed_ = true;
        devices_changed_ = true;  // a bridge may have to be made anew
        syslog(LOG_NOTICE, "the node description is read again: %zu changes", changes.size());
        for (const std::string &change : changes) syslog(LOG_NOTICE, "%s", change.c_str());
        return 0;
    } catch (const std::exception &error) {
        text = std::string(error.what()) + "\n";
        if (dry_run) return 1;
        reload_problem_ = error.what();
        look_due_ = true;
        log_error("reload refused: " + reload_problem_);
        return 1;
    }
}

std::optional<std::string> Management::news() {
    if (!look_due_.exchange(false)) return std::nullopt;
    return summary(findings());
}

std::vector<Finding> Management::findings() const {
    pppoeia_stats unused{};
    const bool answers =
        pppoeia_bridge_stats_get(node::managed_bridge, &unused) != engine_did_not_answer;
    std::vector<node::Link> links;
    try {
        links = seams_.links();
    } catch (const std::system_error &error) {  // for want of descriptors, say
        return {cannot_look(error.what())};
    }
    const std::lock_guard guard(lock_);
    NodeFacts facts(description_, links);
    facts.engine_answers = answers;
    facts.configured = link_.state() == EngineLink::State::in_force;
    if (answers)
        for (const node::Bridge &bridge : description_.bridges)
            facts.bridges[bridge.name] = check_bridge(bridge.name.c_str());
    facts.refused = refused_;
    facts.reload_problem = reload_problem_;
    facts.settings_problem = settings_.problem();
    facts.unsaved = !settings_.file().empty() && settings_.unsaved() && !description_.settings_auto;
    facts.waiting = settings_.waiting();
    return look_at(facts);
}

node::Description Management::description() const {
    const std::lock_guard guard(lock_);
    return description_;
}

bool Management::attend() {
    const std::lock_guard guard(lock_);
    const std::uint32_t before = restores_;
    try {
        catch_up();
    } catch (const std::exception &error) {
        report(error.what());
    }
    return restores_ != before;
}

// What is tried again and again is told of once.
void Management::report(const std::string &trouble) {
    if (trouble != trouble_ && !trouble.empty()) log_error(trouble);
    trouble_ = trouble;
}

// What does not come to its end, for want of descriptors or memory or room on a
// disk, is due again.
void Management::catch_up() {
    const auto is_due = [this](const auto &time) { return time && *time <= now(); };
    follow_engine();
    if (devices_changed_.exchange(false)) devices_due_ = now();
    if (configure_is_due()) configure();
    if (is_due(devices_due_)) follow_devices();
    if (configure_is_due()) configure();
    if (repair_asked_.exchange(false)) repair_due_ = now();
    if (is_due(repair_due_)) repair();
    if (settings_changed_.exchange(false) && !follow_due_) follow_due_ = follow_next_;
    if (is_due(follow_due_)) follow_settings();
    if (is_due(save_due_)) save_when_due();
}

// Takes over what the notices have told, in their order.
void Management::follow_engine() {
    using enum EngineLink::Event;
    const EngineLink::State before = link_.state();
    if (engine_lost_.exchange(false)) link_.on(lost);
    const bool came = engine_found_.exchange(false);
    if (engine_returned_.exchange(false) || (came && link_.state() == EngineLink::State::away)) {
        if (!engine_is_away_) link_.on(found);
        bindings_.forget();  // it is a new one
        configure_next_ = now();
    } else if (came) {
        devices_changed_ = true;  // it may be another one than was configured
    }
    if (not_recorded_.exchange(false)) {
        link_.on(failed);
        configure_next_ = now();
    }
    if (link_.state() != before) look_due_ = true;
}

bool Management::configure_is_due() const {
    return link_.state() == EngineLink::State::configuring && configure_next_ <= now();
}

bool Management::serves() {
    if (framework_.serves()) return true;
    log_error("remote calls are no longer served: the watchdog is not told");
    return false;
}

std::optional<Management::Clock::time_point> Management::due() const {
    const std::lock_guard guard(lock_);
    std::optional<Clock::time_point> first;
    if (link_.state() == EngineLink::State::configuring) first = configure_next_;
    for (const auto &time : {devices_due_, repair_due_, follow_due_, save_due_})
        if (time && (!first || *time < *first)) first = time;
    return first;
}

void Management::follow_devices() {
    devices_due_ = now() + retry_gap;
    look_due_ = true;
    const std::set<std::string> there = seams_.devices();
    if (there != devices_) {
        const node::Description before = present();
        devices_ = there;
        announced_ = false;
        for (const std::string &change : describe_changes(before, present()))
            syslog(LOG_NOTICE, "%s", change.c_str());
    }
    if (!announced_) announced_ = announce();
    if (!announced_) return;
    // A new engine may answer before its notice comes, which brings all of it back.
    if (link_.state() == EngineLink::State::in_force && !bridges_are_served()) {
        link_.on(EngineLink::Event::failed);
        configure_next_ = now();
    }
    devices_due_.reset();
}

// Also true if the engine does not answer: its notices tell of that.
bool Management::bridges_are_served() const {
    return std::ranges::all_of(description_.bridges, [&](const node::Bridge &bridge) {
        if (!devices_.contains(bridge.device)) return true;
        const int result = check_bridge(bridge.name.c_str());
        return result != -ENODEV && result != -EMSGSIZE;
    });
}

// All that the description and the operators want, in an engine and a store that
// begin anew.
void Management::configure() {
    configure_next_ = now() + retry_gap;
    devices_ = seams_.devices();
    bool begun = false;
    const auto begin = [&] {
        begun = pppoeia_init() == 0;
        if (begun) ++restores_;  // an engine that is not there is not configured
        return begun;
    };
    const bool made = make_all([&] {
        for (const node::Bridge &bridge : description_.bridges)
            if (hold_frames(bridge.name.c_str(), 0) != 0) return false;
        if (!bindings_.tell(description_, true)) return false;
        if (!started_) return started_ = framework_.start(present());
        refused_ = !framework_.announce_anew(present(), begin) && begun;
        if (refused_) log_error("not all of the node could be announced to the engine");
        return begun;
    });
    configure_next_ = now() + retry_gap;
    look_due_ = true;
    if (made && bridges_are_served()) {
        link_.on(EngineLink::Event::configured);
        announced_ = true;
        const std::lock_guard guard(repairs_lock_);
        repairs_.clear();
    } else if (engine_is_away_) {
        link_.on(EngineLink::Event::lost);  // its return will be noticed
    }
}

// --- the operator's settings -------------------------------------------------------------

// Keeps the copy in step, at once but at most a tenth of the time.
void Management::follow_settings() {
    const Clock::time_point begin = now();
    follow_due_ = begin + retry_gap;
    settings_.copy();
    report({});
    follow_due_.reset();
    follow_next_ = now() + 9 * (now() - begin);
    if (!description_.settings_auto || settings_.file_is_bad() || !settings_.unsaved()) return;
    if (!save_due_) unsaved_since_ = begin;
    save_due_ = std::min(begin + save_delay, unsaved_since_ + save_delay_most);
}

// What would be lost with this process is saved, or the log says so.
void Management::keep_at_the_end() {
    if (settings_.file().empty() || !settings_.unsaved()) return;
    std::string text;
    if (description_.settings_auto && !settings_.file_is_bad()) {
        if (save(text) == 0) return;
        log_error(text);
    }
    syslog(LOG_WARNING, "the process ends with settings that are not saved: they are lost:\n%s",
           settings_.difference_to_saved().c_str());
}

void Management::save_when_due() {
    save_due_.reset();
    std::string text;
    if (settings_.unsaved() && save(text) != 0) log_error(text);
}

int Management::save(std::string &text) {
    if (settings_.file().empty()) {
        text = "the node description names no file for settings: [settings] file\n";
        return 2;
    }
    try {
        framework_.save_configuration([&] { settings_.save(); });
        return 0;
    } catch (const std::system_error &error) {
        text = std::string(error.what()) + "\n";
        return 1;
    }
}

// One that fails half-way is undone: all is made anew as it was, and the frames
// wait for that.
int Management::clear(std::string &text) {
    const bool cleared = make_all([this] {
        for (const node::Bridge &bridge : description_.bridges)
            if (hold_frames(bridge.name.c_str(), 0) != 0) return false;
        return framework_.clear_configuration();
    });
    if (!cleared) {
        wake_();
        text = "the agent did not take all of its settings back: nothing is cleared\n";
        return 1;
    }
    make_all([this] {
        settings_.forget();
        for (const node::Bridge &bridge : description_.bridges) release(bridge.name, 0);
        return true;
    });
    wake_();
    try {
        settings_.copy();
        return 0;
    } catch (const std::system_error &error) {
        text = std::string(error.what()) + ": a killed process would bring the settings back\n";
        return 1;
    }
}

int Management::status(configFile::status_t &status) {
    status = {settings_.file(),    description_.settings_auto,
              settings_.unsaved(), settings_.waiting(),
              restores_,           settings_.problem()};
    return 0;
}

void Management::serve_operator() {
    const auto alone = [this](auto operation) {
        return [this, operation](auto &answer) {
            const std::lock_guard guard(lock_);
            return operation(answer);
        };
    };
    configFile &operations = configFile::instance();
    operations.save = alone([this](std::string &text) { return save(text); });
    operations.clear = alone([this](std::string &text) { return clear(text); });
    operations.show = alone([](std::string &text) {
        text = all_settings_text();
        return text.empty() ? 1 : 0;
    });
    operations.diff = alone([this](std::string &text) {
        text = settings_.difference_to_saved();
        return 0;
    });
    operations.status = alone([this](configFile::status_t &is) { return status(is); });
    operations.reload = [this](bool dry_run, std::string &text) {
        const int result = reload(dry_run, text);
        wake_();
        return result;
    };
    operations.health = [this](std::vector<Finding> &findings) {
        findings = this->findings();
        return 0;
    };
}

}  // namespace ia
