// The state of the link to the engine, and its transitions.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ia {

class EngineLink {
public:
    enum class State : std::uint8_t {
        away,         // nobody serves its socket
        configuring,  // the engine does not have the whole configuration yet
        in_force,     // the engine has the whole configuration
    };
    enum class Event : std::uint8_t {
        lost,        // the connection ended
        found,       // a connection was made
        configured,  // everything was announced, and every call answered
        failed,      // a change failed halfway, or a bridge is not served
    };

    State state() const { return state_; }
    void on(Event event) {
        state_ = next[static_cast<std::size_t>(state_)][static_cast<std::size_t>(event)];
    }

private:
    using enum State;

    // The next state, by state and by event in their order.
    static constexpr std::array<std::array<State, 4>, 3> next{{
        //  lost  found        configured failed
        {{away, configuring, away, away}},             // away
        {{away, configuring, in_force, configuring}},  // configuring
        {{away, configuring, in_force, configuring}},  // in_force
    }};

    State state_ = away;
};

}  // namespace ia
