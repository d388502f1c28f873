// Converts TOML to records: a table of keys says which keys a section has and how
// each value is read; a reader reports the values that it refuses. Only for sources
// that use the TOML library.
#pragma once

#include "node/description/nesting.h"
#include "node/description/problems.h"
#include "node/description/sections.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#define TOML_ENABLE_FORMATTERS 0
#include <toml++/toml.h>

namespace ia::node {

template <std::size_t Size>
inline constexpr std::size_t length_for = Size - 1;  // of the text in a terminated field

inline constexpr std::int64_t any_u32 = 0xFFFFFFFF;

inline unsigned line_of(const toml::node &node) {
    return node.source().begin.line;
}

// --- one value ---------------------------------------------------------------

struct Value {
    const toml::node &node;
    std::string_view section;  // as it is written: "[[interface]]"
    std::string_view key;
    Problems &problems;

    bool refuse(const std::string &why) const {
        problems.add(line_of(node), std::string(section) + ' ' + std::string(key) + ' ' + why);
        return false;
    }
};

inline std::string_view kind_of(const toml::node &node) {
    switch (node.type()) {
        case toml::node_type::table: return "a table";
        case toml::node_type::array: return "an array";
        case toml::node_type::string: return "a text";
        case toml::node_type::integer: return "an integer";
        case toml::node_type::floating_point: return "a fraction";
        case toml::node_type::boolean: return "true or false";
        default: return "a date or time";
    }
}

inline bool refuse_kind(const Value &value, const std::string &expected) {
    return value.refuse("is " + std::string(kind_of(value.node)) + ", expected " + expected);
}

template <class Record, class Field>
Record record_of(Field Record::*);
template <auto Member>
using RecordOf = decltype(record_of(Member));

template <class Field>
struct Held {
    using type = Field;
};
template <class Field>
struct Held<std::optional<Field>> {
    using type = Field;
};
template <auto Member>
using HeldBy = typename Held<
    std::remove_reference_t<decltype(std::declval<RecordOf<Member>>().*Member)>>::type;

inline std::string range_text(std::int64_t least, std::int64_t most) {
    return std::to_string(least) + " to " + std::to_string(most);
}

template <auto Member, std::int64_t Least, std::int64_t Most>
bool number(const Value &value, RecordOf<Member> &record) {
    const std::string expected = "expected " + range_text(Least, Most);
    const auto given = value.node.value_exact<std::int64_t>();
    if (!given) return refuse_kind(value, "an integer, " + range_text(Least, Most));
    if (*given < Least || *given > Most)
        return value.refuse("is " + std::to_string(*given) + ", " + expected);
    record.*Member = static_cast<HeldBy<Member>>(*given);
    return true;
}

template <auto Member>
bool flag(const Value &value, RecordOf<Member> &record) {
    const auto given = value.node.value_exact<bool>();
    if (!given) return refuse_kind(value, "true or false");
    record.*Member = *given;
    return true;
}

inline bool has_control_characters(std::string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](unsigned char c) { return c < 0x20 || c == 0x7F; });
}

// Lengths are in bytes. Leaves `to` alone when the text is refused.
inline bool plain_text(const Value &value, std::size_t least, std::size_t most, std::string &to) {
    const auto *given = value.node.as_string();
    if (!given) return refuse_kind(value, "a text");
    const std::string &content = given->get();
    if (content.size() < least) return value.refuse("is empty, expected a text");
    if (content.size() > most)
        return value.refuse(quoted(content) + " has " + std::to_string(content.size()) +
                            " characters, expected at most " + std::to_string(most));
    if (has_control_characters(content))
        return value.refuse(quoted(content) + " has control characters, expected none");
    to = content;
    return true;
}

template <auto Member, std::size_t Least, std::size_t Most>
bool text(const Value &value, RecordOf<Member> &record) {
    return plain_text(value, Least, Most, record.*Member);
}

template <const auto &Words>
std::string any_word() {
    std::vector<std::string_view> allowed;
    for (const auto &[name, meaning] : Words) allowed.push_back(name);
    return any_of(allowed);
}

template <auto Member, const auto &Words>
bool word(const Value &value, RecordOf<Member> &record) {
    const auto *given = value.node.as_string();
    if (!given) return refuse_kind(value, any_word<Words>());
    for (const auto &[name, meaning] : Words) {
        if (given->get() != name) continue;
        record.*Member = meaning;
        return true;
    }
    return value.refuse("is " + quoted(given->get()) + ", expected " + any_word<Words>());
}

// --- one section ---------------------------------------------------------------

enum class Need { optional, required };
using enum Need;

template <class Record>
struct Key {
    std::string_view name;
    Need need;
    bool (*take)(const Value &, Record &);  // false: refused and reported
};

template <class Row>
std::string unknown_key(std::string_view key, std::span<const Row> known) {
    std::vector<std::string_view> names;
    for (const Row &row : known) names.push_back(row.name);
    const std::string_view near = nearest(key, names);
    const std::string expected = near.empty() ? any_of(names) : quoted(near);
    return "unknown key " + quoted(key) + ", expected " + expected;
}

template <class Row>
const Row *find_row(std::string_view name, std::span<const Row> rows) {
    const auto row =
        std::find_if(rows.begin(), rows.end(), [&](const Row &r) { return r.name == name; });
    return row == rows.end() ? nullptr : &*row;
}

template <class Record>
KeyLines read_record(const toml::table &table, std::string_view section,
                     std::span<const Key<Record>> keys, Record &record, Problems &problems) {
    KeyLines lines;
    for (const auto &[name, node] : table) {
        const Key<Record> *key = find_row(name.str(), keys);
        if (!key)
            problems.add(name.source().begin.line,
                         std::string(section) + ' ' + unknown_key(name.str(), keys));
        else if (key->take({node, section, key->name, problems}, record))
            lines.keys.emplace_back(key->name, line_of(node));
    }
    for (const Key<Record> &key : keys)
        if (key.need == required && !table.contains(key.name))
            problems.add(line_of(table), std::string(section) + " has no " + std::string(key.name) +
                                             ", expected one");
    return lines;
}

// Nothing, and the only problem reported, when the text is not TOML.
inline std::optional<toml::table> parse(std::string_view text, Problems &problems) {
    if (!nesting_fits(text, problems)) return std::nullopt;
    try {
        return toml::parse(text);
    } catch (const toml::parse_error &error) {
        problems.add(error.source().begin.line, printable(error.description()));
        return std::nullopt;
    }
}

}  // namespace ia::node
