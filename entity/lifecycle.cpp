// Start and stop of the entity, its subscriptions, and diagnostic commands.
#include "entity/interface_types.h"
#include "entity/operation.h"
#include "entity/pppoeia.h"
#include "entity/service.h"
#include "platform/bll/CliConfig.h"
#include "platform/bll/Ports.h"
#include "platform/bll/kvbridge.h"
#include "platform/bll/sysInfo.h"
#include "platform/ippc.h"
#include "pppoeia/client.h"

#include <boost/bind/bind.hpp>
#include <boost/function.hpp>
#include <cstdlib>

using namespace boost::placeholders;

const char *const pppoeia::m_default_bridge_name = "br0";
const std::string pppoeia::defaultVendorId = "KORVALEN";
const std::string pppoeia::defaultShelfId = "NONE";
const std::string pppoeia::pppoeia_cid_format_def;
const std::string pppoeia::pppoeia_rid_format_def = "$PORT_REM_ID";

namespace {

// The node's configuration files, by name. The entity stores nothing in them.
[[maybe_unused]] const std::string default_config_file = "default_config.xml";
[[maybe_unused]] const std::string saved_config_file = "saved_config.xml";

// Set while the library is loaded, before anything runs.
constinit ia::ServiceStart service_start = nullptr;

void *start_service(void *interrupt_check) {
    return service_start ? service_start(interrupt_check) : nullptr;
}

}  // namespace

void ia::serve_with(ServiceStart start) {
    service_start = start;
}

pppoeia::pppoeia() : BLEntity("pppoeia"), rpc_proxy_(start_service, "pppoeia_mng") {}

namespace {

// Loading the library creates the entity and registers it with the framework.
[[maybe_unused]] const bool registered = [] {
    BLLManager::instance().registerEntity(pppoeia::instance());
    return true;
}();

}  // namespace

// --- subscriptions ---------------------------------------------------------------

// A notification of the platform and its handler.
struct pppoeia::Subscription {
    boost::function<void()> make;
    boost::function<void()> remove;
};

namespace {

template <class Event, class Handler>
auto asked_before(Event &event, Handler handler) {
    return std::pair([&event, handler] { event.subscribePre(handler); },
                     [&event, handler] { event.unsubscribePre(handler); });
}

template <class Event, class Handler>
auto told_after(Event &event, Handler handler) {
    return std::pair([&event, handler] { event.subscribePost(handler); },
                     [&event, handler] { event.unsubscribePost(handler); });
}

template <class List, class Handler>
auto told(List &list, Handler handler) {
    return std::pair([&list, handler] { list.subscribe(handler); },
                     [&list, handler] { list.unsubscribe(handler); });
}

}  // namespace

// In the order of their making.
std::vector<pppoeia::Subscription> pppoeia::subscriptions() {
    const auto one = [](auto pair) { return Subscription{pair.first, pair.second}; };
    BLLManager &manager = BLLManager::instance();
    Interfaces &interfaces = Interfaces::instance();
    CliConfig &cli = CliConfig::instance();
    kvbridge &bridges = kvbridge::instance();
    return {
        one(told_after(manager.externalMessage,
                       boost::bind(&pppoeia::externalMessage, this, _1, _2, _3, _4))),
        one(asked_before(interfaces.bridgeAdded, boost::bind(&pppoeia::bridgeAdd, this, _1, _2))),
        one(asked_before(bridges.bridgeDeleted, boost::bind(&pppoeia::bridgeDel, this, _1))),
        one(told_after(interfaces.portAdded, boost::bind(&pppoeia::portAdd, this, _1, _2))),
        one(asked_before(interfaces.portDeleted, boost::bind(&pppoeia::portDel, this, _1, _2))),
        one(told_after(interfaces.gponGem,
                       boost::bind(&pppoeia::GPONGemEvent, this, _1, _2, _3, _4))),
        one(told_after(sysInfo::instance().shelfIdChanged,
                       boost::bind(&pppoeia::onChangeShelfId, this, _1))),
        one(told(manager.configurationApplyStart,
                 boost::bind(&pppoeia::configurationApplyStart, this))),
        one(told(manager.configurationApplyStop,
                 boost::bind(&pppoeia::configurationApplyStop, this))),
        one(told(cli.clearConfigStart, boost::bind(&pppoeia::clearConfigStart, this))),
        one(told(cli.clearConfigStop, boost::bind(&pppoeia::clearConfigStop, this))),
        one(told(cli.saveConfigStart, boost::bind(&pppoeia::saveConfigStart, this))),
        one(told(cli.saveConfigStop, boost::bind(&pppoeia::saveConfigStop, this))),
        one(told_after(bridges.vlanAdded, boost::bind(&pppoeia::vlanAdd, this, _1, _2))),
        one(told_after(bridges.vlanDeleted, boost::bind(&pppoeia::vlanDel, this, _1, _2))),
    };
}

// The subscription made only on a node with GPON.
void pppoeia::eachGponSubscription(void (*act)(const Subscription &)) {
    if (!isActive(FEATURE_GPON)) return;
    try {
        const boost::shared_ptr<Ports::GponImpl> gpon = Ports::instance().getGponImpl();
        if (!gpon) return;
        const auto pair =
            told_after(gpon->onuStateChanged,
                       boost::bind(&pppoeia::onuStateChangeEvent, this, _1, _2, _3, _4));
        act({pair.first, pair.second});
    } catch (const Ports::nullImplException &) {
        // no driver, no ONUs to follow
    }
}

bool pppoeia::start() {
    if (kvInitIppc() != 0) {
        ia::log_line(ia::log_error, "Error initializing IPPC.\n");
        return false;
    }
    if (pppoeia_init() != 0) {
        ia::log_line(ia::log_error, "Error initializing pppoeia module.\n");
        return false;
    }
    for (const Subscription &subscription : subscriptions()) subscription.make();
    eachGponSubscription([](const Subscription &subscription) { subscription.make(); });
    return rpc_proxy_.start();
}

// The configuration phases (8 to 13) stay subscribed.
bool pppoeia::stop() {
    rpc_proxy_.stop(false);
    ia::log_line(ia::log_error, "PPPoE IA unsubscribe.\n");
    const std::vector<Subscription> made = subscriptions();
    constexpr std::size_t order[] = {1, 2, 6, 3, 4, 5, 7, 14, 15};
    for (const std::size_t number : order) made[number - 1].remove();
    eachGponSubscription([](const Subscription &subscription) { subscription.remove(); });
    return pppoeia_fini() == 0;
}

// --- configuration ------------------------------------------------------------------

void pppoeia::applyConfiguration(boost::shared_ptr<Storage::Setting>) {}

void pppoeia::saveConfiguration(boost::shared_ptr<Storage::Setting>) const {}

bool pppoeia::applyDefaultSettings() {
    std::uint32_t state = 0;
    if (pppoeia_bridge_state_get(m_default_bridge_name, &state) != 0) return true;
    return pppoeia_apply_default_settings(m_default_bridge_name) == 0;
}

void pppoeia::getDependencies(std::list<std::string> &names) {
    names.assign({Interfaces::instance().entityName()});
}

void pppoeia::configurationApplyStart() {
    ppppoeia_conf_event(0);
}
void pppoeia::configurationApplyStop() {
    ppppoeia_conf_event(1);
}
void pppoeia::clearConfigStart() {
    ppppoeia_conf_event(2);
}
void pppoeia::clearConfigStop() {
    ppppoeia_conf_event(3);
}
void pppoeia::saveConfigStart() {
    ppppoeia_conf_event(4);
}
void pppoeia::saveConfigStop() {
    ppppoeia_conf_event(5);
}

pppoeia::settings_t::settings_t() {
    std::list<Interfaces::Interface> known;
    Interfaces::instance().interfaceListGet(known);
    for (const Interfaces::Interface &interface : known) {
        const ia::InterfaceTypeFacts *facts = ia::facts_of(interface.type);
        interfaceInfo_t info;
        info.ifIndex = interface.id;
        info.name = interface.name;
        info.type = interface.type;
        info.state = interfaceState_t(facts ? facts->state : PPPOEIA_PORT_DISABLED);
        info.mode = interfaceMode_t(facts ? facts->trust : PPPOEIA_PORT_UNTRUSTED);
        interfaces.push_back(info);
    }
}

bool pppoeia::portIdToPortString(unsigned int if_index, std::string *out) {
    return out && Interfaces::instance().interfaceGetLinuxnameById(if_index, *out) == 0;
}

// --- diagnostic commands --------------------------------------------------------------

namespace {

std::uint32_t number_in(const std::string &argument) {
    return static_cast<std::uint32_t>(std::strtoul(argument.c_str(), nullptr, 10));
}

}  // namespace

void pppoeia::externalMessage(const std::string &command, const std::string &argument,
                              std::ostringstream *, const std::string &target) {
    constexpr int debug_level = 7;
    constexpr int quiet_level = 3;
    const char *bridge = m_default_bridge_name;
    const char *tty = target.c_str();
    if (command == "pppoe_debug")
        setLogLevel(pppoeiaLoggingLevel(argument == "0" ? quiet_level : debug_level));
    else if (command == "pppoeiaDump")
        pppoeia_dump(bridge, number_in(argument), tty);
    else if (command == "pppoeiaTestDump")
        pppoeia_test_dump(bridge, tty);
    else if (command.starts_with("pppoeiaTestSet"))
        pppoeia_test_set(bridge, command.c_str(), argument.c_str(), tty);
    else if (command.starts_with("pppoeiaTestRun"))
        pppoeia_test_run(bridge, command.c_str(), argument.c_str(), tty);
    else if (command == "pppoeiaTestDebug")
        pppoeia_test_debug(bridge, number_in(argument), tty);
}
