// The agent's settings, read from and made in its store and the engine.
#pragma once

#include "node/settings/settings.h"

#include <optional>

namespace ia {

// The settings in force, of everything that is there. Nothing while the managed
// bridge is not.
std::optional<node::Settings> running_settings();

// Makes each setting that is there through the entity's operation for it; one
// that is refused is logged and left.
void apply_settings(const node::Settings &settings);

}  // namespace ia
