// The start of the agent's RPC service, which the RPC layer above defines: the
// entity's host calls it on its thread.
#pragma once

void *rpcPppoeiaStart(void *interrupt_check);
