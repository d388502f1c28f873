#include "programs/management.h"

#include "client/health.h"
#include "node/description/read_description.h"
#include "node/framework/locks.h"
#include "node/linux/ncfm.h"
#include "platform/bll/BLLManager.h"
#include "platform/bll/Log.h"
#include "pppoeia/client.h"
#include "pppoeia/node.h"
#include "programs/device_watch.h"
#include "programs/sockets.h"

#include <syslog.h>
#include <algorithm>
#include <cerrno>
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

// Types whose device stands in the bridge; the others are there as described.
bool follows_device(const node::Interface &interface) {
    using enum node::InterfaceType;
    return interface.type != mng && interface.type != olt && interface.type != onu;
}

}  // namespace

Management::Management(node::Description description, std::function<void()> wake)
    : wake_(std::move(wake)),
      calls_([this](const node::Arrivals &arrivals) { arrive(arrivals); }),
      description_(std::move(description)),
      settings_(served_path(settings_copy_file)),
      framework_(calls_, served_path(message_socket)),
      devices_(present_devices()) {
    settings_.use_file(description_.settings_file);
    settings_.load();
    serve_operator();
    node::framework_lock().after_exclusive = [this] { ask(settings_changed_); };
    const std::lock_guard guard(lock_);
    const bool made = make_all([this] {
        if (!framework_.start(present()))
            throw std::runtime_error(
                "the management process did not start: see the system log; is pppoeia-fe running?");
        return true;
    });
    intact_ = made && settings_.remember();
    devices_changed_ = true;  // since they were listed
    follow_settings();
}

Management::~Management() {
    configFile &operations = configFile::instance();
    framework_.stop();  // no request is served after this
    operations.save = operations.clear = operations.show = operations.diff = {};
    operations.status = {};
    node::framework_lock().after_exclusive = {};
    settings_.remove_copy();
}

void Management::ask(std::atomic<bool> &notice) {
    if (!notice.exchange(true)) wake_();
}

void Management::engine_lost() {
    engine_is_away_ = true;
    syslog(LOG_WARNING, "pppoeia-fe is gone: its frames are held until it is back");
}

void Management::engine_returned() {
    engine_is_away_ = false;
    ask(engine_returned_);
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
    for (const std::string &bridge : arrivals.bridges) release_frames(bridge.c_str(), 0);
    for (const auto &[bridge, port] : arrivals.ports)
        if (!arrivals.bridges.contains(bridge)) release_frames(bridge.c_str(), port);
}

// Until changes have come to their end and the engine has answered every call of
// them, the store is not what the operators have set, and all of it is due to be
// made anew. Another thread's call without an answer counts too: that costs a
// restore, and loses nothing.
bool Management::make_all(const std::function<bool()> &changes) {
    const auto due = std::exchange(restore_due_, Clock::now() + retry_gap);
    const bool intact = std::exchange(intact_, false);
    const std::uint32_t failures = health.ippc_failures;
    if (!changes() || health.ippc_failures != failures) {
        restore_due_ = Clock::now();
        return false;
    }
    intact_ = intact;
    restore_due_ = due;
    return true;
}

// The settings of what leaves are kept for its return.
void Management::announce() {
    const BLLManager::exclusiveLock_t alone;
    if (intact_) intact_ = settings_.remember();
    make_all([this] {
        framework_.apply(present());  // what it refuses stays refused, and is told of
        return true;
    });
}

void Management::reload() {
    const std::lock_guard guard(lock_);
    try {
        node::Description changed = node::read_description(description_.file);
        node::describe_node(changed);
        description_ = std::move(changed);
        settings_.use_file(description_.settings_file);
        announce();
    } catch (const std::exception &error) {
        log_error(error.what());
    }
    devices_changed_ = true;  // a bridge may have to be made anew
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
    const auto is_due = [](const auto &time) { return time && *time <= Clock::now(); };
    if (engine_returned_.exchange(false)) restore_due_ = Clock::now();
    if (devices_changed_.exchange(false)) devices_due_ = Clock::now();
    if (is_due(restore_due_)) restore();
    if (is_due(devices_due_)) follow_devices();
    if (is_due(restore_due_)) restore();
    if (settings_changed_.exchange(false) && !follow_due_) follow_due_ = follow_next_;
    if (is_due(follow_due_)) follow_settings();
    if (is_due(save_due_)) save_when_due();
}

bool Management::serves() {
    if (framework_.serves()) return true;
    log_error("remote calls are no longer served: the watchdog is not told");
    return false;
}

std::optional<Management::Clock::time_point> Management::due() const {
    const std::lock_guard guard(lock_);
    std::optional<Clock::time_point> first;
    for (const auto &time : {restore_due_, devices_due_, follow_due_, save_due_})
        if (time && (!first || *time < *first)) first = time;
    return first;
}

void Management::follow_devices() {
    devices_due_ = Clock::now() + retry_gap;
    const std::set<std::string> now = present_devices();
    if (std::exchange(devices_, now) != now) announced_ = false;
    if (!announced_) announce();
    announced_ = true;
    // A new engine may answer before its notice comes, which brings all of it back.
    if (!engine_is_away_ && !bridges_are_served() && !restore_due_) restore_due_ = Clock::now();
    devices_due_.reset();
}

// Also true while the engine does not answer: it is followed otherwise.
bool Management::bridges_are_served() const {
    return std::ranges::all_of(description_.bridges, [&](const node::Bridge &bridge) {
        if (!devices_.contains(bridge.name)) return true;
        const int result = check_bridge(bridge.name.c_str());
        return result != -ENODEV && result != -EMSGSIZE;
    });
}

// What the store held when the engine went is what the operators had set, unless
// an earlier attempt has not come to its end.
void Management::restore() {
    restore_due_ = Clock::now() + retry_gap;
    if (intact_) settings_.remember();
    devices_ = present_devices();
    bool begun = false;
    const auto begin = [&] {
        begun = pppoeia_init() == 0;
        if (begun) ++restores_;  // an engine that is not there is not configured
        return begun;
    };
    const bool made = make_all([&] {
        if (!framework_.announce_anew(present(), begin) && begun)
            log_error("not all of the node could be announced to the engine");
        return begun;
    });
    intact_ = made && settings_.remember();
    restore_due_ = Clock::now() + retry_gap;
    if (intact_ && bridges_are_served()) restore_due_.reset();
    if (!begun && engine_is_away_) restore_due_.reset();  // its return will be noticed
}

// --- the operator's settings -------------------------------------------------------------

// Keeps the copy in step, at once but at most a tenth of the time.
void Management::follow_settings() {
    const Clock::time_point begin = Clock::now();
    follow_due_ = begin + retry_gap;
    if (intact_) {
        settings_.remember();
        settings_.copy();
        report({});
    }
    follow_due_.reset();
    if (!intact_) return;
    follow_next_ = Clock::now() + 9 * (Clock::now() - begin);
    if (!description_.settings_auto || settings_.file_is_bad() || !settings_.unsaved()) return;
    if (!save_due_) unsaved_since_ = begin;
    save_due_ = std::min(begin + save_delay, unsaved_since_ + save_delay_most);
}

void Management::save_when_due() {
    if (!save_due_ || *save_due_ > Clock::now()) return;
    save_due_.reset();
    std::string text;
    if (settings_.unsaved() && save(text) != 0) log_error(text);
}

int Management::save(std::string &text) {
    if (settings_.file().empty()) {
        text = "the node description names no file for settings: [settings] file\n";
        return 2;
    }
    if (intact_) settings_.remember();
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
    if (intact_) intact_ = settings_.remember();
    for (const node::Bridge &bridge : description_.bridges) hold_frames(bridge.name.c_str(), 0);
    if (!make_all([this] { return framework_.clear_configuration(); })) {
        wake_();
        text = "the agent did not take all of its settings back: nothing is cleared\n";
        return 1;
    }
    settings_.forget();
    for (const node::Bridge &bridge : description_.bridges) release_frames(bridge.name.c_str(), 0);
    return 0;
}

int Management::status(configFile::status_t &status) {
    if (intact_) settings_.remember();
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
        if (intact_) settings_.remember();
        text = settings_.difference_to_saved();
        return 0;
    });
    operations.status = alone([this](configFile::status_t &is) { return status(is); });
}

}  // namespace ia
