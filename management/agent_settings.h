// Reads the agent's settings from its store, and makes them in the store and the
// engine.
#pragma once

#include "management/setting_key.h"
#include "node/settings/settings.h"

#include <optional>

namespace ia {

// All settings in force; none while the managed bridge does not exist.
std::optional<node::Settings> running_settings();

// The settings in force of one key, and the description's.
node::Settings running_part(SettingKey key);
node::Settings described_part(SettingKey key);

// Makes the engine's settings of one key equal to this process's store.
void repair_part(SettingKey key);

// Makes each setting present through the entity's operation for it. A refused
// setting is logged, and the next one follows.
void apply_settings(const node::Settings &settings);

}  // namespace ia
