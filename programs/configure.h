// Sets the engine up as the node description says. The engine applies it by
// itself as long as no management process does.
#pragma once

#include "node/description/description.h"

namespace ia {

// Throws std::runtime_error, naming the place in the file and the operation, at
// the first operation that fails; what was made until then is left to
// fe_pppoeia_fini().
void configure(const node::Description &description);

}  // namespace ia
