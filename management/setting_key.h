// What a change was about: the agent, a port, a VLAN, or a port and VLAN.
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

// Nothing for a call that changes none of an operator's settings.
std::optional<SettingKey> key_of(const EngineCall &call);

// Makes `part` all that `settings` say of the key.
void replace_part(node::Settings &settings, SettingKey key, node::Settings part);

// A key and all that is wanted of it, as a record in words, and back. Nothing
// for a text that is no such record.
std::string write_part(SettingKey key, const node::Settings &part);
bool replay_part(node::Settings &settings, std::string_view record);

}  // namespace ia
