// The entity on a node whose IPPC library does not start, and on one that has
// GPON but no driver for it. Both take the place of the platform's own.
#include "platform/bll/Ports.h"
#include "platform/ippc.h"
#include "tests/entity/managed_node.h"

using namespace ia::test;
using testing::ElementsAre;

namespace {

int ippc_status = 0;

}  // namespace

int kvInitIppc() {
    return ippc_status;
}

boost::shared_ptr<Ports::GponImpl> Ports::getGponImpl() const {
    throw nullImplException();
}

namespace {

using PlatformFailures = ManagedNode;

TEST_F(PlatformFailures, WithoutIppcNothingStarts) {
    ippc_status = -1;
    ia::node::begin_registry(described);
    EXPECT_FALSE(entity.start());
    EXPECT_THAT(logged(), ElementsAre("3 Error initializing IPPC.\n"));
    ippc_status = 0;
    announce();
    EXPECT_EQ(engine->look([] { return std::string(ia::LockedBridge("br0") ? "made" : "none"); }),
              "none");
}

TEST_F(PlatformFailures, GponWithoutADriverStartsAndStops) {
    described.interfaces = {interface(1, ia::node::InterfaceType::olt)};
    start();
    EXPECT_EQ(engine->look([] { return std::string(ia::LockedBridge("br0") ? "made" : "none"); }),
              "made");
    EXPECT_TRUE(entity.stop());
    EXPECT_THAT(logged(), ElementsAre("3 PPPoE IA unsubscribe.\n"));
}

}  // namespace
