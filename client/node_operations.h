// The table of the node's own operations, in the form of client/operations.h. Ids
// are fixed and start at 1000.
#pragma once

#include "client/operations.h"
#include "pppoeia/node.h"

namespace ia {

inline constexpr std::uint32_t first_node_operation = 1000;

// clang-format off
using NodeOperations = OperationTable<
    EngineOnly<1000, hold_frames, fe_hold_frames>,
    EngineOnly<1001, release_frames, fe_release_frames>,
    EngineOnly<1002, check_bridge, fe_check_bridge>,
    EngineOnly<1003, bind_port, fe_bind_port>,
    EngineOnly<1004, unbind_port, fe_unbind_port>,
    EngineOnly<1005, describe_bridge, fe_describe_bridge>,
    EngineOnly<1006, describe_board, fe_describe_board>,
    EngineOnly<1010, macro_value, fe_macro_value>,
    EngineOnly<1011, watch_frames, fe_watch_frames>,
    EngineOnly<1012, watched_frame_get, fe_watched_frame_get>,
    EngineOnly<1013, line_ids, fe_line_ids>,
    EngineOnly<1014, port_frames, fe_port_frames>,
    EngineOnly<1015, clear_port_frames, fe_clear_port_frames>,
    EngineOnly<1016, line_rows, fe_line_rows>,
    EngineOnly<1017, line_story, fe_line_story>,
    EngineOnly<1018, server_rows, fe_server_rows>>;
// clang-format on

struct EveryOperation : ClientOperations, NodeOperations {};

// The row of a client function.
template <auto Client, std::uint32_t Id, auto Engine, auto Mirror>
Operation<Id, Client, Engine, Mirror> find_operation(const Operation<Id, Client, Engine, Mirror> &);

template <auto Client>
using OperationOf = decltype(find_operation<Client>(EveryOperation{}));

}  // namespace ia
