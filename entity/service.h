// The agent's RPC service, as far as the entity knows it: what its host calls, on
// its own thread, with the address of a pointer to checkInterrupt().
#pragma once

namespace ia {

using ServiceStart = void *(*)(void *interrupt_check);

// Hands in the service's start; without one the host's thread ends at once. While
// the library is loaded, so before the entity starts.
void serve_with(ServiceStart start);

}  // namespace ia
