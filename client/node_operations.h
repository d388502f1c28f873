// The table of the node's own operations, beside that of the client API and of
// the same style. Ids are fixed, from 1000 up.
#pragma once

#include "client/operations.h"
#include "pppoeia/node.h"

namespace ia {

inline constexpr std::uint32_t first_node_operation = 1000;

// clang-format off
using node_operations = operation_table<
    engine_only<1000, hold_frames, fe_hold_frames>,
    engine_only<1001, release_frames, fe_release_frames>,
    engine_only<1002, check_bridge, fe_check_bridge>,
    engine_only<1003, bind_port, fe_bind_port>,
    engine_only<1004, unbind_port, fe_unbind_port>,
    engine_only<1005, describe_bridge, fe_describe_bridge>,
    engine_only<1006, describe_board, fe_describe_board>,
    engine_only<1010, macro_value, fe_macro_value>,
    engine_only<1011, watch_frames, fe_watch_frames>,
    engine_only<1012, watched_frame_get, fe_watched_frame_get>,
    engine_only<1013, line_ids, fe_line_ids>,
    engine_only<1014, port_frames, fe_port_frames>,
    engine_only<1015, clear_port_frames, fe_clear_port_frames>,
    engine_only<1016, line_rows, fe_line_rows>,
    engine_only<1017, line_story, fe_line_story>,
    engine_only<1018, server_rows, fe_server_rows>>;
// clang-format on

struct every_operation : operations, node_operations {};

// The row of a client function.
template <auto Client, std::uint32_t Id, auto Engine, auto Mirror>
operation<Id, Client, Engine, Mirror> find_operation(const operation<Id, Client, Engine, Mirror> &);

template <auto Client>
using operation_of = decltype(find_operation<Client>(every_operation{}));

}  // namespace ia
