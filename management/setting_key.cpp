#include "management/setting_key.h"

#include "client/operations.h"
#include "node/settings/settings_text.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace ia {

namespace {

using Kind = SettingKey::Kind;

// The client API's operations that change a setting, and the object of the setting.
// The call's first number is the port or the VLAN.
struct Row {
    std::uint32_t id;
    Kind kind;
};

constexpr Row rows[] = {
    {2, Kind::agent},   // log level
    {10, Kind::agent},  // state
    {12, Kind::vlan},   // VLAN state
    {19, Kind::agent},  // tag mode
    {21, Kind::agent},  // insertion of the Circuit ID
    {23, Kind::agent},  // insertion of the Remote ID
    {25, Kind::agent},  // shelf
    {31, Kind::port},   // role
    {34, Kind::port},   // trust
    {37, Kind::port},   // Remote ID
    {42, Kind::agent},  // customer VLAN in the Circuit ID
    {45, Kind::port},   // Circuit-ID mode
    {52, Kind::agent},  // Circuit-ID format
    {54, Kind::agent},  // Remote-ID format
    {56, Kind::line},   // Circuit-ID mode
    {58, Kind::line},   // Circuit-ID format
    {60, Kind::line},   // Remote-ID format
    {62, Kind::line},   // entry made
    {63, Kind::line},   // entry deleted
};
static_assert(std::ranges::is_sorted(rows, {}, &Row::id));

constexpr const char *words[] = {"agent", "port", "vlan", "line"};

}  // namespace

std::optional<SettingKey> key_of(const EngineCall &call) {
    const auto row = std::ranges::lower_bound(rows, call.id, {}, &Row::id);
    if (row == std::end(rows) || row->id != call.id) return std::nullopt;
    const auto [first, second, third] = call.numbers;
    switch (row->kind) {
        case Kind::agent: return SettingKey{Kind::agent};
        case Kind::port: return SettingKey{Kind::port, first};
        case Kind::vlan: return SettingKey{Kind::vlan, 0, static_cast<std::uint16_t>(first)};
        case Kind::line: return SettingKey{Kind::line, first, static_cast<std::uint16_t>(second)};
    }
    return std::nullopt;
}

void replace_part(node::Settings &settings, SettingKey key, node::Settings part) {
    const auto replace = [](auto &map, auto id, auto &from) {
        map.erase(id);
        if (auto found = from.extract(id)) map.insert(std::move(found));
    };
    switch (key.kind) {
        case Kind::agent: settings.agent = std::move(part.agent); break;
        case Kind::port: replace(settings.ports, key.port, part.ports); break;
        case Kind::vlan: replace(settings.vlans, key.vlan, part.vlans); break;
        case Kind::line:
            replace(settings.lines, node::LineKey(key.port, key.vlan), part.lines);
            break;
    }
}

std::string write_part(SettingKey key, const node::Settings &part) {
    return std::string(words[static_cast<int>(key.kind)]) + ' ' + std::to_string(key.port) + ' ' +
           std::to_string(key.vlan) + '\n' + write_settings(part);
}

bool replay_part(node::Settings &settings, std::string_view record) {
    const std::string head(record.substr(0, record.find('\n')));
    char word[8] = {};
    unsigned port_id = 0, vlan_id = 0;
    if (head.size() == record.size() ||
        std::sscanf(head.c_str(), "%7s %u %u", word, &port_id, &vlan_id) != 3)
        return false;
    const auto kind = std::ranges::find(words, std::string_view(word));
    if (kind == std::end(words) || vlan_id > 0xFFFF) return false;
    const SettingKey key{static_cast<SettingKey::Kind>(kind - words), port_id,
                         static_cast<std::uint16_t>(vlan_id)};
    node::ReadSettings part = node::read_settings(record.substr(head.size() + 1), "journal");
    if (!part.problems.empty()) return false;
    replace_part(settings, key, std::move(part.settings));
    return true;
}

}  // namespace ia
