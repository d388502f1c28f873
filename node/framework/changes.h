// Takes the node from its present state to a new description and announces each
// change by the platform's events and the entity's calls.
#pragma once

#include "node/framework/entity_calls.h"
#include "node/framework/registry.h"

namespace ia::node {

// Initialises the registry with only those values that entities read before the
// first announcement: shelf id, features, profile mode.
void begin_registry(const Description &description);

// Changes the registry to `description` and announces only differences. Removals
// come first (children before parents, then VLANs, then bridges), then additions
// (bridges, VLANs, parents before children). Returns the number of changes that
// failed because a subscriber refused or the bridge is missing; the log names each,
// and the next call tries it again.
unsigned announce_changes(const Description &description, EntityCalls &calls);

// Announces the VLANs and settings of the whole node again, to entities that have
// returned to their defaults.
void announce_settings_again(EntityCalls &calls);

}  // namespace ia::node
