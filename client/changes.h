// Reports each change that this process makes in the engine to an observer (the
// management process saves it).
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <type_traits>

// One for the library and for the process that loads it.
#pragma GCC visibility push(default)

namespace ia {

// A call: function id, bridge, and its numeric arguments in their order (port,
// VLAN, value).
struct EngineCall {
    std::uint32_t id = 0;
    const char *bridge = "";
    std::array<std::uint32_t, 3> numbers{};
};

// Both run on the thread that made the call, under the locks that it holds. Set
// before the first call.
struct ChangeObserver {
    // The engine and this process's store have made the change. The result becomes
    // the result of the client function.
    std::function<int(const EngineCall &)> made;

    // The engine did not answer: it may have made the change, this process's store
    // has not.
    std::function<void(const EngineCall &)> unanswered;
};

inline ChangeObserver observer;

template <class... Arguments>
EngineCall describe_call(std::uint32_t id, Arguments... arguments) {
    EngineCall call{.id = id, .bridge = "", .numbers = {}};
    [[maybe_unused]] std::size_t numbers = 0;
    [[maybe_unused]] bool named = false;
    [[maybe_unused]] const auto take = [&](auto argument) {
        using Argument = decltype(argument);
        if constexpr (std::is_integral_v<Argument>) {
            if (numbers < call.numbers.size())
                call.numbers[numbers++] = static_cast<std::uint32_t>(argument);
        } else if constexpr (std::is_same_v<Argument, const char *>) {
            if (argument && !named) call.bridge = argument;
            named = true;
        }
    };
    (take(arguments), ...);
    return call;
}

}  // namespace ia

#pragma GCC visibility pop
