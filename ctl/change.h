// Commands whose arguments are those of a procedure that changes something.
#pragma once

#include "ctl/command.h"

#include <functional>
#include <tuple>
#include <utility>

namespace ia::ctl {

// What a change is about, for its error: "port 1/1, VLAN 100".
std::string subject_of(Call &call);

// Makes a change once, or once for each port that a pattern means. Goes on after
// a port that is refused; throws Refused with all of those at the end. The answer
// names the ports of a pattern.
Json for_each_port(Call &call, const std::function<void()> &change);

// An argument as a procedure takes it; a text that the command has none for is
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
    return sizeof...(Parameters) - 1;  // the last is the connection
}

template <auto Function>
Json change(Call &call) {
    return for_each_port(call, [&] {
        change_with<Function>(call, Function, std::make_index_sequence<values_of(Function)>());
    });
}

}  // namespace ia::ctl
