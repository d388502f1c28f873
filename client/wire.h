// How the operations' arguments travel as parameters.
//
// Numbers and blocks are little-endian, field by field, in the layout of their
// records; texts include their terminator. An argument by const pointer is an
// input, an argument by pointer an output.
#pragma once

#include "platform/ippc.h"
#include "pppoeia/node.h"
#include "pppoeia/records.h"

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

namespace ia::wire {

// The fields of each block, listed once for encoding and decoding.
template <class Block, class Visit>
constexpr void fields(Block &block, Visit &&visit) {
    using Plain = std::remove_const_t<Block>;
    if constexpr (std::same_as<Plain, pppoeia_mac>) {
        visit(block.bytes);
    } else if constexpr (std::same_as<Plain, pppoeia_port_location>) {
        visit(block.panel, block.value, block.padding, block.panel_validity, block.port,
              block.onu_or_pvc, block.gem);
    } else if constexpr (std::same_as<Plain, pppoeia_port_info>) {
        visit(block.parent_id, block.intf_type, block.intf_kind);
        fields(block.location, visit);
    } else if constexpr (std::same_as<Plain, pppoeia_stats>) {
        visit(block.padi, block.padr, block.pado, block.pads, block.padt, block.dropped,
              block.unknown_code, block.truncated, block.bypassed);
    } else if constexpr (std::same_as<Plain, MacroValueBlock>) {
        visit(block.known, block.text);
    } else if constexpr (std::same_as<Plain, LineIdsBlock>) {
        const auto id = [&](auto &one) { visit(one.size, one.binary, one.text, one.bytes); };
        id(block.circuit_id);
        id(block.remote_id);
    } else if constexpr (std::same_as<Plain, PortFramesBlock>) {
        visit(block.outcomes, block.sent);
    } else if constexpr (std::same_as<Plain, line_client>) {
        visit(block.client, block.server, block.since, block.heard, block.session, block.unused);
    } else if constexpr (std::same_as<Plain, line_event>) {
        visit(block.first, block.last, block.count, block.kind, block.error, block.session,
              block.client, block.server, block.text);
    } else if constexpr (std::same_as<Plain, line_row>) {
        visit(block.port, block.vlan, block.cvlan, block.state, block.sessions, block.requests,
              block.refusals, block.requests_since, block.refusals_since, block.first_heard,
              block.last_heard, block.client, block.server, block.since, block.session,
              block.unused);
    } else if constexpr (std::same_as<Plain, server_row>) {
        visit(block.server, block.first_heard, block.last_heard, block.offers, block.sessions,
              block.refusals, block.ended, block.answer_times, block.longest_us, block.vlan,
              block.cvlan, block.unused, block.ac_name, block.service);
    } else if constexpr (std::same_as<Plain, line_story_block>) {
        visit(block.looking_since);
        fields(block.row, visit);
        visit(block.offer_us, block.confirm_us);
        for (auto &client : block.clients) fields(client, visit);
        visit(block.event_count, block.unused);
        for (auto &event : block.events) fields(event, visit);
    } else if constexpr (std::same_as<Plain, line_rows_block>) {
        visit(block.looking_since, block.next, block.count, block.kept, block.limit,
              block.forgotten, block.full);
        for (auto &row : block.rows) fields(row, visit);
    } else if constexpr (std::same_as<Plain, server_rows_block>) {
        visit(block.count, block.next);
        for (auto &row : block.rows) fields(row, visit);
    } else if constexpr (std::same_as<Plain, WatchedFrame>) {
        visit(block.number, block.time_ns, block.port, block.came_length, block.left_length,
              block.bridge, block.input_device, block.output_device, block.verdict, block.reason,
              block.came, block.left);
    } else {
        static_assert(std::integral<Plain>);
        visit(block);
    }
}

// A block in its wire form. Its size is its type-size code.
template <class Value>
using Block = std::array<std::uint8_t, sizeof(Value)>;

template <class Value>
consteval bool every_byte_is_a_fields() {
    Value value{};
    std::size_t bytes = 0;
    fields(value, [&](const auto &...field) { bytes += (sizeof field + ...); });
    return bytes == sizeof(Value);
}

template <class Value>
Block<Value> encode(const Value &value) {
    static_assert(every_byte_is_a_fields<Value>());
    Block<Value> bytes;
    std::size_t at = 0;
    const auto put_number = [&]<class Number>(Number number) {
        for (std::size_t i = 0; i < sizeof number; ++i)
            bytes[at++] = static_cast<std::uint8_t>(
                static_cast<std::make_unsigned_t<Number>>(number) >> 8 * i);
    };
    const auto put = [&]<class Field>(const Field &field) {
        if constexpr (std::is_array_v<Field>)
            for (const auto number : field) put_number(number);
        else
            put_number(field);
    };
    fields(value, [&](const auto &...field) { (put(field), ...); });
    return bytes;
}

template <class Value>
Value decode(std::span<const std::uint8_t, sizeof(Value)> bytes) {
    Value value;
    std::size_t at = 0;
    const auto take_number = [&]<class Number>(Number &to) {
        std::make_unsigned_t<Number> number = 0;
        for (std::size_t i = 0; i < sizeof number; ++i)
            number = static_cast<std::make_unsigned_t<Number>>(
                number | static_cast<std::make_unsigned_t<Number>>(bytes[at++]) << 8 * i);
        to = static_cast<Number>(number);
    };
    const auto take = [&]<class Field>(Field &field) {
        if constexpr (std::is_array_v<Field>)
            for (auto &number : field) take_number(number);
        else
            take_number(field);
    };
    fields(value, [&](auto &...field) { (take(field), ...); });
    return value;
}

// A parameter's direction and type-size code, from its argument's type.
template <class Argument>
inline constexpr bool is_text =
    std::same_as<std::remove_const_t<std::remove_pointer_t<Argument>>, char>;

// Outputs are copied as they are into the caller's memory.
template <class Argument>
inline constexpr bool is_written_as_it_travels =
    std::endian::native ==
    std::endian::little &&every_byte_is_a_fields<std::remove_pointer_t<Argument>>();

template <class Argument>
inline constexpr int direction =
    std::is_pointer_v<Argument> && !std::is_const_v<std::remove_pointer_t<Argument>> ? IPPC_OUTPUT
                                                                                     : IPPC_INPUT;

template <class Argument>
inline constexpr int code = is_text<Argument>
                                ? IPPC_TEXT
                                : static_cast<int>(sizeof(std::remove_pointer_t<Argument>));

}  // namespace ia::wire
