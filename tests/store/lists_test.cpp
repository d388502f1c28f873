// Port-VLAN entries and VLAN names.
#include "store/bridge_list.h"
#include "tests/store/store_fixture.h"

#include <map>
#include <random>

using namespace ia::test;

namespace {

using Lists = Store;

constexpr std::uint32_t port = 1;

std::vector<std::uint16_t> walk() {
    std::vector<std::uint16_t> vids;
    pppoeia_port_vlan_info info;
    for (int result = cache_pppoeia_port_vlan_get_first(bridge, port, &info); result == 0;
         result = cache_pppoeia_port_vlan_get_next(bridge, port, info.vlan_id, &info))
        vids.push_back(info.vlan_id);
    return vids;
}

TEST_F(Lists, EntriesAreWalkedByVlan) {
    using Vids = std::vector<std::uint16_t>;
    for (const std::uint16_t vid : Vids{300, 100, 200})
        ASSERT_EQ(cache_pppoeia_circuit_id_format_port_vlan_set(bridge, port, vid, "f"), 0);
    ASSERT_EQ(cache_pppoeia_port_vlan_add(bridge, port, 200), 0);  // there already
    EXPECT_EQ(walk(), (std::vector<std::uint16_t>{100, 200, 300}));

    pppoeia_port_vlan_info info;
    const LogLevel debug(7);
    clear_syslog();
    EXPECT_EQ(cache_pppoeia_port_vlan_get_next(bridge, port, 300, &info), -2);
    EXPECT_FALSE(traced("cache_pppoeia_port_vlan_get_next()=-ENOENT"));
    EXPECT_EQ(cache_pppoeia_port_vlan_get_next(bridge, port, 299, &info), -2);
    EXPECT_TRUE(traced("cache_pppoeia_port_vlan_get_next()=-ENOENT"));
    EXPECT_EQ(cache_pppoeia_port_vlan_info_get(bridge, port, 299, &info), -2);
    EXPECT_EQ(cache_pppoeia_port_vlan_get_first("br9", 99, nullptr), -6);
}

TEST_F(Lists, ARemovedEntryEndsTheWalk) {
    for (const std::uint16_t vid : std::vector<std::uint16_t>{1, 2, 3})
        cache_pppoeia_port_vlan_add(bridge, port, vid);
    pppoeia_port_vlan_info info;
    ASSERT_EQ(cache_pppoeia_port_vlan_get_first(bridge, port, &info), 0);
    ASSERT_EQ(cache_pppoeia_port_vlan_del(bridge, port, 1), 0);
    EXPECT_EQ(cache_pppoeia_port_vlan_get_next(bridge, port, 1, &info), -2);
    EXPECT_EQ(cache_pppoeia_port_vlan_del(bridge, port, 1), 0);  // not an error
}

TEST_F(Lists, ClearingAllSkipsDeletedPorts) {
    cache_pppoeia_port_vlan_add(bridge, 1, 5);
    cache_pppoeia_port_vlan_add(bridge, 3, 5);
    cache_pppoeia_port_del(bridge, 2);
    EXPECT_EQ(cache_clear_port_vlan_all(bridge), 0);
    EXPECT_TRUE(ia::LockedBridge(bridge)->ports[2].port_vlans.empty());
    EXPECT_TRUE(walk().empty());
}

TEST_F(Lists, VlansHaveNames) {
    EXPECT_EQ(cache_pppoeia_vlan_name_set(bridge, 100, "data"), -19);
    ASSERT_EQ(cache_pppoeia_vlan_add(bridge, 100), 0);
    const std::string longest(31, 'n');
    ASSERT_EQ(cache_pppoeia_vlan_name_set(bridge, 100, longest.c_str()), 0);
    EXPECT_EQ(cache_pppoeia_vlan_name_set(bridge, 100, (longest + "n").c_str()), -28);
    ASSERT_EQ(cache_pppoeia_vlan_add(bridge, 100), 0);  // keeps its name
    EXPECT_EQ(ia::LockedBridge(bridge)->vlans.at(100).name, longest);
    EXPECT_EQ(cache_pppoeia_vlan_del(bridge, 7), 0);
    EXPECT_EQ(cache_clear_vlan(bridge), 0);
    EXPECT_TRUE(ia::LockedBridge(bridge)->vlans.empty());
    EXPECT_EQ(cache_pppoeia_vlan_add("br9", 1), -2);
}

// The entries of a port as a plain model keeps them.
struct ModelEntry {
    std::uint32_t mode = 0xFFFFFFFF;
    std::string cid;
    std::string rid;

    bool bare() const { return mode == 0xFFFFFFFF && cid.empty() && rid.empty(); }
};
using Model = std::map<std::uint16_t, ModelEntry>;

// One random operation on both; the results must agree.
void step(Model &model, std::mt19937 &random) {
    const auto vid = static_cast<std::uint16_t>(random() % 24);
    const auto entry = model.find(vid);
    const bool there = entry != model.end();
    const std::string format = random() % 3 ? std::string(random() % 130, 'f') : "";
    const auto set = [&](std::string ModelEntry::*field) {
        if (format.size() > 127) return -28;
        if (!format.empty())
            model[vid].*field = format;
        else if (there)
            entry->second.*field = "";
        if (there && entry->second.bare()) model.erase(vid);
        return 0;
    };
    switch (random() % 9) {
        case 0:
            model[vid];
            ASSERT_EQ(cache_pppoeia_port_vlan_add(bridge, port, vid), 0);
            break;
        case 1:
            model.erase(vid);
            ASSERT_EQ(cache_pppoeia_port_vlan_del(bridge, port, vid), 0);
            break;
        case 2:
            ASSERT_EQ(
                cache_pppoeia_circuit_id_format_port_vlan_set(bridge, port, vid, format.c_str()),
                set(&ModelEntry::cid));
            break;
        case 3:
            ASSERT_EQ(
                cache_pppoeia_remote_id_format_port_vlan_set(bridge, port, vid, format.c_str()),
                set(&ModelEntry::rid));
            break;
        case 4: {
            const auto mode = static_cast<std::uint32_t>(random() % 3);
            model[vid].mode = mode;
            ASSERT_EQ(cache_pppoeia_circuit_id_mode_port_vlan_set(bridge, port, vid, mode), 0);
            break;
        }
        case 5:
            if (there && entry->second.cid.empty() && entry->second.rid.empty())
                model.erase(vid);
            else if (there)
                entry->second.mode = 0;
            ASSERT_EQ(cache_pppoeia_circuit_id_mode_port_vlan_set(bridge, port, vid, 0xFFFFFFFF),
                      0);
            break;
        case 6:
            if (there) entry->second.mode = 0;
            ASSERT_EQ(cache_pppoeia_circuit_id_mode_port_vlan_def_set(bridge, port, vid),
                      there ? 0 : -2);
            break;
        case 7:
            if (there) entry->second.cid = "";
            ASSERT_EQ(cache_pppoeia_circuit_id_format_port_vlan_def_set(bridge, port, vid),
                      there ? 0 : -2);
            break;
        default:
            if (there) entry->second.rid = "";
            ASSERT_EQ(cache_pppoeia_remote_id_format_port_vlan_def_set(bridge, port, vid),
                      there ? 0 : -2);
    }
}

TEST_F(Lists, AgreeWithAPlainModelFor100000Steps) {
    std::mt19937 random(20061127);
    Model model;
    for (int i = 0; i < 100000; ++i) {
        step(model, random);
        if (HasFatalFailure()) FAIL() << "step " << i;
        if (i % 100 != 0) continue;
        auto expected = model.begin();
        pppoeia_port_vlan_info info;
        int result = cache_pppoeia_port_vlan_get_first(bridge, port, &info);
        for (; result == 0; ++expected) {
            ASSERT_NE(expected, model.end()) << "step " << i;
            ASSERT_EQ(info.vlan_id, expected->first);
            ASSERT_EQ(info.cid_mode, expected->second.mode);
            ASSERT_EQ(info.cid_format, expected->second.cid);
            ASSERT_EQ(info.rid_format, expected->second.rid);
            result = cache_pppoeia_port_vlan_get_next(bridge, port, info.vlan_id, &info);
        }
        ASSERT_EQ(expected, model.end()) << "step " << i;
    }
}

}  // namespace
