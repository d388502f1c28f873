#include "node/settings/settings.h"

#include <utility>

namespace ia::node {

namespace {

template <class Record>
Record overlay_record(Record below, const Record &above) {
    each_setting<Record>([&](const auto &setting) {
        if (above.*setting.field) below.*setting.field = above.*setting.field;
    });
    return below;
}

template <class Map>
void overlay_each(Map &below, const Map &above) {
    for (const auto &[key, record] : above) below[key] = overlay_record(below[key], record);
}

template <class Record>
Record record_difference(const Record &now, const Record &base) {
    Record left;
    each_setting<Record>([&](const auto &setting) {
        const auto field = setting.field;
        if (now.*field && now.*field != base.*field) left.*field = now.*field;
    });
    return left;
}

template <class Map>
Map map_difference(const Map &now, const Map &base) {
    using Record = typename Map::mapped_type;
    const Record nothing;
    Map differing;
    for (const auto &[key, record] : now) {
        const auto below = base.find(key);
        const Record left =
            record_difference(record, below == base.end() ? nothing : below->second);
        if (left != nothing) differing.emplace(key, left);
    }
    return differing;
}

}  // namespace

AgentSettings overlay(AgentSettings below, const AgentSettings &above) {
    return overlay_record(std::move(below), above);
}

PortSettings overlay(PortSettings below, const PortSettings &above) {
    return overlay_record(std::move(below), above);
}

VlanSettings overlay(VlanSettings below, const VlanSettings &above) {
    return overlay_record(below, above);
}

LineSettings whole(LineSettings line) {
    return overlay_record(created<LineSettings>(), line);
}

Settings overlay(Settings below, const Settings &above) {
    below.agent = overlay_record(std::move(below.agent), above.agent);
    overlay_each(below.ports, above.ports);
    overlay_each(below.vlans, above.vlans);
    overlay_each(below.lines, above.lines);
    return below;
}

Settings difference(const Settings &now, const Settings &base) {
    return {record_difference(now.agent, base.agent), map_difference(now.ports, base.ports),
            map_difference(now.vlans, base.vlans), map_difference(now.lines, base.lines)};
}

Settings waiting(const Settings &wanted, const Settings &running) {
    Settings left;
    for (const auto &[id, port] : wanted.ports)
        if (!running.ports.contains(id)) left.ports[id] = port;
    for (const auto &[id, vlan] : wanted.vlans)
        if (!running.vlans.contains(id)) left.vlans[id] = vlan;
    for (const auto &[key, line] : wanted.lines)
        if (!running.ports.contains(key.first)) left.lines[key] = line;
    return left;
}

unsigned count(const Settings &settings) {
    unsigned all = count(settings.agent);
    for (const auto &[id, port] : settings.ports) all += count(port);
    for (const auto &[id, vlan] : settings.vlans) all += count(vlan);
    for (const auto &[key, line] : settings.lines) all += count(line);
    return all;
}

}  // namespace ia::node
