// The framework's log.
#pragma once

#include "platform/bll/singleton.h"

#include <string>
#include <string_view>
#include <type_traits>

#pragma GCC visibility push(default)

// Each thread writes its own lines: a line goes to the log at its line end, or when
// the thread sets a level again.
class Log : public singleton<Log> {
public:
    // 0 error, 1 warning.
    Log &setMsgLevel(int level);

    Log &write(std::string_view text);

    // Numbers and enumerations, in decimal.
    template <class Number>
    requires(std::is_integral_v<Number> || std::is_enum_v<Number>) Log &write(Number number) {
        if constexpr (std::is_enum_v<Number>)
            return write(static_cast<std::underlying_type_t<Number>>(number));
        else
            return write(std::string_view(std::to_string(number)));
    }
};

#pragma GCC visibility pop
