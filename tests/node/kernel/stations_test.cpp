// The table of learnt addresses: what it holds, and that no line costs another
// one its place. By runs of the programs, so that a thousand lines need no device.
#include "node/kernel/ports.h"
#include "tests/node/kernel/fixture.h"
#include "tests/node/kernel/program_run.h"

#include <linux/pkt_cls.h>
#include <net/if.h>
#include <cstring>
#include <string>

namespace ia::node::test {
namespace {

class Stations : public BridgeTest {
protected:
    static constexpr std::uint32_t first_line = 1'000'000;  // interface indexes of nobody

    void make(std::uint32_t lines) {
        network_ = static_cast<int>(if_nametoindex("n1"));
        pseudo_ = static_cast<int>(if_nametoindex("p1"));
        filter_bridge bridge{};
        bridge.pseudo = static_cast<std::uint32_t>(pseudo_);
        bridge.epoch = 1;
        bridge.frame_max = 1526;
        bridge.stag_ethertype = 0x88A8;
        std::strcpy(bridge.name, "br0");
        bridge.policy = Policies().of("br0");
        filter_.set_bridge(0, bridge);
        filter_.set_pseudo(pseudo_, 0);
        put(network_, FILTER_NETWORK, 0, "n1");
        for (std::uint32_t line = 0; line < lines; ++line)
            put(static_cast<int>(first_line + line), FILTER_SUBSCRIBER, line, name(line));
        filter_.set_station_share(FILTER_NETWORK, station_share(FILTER_NETWORK, 1));
        filter_.set_station_share(FILTER_SUBSCRIBER, station_share(FILTER_SUBSCRIBER, lines));
    }

    static std::string name(std::uint32_t line) { return "line" + std::to_string(line); }

    static Mac address(std::uint32_t line, std::uint32_t number) {
        return {0x06, static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number),
                0,    static_cast<std::uint8_t>(line >> 8),   static_cast<std::uint8_t>(line)};
    }

    // The engine sends a request of the line.
    void ask(std::uint32_t line, std::uint32_t number) const {
        const Mac source = address(line, number);
        Bytes datagram(frame_at);
        const filter_arrival arrival{first_line + line, 1, 1};
        std::memcpy(&datagram[RECORD_ARRIVAL], &arrival, sizeof arrival);
        std::copy(source.begin(), source.end(), &datagram[RECORD_SOURCE]);
        datagram[RECORD_MARK] = RECORD_MARK_ETHERTYPE >> 8;
        datagram[RECORD_MARK + 1] = RECORD_MARK_ETHERTYPE & 0xFF;
        record(datagram).cvlan = KVBRIDGE_NO_CVLAN;
        record(datagram).input_port = static_cast<std::uint16_t>(line + 1);
        std::strcpy(record(datagram).output_device, "n1");
        const Bytes padi = discovery(PADI, broadcast, source, {}).bytes();
        datagram.insert(datagram.end(), padi.begin(), padi.end());
        ASSERT_EQ(TC_ACT_REDIRECT,
                  run_program(filter_, Hook::pseudo_out, pseudo_, datagram).verdict);
    }

    // Where an answer to that address goes.
    std::string answered_at(std::uint32_t line, std::uint32_t number) const {
        const Bytes pado = discovery(PADO, address(line, number), mac_s1, {}).bytes();
        const ProgramRun done = run_program(filter_, Hook::port_in, network_, pado);
        return done.verdict == TC_ACT_REDIRECT ? record(done.frame).output_device : "dropped";
    }

    Filter filter_;

private:
    void put(int device, filter_role role, std::uint32_t slot, const std::string &device_name) {
        filter_port port{};
        port.role = role;
        port.slot = port.place = slot;
        port.input = slot + 1;
        port.epoch = 1;
        port.policy = Policies().of("br0", port.input);
        device_name.copy(port.name, sizeof port.name - 1);
        filter_.set_port(device, port);
        filter_.set_slot(port, device);
        filter_.set_output(device_name, {static_cast<std::uint32_t>(device), 0, role, 0});
    }

    int network_ = 0;
    int pseudo_ = 0;
};

TEST_F(Stations, SixtyFourThousandInEightMebibytes) {
    constexpr std::uint32_t lines = 1000, each = 64;
    make(lines);
    for (std::uint32_t number = 0; number < each; ++number)
        for (std::uint32_t line = 0; line < lines; ++line) ask(line, number);
    std::uint32_t elsewhere = 0;
    for (std::uint32_t number = 0; number < each; ++number)
        for (std::uint32_t line = 0; line < lines; ++line)
            elsewhere += answered_at(line, number) != name(line);
    EXPECT_EQ(0U, elsewhere);

    long bytes = 0;
    for (const char *map : {"stations", "cells"})
        bytes += std::stol(output_of(std::string("bpftool map show name ") + map +
                                     " | sed -n 's/.*memlock \\([0-9]*\\)B.*/\\1/p' | head -1"));
    EXPECT_LE(bytes, 8 << 20);
}

TEST_F(Stations, AFloodTakesNothingFromOtherLines) {
    constexpr std::uint32_t lines = 700, flooding = 500, addresses = 256;
    make(lines);
    for (std::uint32_t line = flooding; line < lines; ++line) ask(line, 0);
    for (std::uint32_t number = 0; number < addresses; ++number)
        for (std::uint32_t line = 0; line < flooding; ++line) ask(line, number);
    std::uint32_t elsewhere = 0;
    for (std::uint32_t line = flooding; line < lines; ++line)
        elsewhere += answered_at(line, 0) != name(line);
    EXPECT_EQ(0U, elsewhere) << "of the quiet lines' " << lines - flooding;
    // A flooding line keeps the newest of its own.
    EXPECT_EQ(name(0), answered_at(0, addresses - 1));
    EXPECT_EQ(name(0), answered_at(0, addresses - station_share(FILTER_SUBSCRIBER, lines)));
    EXPECT_EQ("br0", answered_at(0, 0));
}

}  // namespace
}  // namespace ia::node::test
