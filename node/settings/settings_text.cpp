// One table a section says how each setting is called, read and written.
#include "node/settings/settings_text.h"

#include "node/description/read_description.h"
#include "node/description/text_file.h"
#include "node/description/toml_records.h"
#include "node/description/words.h"
#include "pppoeia/records.h"

#include <unistd.h>
#include <array>
#include <cerrno>
#include <cstdio>
#include <limits>

namespace ia::node {

namespace {

// A section as it is read: what it is about, and its settings.
template <class Record>
struct Row {
    std::uint32_t id = 0;  // of a port or VLAN
    std::uint16_t vlan = 0;
    Record settings;
};

template <class Record>
struct Setting {
    std::string_view name;
    bool (*take)(const Value &, Row<Record> &);
    std::optional<std::string> (*put)(const Record &);  // nothing when it is absent
};

// --- one value, both ways ------------------------------------------------------------

// TOML is UTF-8 and an operator's text any bytes: one that is not plain travels
// as { hex = "..." }.
std::string put_text(const std::string &text) {
    const bool plain = std::all_of(text.begin(), text.end(),
                                   [](unsigned char c) { return c >= 0x20 && c < 0x7F; });
    std::string written = plain ? "\"" : "{ hex = \"";
    for (const char c : text) {
        if (plain) {
            if (c == '"' || c == '\\') written += '\\';
            written += c;
        } else {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x",
                          static_cast<unsigned>(static_cast<unsigned char>(c)));
            written += digits;
        }
    }
    return written + (plain ? "\"" : "\" }");
}

std::optional<std::string> bytes_of(const std::string &digits) {
    const auto value = [](char c) {
        constexpr std::string_view all = "0123456789abcdef";
        return all.find(c);
    };
    if (digits.size() % 2 != 0) return std::nullopt;
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const std::size_t high = value(digits[i]), low = value(digits[i + 1]);
        if (high > 15 || low > 15 || high + low == 0) return std::nullopt;
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes;
}

template <auto Member, std::size_t Most>
bool take_text(const Value &value, Row<RecordOf<Member>> &row) {
    const toml::table *table = value.node.as_table();
    if (!table) return text<Member, 0, Most>(value, row.settings);
    const auto digits = (*table)["hex"].value_exact<std::string>();
    const auto bytes = digits && table->size() == 1 ? bytes_of(*digits) : std::nullopt;
    if (!bytes || bytes->size() > Most)
        return value.refuse("is a table, expected a text or { hex = \"...\" } of at most " +
                            std::to_string(Most) + " bytes, none of them 00");
    row.settings.*Member = *bytes;
    return true;
}

template <auto Member, std::size_t Size>
constexpr Setting<RecordOf<Member>> text_setting(std::string_view name) {
    return {name, take_text<Member, length_for<Size>>,
            [](const RecordOf<Member> &record) -> std::optional<std::string> {
                if (!(record.*Member)) return std::nullopt;
                return put_text(*(record.*Member));
            }};
}

template <auto Member>
constexpr Setting<RecordOf<Member>> flag_setting(std::string_view name) {
    return {name,
            [](const Value &value, Row<RecordOf<Member>> &row) {
                return flag<Member>(value, row.settings);
            },
            [](const RecordOf<Member> &record) -> std::optional<std::string> {
                if (!(record.*Member)) return std::nullopt;
                return *(record.*Member) ? "true" : "false";
            }};
}

template <auto Member>
constexpr Setting<RecordOf<Member>> number_setting(std::string_view name) {
    using Limits = std::numeric_limits<HeldBy<Member>>;
    return {name,
            [](const Value &value, Row<RecordOf<Member>> &row) {
                return number<Member, Limits::min(), Limits::max()>(value, row.settings);
            },
            [](const RecordOf<Member> &record) -> std::optional<std::string> {
                if (!(record.*Member)) return std::nullopt;
                return std::to_string(*(record.*Member));
            }};
}

// A word; an operator may also have set a number that has none.
template <auto Member, const auto &Words>
constexpr Setting<RecordOf<Member>> word_setting(std::string_view name) {
    return {name,
            [](const Value &value, Row<RecordOf<Member>> &row) {
                return value.node.is_integer() ? number<Member, 0, any_u32>(value, row.settings)
                                               : word<Member, Words>(value, row.settings);
            },
            [](const RecordOf<Member> &record) -> std::optional<std::string> {
                if (!(record.*Member)) return std::nullopt;
                for (const auto &[word, meaning] : Words)
                    if (meaning == *(record.*Member)) return '"' + std::string(word) + '"';
                return std::to_string(*(record.*Member));
            }};
}

// --- the settings of each section ------------------------------------------------------

constexpr std::array<Word<std::uint32_t>, 3> circuit_id_mode_words{{
    {"default", PPPOEIA_CID_DEFAULT},
    {"atm", PPPOEIA_CID_ATM},
    {"custom", PPPOEIA_CID_CUSTOM},
}};

constexpr std::array agent_settings{
    flag_setting<&AgentSettings::enabled>("enabled"),
    word_setting<&AgentSettings::vsa_mode, vsa_mode_words>("vsa_mode"),
    flag_setting<&AgentSettings::insert_circuit_id>("insert_circuit_id"),
    flag_setting<&AgentSettings::insert_remote_id>("insert_remote_id"),
    flag_setting<&AgentSettings::circuit_id_cvlan>("circuit_id_cvlan"),
    text_setting<&AgentSettings::shelf, PPPOEIA_SHELF_ID_SIZE>("shelf"),
    text_setting<&AgentSettings::circuit_id_format, PPPOEIA_FORMAT_SIZE>("circuit_id_format"),
    text_setting<&AgentSettings::remote_id_format, PPPOEIA_FORMAT_SIZE>("remote_id_format"),
    number_setting<&AgentSettings::log_level>("log_level"),
};

constexpr std::array port_settings{
    word_setting<&PortSettings::role, role_words>("role"),
    word_setting<&PortSettings::trust, trust_words>("trust"),
    text_setting<&PortSettings::remote_id, PPPOEIA_REMOTE_ID_SIZE>("remote_id"),
    word_setting<&PortSettings::circuit_id_mode, circuit_id_mode_words>("circuit_id_mode"),
};

constexpr std::array vlan_settings{
    flag_setting<&VlanSettings::enabled>("enabled"),
};

constexpr std::array line_settings{
    word_setting<&LineSettings::circuit_id_mode, circuit_id_mode_words>("circuit_id_mode"),
    text_setting<&LineSettings::circuit_id_format, PPPOEIA_FORMAT_SIZE - 1>("circuit_id_format"),
    text_setting<&LineSettings::remote_id_format, PPPOEIA_FORMAT_SIZE - 1>("remote_id_format"),
};

// --- reading -----------------------------------------------------------------------------

constexpr std::int64_t last_port = 65535;
constexpr std::int64_t last_vlan = 4095;

// A section's settings behind the keys that say what it is about.
template <class Record, std::size_t Size, std::size_t Keys>
constexpr auto keys_of(const std::array<Key<Row<Record>>, Keys> &about,
                       const std::array<Setting<Record>, Size> &settings) {
    std::array<Key<Row<Record>>, Keys + Size> keys{};
    std::ranges::copy(about, keys.begin());
    for (std::size_t i = 0; i < Size; ++i)
        keys[Keys + i] = {settings[i].name, optional, settings[i].take};
    return keys;
}

template <class Record, std::int64_t Least, std::int64_t Most>
constexpr Key<Row<Record>> id_key(std::string_view name) {
    return {name, required, number<&Row<Record>::id, Least, Most>};
}

constexpr auto agent_keys = keys_of(std::array<Key<Row<AgentSettings>>, 0>{}, agent_settings);
constexpr auto port_keys =
    keys_of(std::array{id_key<PortSettings, 1, last_port>("id")}, port_settings);
constexpr auto vlan_keys =
    keys_of(std::array{id_key<VlanSettings, 0, last_vlan>("id")}, vlan_settings);
constexpr auto line_keys = keys_of(
    std::array{
        id_key<LineSettings, 1, last_port>("port"),
        Key<Row<LineSettings>>{"vlan", required, number<&Row<LineSettings>::vlan, 0, last_vlan>}},
    line_settings);

void read_agent(const toml::node &node, Settings &settings, Problems &problems) {
    const toml::table *table = node.as_table();
    if (!table) return problems.add(line_of(node), "agent is not a section, expected [agent]");
    Row<AgentSettings> row;
    read_record<Row<AgentSettings>>(*table, "[agent]", agent_keys, row, problems);
    settings.agent = row.settings;
}

// Every section of a list; `put` says which record of the settings it is.
template <class Record, class Put>
void read_each(const toml::node &node, std::string_view section,
               std::span<const Key<Row<Record>>> keys, Problems &problems, Put put) {
    const toml::array *tables = node.as_array();
    if (!tables || !tables->is_homogeneous(toml::node_type::table))
        return problems.add(line_of(node),
                            "this is not a list of sections, expected " + std::string(section));
    for (const toml::node &element : *tables) {
        Row<Record> row;
        read_record(*element.as_table(), section, keys, row, problems);
        if (!put(row))
            problems.add(line_of(element), std::string(section) + " is here a second time");
    }
}

void read_section(std::string_view name, unsigned line, const toml::node &node, Settings &settings,
                  Problems &problems) {
    if (name == "agent") return read_agent(node, settings, problems);
    if (name == "port")
        return read_each<PortSettings>(node, "[[port]]", port_keys, problems, [&](auto &row) {
            return settings.ports.emplace(row.id, row.settings).second;
        });
    if (name == "vlan")
        return read_each<VlanSettings>(node, "[[vlan]]", vlan_keys, problems, [&](auto &row) {
            return settings.vlans.emplace(row.id, row.settings).second;
        });
    if (name == "port_vlan")
        return read_each<LineSettings>(node, "[[port_vlan]]", line_keys, problems, [&](auto &row) {
            return settings.lines.emplace(LineKey{row.id, row.vlan}, row.settings).second;
        });
    problems.add(line, "unknown section " + quoted(name) + ", expected " +
                           any_of({"agent", "port", "vlan", "port_vlan"}));
}

// --- writing -----------------------------------------------------------------------------

template <class Record, std::size_t Size>
std::string lines_of(const Record &record, const std::array<Setting<Record>, Size> &settings) {
    std::string text;
    for (const Setting<Record> &setting : settings)
        if (const auto value = setting.put(record))
            text += std::string(setting.name) + " = " + *value + '\n';
    return text;
}

}  // namespace

std::string write_settings(const Settings &settings) {
    std::string text;
    const auto section = [&](const char *name, const std::string &about, const std::string &lines) {
        if (lines.empty()) return;
        text += (text.empty() ? "" : "\n") + std::string(name) + '\n' + about + lines;
    };
    const auto line = [](const char *name, unsigned number) {
        return std::string(name) + " = " + std::to_string(number) + '\n';
    };
    section("[agent]", "", lines_of(settings.agent, agent_settings));
    for (const auto &[id, port] : settings.ports)
        section("[[port]]", line("id", id), lines_of(port, port_settings));
    for (const auto &[id, vlan] : settings.vlans)
        section("[[vlan]]", line("id", id), lines_of(vlan, vlan_settings));
    for (const auto &[key, settings_of_line] : settings.lines)
        section("[[port_vlan]]", line("port", key.first) + line("vlan", key.second),
                lines_of(settings_of_line, line_settings));
    return text;
}

Settings read_settings(std::string_view text, const std::string &file) {
    Problems problems;
    Settings settings;
    if (const auto root = parse(text, problems))
        for (const auto &[name, node] : *root)
            read_section(name.str(), name.source().begin.line, node, settings, problems);
    if (problems.any()) throw DescriptionError(problems.report(file));
    return settings;
}

Settings read_settings_file(const std::string &file) {
    if (access(file.c_str(), F_OK) != 0 && errno == ENOENT) return {};
    return read_settings(read_text_file(file), file);
}

}  // namespace ia::node
