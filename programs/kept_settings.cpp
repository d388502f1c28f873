#include "programs/kept_settings.h"

#include "node/description/read_description.h"
#include "node/framework/registry.h"
#include "node/framework/settings.h"
#include "node/settings/settings_text.h"
#include "programs/agent_settings.h"

#include <syslog.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <map>
#include <sstream>
#include <system_error>
#include <vector>

namespace ia {

namespace {

node::Settings described() {
    return node::registry().read([](const auto &state) { return described_settings(state); });
}

std::uint32_t count(const node::Settings &settings) {
    const std::string text = write_settings(settings);
    std::uint32_t lines = 0;
    for (std::size_t at = 0; (at = text.find(" = ", at)) != std::string::npos; ++at) ++lines;
    // The keys that say what a section is about are no settings.
    return lines - static_cast<std::uint32_t>(settings.ports.size() + settings.vlans.size() +
                                              2 * settings.lines.size());
}

// Only what has just been announced; the rest is in force already.
node::Settings part_for(const node::Arrivals &arrivals, const node::Settings &all) {
    const std::string bridge = node::managed_bridge;
    const auto has_port = [&](std::uint32_t id) { return arrivals.ports.contains({bridge, id}); };
    node::Settings part;
    if (arrivals.bridges.contains(bridge)) {
        part.agent = all.agent;
        // A level stays with its process, whatever becomes of the bridge.
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

void KeptSettings::use_file(const std::string &file) {
    if (file == file_) return;
    file_ = file;
    saved_.clear();
    problem_.clear();
    file_is_bad_ = false;
    if (file_.empty()) return;
    try {
        saved_ = write_settings(node::read_settings_file(file_));
    } catch (const node::DescriptionError &error) {
        problem_ = error.what();
        file_is_bad_ = true;
        syslog(LOG_ERR, "%s", error.what());
    }
}

void KeptSettings::load() {
    if (access(copy_file_.c_str(), F_OK) == 0) {
        try {
            wanted_ = node::read_settings_file(copy_file_);
            syslog(LOG_NOTICE, "the settings of the process before this one are taken over");
            return;
        } catch (const node::DescriptionError &error) {
            syslog(LOG_ERR, "%s", error.what());
        }
    }
    wanted_ = node::read_settings(saved_, file_);
}

bool KeptSettings::remember() {
    auto running = running_settings();
    if (!running) return false;
    running_ = std::move(*running);
    wanted_ = overlay(node::waiting(wanted_, running_), difference(running_, described()));
    return true;
}

void KeptSettings::arrived(const node::Arrivals &arrivals) const {
    apply_settings(part_for(arrivals, wanted_));
}

void KeptSettings::forget() {
    wanted_ = {};
    const auto running = running_settings();
    if (running) apply_settings(difference(described(), *running));
}

void KeptSettings::save() {
    const std::string now = text();
    try {
        // What an operator wrote by hand and got wrong is not lost.
        if (file_is_bad_ && rename(file_.c_str(), (file_ + ".bad").c_str()) != 0)
            throw std::system_error(errno, std::generic_category(), file_ + ".bad");
        file_is_bad_ = false;
        node::replace_file(file_, now);
    } catch (const std::system_error &error) {
        problem_ = error.what();
        throw;
    }
    saved_ = now;
    problem_.clear();
}

void KeptSettings::copy() {
    const std::string now = text();
    if (now == copied_) return;
    try {
        node::replace_file(copy_file_, now);
    } catch (const std::system_error &error) {
        copy_problem_ = error.what();
        throw;
    }
    copied_ = now;
    copy_problem_.clear();
}

void KeptSettings::remove_copy() {
    unlink(copy_file_.c_str());
    copied_.clear();
}

std::string KeptSettings::text() const {
    return write_settings(wanted_);
}

std::string KeptSettings::difference_to_saved() const {
    return line_difference(saved_, text());
}

std::uint32_t KeptSettings::waiting() const {
    return count(node::waiting(wanted_, running_));
}

std::string all_settings_text() {
    const auto running = running_settings();
    return running ? write_settings(*running) : "";
}

std::string line_difference(const std::string &from, const std::string &to) {
    const auto blocks_of = [](const std::string &text) {
        std::map<std::string, std::vector<std::string>> blocks;  // by what they are about
        std::istringstream lines(text);
        std::string about;
        for (std::string line; std::getline(lines, line);) {
            if (line.empty()) continue;
            if (line[0] == '[')
                about = line;
            else if (line.starts_with("id = ") || line.starts_with("port = ") ||
                     line.starts_with("vlan = "))
                about += ' ' + line;
            else
                blocks[about].push_back(line);
        }
        return blocks;
    };
    const auto old_blocks = blocks_of(from);
    auto all = blocks_of(to);
    const auto new_blocks = all;
    all.insert(old_blocks.begin(), old_blocks.end());
    static const std::vector<std::string> none;
    std::string text;
    for (const auto &entry : all) {
        const auto lines_in = [&](const auto &blocks) -> const std::vector<std::string> & {
            const auto found = blocks.find(entry.first);
            return found == blocks.end() ? none : found->second;
        };
        const auto only = [](char sign, const auto &lines, const auto &others) {
            std::string said;
            for (const std::string &line : lines)
                if (std::ranges::find(others, line) == others.end())
                    said += std::string(1, sign) + ' ' + line + '\n';
            return said;
        };
        const auto &was = lines_in(old_blocks), &is = lines_in(new_blocks);
        const std::string said = only('-', was, is) + only('+', is, was);
        if (!said.empty()) text += entry.first + '\n' + said;
    }
    return text;
}

}  // namespace ia
