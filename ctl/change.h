// Commands that take the arguments of a changing procedure.
#pragma once

#include "ctl/command.h"

#include <functional>
#include <tuple>
#include <utility>

namespace ia::ctl {

// The object of a change, for its error: "port 1/1, VLAN 100".
std::string subject_of(Call &call);

// Makes a change once, or for each port that a pattern matches. A refused port does
// not stop it; at the end it throws Refused with all refusals. The answer names the
// ports of a pattern.
Json for_each_port(Call &call, const std::function<void()> &change);

// Converts an argument for a procedure; a text that the command does not have is
// empty.
template <class Value>
Value value_at(Call &call, std::size_t index, std::string &text) {
    const Argument &argument = call.at(index);
    if constexpr (std::is_same_v<Value, char *>) {
        text = argument.name ? call.text(argument.name) : "";
        return text.data();
    } else {
        return static_cast<Value>(call.number(argument));
    }
}

template <auto Function, class Reply, class... Parameters, std::size_t... Index>
void change_with(Call &call, Reply *(*)(Parameters...), std::index_sequence<Index...>) {
    using Types = std::tuple<Parameters...>;
    std::array<std::string, sizeof...(Index) + 1> texts;
    call.agent().change(subject_of(call), Function,
                        value_at<std::tuple_element_t<Index, Types>>(call, Index, texts[Index])...);
}

template <class Reply, class... Parameters>
constexpr std::size_t values_of(Reply *(*)(Parameters...)) {
    return sizeof...(Parameters) - 1;  // without the connection, which is last
}

template <auto Function>
Json change(Call &call) {
    return for_each_port(call, [&] {
        change_with<Function>(call, Function, std::make_index_sequence<values_of(Function)>());
    });
}

}  // namespace ia::ctl
