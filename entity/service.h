// The start function of the agent's RPC service: its host calls it on its own
// thread, with the address of a pointer to checkInterrupt().
#pragma once

namespace ia {

using ServiceStart = void *(*)(void *interrupt_check);

// Sets the start function, while the library is loaded and so before the entity
// starts. Without one the host's thread ends at once.
void serve_with(ServiceStart start);

}  // namespace ia
