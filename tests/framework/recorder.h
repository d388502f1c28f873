// Writes down, in order, what the platform announces and what the entity would
// be called with.
#pragma once

#include "node/framework/entity_calls.h"
#include "node/framework/registry.h"
#include "node/settings/settings_text.h"
#include "platform/bll/Interfaces.h"
#include "platform/bll/Ports.h"
#include "platform/bll/kvbridge.h"
#include "platform/bll/sysInfo.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace ia::test {

class Recorder : public node::EntityCalls {
public:
    std::vector<std::string> lines;
    std::set<std::string> refused;  // lines of events that are vetoed

    template <class... Args>
    bool note(const Args &...args) {
        std::ostringstream line;
        const char *gap = "";
        ((line << gap << args, gap = " "), ...);
        lines.push_back(line.str());
        return !refused.count(line.str());
    }

    // For the life of the process. Call once.
    void subscribe() {
        Interfaces &interfaces = singleton<Interfaces>::instance();
        kvbridge &bridges = singleton<kvbridge>::instance();
        interfaces.bridgeAdded.subscribePre(
            [this](const char *bridge, unsigned ports) { return note("+bridge", bridge, ports); });
        bridges.bridgeDeleted.subscribePre(
            [this](const char *bridge) { return note("-bridge", bridge); });
        interfaces.portAdded.subscribePost(
            [this](const char *bridge, int id) { note("+port", bridge, id, name_of(id)); });
        interfaces.portDeleted.subscribePre(
            [this](const char *bridge, int id) { return note("-port", bridge, id, name_of(id)); });
        interfaces.gponGem.subscribePost([this](int id, int parent, int gem, unsigned kind) {
            note("gem", id, parent, gem, kind);
        });
        bridges.vlanAdded.subscribePost(
            [this](const char *bridge, unsigned short id) { note("+vlan", bridge, id); });
        bridges.vlanDeleted.subscribePost(
            [this](const char *bridge, unsigned short id) { note("-vlan", bridge, id); });
        singleton<sysInfo>::instance().shelfIdChanged.subscribePost(
            [this](const std::string &shelf) { note("shelf", shelf); });
    }
    void subscribe_gpon() {
        singleton<Ports>::instance().getGponImpl()->onuStateChanged.subscribePost(
            [this](unsigned port, unsigned onu, const std::string &serial, bool) {
                note("onu", port, onu, serial);
            });
    }

    void setSystemContact(const std::string &text) override { note("contact", text); }
    void setSystemLocation(const std::string &text) override { note("location", text); }
    void setSystemName(const std::string &text) override { note("name", text); }
    void setIntfDescr(unsigned id, const std::string &text) override { note("descr", id, text); }
    void setVlanName(unsigned short id, const std::string &text) override {
        note("vlan-name", id, text);
    }
    void notifyPvcChange(unsigned id, unsigned vpi, unsigned vci) override {
        note("pvc", id, vpi, vci);
    }
    void profileModeChange(bool mode) override { note("profile-mode", mode); }
    void maxPduSet(const std::string &bridge, unsigned pdu) override { note("pdu", bridge, pdu); }
    // As the settings file has them, on one line.
    void make(const node::Settings &settings) override {
        std::string text = node::write_settings(settings);
        std::ranges::replace(text, '\n', ' ');
        note(text.substr(0, text.find_last_not_of(' ') + 1));
    }

private:
    // What the registry knows of it while it is announced.
    static std::string name_of(int id) {
        std::string name = "unknown";
        singleton<Interfaces>::instance().interfaceGetNameById(static_cast<unsigned>(id), name);
        return name;
    }
};

}  // namespace ia::test
