// The only place that knows TOML. One table a section says which keys there are
// and how each value is taken; a taker reports what it refuses.
#include "node/description/sections.h"

#include "node/description/words.h"
#include "pppoeia/records.h"

#include <net/if.h>
#include <algorithm>
#include <cstdio>
#include <span>

#define TOML_ENABLE_FORMATTERS 0
#include <toml++/toml.h>

namespace ia::node {

namespace {

constexpr std::int64_t most_port_records = 65536;
constexpr std::int64_t any_u32 = 0xFFFFFFFF;
constexpr std::size_t device_name_max = IFNAMSIZ - 1;

template <std::size_t Size>
constexpr std::size_t length_for = Size - 1;  // of the text in a terminated field

unsigned line_of(const toml::node &node) {
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

std::string_view kind_of(const toml::node &node) {
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

bool refuse_kind(const Value &value, const std::string &expected) {
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

std::string range_text(std::int64_t least, std::int64_t most) {
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

bool has_control_characters(std::string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](unsigned char c) { return c < 0x20 || c == 0x7F; });
}

// Lengths are in bytes.
template <auto Member, std::size_t Least, std::size_t Most>
bool text(const Value &value, RecordOf<Member> &record) {
    const auto *given = value.node.as_string();
    if (!given) return refuse_kind(value, "a text");
    const std::string &content = given->get();
    if (content.size() < Least) return value.refuse("is empty, expected a text");
    if (content.size() > Most)
        return value.refuse(quoted(content) + " has " + std::to_string(content.size()) +
                            " characters, expected at most " + std::to_string(Most));
    if (has_control_characters(content))
        return value.refuse(quoted(content) + " has control characters, expected none");
    record.*Member = content;
    return true;
}

// A name that the kernel accepts for a network device.
template <auto Member, std::size_t Most>
bool device(const Value &value, RecordOf<Member> &record) {
    if (!text<Member, 1, Most>(value, record)) return false;
    const std::string &name = record.*Member;
    if (name == "." || name == ".." || name.find_first_of("/: ") != std::string::npos)
        return value.refuse(quoted(name) + " cannot name a device, expected no '/', ':' or space");
    return true;
}

// An ONU's serial: the vendor's four letters in hexadecimal, eight characters more.
template <auto Member>
bool onu_serial(const Value &value, RecordOf<Member> &record) {
    constexpr std::size_t vendor_digits = 8;
    constexpr std::size_t length = 16;
    if (!text<Member, length, length>(value, record)) return false;
    const std::string &serial = record.*Member;
    if (serial.find_first_not_of("0123456789abcdefABCDEF") < vendor_digits)
        return value.refuse(quoted(serial) + " does not begin with 8 hexadecimal digits");
    return true;
}

template <auto Member>
bool mac_address(const Value &value, RecordOf<Member> &record) {
    const auto *given = value.node.as_string();
    if (!given) return refuse_kind(value, "a text");
    std::array<std::uint8_t, 6> mac{};
    int end = 0;
    const int read = std::sscanf(given->get().c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%n",
                                 &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5], &end);
    if (read != 6 || static_cast<std::size_t>(end) != given->get().size())
        return value.refuse("is " + quoted(given->get()) + ", expected 00:1A:2B:3C:4D:5E");
    record.*Member = mac;
    return true;
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

// --- the keys of each section --------------------------------------------------

enum class Need { optional, required };
using enum Need;

template <class Record>
struct Key {
    std::string_view name;
    Need need;
    bool (*take)(const Value &, Record &);  // false: refused and reported
};

constexpr std::size_t system_text = length_for<PPPOEIA_SYSTEM_TEXT_SIZE>;

constexpr Key<Description> node_keys[] = {
    {"board", optional, number<&Description::board, 0, 255>},
    {"shelf", optional, text<&Description::shelf, 0, length_for<PPPOEIA_SHELF_ID_SIZE>>},
    {"contact", optional, text<&Description::contact, 0, system_text>},
    {"location", optional, text<&Description::location, 0, system_text>},
    {"name", optional, text<&Description::name, 0, system_text>},
    {"management", optional, device<&Description::management_device, device_name_max>},
    {"profile_mode", optional, flag<&Description::profile_mode>},
};

constexpr Key<Description> rpc_keys[] = {
    {"reserved_port", optional, flag<&Description::rpc_reserved_port>},
};

constexpr Key<Bridge> bridge_keys[] = {
    {"name", required, device<&Bridge::name, PPPOEIA_BRIDGE_NAME_MAX>},
    {"ports", optional, number<&Bridge::ports, 2, most_port_records>},
    {"stag_ethertype", optional, number<&Bridge::stag_ethertype, 0x0600, 0xFFFF>},
    {"max_pdu", optional, number<&Bridge::max_pdu, 64, 65535>},
    {"vsa_mode", optional, word<&Bridge::vsa_mode, vsa_mode_words>},
    {"enabled", optional, flag<&Bridge::enabled>},
};

constexpr std::size_t panel_max = length_for<sizeof pppoeia_port_location::panel>;

constexpr Key<Interface> interface_keys[] = {
    {"id", required, number<&Interface::id, 1, most_port_records - 1>},
    {"name", required, text<&Interface::name, 1, length_for<PPPOEIA_PORT_NAME_SIZE>>},
    {"type", required, word<&Interface::type, type_words>},
    {"device", required, device<&Interface::device, device_name_max>},
    {"bridge", optional, text<&Interface::bridge, 1, PPPOEIA_BRIDGE_NAME_MAX>},
    {"parent", optional, number<&Interface::parent, 1, most_port_records - 1>},
    {"panel", optional, text<&Interface::panel, 0, panel_max>},
    {"port", optional, number<&Interface::port, 0, any_u32>},
    {"onu", optional, number<&Interface::onu, 0, any_u32>},
    {"gem", optional, number<&Interface::gem, 0, any_u32>},
    {"pvc", optional, number<&Interface::pvc, 0, any_u32>},
    {"vpi", optional, number<&Interface::vpi, 0, 255>},
    {"vci", optional, number<&Interface::vci, 0, 65535>},
    {"description", optional, text<&Interface::description, 0, system_text>},
    {"remote_id", optional, text<&Interface::remote_id, 0, length_for<PPPOEIA_REMOTE_ID_SIZE>>},
    {"serial", optional, onu_serial<&Interface::serial>},
    {"mac", optional, mac_address<&Interface::mac>},
    {"in_use", optional, flag<&Interface::gem_in_use>},
    {"role", optional, word<&Interface::role, role_words>},
    {"trust", optional, word<&Interface::trust, trust_words>},
};

constexpr Key<Vlan> vlan_keys[] = {
    {"id", required, number<&Vlan::id, 0, 4095>},
    {"name", optional, text<&Vlan::name, 0, length_for<PPPOEIA_VLAN_NAME_SIZE>>},
    {"bridge", optional, text<&Vlan::bridge, 1, PPPOEIA_BRIDGE_NAME_MAX>},
    {"enabled", optional, flag<&Vlan::enabled>},
};

// --- sections ------------------------------------------------------------------

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

// A section that stands once.
struct Single {
    std::string_view section;
    std::span<const Key<Description>> keys;
};

constexpr Single node_section{"[node]", node_keys};
constexpr Single rpc_section{"[rpc]", rpc_keys};

template <const auto &Which>
void read_single(const toml::node &node, Sections &sections, Problems &problems) {
    const toml::table *table = node.as_table();
    const std::string section(Which.section);
    if (!table)
        return problems.add(line_of(node), section.substr(1, section.size() - 2) +
                                               " is not a section, expected " + section);
    read_record<Description>(*table, Which.section, Which.keys, sections.description, problems);
}

// A section that may stand many times.
template <class Record>
struct List {
    std::string_view section;
    std::span<const Key<Record>> keys;
    std::vector<Record> Description::*records;
    std::vector<KeyLines> Sections::*lines;
};

constexpr List<Bridge> bridge_list{"[[bridge]]", bridge_keys, &Description::bridges,
                                   &Sections::bridge_lines};
constexpr List<Interface> interface_list{"[[interface]]", interface_keys, &Description::interfaces,
                                         &Sections::interface_lines};
constexpr List<Vlan> vlan_list{"[[vlan]]", vlan_keys, &Description::vlans, &Sections::vlan_lines};

template <class Record>
void read_list(const List<Record> &list, const toml::node &node, Sections &sections,
               Problems &problems) {
    const toml::array *tables = node.as_array();
    if (!tables || !tables->is_homogeneous(toml::node_type::table))
        return problems.add(
            line_of(node), std::string(list.section.substr(2, list.section.size() - 4)) +
                               " is not a list of sections, expected " + std::string(list.section));
    for (const toml::node &element : *tables) {
        const toml::table &table = *element.as_table();
        Record record;
        record.line = line_of(table);
        (sections.*list.lines)
            .push_back(read_record(table, list.section, list.keys, record, problems));
        (sections.description.*list.records).push_back(std::move(record));
    }
}

template <const auto &WhichList>
void read_each(const toml::node &node, Sections &sections, Problems &problems) {
    read_list(WhichList, node, sections, problems);
}

struct Section {
    std::string_view name;
    void (*read)(const toml::node &, Sections &, Problems &);
};

constexpr Section all_sections[] = {
    {"node", read_single<node_section>}, {"rpc", read_single<rpc_section>},
    {"bridge", read_each<bridge_list>},  {"interface", read_each<interface_list>},
    {"vlan", read_each<vlan_list>},
};

std::optional<toml::table> parse(std::string_view text, Problems &problems) {
    try {
        return toml::parse(text);
    } catch (const toml::parse_error &error) {
        problems.add(error.source().begin.line, std::string(error.description()));
        return std::nullopt;
    }
}

}  // namespace

std::optional<Sections> read_sections(std::string_view text, Problems &problems) {
    const std::optional<toml::table> root = parse(text, problems);
    if (!root) return std::nullopt;
    Sections sections;
    for (const auto &[name, node] : *root) {
        const Section *section = find_row<Section>(name.str(), all_sections);
        if (section)
            section->read(node, sections, problems);
        else
            problems.add(name.source().begin.line, unknown_key<Section>(name.str(), all_sections));
    }
    return sections;
}

}  // namespace ia::node
