// Answers that nobody asked for, ends of sessions that are not there, servers that may
// not answer, and what stands behind a frame's tags.
#include "tests/node/kernel/fixture.h"

#include <chrono>

namespace ia::node::test {
namespace {

constexpr std::uint32_t uniq = 7;
constexpr std::uint8_t session = 5;

Bytes message(std::uint8_t code, const Mac &to, const Mac &from, std::uint32_t number = uniq,
              std::uint8_t of_session = 0, const std::vector<Tag> &tags = {}) {
    Frame frame = discovery(code, to, from, tags, number);
    frame.payload[3] = of_session;
    return frame.bytes();
}

class Answers : public BridgeTest, public ::testing::WithParamInterface<Checks> {
protected:
    void begin() {
        node.bridges[0].bridge_limits.checks = GetParam();
        start();
        echo = std::make_unique<Echo>("br0");
    }

    // h1 has asked s1 and has session 5.
    void discover(const Host &h1, const Host &s1) {
        h1.send(message(PADI, broadcast, mac_h1));
        ASSERT_TRUE(s1.receive_discovery());
        s1.send(message(PADO, mac_h1, mac_s1));
        ASSERT_TRUE(h1.receive_discovery());
        h1.send(message(PADR, mac_s1, mac_h1));
        ASSERT_TRUE(s1.receive_discovery());
        s1.send(message(PADS, mac_h1, mac_s1, uniq, session));
        ASSERT_TRUE(h1.receive_discovery());
        EXPECT_EQ(4U, outcome(OUTCOME_HANDED));
    }

    // Enforced, it ends there; watched, it is counted and passes; and else it passes.
    void expect_refused(const char *what, const Host &from, const Host &to, const Bytes &frame,
                        frame_outcome reason) {
        SCOPED_TRACE(what);
        const std::uint64_t handed = outcome(OUTCOME_HANDED), counted = outcome(reason);
        from.send(frame);
        heard(to, from);  // by then it has come in
        EXPECT_EQ(GetParam() != Checks::enforce, outcome(OUTCOME_HANDED) - handed);
        EXPECT_EQ(GetParam() != Checks::off, outcome(reason) - counted);
    }

    std::unique_ptr<Echo> echo;
};

std::string mode_name(const ::testing::TestParamInfo<Checks> &row) {
    static constexpr const char *names[] = {"Off", "Watch", "Enforce"};
    return names[static_cast<std::size_t>(row.param)];
}

INSTANTIATE_TEST_SUITE_P(Checks, Answers,
                         ::testing::Values(Checks::off, Checks::watch, Checks::enforce), mode_name);

TEST_P(Answers, ComeToWhoHasAsked) {
    node.bridges[0].bridge_limits.address_life = 1;
    begin();
    const Host h1("h1"), h2("h2"), s1("s1");
    discover(h1, s1);
    const struct {
        const char *name;
        Bytes frame;
        frame_outcome reason;
    } rows[] = {
        {"another Host-Uniq", message(PADO, mac_h1, mac_s1, 8), OUTCOME_NOT_ASKED},
        {"another client", message(PADO, mac_h2, mac_s1), OUTCOME_NOT_ASKED},
        {"another VLAN", message(PADO, mac_h1, mac_s1, uniq, 0, {{0x8100, 3}}), OUTCOME_NOT_ASKED},
        {"a session of another server", message(PADS, mac_h1, mac_s2, uniq, 6), OUTCOME_NOT_ASKED},
        {"a session by another Host-Uniq", message(PADS, mac_h1, mac_s1, 8, 6), OUTCOME_NOT_ASKED},
        {"the end of another session", message(PADT, mac_h1, mac_s1, 0, 9), OUTCOME_NO_SESSION},
        {"another server's end", message(PADT, mac_h1, mac_s2, 0, session), OUTCOME_NO_SESSION},
    };
    for (const auto &row : rows) expect_refused(row.name, s1, h1, row.frame, row.reason);
    expect_refused("another line's end", h2, s1, message(PADT, mac_s1, mac_h2, 0, session),
                   OUTCOME_NO_SESSION);

    std::this_thread::sleep_for(std::chrono::milliseconds(1100));  // the address is free
    expect_refused("another port's end", h2, s1, message(PADT, mac_s1, mac_h1, 0, session),
                   OUTCOME_NO_SESSION);

    // Both ends may end it, one after the other.
    const std::uint64_t before = outcome(OUTCOME_NO_SESSION), handed = outcome(OUTCOME_HANDED);
    h1.send(message(PADT, mac_s1, mac_h1, 0, session));
    heard(s1, h1);
    s1.send(message(PADT, mac_h1, mac_s1, 0, session));
    heard(h1, s1);
    EXPECT_EQ(before, outcome(OUTCOME_NO_SESSION));
    EXPECT_EQ(2U, outcome(OUTCOME_HANDED) - handed);
}

TEST_P(Answers, ComeFromServersThatMay) {
    node.bridges[0].bridge_limits.servers = {mac_s2};
    node.bridges[0].bridge_limits.servers_first = 1;
    begin();
    const Host h1("h1"), s1("s1");
    discover(h1, s1);  // the first
    const Mac third{0x02, 0, 0, 0, 0x02, 0x03};
    const std::uint64_t handed = outcome(OUTCOME_HANDED);
    s1.send(message(PADO, mac_h1, mac_s2));
    heard(h1, s1);
    EXPECT_EQ(1U, outcome(OUTCOME_HANDED) - handed) << "a listed one";
    expect_refused("a third", s1, h1, message(PADO, mac_h1, third), OUTCOME_NOT_A_SERVER);
    EXPECT_EQ(0U, outcome(OUTCOME_NOT_ASKED));

    node.bridges[0].bridge_limits.servers = {third};
    node.bridges[0].bridge_limits.servers_first = 0;
    kernel->limit(node);
    expect_refused("not listed", s1, h1, message(PADO, mac_h1, mac_s1), OUTCOME_NOT_A_SERVER);
}

TEST_P(Answers, NothingStandsBehindTheTagsOfAnUntrustedPort) {
    node.interfaces[3].settings.trust = PPPOEIA_PORT_TRUSTED;  // p2
    begin();
    const Host h1("h1"), h2("h2"), s1("s1");
    const Bytes vendor{0x01, 0x05, 0, 6, 0, 0, 0x0D, 0xE9, 1, 0};
    // A PADI with these tags, so long a payload, and what follows it.
    const auto made = [](Bytes tags, std::size_t payload, const Bytes &behind, const Mac &source) {
        Frame frame{broadcast, source, {}, 0x8863, {0x11, PADI, 0, 0, 0, 0}};
        frame.payload[4] = static_cast<std::uint8_t>(payload >> 8);
        frame.payload[5] = static_cast<std::uint8_t>(payload);
        frame.payload.insert(frame.payload.end(), tags.begin(), tags.end());
        frame.payload.resize(6 + payload);
        frame.payload.insert(frame.payload.end(), behind.begin(), behind.end());
        return frame.bytes();
    };
    const Bytes name{0x01, 0x01, 0, 0}, end{0x01, 0x01, 0, 0, 0, 0, 0, 0};
    Bytes forged = end, late(200), cut{0x01, 0x03, 0, 9, 1, 2, 3};
    forged.insert(forged.end(), vendor.begin(), vendor.end());
    late.back() = 1;
    const struct {
        const char *name;
        Bytes tags;
        std::size_t payload;
        Bytes behind;
        bool refused;
    } rows[] = {
        {"nothing", name, 4, {}, false},
        {"padding", name, 4, Bytes(36), false},
        {"zeros behind the end of the list", end, 200, Bytes(100), false},
        {"a tag that is cut off", cut, cut.size(), Bytes(20), false},
        {"a line's tag behind the end of the list", forged, forged.size(), {}, true},
        {"a line's tag behind the payload", name, 4, vendor, true},
        {"one byte, far behind", end, 8, late, true},
    };
    for (const auto &row : rows) {
        if (row.refused) {
            expect_refused(row.name, h1, s1, made(row.tags, row.payload, row.behind, mac_h1),
                           OUTCOME_MEANS_MORE);
            continue;
        }
        const std::uint64_t before = outcome(OUTCOME_MEANS_MORE), handed = outcome(OUTCOME_HANDED);
        h1.send(made(row.tags, row.payload, row.behind, mac_h1));
        heard(s1, h1);
        EXPECT_EQ(before, outcome(OUTCOME_MEANS_MORE)) << row.name;
        EXPECT_EQ(1U, outcome(OUTCOME_HANDED) - handed) << row.name;
    }
    const std::uint64_t before = outcome(OUTCOME_MEANS_MORE);
    h2.send(made(forged, forged.size(), {}, mac_h2));
    heard(s1, h2);
    EXPECT_EQ(before, outcome(OUTCOME_MEANS_MORE)) << "a trusted port";
}

}  // namespace
}  // namespace ia::node::test
