// The settings that a description carries, told to the entity by calls. Each
// function tells what differs between two records of one thing.
#pragma once

#include "node/framework/entity_calls.h"
#include "node/framework/registry.h"
#include "node/settings/settings.h"

namespace ia::node {

// A thing as it is right after it was announced, before any setting of its.
Bridge without_settings(const Bridge &bridge);
Vlan without_settings(const Vlan &vlan);
Interface without_settings(const Interface &interface);

void tell_settings(const Description &was, const Description &now, EntityCalls &calls);
void tell_settings(const Bridge &was, const Bridge &now, EntityCalls &calls);
void tell_settings(const Vlan &was, const Vlan &now, EntityCalls &calls);
void tell_settings(const Interface &was, const Interface &now, EntityCalls &calls);

// The settings in force before any operator's: those of the description, and
// where it has none those that everything is created with.
Settings described_settings(const NodeState &node);

}  // namespace ia::node
