// The agent's settings, read from and made in its store and the engine.
#pragma once

#include "management/setting_key.h"
#include "node/settings/settings.h"

#include <optional>

namespace ia {

// The settings in force, of everything that is there. Nothing while the managed
// bridge is not.
std::optional<node::Settings> running_settings();

// Those of one key, and what the description says of it.
node::Settings running_part(SettingKey key);
node::Settings described_part(SettingKey key);

// Makes the engine's settings of one key what this process's store holds.
void repair_part(SettingKey key);

// Makes each setting that is there through the entity's operation for it; one
// that is refused is logged and left.
void apply_settings(const node::Settings &settings);

}  // namespace ia
