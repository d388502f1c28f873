// Describes a changing call in words, for the log, and explains its refusal.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace ia {

// The names of a procedure's arguments; null for an argument without a name.
using Labels = std::array<const char *, 3>;

class Subject {
public:
    template <class Value>
    void add(const char *label, const Value &value) {
        if constexpr (std::is_pointer_v<Value>)
            add_text(label, value ? value : "");
        else
            add_number(label, static_cast<std::int64_t>(value));
    }

    // "port 3, format \"$SHELF\"".
    const std::string &words() const { return words_; }

    // The reason of a refusal with this result: the value and its limit; empty when
    // no cause is found.
    std::string explain(int result) const;

private:
    void add_text(const char *label, const char *text);
    void add_number(const char *label, std::int64_t number);

    std::string words_;
    std::optional<std::uint32_t> port_;
    std::optional<std::uint32_t> vlan_;
    std::int64_t mode_ = 0;
    std::string_view text_label_;
    std::string text_;
};

}  // namespace ia
