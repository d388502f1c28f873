// A setting's value as TOML, both ways. Included only by the sources that know TOML.
#pragma once

#include "node/description/settings_records.h"
#include "node/description/toml_records.h"

#include <limits>
#include <optional>
#include <string>

namespace ia::node {

// TOML is UTF-8 and an operator's text any bytes: one that is not plain travels
// as { hex = "..." }.
std::string put_text(const std::string &text);

// Nothing unless the digits are those of at most `longest` bytes, none of them 00.
std::optional<std::string> bytes_of(const std::string &digits, std::size_t longest);

template <class Record>
bool take(const Value &value, const Setting<Record, bool> &setting, Record &record) {
    const auto given = value.node.value_exact<bool>();
    if (!given) return refuse_kind(value, "true or false");
    record.*setting.field = *given;
    return true;
}

template <class Record>
bool take(const Value &value, const Setting<Record, std::string> &setting, Record &record) {
    std::string text;
    if (const toml::table *table = value.node.as_table()) {
        const auto digits = (*table)["hex"].template value_exact<std::string>();
        const auto bytes =
            digits && table->size() == 1 ? bytes_of(*digits, setting.longest) : std::nullopt;
        if (!bytes)
            return value.refuse("is a table, expected a text or { hex = \"...\" } of at most " +
                                std::to_string(setting.longest) + " bytes, none of them 00");
        text = *bytes;
    } else if (!plain_text(value, 0, setting.longest, text)) {
        return false;
    }
    record.*setting.field = text;
    return true;
}

// A number, or a word for one; an operator may also have set a number that has none.
template <class Record, class Number>
bool take(const Value &value, const Setting<Record, Number> &setting, Record &record) {
    using Limits = std::numeric_limits<Number>;
    const auto *text = value.node.as_string();
    if (!setting.words.empty() && !value.node.is_integer()) {
        std::vector<std::string_view> allowed;
        for (const auto &[word, meaning] : setting.words) allowed.push_back(word);
        if (!text) return refuse_kind(value, any_of(allowed));
        for (const auto &[word, meaning] : setting.words) {
            if (text->get() != word) continue;
            record.*setting.field = static_cast<Number>(meaning);
            return true;
        }
        return value.refuse("is " + quoted(text->get()) + ", expected " + any_of(allowed));
    }
    const auto given = value.node.value_exact<std::int64_t>();
    const std::string range = range_text(Limits::min(), Limits::max());
    if (!given) return refuse_kind(value, "an integer, " + range);
    if (*given < Limits::min() || *given > Limits::max())
        return value.refuse("is " + std::to_string(*given) + ", expected " + range);
    record.*setting.field = static_cast<Number>(*given);
    return true;
}

// The value as it is written.
template <class Record, class Field>
std::string put(const Field &value, const Setting<Record, Field> &setting) {
    if constexpr (std::is_same_v<Field, bool>) {
        return value ? "true" : "false";
    } else if constexpr (std::is_same_v<Field, std::string>) {
        return put_text(value);
    } else {
        for (const auto &[word, meaning] : setting.words)
            if (meaning == static_cast<std::uint32_t>(value)) return '"' + std::string(word) + '"';
        return std::to_string(value);
    }
}

// The keys of a description's section whose record has its settings in a member.
template <auto Settings, std::size_t Which>
bool take_row(const Value &value, RecordOf<Settings> &record) {
    using Inner = std::remove_reference_t<decltype(record.*Settings)>;
    return take(value, std::get<Which>(settings_of<Inner>), record.*Settings);
}

template <auto Settings>
constexpr auto keys_of_settings() {
    using Inner = std::remove_reference_t<decltype(std::declval<RecordOf<Settings>>().*Settings)>;
    constexpr std::size_t size =
        std::tuple_size_v<std::remove_cvref_t<decltype(settings_of<Inner>)>>;
    return [&]<std::size_t... Which>(std::index_sequence<Which...>) {
        return std::array<Key<RecordOf<Settings>>, size>{
            {{std::get<Which>(settings_of<Inner>).name, optional, take_row<Settings, Which>}...}};
    }
    (std::make_index_sequence<size>{});
}

}  // namespace ia::node
