// Settings by their table: as JSON, and back to the description's values.
#pragma once

#include "ctl/change.h"
#include "node/settings/settings.h"

#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

namespace ia::ctl {

// All settings: those in force, or the description's.
node::Settings settings_in_force(Call &call);
node::Settings described_settings(Call &call);

// A value in JSON: its word if it has one.
template <class Record, class Field>
Json json_of(const node::Setting<Record, Field> &setting, const Field &value) {
    for (const auto &[word, number] : setting.words)
        if constexpr (!std::is_same_v<Field, std::string>)
            if (number == static_cast<std::uint32_t>(value)) return std::string(word);
    return value;
}

// The settings present, by their names in the answers.
template <class Record>
Json json_of_record(const Record &record) {
    Json all = Json::object();
    node::each_setting<Record>([&](const auto &setting) {
        if (const auto &value = record.*setting.field)
            all[setting.answer] = json_of(setting, *value);
    });
    return all;
}

// The description's values of the settings that differ from it.
template <class Record>
Json described_otherwise(const Record &now, const Record &described) {
    Record differing;
    node::each_setting<Record>([&](const auto &setting) {
        if (now.*setting.field != described.*setting.field)
            differing.*setting.field = described.*setting.field;
    });
    return json_of_record(differing);
}

std::string setting_line(const char *label, const char *key, const Json &settings);

// One line a setting; if it differs from the description, with the description's
// value.
template <class Record>
std::string fields_of(const Json &settings) {
    std::string text;
    node::each_setting<Record>([&](const auto &setting) {
        text += setting_line(setting.label, setting.answer, settings);
    });
    return text;
}

// --- one setting as described ----------------------------------------------------------

const node::AgentSettings &record_for(Call &call, const node::Settings &all,
                                      const node::AgentSettings *);
const node::PortSettings &record_for(Call &call, const node::Settings &all,
                                     const node::PortSettings *);
const node::VlanSettings &record_for(Call &call, const node::Settings &all,
                                     const node::VlanSettings *);
node::LineSettings record_for(Call &call, const node::Settings &all, const node::LineSettings *);

// The procedure's arguments: the command's, then the value.
template <auto Function, class Reply, class... Parameters, class Value, std::size_t... Keys>
void set_to(Call &call, Reply *(*)(Parameters...), const Value &value,
            std::index_sequence<Keys...>) {
    using Types = std::tuple<Parameters...>;
    using Last = std::tuple_element_t<sizeof...(Keys), Types>;
    std::array<std::string, sizeof...(Keys) + 1> texts;
    const auto last = [&] {
        if constexpr (std::is_same_v<Value, std::string>)
            return (texts.back() = value).data();
        else
            return static_cast<Last>(value);
    };
    call.agent().change(subject_of(call), Function,
                        value_at<std::tuple_element_t<Keys, Types>>(call, Keys, texts[Keys])...,
                        last());
}

template <class Record, class Field>
Record record_with(std::optional<Field> Record::*);

template <auto Function, auto Field>
Json unset(Call &call) {
    using Record = decltype(record_with(Field));
    const node::Settings described = described_settings(call);
    Json value;
    Json answer = for_each_port(call, [&] {
        const Record &record = record_for(call, described, static_cast<const Record *>(nullptr));
        set_to<Function>(call, Function, *(record.*Field),
                         std::make_index_sequence<values_of(Function) - 1>());
        node::each_setting<Record>([&](const auto &setting) {
            if constexpr (std::is_same_v<decltype(setting.field),
                                         std::remove_const_t<decltype(Field)>>)
                if (setting.field == Field) value = json_of(setting, *(record.*Field));
        });
    });
    if (!answer.contains("ports")) answer["described"] = value;
    return answer;
}
Json unset_line(Call &call);
void print_unset(const Json &answer);

}  // namespace ia::ctl
