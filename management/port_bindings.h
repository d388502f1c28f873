// Which devices are the bridges and ports of the node, as the engine was told.
#pragma once

#include "node/description/description.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace ia {

// The engine takes nothing of this from a file: it is told here, before the ports
// themselves are announced. Not locked: its owner calls from one thread at a time.
class PortBindings {
public:
    // The engine may be a new one, which knows nothing.
    void forget();

    // Tells of the board, of the bridges, and of every port whose device or side is another
    // than before, with its frames held from before that on until it arrives; no
    // port is held by itself while all bridges are. False when the engine could not be told of all;
    // the next call tries again.
    bool tell(const node::Description &description, bool bridges_are_held);

    // Ends the bridges that are no longer described. False as above.
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
