// The settings: of the agent, of a port, of a VLAN, of a port and VLAN. One row says
// all there is to say of one setting: the node description, the settings file, the
// differences between settings and the documents go by these rows.
//
// Every field may be absent, so one type holds the settings in force, those that a
// file says, and those in which two of them differ.
#pragma once

#include "pppoeia/records.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace ia::node {

template <class Value>
using Word = std::pair<std::string_view, Value>;
using NumberWord = Word<std::uint32_t>;

struct AgentSettings {
    std::optional<bool> enabled{};
    std::optional<std::uint32_t> vsa_mode{};  // pppoeia_vsa_mode
    std::optional<bool> insert_circuit_id{};
    std::optional<bool> insert_remote_id{};
    std::optional<bool> circuit_id_cvlan{};
    std::optional<std::string> shelf{};
    std::optional<std::string> circuit_id_format{};
    std::optional<std::string> remote_id_format{};
    std::optional<std::int32_t> log_level{};

    bool operator==(const AgentSettings &) const = default;
};

struct PortSettings {
    std::optional<std::uint32_t> role{};   // pppoeia_port_state
    std::optional<std::uint32_t> trust{};  // pppoeia_port_trust
    std::optional<std::string> remote_id{};
    std::optional<std::uint32_t> circuit_id_mode{};  // pppoeia_cid_mode

    bool operator==(const PortSettings &) const = default;
};

struct VlanSettings {
    std::optional<bool> enabled{};

    bool operator==(const VlanSettings &) const = default;
};

// Of a port and VLAN.
struct LineSettings {
    std::optional<std::uint32_t> circuit_id_mode{};
    std::optional<std::string> circuit_id_format{};
    std::optional<std::string> remote_id_format{};

    bool operator==(const LineSettings &) const = default;
};

// --- words ------------------------------------------------------------------------------

inline constexpr std::array<NumberWord, 4> role_words{{
    {"disabled", PPPOEIA_PORT_DISABLED},
    {"client", PPPOEIA_PORT_CLIENT},
    {"server", PPPOEIA_PORT_SERVER},
    {"both", PPPOEIA_PORT_BOTH},
}};

inline constexpr std::array<NumberWord, 2> trust_words{{
    {"trusted", PPPOEIA_PORT_TRUSTED},
    {"untrusted", PPPOEIA_PORT_UNTRUSTED},
}};

inline constexpr std::array<NumberWord, 2> vsa_mode_words{{
    {"keep", PPPOEIA_VSA_KEEP},
    {"remove", PPPOEIA_VSA_REMOVE},
}};

inline constexpr std::array<NumberWord, 3> circuit_id_mode_words{{
    {"default", PPPOEIA_CID_DEFAULT},
    {"atm", PPPOEIA_CID_ATM},
    {"custom", PPPOEIA_CID_CUSTOM},
}};

// A line may also have no mode of its own.
inline constexpr std::array<NumberWord, 4> line_mode_words{{
    {"default", PPPOEIA_CID_DEFAULT},
    {"atm", PPPOEIA_CID_ATM},
    {"custom", PPPOEIA_CID_CUSTOM},
    {"not_set", PPPOEIA_CID_NOT_SET},
}};

// --- one row a setting ---------------------------------------------------------------------

// Without a value the default follows from the type of the interface.
template <class Field>
using Created =
    std::optional<std::conditional_t<std::is_same_v<Field, std::string>, std::string_view, Field>>;

template <class Record, class Field>
struct Setting {
    std::string_view name;     // in the node description and the settings file
    std::string_view command;  // behind pppoeiactl's set and unset
    const char *answer;        // in pppoeiactl's JSON
    const char *label;         // on its screen
    std::optional<Field> Record::*field;
    Created<Field> created = {};             // the default
    std::size_t longest = 0;                 // bytes of a text
    std::span<const NumberWord> words = {};  // of a number; none: any within the limits
    int least = 0, most = 0;                 // of a number without words
};

// In the order in which they are written.
template <class Record>
inline constexpr std::tuple<> settings_of{};

template <>
inline constexpr auto settings_of<AgentSettings> = [] {
    using S = AgentSettings;
    return std::tuple{
        Setting<S, bool>{"enabled", "state", "agent", "agent", &S::enabled, true},
        Setting<S, std::uint32_t>{"vsa_mode", "vsa-mode", "tags_from_servers", "tags from servers",
                                  &S::vsa_mode, PPPOEIA_VSA_REMOVE, 0, vsa_mode_words},
        Setting<S, bool>{"insert_circuit_id", "insert-circuit-id", "insert_circuit_id",
                         "insert Circuit ID", &S::insert_circuit_id, true},
        Setting<S, bool>{"insert_remote_id", "insert-remote-id", "insert_remote_id",
                         "insert Remote ID", &S::insert_remote_id, true},
        Setting<S, bool>{"circuit_id_cvlan", "cvlan", "customer_vlan_in_id", "customer VLAN in ID",
                         &S::circuit_id_cvlan, false},
        Setting<S, std::string>{"shelf", "shelf", "shelf", "shelf", &S::shelf, "NONE",
                                PPPOEIA_SHELF_ID_SIZE - 1},
        Setting<S, std::string>{"circuit_id_format", "cid-format", "circuit_id_format",
                                "Circuit-ID format", &S::circuit_id_format, "",
                                PPPOEIA_FORMAT_SIZE - 1},
        Setting<S, std::string>{"remote_id_format", "rid-format", "remote_id_format",
                                "Remote-ID format", &S::remote_id_format, "$PORT_REM_ID",
                                PPPOEIA_FORMAT_SIZE - 1},
        Setting<S, std::int32_t>{
            "log_level", "log-level", "log_level", "log level", &S::log_level, 6, 0, {}, -1, 7},
    };
}();

template <>
inline constexpr auto settings_of<PortSettings> = [] {
    using S = PortSettings;
    return std::tuple{
        Setting<S, std::uint32_t>{"role", "role", "role", "role", &S::role, {}, 0, role_words},
        Setting<S, std::uint32_t>{
            "trust", "trust", "trust", "trust", &S::trust, {}, 0, trust_words},
        Setting<S, std::string>{"remote_id", "remote-id", "remote_id", "Remote ID", &S::remote_id,
                                "", PPPOEIA_REMOTE_ID_SIZE - 1},
        Setting<S, std::uint32_t>{"circuit_id_mode", "cid-mode", "circuit_id_mode",
                                  "Circuit-ID mode", &S::circuit_id_mode, PPPOEIA_CID_DEFAULT, 0,
                                  circuit_id_mode_words},
    };
}();

template <>
inline constexpr auto settings_of<VlanSettings> = std::tuple{
    Setting<VlanSettings, bool>{"enabled", "vlan", "agent", "agent", &VlanSettings::enabled, true}};

template <>
inline constexpr auto settings_of<LineSettings> = [] {
    using S = LineSettings;
    return std::tuple{
        Setting<S, std::uint32_t>{"circuit_id_mode", "vlan-cid-mode", "circuit_id_mode",
                                  "Circuit-ID mode", &S::circuit_id_mode, PPPOEIA_CID_NOT_SET, 0,
                                  line_mode_words},
        Setting<S, std::string>{"circuit_id_format", "vlan-cid-format", "circuit_id_format",
                                "Circuit-ID format", &S::circuit_id_format, "",
                                PPPOEIA_FORMAT_SIZE - 2},
        Setting<S, std::string>{"remote_id_format", "vlan-rid-format", "remote_id_format",
                                "Remote-ID format", &S::remote_id_format, "",
                                PPPOEIA_FORMAT_SIZE - 2},
    };
}();

template <class Record, class Visit>
constexpr void each_setting(Visit visit) {
    std::apply([&](const auto &...setting) { (visit(setting), ...); }, settings_of<Record>);
}

// A record with all defaults.
template <class Record>
Record created() {
    Record record;
    each_setting<Record>([&](const auto &setting) {
        if (setting.created) (record.*setting.field).emplace(*setting.created);
    });
    return record;
}

// How many settings a record has.
template <class Record>
unsigned count(const Record &record) {
    unsigned set = 0;
    each_setting<Record>([&](const auto &setting) { set += (record.*setting.field).has_value(); });
    return set;
}

}  // namespace ia::node
