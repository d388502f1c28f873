// The control requests, and start and stop.
#include "tests/node/kernel/fixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>

namespace ia::node::test {
namespace {

using platform::control_close;
using platform::control_open;
using platform::control_request;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr char bridge_path[] = "/proc/net/kvbridge/br0/bridge";

// The errno of a call, 0 when it succeeds.
template <class Call>
int error_of(Call call) {
    errno = 0;
    return call() < 0 ? errno : 0;
}

int attach(int bridge, const char *filter, const char *device) {
    kvbridge_filter_req request{};
    std::snprintf(request.filter, sizeof request.filter, "%s", filter);
    std::snprintf(request.device, sizeof request.device, "%s", device);
    return error_of([&] { return control_request(bridge, KVBRIDGE_IOC_FILTER_ATTACH, &request); });
}

int pseudo(unsigned long request, const char *name) {
    const int devices = control_open(KVMNG_CONFIG_PATH);
    std::string text = name;
    const int error = error_of([&] { return control_request(devices, request, text.data()); });
    control_close(devices);
    return error;
}

std::string filters_and_devices() {
    return output_of(
        "tc qdisc show | grep clsact; ip -o link show type tun;"
        "for d in p1 p2 n1 n2; do tc filter show dev $d ingress;"
        " tc filter show dev $d egress; done");
}

class Control : public BridgeTest {};

TEST_F(Control, OpensWhatThereIs) {
    EXPECT_EQ(ENOENT, error_of([] { return control_open(KVMNG_CONFIG_PATH); }));
    node.bridges.push_back(node.bridges[0]);
    node.bridges.back().name = "br7";  // described, but not there
    run("ip link add br8 type bridge");
    start();
    const char *const absent[] = {
        "/proc/net/kvbridge/br7/bridge",
        "/proc/net/kvbridge/br8/bridge",
        "/proc/net/kvbridge/p1/bridge",
        "/proc/net/kvbridge/br0",
        "/proc/net/kvbridge/br0/ports",
        "/proc/net/kvbridge//bridge",
        "/proc/net/kvbridge/bridge",
        "/proc/net/kvbridge/br0/x/bridge",
        "/proc/net/mng",
        "",
    };
    for (const char *path : absent)
        EXPECT_EQ(ENOENT, error_of([&] { return control_open(path); })) << path;
    run("ip link add br7 type bridge");
    EXPECT_EQ(0, error_of([] { return control_open("/proc/net/kvbridge/br7/bridge"); }));
    EXPECT_EQ(0, error_of([] { return control_open(bridge_path); }));
}

TEST_F(Control, AnswersVersionsAndInformation) {
    node.bridges[0].stag_ethertype = 0x9100;
    start();
    std::int32_t version = 0;
    const int devices = control_open(KVMNG_CONFIG_PATH);
    EXPECT_EQ(0, control_request(devices, KVMNG_IOC_GET_VERSION, &version));
    EXPECT_EQ(3, version);
    const int bridging = control_open(KVBRIDGE_CONFIG_PATH);
    EXPECT_EQ(0, control_request(bridging, KVBRIDGE_IOC_GET_VERSION, &version));
    EXPECT_EQ(56, version);
    const int bridge = control_open(bridge_path);
    kvbridge_bridge_info info{};
    EXPECT_EQ(0, control_request(bridge, KVBRIDGE_IOC_GET_INFO, &info));
    EXPECT_EQ(0x9100, info.stag_ethertype);

    const auto refused = [&](int handle, unsigned long request) {
        return error_of([&] { return control_request(handle, request, &version); });
    };
    EXPECT_EQ(ENOTTY, refused(devices, KVBRIDGE_IOC_GET_VERSION));
    EXPECT_EQ(ENOTTY, refused(bridging, KVMNG_IOC_PSEUDO_ADD));
    EXPECT_EQ(ENOTTY, refused(bridge, KVBRIDGE_IOC_GET_VERSION));
    EXPECT_EQ(EFAULT,
              error_of([&] { return control_request(bridge, KVBRIDGE_IOC_GET_INFO, nullptr); }));
    control_close(devices);
    EXPECT_EQ(EBADF, refused(devices, KVMNG_IOC_GET_VERSION));
    control_close(devices);
}

TEST_F(Control, MakesAndRemovesPseudoDevices) {
    start();
    EXPECT_EQ(ENODEV, pseudo(KVMNG_IOC_PSEUDO_DEL, "br0_pppoe"));
    EXPECT_EQ(0, pseudo(KVMNG_IOC_PSEUDO_ADD, "br0_pppoe"));
    EXPECT_EQ(EEXIST, pseudo(KVMNG_IOC_PSEUDO_ADD, "br0_pppoe"));
    EXPECT_EQ(EBUSY, pseudo(KVMNG_IOC_PSEUDO_ADD, "h1"));  // a device of another kind
    EXPECT_EQ(EINVAL, pseudo(KVMNG_IOC_PSEUDO_ADD, "sixteen_letters_"));
    EXPECT_EQ(ENODEV, pseudo(KVMNG_IOC_PSEUDO_DEL, "h1"));
    // 1500 bytes behind three tags with the record: 1526 + 107 = 1619 + 14.
    EXPECT_THAT(output_of("ip link show br0_pppoe"), HasSubstr("mtu 1619"));
    EXPECT_EQ(0, pseudo(KVMNG_IOC_PSEUDO_DEL, "br0_pppoe"));
    EXPECT_THAT(filters_and_devices(), Not(HasSubstr("br0_pppoe")));
}

TEST_F(Control, AttachesThePppoeFilterToAPseudoDeviceOnly) {
    node.bridges[0].max_pdu = 2000;
    run("ip link add br1 type bridge");
    node.bridges.push_back(node.bridges[0]);
    node.bridges[1].name = "br1";
    start();
    const int br0 = control_open(bridge_path);
    const int br1 = control_open("/proc/net/kvbridge/br1/bridge");
    EXPECT_EQ(ENODEV, attach(br0, "pppoe", "br0_pppoe"));
    EXPECT_EQ(ENODEV, attach(br0, "pppoe", "h1"));
    ASSERT_EQ(0, pseudo(KVMNG_IOC_PSEUDO_ADD, "br0_pppoe"));
    EXPECT_EQ(EINVAL, attach(br0, "dhcp", "br0_pppoe"));
    EXPECT_EQ(0, attach(br0, "pppoe", "br0_pppoe"));
    EXPECT_THAT(output_of("ip link show br0_pppoe"), HasSubstr("mtu 2093"));  // + 107 - 14
    EXPECT_EQ(0, attach(br0, "pppoe", "br0_pppoe"));
    EXPECT_EQ(EBUSY, attach(br1, "pppoe", "br0_pppoe"));
}

TEST_F(Control, OneKernelInANamespace) {
    start();
    EXPECT_THROW(Kernel second(node), std::runtime_error);
}

TEST_F(Control, RefusesDescriptionsThatItCannotServe) {
    const auto refusal = [](const Description &description) -> std::string {
        try {
            const Kernel refused(description);
            return "";
        } catch (const std::runtime_error &error) {
            return error.what();
        }
    };
    Description bad = node;
    bad.bridges[0].stag_ethertype = 0x8863;
    EXPECT_EQ("node.toml: br0: stag_ethertype is not that of a VLAN tag", refusal(bad));
    bad = node;
    bad.bridges[0].max_pdu = 9729;
    EXPECT_EQ("node.toml: br0: max_pdu is above 9728", refusal(bad));
    EXPECT_EQ("", filters_and_devices());
}

// Links planted where the lock stands are not followed.
TEST_F(Control, TheLockIsAFileOfItsOwn) {
    struct stat space {};
    ASSERT_EQ(0, stat("/proc/self/ns/net", &space));
    const std::string path = "/run/pppoeia/engine-" + std::to_string(space.st_ino) + ".lock";
    start();
    kernel.reset();
    for (const char *planted : {"ln -s /etc/passwd ", "ln -s /run/none ", "mkfifo "}) {
        run(planted + path);
        EXPECT_ANY_THROW(start()) << planted;
        run("rm " + path);
    }
    EXPECT_NE(0, access("/run/none", F_OK));
    start();
}

// Whatever becomes of the filters at the ports meanwhile.
TEST_F(Control, AStopHoldsUntilTheRelease) {
    run("tc qdisc add dev n2 clsact; tc filter add dev n2 ingress prio 9 protocol all"
        " bpf bytecode '1,6 0 0 0,' flowid 1:1");
    start();
    EXPECT_THROW(release_node(), std::runtime_error) << "an engine runs";
    { const Echo echo("br0"); }
    kernel.reset();
    const Host h1("h1"), s1("s1");
    const Bytes padi = discovery(PADI, broadcast, mac_h1, {}).bytes();
    EXPECT_TRUE(is_lost(padi, h1, s1));
    for (const char *device : {"p1", "p2", "n1"})
        run(std::string("tc qdisc del dev ") + device + " clsact");
    add_port("x1 y1");
    ASSERT_TRUE(eventually([] { return forwarding_ports() == 5; }));
    const Host y1("y1");
    EXPECT_TRUE(is_lost(padi, h1, s1));
    EXPECT_EQ(0U, discovery_heard(y1, h1));

    start();  // and takes over
    { const Echo echo("br0"); }
    kernel.reset();
    EXPECT_THAT(
        release_node(),
        ::testing::UnorderedElementsAre(
            "p1: filter removed", "p2: filter removed", "n1: filter removed", "n2: filter removed",
            "x1: filter removed", "br0_pppoe: pseudo device deleted", "netfilter rules removed"));
    EXPECT_TRUE(release_node().empty());
    EXPECT_THAT(output_of("tc qdisc show | grep clsact"), HasSubstr("n2")) << "somebody else's";
    EXPECT_TRUE(arrives(padi, h1, s1));  // a bridge like any other again
}

// A killed engine: what it left holds, and the next one takes it over.
TEST_F(Control, AKilledEngineHoldsUntilTheNextOne) {
    int ready[2];
    ASSERT_EQ(0, pipe(ready));
    const pid_t child = fork();
    if (child == 0) {
        start();
        const Echo echo("br0");
        const char one = 1;
        if (write(ready[1], &one, 1) != 1) _exit(1);
        pause();
        _exit(0);
    }
    char one;
    ASSERT_EQ(1, read(ready[0], &one, 1));
    const Host h1("h1"), s1("s1");
    const Bytes padi = discovery(PADI, broadcast, mac_h1, {{0x88A8, 5}, {0x8100, 6}}).bytes();
    EXPECT_TRUE(arrives(padi, h1, s1));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(is_lost(padi, h1, s1));
    EXPECT_THAT(filters_and_devices(), HasSubstr("br0_pppoe"));

    // p2 is no port any more when the next one starts.
    run("ip link set p2 nomaster");
    node.interfaces.pop_back();
    start();
    EXPECT_EQ("", output_of("tc filter show dev p2 ingress; tc qdisc show dev p2 | grep clsact"));
    EXPECT_TRUE(is_lost(padi, h1, s1));
    {
        const Echo echo("br0");
        EXPECT_EQ(EEXIST, echo.reused());
        EXPECT_TRUE(arrives(padi, h1, s1));
    }
    kernel.reset();
    release_node();
    EXPECT_EQ("", filters_and_devices());
}

}  // namespace
}  // namespace ia::node::test
