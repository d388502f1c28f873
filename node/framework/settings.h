// Tells the entity the settings of a description. Each function tells the
// differences between two records of one object.
#pragma once

#include "node/framework/entity_calls.h"
#include "node/framework/registry.h"
#include "node/settings/settings.h"

namespace ia::node {

// The state of a new object, before any of its settings.
Bridge without_settings(const Bridge &bridge);
Vlan without_settings(const Vlan &vlan);
Interface without_settings(const Interface &interface);

void tell_settings(const Description &was, const Description &now, EntityCalls &calls);
void tell_settings(const Bridge &was, const Bridge &now, EntityCalls &calls);
void tell_settings(const Vlan &was, const Vlan &now, EntityCalls &calls);
void tell_settings(const Interface &was, const Interface &now, EntityCalls &calls);

// The settings in force without any operator's: the description's, else the
// defaults of a new object.
Settings described_settings(const NodeState &node);

}  // namespace ia::node
