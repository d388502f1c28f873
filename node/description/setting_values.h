// A setting's value from TOML and to TOML. Only for sources that use the TOML
// library.
#pragma once

#include "node/description/settings_records.h"
#include "node/description/toml_records.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <string>

namespace ia::node {

// TOML is UTF-8, an operator's text any bytes: a text that is not printable ASCII
// is written as { hex = "..." }.
std::string put_text(const std::string &text);

// Nothing unless the digits are those of at most `longest` bytes, none of them 00.
std::optional<std::string> bytes_of(const std::string &digits, std::size_t longest);

// A setting in force may be a number that has no word, or one beyond the limits: other
// programs set those too. A description says none.
enum class Numbers { any, allowed };

template <class Record>
bool take(const Value &value, const Setting<Record, bool> &setting, Record &record, Numbers) {
    const auto given = value.node.value_exact<bool>();
    if (!given) return refuse_kind(value, "true or false");
    record.*setting.field = *given;
    return true;
}

template <class Record>
bool take(const Value &value, const Setting<Record, std::string> &setting, Record &record,
          Numbers) {
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

template <class Record, class Number>
bool take_word(const Value &value, const Setting<Record, Number> &setting, Record &record) {
    const auto *text = value.node.as_string();
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

template <class Record, class Number>
bool take(const Value &value, const Setting<Record, Number> &setting, Record &record,
          Numbers numbers) {
    using Limits = std::numeric_limits<Number>;
    const bool any = numbers == Numbers::any;
    if (!setting.words.empty() && (!any || !value.node.is_integer()))
        return take_word(value, setting, record);
    const std::int64_t least = any ? Limits::min() : setting.least;
    const std::int64_t most = any ? Limits::max() : setting.most;
    const auto given = value.node.value_exact<std::int64_t>();
    if (!given) return refuse_kind(value, "an integer, " + range_text(least, most));
    if (*given < least || *given > most)
        return value.refuse("is " + std::to_string(*given) + ", expected " +
                            range_text(least, most));
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
    return take(value, std::get<Which>(settings_of<Inner>), record.*Settings, Numbers::allowed);
}

constexpr bool every_setting(std::string_view) {
    return true;
}

template <auto Settings, std::size_t... Which>
constexpr auto keys_of_rows(std::index_sequence<Which...>) {
    using Record = RecordOf<Settings>;
    using Inner = std::remove_reference_t<decltype(std::declval<Record>().*Settings)>;
    return std::array{Key<Record>{std::get<Which>(settings_of<Inner>).name, optional,
                                  take_row<Settings, Which>}...};
}

// Those whose name `Chosen` takes.
template <auto Settings, bool (*Chosen)(std::string_view) = every_setting>
constexpr auto keys_of_settings() {
    using Record = RecordOf<Settings>;
    using Inner = std::remove_reference_t<decltype(std::declval<Record>().*Settings)>;
    using Rows = std::remove_cvref_t<decltype(settings_of<Inner>)>;
    constexpr auto all =
        keys_of_rows<Settings>(std::make_index_sequence<std::tuple_size_v<Rows>>{});
    constexpr auto is_chosen = [](const Key<Record> &key) { return Chosen(key.name); };
    std::array<Key<Record>, std::ranges::count_if(all, is_chosen)> chosen{};
    std::ranges::copy_if(all, chosen.begin(), is_chosen);
    return chosen;
}

}  // namespace ia::node
