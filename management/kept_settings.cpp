#include "management/kept_settings.h"

#include "management/agent_settings.h"
#include "node/description/read_description.h"
#include "node/framework/registry.h"
#include "node/framework/settings.h"
#include "node/settings/replace_file.h"
#include "node/settings/settings_text.h"

#include <syslog.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <system_error>

namespace ia {

namespace {

node::Settings described() {
    return node::registry().read([](const auto &state) { return described_settings(state); });
}

// Removes from `wanted` the fields in which two descriptions differ.
template <class Map>
void drop_changed(Map &wanted, const Map &was, const Map &now) {
    using Record = typename Map::mapped_type;
    for (auto &[key, record] : wanted) {
        const auto before = was.find(key), after = now.find(key);
        if (before == was.end() || after == now.end()) continue;
        node::each_setting<Record>([&, &target = record](const auto &setting) {
            const auto field = setting.field;
            if (before->second.*field != after->second.*field) (target.*field).reset();
        });
    }
    std::erase_if(wanted, [](const auto &entry) { return entry.second == Record(); });
}

// The lines of a port that both have, described or not.
void drop_changed_lines(node::Settings &wanted, node::Settings was, node::Settings now) {
    for (const auto &[key, line] : wanted.lines)
        if (was.ports.contains(key.first) && now.ports.contains(key.first))
            was.lines[key], now.lines[key];
    for (auto &[key, line] : wanted.lines)  // a removed one returns
        if (line.circuit_id_mode == PPPOEIA_CID_NOT_SET && was.lines[key] != now.lines[key])
            line.circuit_id_mode.reset();
    drop_changed(wanted.lines, was.lines, now.lines);
}

// Only objects just announced; the others have their settings already.
node::Settings part_for(const node::Arrivals &arrivals, const node::Settings &all) {
    const std::string bridge = node::managed_bridge;
    const auto has_port = [&](std::uint32_t id) { return arrivals.ports.contains({bridge, id}); };
    node::Settings part;
    if (arrivals.bridges.contains(bridge)) {
        part.agent = all.agent;
        // The log level belongs to the process, whatever happens to the bridge.
        if (!part.agent.log_level) part.agent.log_level = described().agent.log_level;
    }
    for (const auto &[id, port] : all.ports)
        if (has_port(id)) part.ports[id] = port;
    for (const auto &[id, vlan] : all.vlans)
        if (arrivals.vlans.contains({bridge, id})) part.vlans[id] = vlan;
    for (const auto &[key, line] : all.lines)
        if (has_port(key.first)) part.lines[key] = line;
    return part;
}

}  // namespace

node::Settings KeptSettings::read(const std::string &file, std::string &problem) {
    node::remove_unfinished(file);
    node::ReadSettings read;
    try {
        read = node::read_settings_file(file);
        problem = std::move(read.problems);
    } catch (const node::DescriptionError &error) {
        problem = error.what();
    }
    if (!problem.empty()) syslog(LOG_ERR, "%s", problem.c_str());
    return std::move(read.settings);
}

void KeptSettings::use_file(const std::string &file) {
    const std::lock_guard guard(lock_);
    if (file == file_) return;
    file_ = file;
    saved_ = {};
    kept_ = {};
    problem_.clear();
    file_is_bad_ = false;
    if (file_.empty()) return;
    saved_ = read(file_, problem_);
    file_is_bad_ = !problem_.empty();
}

void KeptSettings::load() {
    const std::lock_guard guard(lock_);
    wanted_ = saved_;
    bool taken_over = false;
    if (access(copy_file_.c_str(), F_OK) == 0) {
        node::Settings copy = read(copy_file_, copy_problem_);
        taken_over = copy_problem_.empty() || copy != node::Settings();
        if (taken_over) wanted_ = std::move(copy);
    }
    for (const std::string &record : journal_.read())
        taken_over = replay_part(wanted_, record) || taken_over;
    if (taken_over)
        syslog(LOG_NOTICE, "the settings of the process before this one are taken over");
}

bool KeptSettings::changed(SettingKey key) {
    const std::lock_guard guard(lock_);
    node::Settings part = difference(running_part(key), described_part(key));
    try {
        journal_.append(write_part(key, part));
    } catch (const std::system_error &error) {
        copy_problem_ = error.what();
        syslog(LOG_ERR, "a change is refused, it cannot be put on record: %s", error.what());
        return false;
    }
    replace_part(wanted_, key, std::move(part));
    return true;
}

void KeptSettings::description_changed(const node::Description &was, const node::Description &now) {
    const node::Settings before = described_settings(node::NodeState(was));
    const node::Settings after = described_settings(node::NodeState(now));
    const std::lock_guard guard(lock_);
    node::each_setting<node::AgentSettings>([&](const auto &setting) {
        const auto field = setting.field;
        if (before.agent.*field != after.agent.*field) (wanted_.agent.*field).reset();
    });
    drop_changed(wanted_.ports, before.ports, after.ports);
    drop_changed(wanted_.vlans, before.vlans, after.vlans);
    drop_changed_lines(wanted_, before, after);
}

void KeptSettings::arrived(const node::Arrivals &arrivals) const {
    std::unique_lock guard(lock_);
    const node::Settings part = part_for(arrivals, wanted_);
    guard.unlock();
    apply_settings(part);
}

void KeptSettings::forget() {
    {
        const std::lock_guard guard(lock_);
        wanted_ = {};
    }
    const auto running = running_settings();
    if (running) apply_settings(difference(described(), *running));
}

// Leaves out settings that a reader would refuse; each is logged once.
std::string KeptSettings::keepable_text() {
    // Text that was checked before is not checked again.
    const node::Settings changed = difference(wanted_, kept_);
    if (left_out_.empty() && node::keepable(changed).left_out.empty()) {
        kept_ = wanted_;
        return write_settings(wanted_);
    }
    const node::Keepable kept = node::keepable(wanted_);
    kept_ = kept.settings;
    if (kept.left_out != left_out_ && !kept.left_out.empty())
        syslog(LOG_WARNING, "%s", kept.left_out.c_str());
    left_out_ = kept.left_out;
    return kept.text;
}

void KeptSettings::save() {
    const std::lock_guard guard(lock_);
    const std::string now = keepable_text();
    try {
        // Keeps an operator's faulty hand-written file under another name.
        if (file_is_bad_ && rename(file_.c_str(), (file_ + ".bad").c_str()) != 0)
            throw std::system_error(errno, std::generic_category(), file_ + ".bad");
        file_is_bad_ = false;
        node::replace_file(file_, now);
    } catch (const std::system_error &error) {
        problem_ = error.what();
        throw;
    }
    saved_ = wanted_;
    problem_.clear();
}

// Changes made while the copy is written are appended to the journal, which is then
// kept: replaying it changes nothing. This is bounded: while a copy of a long
// journal is written, changes wait.
void KeptSettings::copy() {
    constexpr std::size_t long_journal = 1 << 20;
    std::unique_lock guard(lock_);
    const node::Settings now = wanted_;
    const std::size_t recorded = journal_.size();
    if (copied_ == now && recorded == 0) return;
    const bool keep_waiting = recorded > long_journal;
    const std::string text = keepable_text();
    if (!keep_waiting) guard.unlock();
    try {
        node::replace_file(copy_file_, text);
    } catch (const std::system_error &error) {
        if (!keep_waiting) guard.lock();
        copy_problem_ = error.what();
        throw;
    }
    if (!keep_waiting) guard.lock();
    copied_ = now;
    copy_problem_.clear();
    if (journal_.size() == recorded) journal_.clear();
}

void KeptSettings::remove_copy() {
    const std::lock_guard guard(lock_);
    unlink(copy_file_.c_str());
    journal_.remove();
    copied_.reset();
}

std::string KeptSettings::text() const {
    const std::lock_guard guard(lock_);
    return write_settings(wanted_);
}

std::string KeptSettings::difference_to_saved() const {
    const std::lock_guard guard(lock_);
    return node::difference_text(saved_, wanted_);
}

bool KeptSettings::unsaved() const {
    const std::lock_guard guard(lock_);
    return wanted_ != saved_;
}

std::uint32_t KeptSettings::waiting() const {
    const node::Settings there = described();
    const std::lock_guard guard(lock_);
    return node::count(node::waiting(wanted_, there));
}

std::string KeptSettings::file() const {
    const std::lock_guard guard(lock_);
    return file_;
}

std::string KeptSettings::problem() const {
    const std::lock_guard guard(lock_);
    if (!problem_.empty()) return problem_;
    return copy_problem_.empty() ? left_out_ : copy_problem_;
}

bool KeptSettings::file_is_bad() const {
    const std::lock_guard guard(lock_);
    return file_is_bad_;
}

std::string all_settings_text() {
    const auto running = running_settings();
    return running ? write_settings(*running) : "";
}

std::string described_settings_text() {
    return write_settings(described());
}

}  // namespace ia
