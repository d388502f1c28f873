// The description's sections: a table each, with the keys and how their values are
// read.
#include "node/description/sections.h"

#include "node/description/setting_values.h"
#include "node/description/toml_records.h"
#include "node/description/words.h"
#include "pppoeia/records.h"

#include <net/if.h>
#include <cstdio>
#include <span>

namespace ia::node {

namespace {

constexpr std::int64_t most_port_records = 65536;

constexpr std::size_t device_name_max = IFNAMSIZ - 1;

// A valid name of a network device.
template <auto Member, std::size_t Most>
bool device(const Value &value, RecordOf<Member> &record) {
    if (!text<Member, 1, Most>(value, record)) return false;
    const std::string &name = record.*Member;
    if (name == "." || name == ".." || name.find_first_of("/: ") != std::string::npos)
        return value.refuse(quoted(name) + " cannot name a device, expected no '/', ':' or space");
    return true;
}

// An absolute path.
template <auto Member, std::size_t Most>
bool path(const Value &value, RecordOf<Member> &record) {
    if (!text<Member, 1, Most>(value, record)) return false;
    const std::string &given = record.*Member;
    if (!given.starts_with('/') || given.ends_with('/'))
        return value.refuse("is " + quoted(given) + ", expected a file's path that begins with /");
    return true;
}

// An ONU's serial: the vendor's four letters in hexadecimal, then eight characters.
template <auto Member>
bool onu_serial(const Value &value, RecordOf<Member> &record) {
    constexpr std::size_t vendor_digits = 8;
    constexpr std::size_t length = 16;
    if (!text<Member, length, length>(value, record)) return false;
    const std::string &serial = record.*Member;
    if (serial.find_first_not_of("0123456789abcdefABCDEF") < vendor_digits)
        return value.refuse(quoted(serial) + " does not begin with 8 hexadecimal digits");
    for (std::size_t at = 0; at < vendor_digits; at += 2)
        if (serial.compare(at, 2, "00") == 0)
            return value.refuse(quoted(serial) +
                                " has 00 for a letter of the vendor, expected four letters in "
                                "hexadecimal");
    return true;
}

std::optional<Address> mac_of(const Value &value) {
    const auto *given = value.node.as_string();
    if (!given) {
        refuse_kind(value, "a text");
        return std::nullopt;
    }
    Address mac{};
    int end = 0;
    // NOLINTNEXTLINE(cert-err34-c): two digits each
    const int read = std::sscanf(given->get().c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%n",
                                 &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5], &end);
    if (read == 6 && static_cast<std::size_t>(end) == given->get().size()) return mac;
    value.refuse("is " + quoted(given->get()) + ", expected 00:1A:2B:3C:4D:5E");
    return std::nullopt;
}

template <auto Member>
bool mac_address(const Value &value, RecordOf<Member> &record) {
    const auto mac = mac_of(value);
    if (mac) record.*Member = *mac;
    return mac.has_value();
}

template <auto Inner, auto Member, const auto &Words>
bool word_in(const Value &value, RecordOf<Inner> &record) {
    return word<Member, Words>(value, record.*Inner);
}

// A number of a record within a record.
template <auto Inner, auto Member, std::int64_t Least, std::int64_t Most>
bool number_in(const Value &value, RecordOf<Inner> &record) {
    return number<Member, Least, Most>(value, record.*Inner);
}

// A list of MAC addresses, at most so many.
template <auto Inner, auto Member, std::size_t Most>
bool addresses_in(const Value &value, RecordOf<Inner> &record) {
    const toml::array *given = value.node.as_array();
    if (!given) return refuse_kind(value, "a list of addresses");
    if (given->size() > Most)
        return value.refuse("has " + std::to_string(given->size()) +
                            " addresses, expected at most " + std::to_string(Most));
    for (const toml::node &element : *given) {
        const auto address = mac_of({element, value.section, value.key, value.problems});
        if (!address) return false;
        (record.*Inner.*Member).push_back(*address);
    }
    return true;
}

// --- the keys of each section --------------------------------------------------

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

constexpr std::size_t path_max = 4000;

constexpr Key<Description> settings_keys[] = {
    {"file", required, path<&Description::settings_file, path_max>},
    {"auto", optional, flag<&Description::settings_auto>},
};

// Collectors ignore files with other names.
template <auto Member>
bool prom_file(const Value &value, RecordOf<Member> &record) {
    if (!path<Member, path_max>(value, record)) return false;
    const std::string &given = record.*Member;
    if (!given.ends_with(".prom"))
        return value.refuse("is " + quoted(given) + ", expected a file's name that ends in .prom");
    return true;
}

constexpr Key<Description> metrics_keys[] = {
    {"textfile", required, prom_file<&Description::metrics_file>},
    {"interval", optional, number<&Description::metrics_interval, 1, 3600>},
};

// A section's own keys, then those of its settings.
template <class Record, std::size_t Own, std::size_t Settings>
constexpr auto with(const Key<Record> (&own)[Own], std::array<Key<Record>, Settings> settings) {
    std::array<Key<Record>, Own + Settings> all{};
    std::ranges::copy(settings, std::ranges::copy(own, all.begin()).out);
    return all;
}

constexpr std::array<Word<Checks>, 3> checks_words{
    {{"off", Checks::off}, {"watch", Checks::watch}, {"enforce", Checks::enforce}}};

constexpr std::int64_t rate_max = 1'000'000, addresses_max = 65'535, day = 86'400;

template <class Record, auto Member, std::int64_t Least, std::int64_t Most>
constexpr auto limit = number_in<&Record::limits, Member, Least, Most>;

template <auto Member, std::int64_t Least, std::int64_t Most>
constexpr auto bridge_limit = number_in<&Bridge::bridge_limits, Member, Least, Most>;

constexpr Key<Bridge> bridge_keys[] = {
    {"name", required, device<&Bridge::name, PPPOEIA_BRIDGE_NAME_MAX>},
    {"device", optional, device<&Bridge::device, device_name_max>},
    {"ports", optional, number<&Bridge::ports, 2, most_port_records>},
    {"stag_ethertype", optional, number<&Bridge::stag_ethertype, 0x0600, 0xFFFF>},
    {"max_pdu", optional, number<&Bridge::max_pdu, 64, 65535>},
    {"line_rate", optional, limit<Bridge, &PortLimits::line_rate, 0, rate_max>},
    {"line_burst", optional, limit<Bridge, &PortLimits::line_burst, 1, rate_max>},
    {"line_silence", optional, limit<Bridge, &PortLimits::line_silence, 0, day>},
    {"port_rate", optional, limit<Bridge, &PortLimits::port_rate, 0, rate_max>},
    {"port_burst", optional, limit<Bridge, &PortLimits::port_burst, 1, rate_max>},
    {"new_addresses", optional, limit<Bridge, &PortLimits::new_addresses, 1, addresses_max>},
    {"address_life", optional, bridge_limit<&BridgeLimits::address_life, 1, day>},
    {"engine_rate", optional, bridge_limit<&BridgeLimits::engine_rate, 0, rate_max>},
    {"checks", optional, word_in<&Bridge::bridge_limits, &BridgeLimits::checks, checks_words>},
    {"servers", optional,
     addresses_in<&Bridge::bridge_limits, &BridgeLimits::servers, servers_max>},
    {"servers_first", optional, bridge_limit<&BridgeLimits::servers_first, 0, servers_max>},
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
    {"serial", optional, onu_serial<&Interface::serial>},
    {"mac", optional, mac_address<&Interface::mac>},
    {"in_use", optional, flag<&Interface::gem_in_use>},
    {"line_rate", optional, limit<Interface, &PortLimits::line_rate, 0, rate_max>},
    {"line_burst", optional, limit<Interface, &PortLimits::line_burst, 1, rate_max>},
    {"line_silence", optional, limit<Interface, &PortLimits::line_silence, 0, day>},
    {"port_rate", optional, limit<Interface, &PortLimits::port_rate, 0, rate_max>},
    {"port_burst", optional, limit<Interface, &PortLimits::port_burst, 1, rate_max>},
    {"new_addresses", optional, limit<Interface, &PortLimits::new_addresses, 1, addresses_max>},
};

constexpr Key<Vlan> vlan_keys[] = {
    {"id", required, number<&Vlan::id, 0, 4095>},
    {"name", optional, text<&Vlan::name, 0, length_for<PPPOEIA_VLAN_NAME_SIZE>>},
    {"bridge", optional, text<&Vlan::bridge, 1, PPPOEIA_BRIDGE_NAME_MAX>},
};

constexpr Key<PortVlan> port_vlan_keys[] = {
    {"port", required, number<&PortVlan::port, 1, most_port_records - 1>},
    {"vlan", required, number<&PortVlan::vlan, 0, 4095>},
};

// [node] has it.
constexpr bool not_shelf(std::string_view name) {
    return name != "shelf";
}

constexpr auto keys_of_bridge = with(bridge_keys, keys_of_settings<&Bridge::settings, not_shelf>());
constexpr auto keys_of_interface = with(interface_keys, keys_of_settings<&Interface::settings>());
constexpr auto keys_of_vlan = with(vlan_keys, keys_of_settings<&Vlan::settings>());
constexpr auto keys_of_port_vlan = with(port_vlan_keys, keys_of_settings<&PortVlan::settings>());

// --- sections ------------------------------------------------------------------

// A section that may occur once.
struct Single {
    std::string_view section;
    std::span<const Key<Description>> keys;
};

constexpr Single node_section{"[node]", node_keys};
constexpr Single rpc_section{"[rpc]", rpc_keys};
constexpr Single settings_section{"[settings]", settings_keys};
constexpr Single metrics_section{"[metrics]", metrics_keys};

template <const auto &Which>
void read_single(const toml::node &node, Sections &sections, Problems &problems) {
    const toml::table *table = node.as_table();
    const std::string section(Which.section);
    if (!table)
        return problems.add(line_of(node), section.substr(1, section.size() - 2) +
                                               " is not a section, expected " + section);
    read_record<Description>(*table, Which.section, Which.keys, sections.description, problems);
}

// A section that may occur many times.
template <class Record>
struct List {
    std::string_view section;
    std::span<const Key<Record>> keys;
    std::vector<Record> Description::*records;
    std::vector<KeyLines> Sections::*lines;
};

constexpr List<Bridge> bridge_list{"[[bridge]]", keys_of_bridge, &Description::bridges,
                                   &Sections::bridge_lines};
constexpr List<Interface> interface_list{"[[interface]]", keys_of_interface,
                                         &Description::interfaces, &Sections::interface_lines};
constexpr List<Vlan> vlan_list{"[[vlan]]", keys_of_vlan, &Description::vlans,
                               &Sections::vlan_lines};
constexpr List<PortVlan> port_vlan_list{"[[port_vlan]]", keys_of_port_vlan,
                                        &Description::port_vlans, &Sections::port_vlan_lines};

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
    {"node", read_single<node_section>},
    {"rpc", read_single<rpc_section>},
    {"settings", read_single<settings_section>},
    {"metrics", read_single<metrics_section>},
    {"bridge", read_each<bridge_list>},
    {"interface", read_each<interface_list>},
    {"vlan", read_each<vlan_list>},
    {"port_vlan", read_each<port_vlan_list>},
};

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
