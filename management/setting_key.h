// The object of a setting: the agent, a port, a VLAN, or a port and VLAN.
#pragma once

#include "client/changes.h"
#include "node/settings/settings.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ia {

struct SettingKey {
    enum class Kind : std::uint8_t { agent, port, vlan, line };
    Kind kind{};
    std::uint32_t port = 0;  // of a port and of a line
    std::uint16_t vlan = 0;  // of a VLAN and of a line

    bool operator==(const SettingKey &) const = default;
};

// None for a call that changes no operator's setting.
std::optional<SettingKey> key_of(const EngineCall &call);

// Replaces, in `part`, all settings of the key by those in `settings`.
void replace_part(node::Settings &settings, SettingKey key, node::Settings part);

// Converts a key and its wanted settings to a text record, and back. None for a
// text that is no such record.
std::string write_part(SettingKey key, const node::Settings &part);
bool replay_part(node::Settings &settings, std::string_view record);

}  // namespace ia
