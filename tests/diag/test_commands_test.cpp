// The made-up subscriber: shown, changed, and used for trial runs.
#include "tests/diag/operators_terminal.h"

using namespace ia::test;

namespace {

using TestCommands = OperatorsTerminal;

TEST_F(TestCommands, ShowsTheFactoryData) {
    EXPECT_EQ(fe_pppoeia_test_dump("no matter", tty()), 0);
    EXPECT_EQ(written(),
              "\n"
              " Debug: 0\n"
              "\n"
              " Test data:\n"
              " ------------\n"
              " vlan: 100\n"
              " cvid: 3999\n"
              " intfId: 10\n"
              " onu: 1\n"
              " vgem: 200\n"
              " tcontType: 4\n"
              " clntMac: 11:22:33:44:55:66\n"
              " customCidStr: ''\n"
              " customRidStr: ''\n"
              "\n"
              "\n");
}

struct Change {
    const char *key;
    const char *value;
    const char *report;  // between the line feeds around it
    const char *shown;   // the line of the dump that follows from it
};

TEST_F(TestCommands, ChangesOneValue) {
    const Change changes[] = {
        {"pppoeiaTestSetVlan", "70000", "Setting vlan: 70000\n", " vlan: 4464\n"},
        {"pppoeiaTestSetCvid", "65537", "Setting cvid: 65537\n", " cvid: 1\n"},
        {"pppoeiaTestSetIntfId", " 12 rest", "Setting intfId: 12\n", " intfId: 12\n"},
        {"pppoeiaTestSetOnu", "x", "Setting onu: 0\n", " onu: 0\n"},
        {"pppoeiaTestSetVgem", "4294967295", "Setting vgem: 4294967295\n", " vgem: 4294967295\n"},
        {"pppoeiaTestSetVgem", "4294967296", "Setting vgem: 0\n", " vgem: 0\n"},
        {"pppoeiaTestSetTContType", "-1", "Setting tcontType: 0\n", " tcontType: 0\n"},
        {"pppoeiaTestSetCustomCidStr", "c$VLAN", "Setting customCidStr: 'c$VLAN'\n",
         " customCidStr: 'c$VLAN'\n"},
        {"pppoeiaTestSetClntMac", "0a-bC:00.01 02:fF", "Setting clntMac: 0A:BC:00:01:02:FF",
         " clntMac: 0A:BC:00:01:02:FF\n"},
        {"pppoeiaTestSetClntMac", "11:22:33:44:55", "Invalid clntMac: '11:22:33:44:55'",
         " clntMac: 0A:BC:00:01:02:FF\n"},
        {"pppoeiaTestSetClntMac", "1:22:33:44:55:666", "Invalid clntMac: '1:22:33:44:55:666'",
         " clntMac: 0A:BC:00:01:02:FF\n"},
        {"pppoeiaTestSetNothing", "1", "", " vlan: 4464\n"},
    };
    for (const Change &change : changes) {
        EXPECT_EQ(fe_pppoeia_test_set(br, change.key, change.value, tty()), 0);
        EXPECT_EQ(written(), std::string("\n") + change.report + "\n") << change.key;
        fe_pppoeia_test_dump(br, tty());
        EXPECT_NE(written().find(change.shown), std::string::npos)
            << change.key << " " << change.value;
    }
}

TEST_F(TestCommands, TrialRuns) {
    fe_pppoeia_test_set(br, "pppoeiaTestSetCustomCidStr", "c$VLAN", "");
    fe_pppoeia_test_set(br, "pppoeiaTestSetCustomRidStr", "r$VLAN", "");
    EXPECT_EQ(fe_pppoeia_test_run(br, "pppoeiaTestRunCid", "test", tty()), 0);
    EXPECT_EQ(written(), "\n Generated Custom Circuit Id: 'c100'\n");
    EXPECT_EQ(fe_pppoeia_test_run(br, "pppoeiaTestRunRid", "available", tty()), 0);
    EXPECT_EQ(written(), "\n Generated Custom Remote Id: 'r100'\n");
    EXPECT_EQ(fe_pppoeia_test_run(br, "another command", "test", tty()), 0);
    EXPECT_EQ(written(), "");
    EXPECT_EQ(fe_pppoeia_test_run(br, "pppoeiaTestRunCid", "avail", tty()), 1);
    EXPECT_EQ(written(), "");
}

TEST_F(TestCommands, TrialRunsUseTheMadeUpPortOfTheBridge) {
    const pppoeia_port_info info{};
    ASSERT_EQ(cache_pppoeia_port_add(br, 2, "dev2", "1/1/2", &info), 0);
    fe_pppoeia_test_set(br, "pppoeiaTestSetIntfId", "2", "");
    fe_pppoeia_test_set(br, "pppoeiaTestSetCustomCidStr", "$INTF $CLNT_MAC", "");
    EXPECT_EQ(fe_pppoeia_test_run(br, "pppoeiaTestRunCid", "test", tty()), 0);
    EXPECT_EQ(written(), "\n Generated Custom Circuit Id: '1/1/2 11:22:33:44:55:66'\n");
}

TEST_F(TestCommands, DebugSwitch) {
    EXPECT_EQ(fe_pppoeia_test_debug(br, 7, tty()), 0);
    EXPECT_EQ(written(), "\n Test debug set to 1\n");
    fe_pppoeia_test_dump(br, tty());
    EXPECT_EQ(written().substr(0, 12), "\n Debug: 1\n\n");
    EXPECT_EQ(fe_pppoeia_test_debug(br, 0, tty()), 0);
    EXPECT_EQ(written(), "\n Test debug set to 0\n");
}

TEST_F(TestCommands, AnUnknownBridgeIsSilent) {
    EXPECT_EQ(fe_pppoeia_test_set("none", "pppoeiaTestSetVlan", "5", tty()), 1);
    EXPECT_EQ(fe_pppoeia_test_run("none", "pppoeiaTestRunCid", "test", tty()), 1);
    EXPECT_EQ(fe_pppoeia_test_debug("none", 1, tty()), 1);
    EXPECT_EQ(written(), "");
    EXPECT_EQ(ia::test_data().vlan, 100);
    EXPECT_FALSE(ia::test_debug);
}

}  // namespace
