// The devices of the node's bridges and ports, as last set in the engine.
#pragma once

#include "node/description/description.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace ia {

// The engine takes its bindings only from here, before the ports are announced. Not
// locked: the owner calls from one thread at a time.
class PortBindings {
public:
    // Forgets everything: the engine may be a new process.
    void forget();

    // Sets the board, the bridges, and each port whose device or side has changed; its
    // frames are held from before the change until the port has arrived. While whole
    // bridges are held, single ports are not. False when the engine did not take
    // all; the next call tries again.
    bool tell(const node::Description &description, bool bridges_are_held);

    // Ends bridges that are no longer described. False as above.
    bool end_others(const node::Description &description);

private:
    using Port = std::pair<std::string, std::uint32_t>;     // bridge, id
    using Binding = std::pair<std::string, std::uint32_t>;  // device, side
    using Bridge = std::tuple<std::string, std::uint16_t, std::uint32_t>;

    using Board = std::pair<std::uint8_t, std::string>;  // position, management device

    std::optional<Board> board_;
    std::map<std::string, Bridge> bridges_;
    std::map<Port, Binding> ports_;
};

}  // namespace ia
