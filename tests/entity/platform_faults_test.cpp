// What the node's own platform never does here: an IPPC library that cannot be
// prepared, the GPON feature without its driver, an odd length of a MAC address.
// This program's definitions of three platform calls are linked in place of the
// framework's.
#include "platform/bll/Ports.h"
#include "platform/bll/kvbridge.h"
#include "platform/bll/onuEquipment.h"
#include "platform/ippc.h"
#include "tests/client/recorder.h"
#include "tests/entity/managed_node.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <numeric>

using namespace ia::test;
using ia::node::InterfaceType;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

enum class Driver { there, missing, null };

struct Platform {
    int ippc = 0;
    Driver driver = Driver::there;
    int driver_asked = 0;
    int onu_known = 0;
    std::uint32_t mac_length = 6;  // of 1, 2, 3 ...
} platform;

boost::shared_ptr<Ports::GponImpl> gpon_driver() {
    static const auto driver = boost::make_shared<Ports::GponImpl>();
    return driver;
}

}  // namespace

int kvInitIppc() {
    return platform.ippc;
}

boost::shared_ptr<Ports::GponImpl> Ports::getGponImpl() const {
    ++platform.driver_asked;
    if (platform.driver == Driver::missing) throw nullImplException();
    if (platform.driver == Driver::null) return {};
    return gpon_driver();
}

int onuEquipment::onuConfigGet(unsigned int, onuConfigTableGet &table, std::uint32_t, std::uint32_t,
                               std::uint32_t) const {
    table.mac_length = platform.mac_length;
    std::iota(std::begin(table.mac), std::end(table.mac), std::uint8_t{1});
    return platform.onu_known;
}

namespace {

class PlatformFaults : public ManagedNode {
protected:
    PlatformFaults() {
        platform = {};
        ia::node::Interface onu = interface(11, InterfaceType::onu, 1);
        onu.onu = 1;
        described.interfaces = {interface(1, InterfaceType::olt), onu};
    }

    static void tell_onu(const char *serial = "414243441234ABCD") {
        gpon_driver()->onuStateChanged.tell(1U, 1U, std::string(serial), true);
    }
};

TEST_F(PlatformFaults, IppcThatCannotBePrepared) {
    engine.reset();
    Recorder requests(path);
    platform.ippc = 1;
    EXPECT_FALSE(entity.start());
    kvbridge::instance().vlanAdded.tell("br0", std::uint16_t{100});
    EXPECT_THAT(requests.take(), IsEmpty()) << "the engine is not asked, no event followed";
    EXPECT_THAT(logged(), ElementsAre("3 Error initializing IPPC.\n"));
}

TEST_F(PlatformFaults, GponWithoutItsDriver) {
    for (const Driver driver : {Driver::missing, Driver::null}) {
        platform.driver = driver;
        ia::node::begin_registry(described);
        EXPECT_TRUE(entity.start());
        clear_syslog();
        tell_onu();
        EXPECT_THAT(logged(), IsEmpty()) << "nobody follows the ONUs";
        EXPECT_TRUE(entity.stop());
        EXPECT_EQ(platform.driver_asked, 2) << "at the start, at the stop";
        platform.driver_asked = 0;
    }
}

TEST_F(PlatformFaults, WithoutGponItsDriverIsNotAskedFor) {
    ia::node::begin_registry({});
    EXPECT_TRUE(entity.start());
    EXPECT_TRUE(entity.stop());
    EXPECT_EQ(platform.driver_asked, 0);
}

std::string onu() {
    const ia::LockedBridge bridge("br0");
    const pppoeia_port &port = *bridge->port(11);
    return spaced(port.cpe_serial, int{port.cpe_mac.bytes[0]}, int{port.cpe_mac.bytes[5]});
}

TEST_F(PlatformFaults, RecordsOfAnOnu) {
    const std::string line = "3 pppoeia::onuStateChangeEvent: ";
    const struct {
        const char *name;
        int known;
        std::uint32_t length;
        const char *serial;  // its last four characters
        const char *mac;     // the first and the last byte stored
        Lines logged;
    } rows[] = {
        {"five bytes", 0, 5, "AAA5", "0 0", {line + "Invalid MAC string length: 5.\n"}},
        {"no record", 1, 6, "AAA1", "0 0", {line + "onuConfigGet failed for intf 11.\n"}},
        {"six bytes", 0, 6, "AAA6", "1 6", {}},
        {"seven bytes", 0, 7, "AAA7", "1 6", {line + "Invalid MAC string length: 7.\n"}},
        {"beyond the record",
         0,
         0x80000006,
         "AAA8",
         "1 6",
         {line + "Invalid MAC string length: 2147483654.\n"}},
    };
    start();
    for (const auto &row : rows) {
        platform.onu_known = row.known;
        platform.mac_length = row.length;
        tell_onu(("414243440000" + std::string(row.serial)).c_str());
        EXPECT_EQ(engine->look(onu), spaced("ABCD0000" + std::string(row.serial), row.mac))
            << row.name;
        EXPECT_EQ(logged(), row.logged) << row.name;
    }
}

}  // namespace
