// The report on one bridge.
#include "fe/base/terminal.h"
#include "platform/CKvUtil.h"
#include "pppoeia/fe.h"
#include "store/bridge_list.h"

#include <iterator>
#include <ostream>
#include <sstream>

namespace {

void write_neighbour(std::ostream &out, bool there, std::uint16_t vid) {
    if (there)
        out << vid;
    else
        out << '/';
}

// The ids of a list entry's neighbours, "/" at the ends.
template <class List>
void write_previous(std::ostream &out, const List &list, typename List::const_iterator entry) {
    const bool there = entry != list.begin();
    write_neighbour(out, there, there ? std::prev(entry)->first : std::uint16_t{});
}

template <class List>
void write_next(std::ostream &out, const List &list, typename List::const_iterator entry) {
    const auto next = std::next(entry);
    const bool there = next != list.end();
    write_neighbour(out, there, there ? next->first : std::uint16_t{});
}

void write_global(std::ostream &out, const pppoeia_bridge &bridge) {
    out << " Global data:\n"
        << " ------------\n"
        << " pppoeia_cid_format: '" << bridge.cid_format << "'\n"
        << " pppoeia_rid_format: '" << bridge.rid_format << "'\n"
        << " stag_ethertype_nf: " << CKvUtil::ethertypeToString(bridge.stag_ethertype_nf) << "\n"
        << "\n";
}

void write_port(std::ostream &out, const pppoeia_port &port) {
    out << " \tPort Id: " << port.port_id << ", dev name: '" << port.dev_name << "', port_name: '"
        << port.port_name << "'";
}

void write_port_vlans(std::ostream &out, const pppoeia_port &port) {
    write_port(out, port);
    out << ": \n";
    const pppoeia_port_vlan_list &list = port.port_vlans;
    for (auto entry = list.begin(); entry != list.end(); ++entry) {
        const auto &[vid, setting] = *entry;
        out << "\t\tVlan: " << vid << ":\n"
            << "\t\t\tcid_mode: " << static_cast<std::int32_t>(setting.cid_mode) << "\n"
            << "\t\t\tcid_format: '" << setting.cid_format << "'\n"
            << "\t\t\trid_format: '" << setting.rid_format << "'\n"
            << "\t\t\tprev vlan_id: ";
        write_previous(out, list, entry);
        out << "\n\t\t\tnext vlan_id: ";
        write_next(out, list, entry);
        out << "\n";
    }
}

// The quote behind the serial has no opening one; readers of the report expect it
// so.
void write_equipment(std::ostream &out, const pppoeia_port &port) {
    write_port(out, port);
    out << ", CPE serial: " << port.cpe_serial
        << "', CPE MAC: " << CKvUtil::macToString(port.cpe_mac.bytes) << "\n";
}

void write_vlans(std::ostream &out, const pppoeia_vlan_list &list) {
    for (auto entry = list.begin(); entry != list.end(); ++entry) {
        out << "\tVlan: " << entry->first << ", name: '" << entry->second.name << "', prev: ";
        write_previous(out, list, entry);
        out << ", next: ";
        write_next(out, list, entry);
        out << "\n";
    }
}

void write_report(std::ostream &out, const pppoeia_bridge &bridge, std::uint32_t filter) {
    const auto wanted = [filter](const pppoeia_port &port) {
        return filter == 0 || port.port_id == filter;
    };
    write_global(out, bridge);
    out << " port_vlan data:\n"
        << " ---------------\n";
    for (const pppoeia_port &port : bridge.ports)
        if (!port.port_vlans.empty() && wanted(port)) write_port_vlans(out, port);
    out << "\n"
        << " port data:\n"
        << " ---------------\n";
    for (const pppoeia_port &port : bridge.ports)
        if (port.cpe_serial[0] != '\0' && wanted(port)) write_equipment(out, port);
    out << "\n"
        << " vlan data:\n"
        << " ---------------\n";
    write_vlans(out, bridge.vlans);
}

}  // namespace

int fe_pppoeia_dump(const char *bridge, std::uint32_t port, const char *tty) {
    std::ostringstream report;
    {
        const ia::LockedBridge found(bridge);
        if (!found) return 1;
        write_report(report, *found, port);
    }
    pppoeia_send_stream_to_tty(report, tty);  // may wait for the terminal
    return 0;
}
