#include "node/framework/changes.h"

#include "node/framework/settings.h"
#include "platform/bll/Interfaces.h"
#include "platform/bll/Ports.h"
#include "platform/bll/kvbridge.h"
#include "platform/bll/sysInfo.h"

#include <syslog.h>
#include <algorithm>
#include <tuple>

namespace ia::node {
namespace {

// Number of ancestors of this interface; the bound ends a cycle of parents.
unsigned depth(const NodeState &node, const Interface &interface) {
    unsigned above = 0;
    for (const Interface *parent = node.interface(interface.parent); parent && above < 8;
         parent = node.interface(parent->parent))
        ++above;
    return above;
}

std::vector<Interface> parents_first(const NodeState &node) {
    std::vector<Interface> sorted;
    for (const auto &entry : node.interfaces) sorted.push_back(entry.second);
    std::stable_sort(sorted.begin(), sorted.end(), [&](const auto &left, const auto &right) {
        return depth(node, left) < depth(node, right);
    });
    return sorted;
}

bool same_place(const Interface &left, const Interface &right) {
    const auto place = [](const Interface &interface) {
        return std::tie(interface.name, interface.parent, interface.panel, interface.port,
                        interface.onu, interface.gem, interface.pvc);
    };
    return place(left) == place(right);
}

// Whether one port can become the other without being deleted and added. A GEM port
// may move: there is an event for that.
bool same_port(const Interface &left, const Interface &right) {
    return left.type == right.type && left.device == right.device && left.bridge == right.bridge &&
           (left.type == InterfaceType::gem || same_place(left, right));
}

std::optional<Interfaces::interfaceGPONEvent_t> gem_event(const Interface &was,
                                                          const Interface &now) {
    if (now.type != InterfaceType::gem) return std::nullopt;
    if (was.gem_in_use != now.gem_in_use)
        return now.gem_in_use ? Interfaces::gponGemAdded : Interfaces::gponGemDeleted;
    if (now.gem_in_use && !same_place(was, now)) return Interfaces::gponGemMoved;
    return std::nullopt;
}

std::string label(const Interface &interface) {
    return "interface " + std::to_string(interface.id) + " (" + interface.name + ")";
}

std::string label(const Vlan &vlan) {
    return "VLAN " + std::to_string(vlan.id) + " of bridge " + vlan.bridge;
}

std::string label(const Bridge &bridge) {
    return "bridge " + bridge.name;
}

class Changes {
public:
    Changes(const NodeState &wanted_state, EntityCalls &entity_calls)
        : wanted_(wanted_state),
          before_(registry().read([](const NodeState &node) { return node; })),
          calls_(entity_calls) {}

    unsigned announce() {
        change_facts();
        remove();
        for (const Bridge &bridge : wanted_.bridges) arrive(bridge);
        tell_settings(arrivals_.bridges.count(managed_bridge) ? Description{} : before_.facts,
                      wanted_.facts, calls_);
        for (const auto &entry : wanted_.vlans) arrive(entry.second);
        for (const Interface &interface : parents_first(wanted_)) arrive(interface);
        calls_.arrived(arrivals_);
        return missed_;
    }

private:
    void miss(const std::string &what, const char *why) {
        ++missed_;
        syslog(LOG_WARNING, "%s: %s", what.c_str(), why);
    }

    // Asks the subscribers, changes the registry, tells the subscribers.
    template <class Event, class Change, class... Args>
    bool make(const Event &event, const std::string &what, Change change, const Args &...args) {
        if (!event.ask(args...)) {
            miss(what, "change refused");
            return false;
        }
        registry().change(change);
        event.tell(args...);
        return true;
    }

    // The agent assigns every VLAN to its own bridge, so it is told of no other
    // bridge's VLANs.
    template <class Event, class Change>
    bool make(const Event &event, const Vlan &vlan, const std::string &what, Change change) {
        if (vlan.bridge == managed_bridge)
            return make(event, what, change, vlan.bridge.c_str(), vlan.id);
        registry().change(change);
        return true;
    }

    void change_facts() {
        const Description &now = wanted_.facts;
        if (before_.facts.shelf != now.shelf)
            make(
                sys_.shelfIdChanged, "shelf id " + now.shelf,
                [&](NodeState &node) { node.facts.shelf = now.shelf; }, now.shelf);
        registry().change([&](NodeState &node) {
            const std::string shelf = node.facts.shelf;
            node.facts = now;
            node.facts.shelf = shelf;
        });
        if (before_.facts.profile_mode != now.profile_mode)
            calls_.profileModeChange(now.profile_mode);
        if (before_.gpon != wanted_.gpon)
            syslog(LOG_WARNING, "the GPON feature changes when the node starts again");
    }

    // A bridge's number of port records is fixed at its creation.
    bool goes(const Bridge &bridge) const {
        const Bridge *const stays = wanted_.bridge(bridge.name);
        return !stays || stays->ports != bridge.ports;
    }

    bool goes(const Interface &interface) const {
        const Interface *const stays = wanted_.interface(interface.id);
        const Bridge *const bridge = before_.bridge(interface.bridge);
        return !stays || !same_port(interface, *stays) || !bridge || goes(*bridge);
    }

    bool goes(const Vlan &vlan) const {
        const Bridge *const bridge = before_.bridge(vlan.bridge);
        return !wanted_.vlans.count({vlan.bridge, vlan.id}) || !bridge || goes(*bridge);
    }

    void remove() {
        const std::vector<Interface> ports = parents_first(before_);
        for (auto port = ports.rbegin(); port != ports.rend(); ++port)
            if (goes(*port)) leave(*port);
        for (const auto &[key, vlan] : before_.vlans)
            if (goes(vlan)) leave(vlan);
        for (auto bridge = before_.bridges.rbegin(); bridge != before_.bridges.rend(); ++bridge)
            if (goes(*bridge)) leave(*bridge);
    }

    void leave(const Interface &interface) {
        make(
            interfaces_.portDeleted, label(interface) + " stays",
            [&](NodeState &node) { node.interfaces.erase(interface.id); }, interface.bridge.c_str(),
            static_cast<int>(interface.id));
    }

    void leave(const Vlan &vlan) {
        make(bridges_.vlanDeleted, vlan, label(vlan) + " stays", [&](NodeState &node) {
            node.vlans.erase({vlan.bridge, vlan.id});
        });
    }

    // Ports and VLANs that a subscriber kept go with their bridge.
    void leave(const Bridge &bridge) {
        make(
            bridges_.bridgeDeleted, label(bridge) + " stays",
            [&](NodeState &node) {
                const auto on_it = [&](const auto &entry) {
                    return entry.second.bridge == bridge.name;
                };
                std::erase_if(node.interfaces, on_it);
                std::erase_if(node.vlans, on_it);
                std::erase_if(node.bridges,
                              [&](const Bridge &there) { return there.name == bridge.name; });
            },
            bridge.name.c_str());
    }

    static bool has_bridge(const std::string &name) {
        return registry().read([&](const NodeState &node) { return node.bridge(name) != nullptr; });
    }

    void arrive(const Bridge &bridge) {
        if (!has_bridge(bridge.name)) {
            if (!calls_.hold(bridge.name, 0))
                return miss(label(bridge), "its frames cannot be held");
            if (!make(
                    interfaces_.bridgeAdded, label(bridge),
                    [&](NodeState &node) { node.bridges.push_back(without_settings(bridge)); },
                    bridge.name.c_str(), bridge.ports))
                return;
            arrivals_.bridges.insert(bridge.name);
        }
        Bridge was;
        registry().change([&](NodeState &node) {
            for (Bridge &there : node.bridges) {
                if (there.name != bridge.name) continue;
                was = there;
                there = bridge;
                there.ports = was.ports;  // fixed; differs if the bridge's deletion was refused
            }
        });
        tell_settings(was, bridge, calls_);
    }

    void arrive(const Vlan &vlan) {
        const VlanKey key{vlan.bridge, vlan.id};
        if (!has_bridge(vlan.bridge)) return miss(label(vlan), "its bridge is not there");
        const bool there =
            registry().read([&](const NodeState &node) { return node.vlans.count(key) > 0; });
        const auto come = [&](NodeState &node) { node.vlans[key] = without_settings(vlan); };
        if (!there && !make(bridges_.vlanAdded, vlan, label(vlan), come)) return;
        if (!there) arrivals_.vlans.insert(key);
        Vlan was;
        registry().change([&](NodeState &node) { was = std::exchange(node.vlans[key], vlan); });
        tell_settings(was, vlan, calls_);
    }

    void arrive(const Interface &interface) {
        if (!has_bridge(interface.bridge)) return miss(label(interface), "its bridge is not there");
        const bool there = registry().read(
            [&](const NodeState &node) { return node.interface(interface.id) != nullptr; });
        if (!there && !arrivals_.bridges.count(interface.bridge) &&
            !calls_.hold(interface.bridge, interface.id))
            return miss(label(interface), "its frames cannot be held");
        if (!there && !make(
                          interfaces_.portAdded, label(interface),
                          [&](NodeState &node) {
                              node.interfaces[interface.id] = without_settings(interface);
                          },
                          interface.bridge.c_str(), static_cast<int>(interface.id)))
            return;
        if (!there) arrivals_.ports.emplace(interface.bridge, interface.id);
        const Interface was =
            registry().read([&](const NodeState &node) { return *node.interface(interface.id); });
        if (same_port(was, interface)) update(was, interface);
    }

    void update(const Interface &was, const Interface &now) {
        const auto put = [&](NodeState &node) { node.interfaces[now.id] = now; };
        if (const auto kind = gem_event(was, now)) {
            if (!make(interfaces_.gponGem, label(now), put, static_cast<int>(now.id),
                      static_cast<int>(now.parent), static_cast<int>(now.gem), *kind))
                return;
        } else {
            registry().change(put);
        }
        const bool equipment_changed = was.serial != now.serial || was.mac != now.mac;
        if (equipment_changed && !now.serial.empty() && isActive(FEATURE_GPON))
            singleton<Ports>::instance().getGponImpl()->onuStateChanged.tell(now.parent, now.onu,
                                                                             now.serial, true);
        tell_settings(was, now, calls_);
    }

    Interfaces &interfaces_ = singleton<Interfaces>::instance();
    kvbridge &bridges_ = singleton<kvbridge>::instance();
    sysInfo &sys_ = singleton<sysInfo>::instance();
    const NodeState &wanted_;
    const NodeState before_;
    EntityCalls &calls_;
    Arrivals arrivals_;
    unsigned missed_ = 0;
};

}  // namespace

void begin_registry(const Description &description) {
    const NodeState wanted(description);
    registry().change([&](NodeState &node) {
        node = NodeState();
        node.gpon = wanted.gpon;
        node.facts.shelf = wanted.facts.shelf;
        node.facts.profile_mode = wanted.facts.profile_mode;
        node.facts.rpc_reserved_port = wanted.facts.rpc_reserved_port;
    });
}

unsigned announce_changes(const Description &description, EntityCalls &calls) {
    const NodeState wanted(description);
    return Changes(wanted, calls).announce();
}

void announce_settings_again(EntityCalls &calls) {
    const NodeState node = registry().read([](const NodeState &state) { return state; });
    tell_settings(Description(), node.facts, calls);
    for (const Bridge &bridge : node.bridges)
        tell_settings(without_settings(bridge), bridge, calls);
    for (const auto &[key, vlan] : node.vlans) {
        if (vlan.bridge != managed_bridge) continue;
        singleton<kvbridge>::instance().vlanAdded.tell(vlan.bridge.c_str(), vlan.id);
        tell_settings(without_settings(vlan), vlan, calls);
    }
    for (const auto &[id, interface] : node.interfaces)
        tell_settings(without_settings(interface), interface, calls);
}

}  // namespace ia::node
