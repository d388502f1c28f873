// The way from the node as it stands to another description of it, announced
// change by change as the platform's events and the entity's calls.
#pragma once

#include "node/framework/entity_calls.h"
#include "node/framework/registry.h"

namespace ia::node {

// Starts the registry empty but for what the entities ask before anything is
// announced: shelf id, features, who configures the node.
void begin_registry(const Description &description);

// Takes the registry to `description`. Only differences are announced, what
// goes away first: children before parents, then VLANs, then bridges; then
// bridges, VLANs, parents before children. Returns how many changes did not
// come about, because a subscriber refused them or their bridge is missing;
// the log names each, and the next call tries it again.
unsigned announce_changes(const Description &description, EntityCalls &calls);

// Tells the VLANs and settings of everything there is once more, to entities
// that have gone back to their defaults.
void announce_settings_again(EntityCalls &calls);

}  // namespace ia::node
