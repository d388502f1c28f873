#include "node/kernel/barrier.h"

#include <arpa/inet.h>
#include <libnftnl/batch.h>
#include <libnftnl/chain.h>
#include <libnftnl/common.h>
#include <libnftnl/expr.h>
#include <libnftnl/rule.h>
#include <libnftnl/set.h>
#include <libnftnl/table.h>
#include <linux/netfilter.h>
#include <linux/netfilter/nf_tables.h>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netfilter_bridge.h>
#include <array>
#include <cerrno>
#include <cstddef>
#include <memory>
#include <new>
#include <system_error>
#include <vector>

namespace ia::node {
namespace {

constexpr char table_name[] = "pppoeia";
constexpr char entry_chain[] = "enter";  // frames that come in by a bridge port
constexpr char exit_chain[] = "leave";   // frames that the machine itself sends
constexpr char verdict_chain[] = "judge";
constexpr std::int32_t before_all_others = -400;
constexpr std::uint16_t discovery = 0x8863;
constexpr std::uint32_t tags_read = 8;  // deeper ones are taken for Discovery

template <auto Free>
struct Release {
    template <class Object>
    void operator()(Object *object) const {
        Free(object);
    }
};
using Table = std::unique_ptr<nftnl_table, Release<nftnl_table_free>>;
using Chain = std::unique_ptr<nftnl_chain, Release<nftnl_chain_free>>;
using Rule = std::unique_ptr<nftnl_rule, Release<nftnl_rule_free>>;
using Set = std::unique_ptr<nftnl_set, Release<nftnl_set_free>>;

template <class Object>
Object *made(Object *object) {
    if (!object) throw std::bad_alloc();
    return object;
}

// Messages that the kernel takes as one.
class Batch {
public:
    explicit Batch(std::size_t room) : bytes_(room) {
        end(nftnl_batch_begin(&bytes_[0], sequence_++));
    }
    nlmsghdr *begin(int type, int flags) {
        return nftnl_nlmsg_build_hdr(&bytes_[used_], static_cast<std::uint16_t>(type),
                                     NFPROTO_BRIDGE, static_cast<std::uint16_t>(flags),
                                     sequence_++);
    }
    void end(const nlmsghdr *message) { used_ += MNL_ALIGN(message->nlmsg_len); }
    std::span<const char> finish() {
        end(nftnl_batch_end(&bytes_[used_], sequence_++));
        return {bytes_.data(), used_};
    }

private:
    std::vector<char> bytes_;
    std::size_t used_ = 0;
    std::uint32_t sequence_ = 1;
};

void add_table(Batch &batch, int type) {
    const Table table(made(nftnl_table_alloc()));
    nftnl_table_set_str(table.get(), NFTNL_TABLE_NAME, table_name);
    nlmsghdr *const message = batch.begin(type, type == NFT_MSG_NEWTABLE ? NLM_F_CREATE : 0);
    nftnl_table_nlmsg_build_payload(message, table.get());
    batch.end(message);
}

// With a hook, a chain that the kernel itself runs.
void add_chain(Batch &batch, const char *name, int hook = -1) {
    const Chain chain(made(nftnl_chain_alloc()));
    nftnl_chain_set_str(chain.get(), NFTNL_CHAIN_TABLE, table_name);
    nftnl_chain_set_str(chain.get(), NFTNL_CHAIN_NAME, name);
    if (hook >= 0) {
        nftnl_chain_set_u32(chain.get(), NFTNL_CHAIN_HOOKNUM, static_cast<std::uint32_t>(hook));
        nftnl_chain_set_s32(chain.get(), NFTNL_CHAIN_PRIO, before_all_others);
        nftnl_chain_set_u32(chain.get(), NFTNL_CHAIN_POLICY, NF_ACCEPT);
        nftnl_chain_set_str(chain.get(), NFTNL_CHAIN_TYPE, "filter");
    }
    nlmsghdr *const message = batch.begin(NFT_MSG_NEWCHAIN, NLM_F_CREATE);
    nftnl_chain_nlmsg_build_payload(message, chain.get());
    batch.end(message);
}

struct SetName {
    const char *name;
    std::uint32_t id;  // within the batch
};
constexpr SetName tag_set{"tags", 1}, bridge_set{"bridges", 2}, open_set{"open_ports", 3};
// The types by which the nft command shows the keys.
constexpr std::uint32_t type_ethertype = 10, type_ifindex = 20, type_ifname = 41;

template <class Key>
void add_set(Batch &batch, const SetName &name, std::uint32_t key_type,
             const std::vector<Key> &keys) {
    const Set set(made(nftnl_set_alloc()));
    nftnl_set_set_str(set.get(), NFTNL_SET_TABLE, table_name);
    nftnl_set_set_str(set.get(), NFTNL_SET_NAME, name.name);
    nftnl_set_set_u32(set.get(), NFTNL_SET_ID, name.id);
    nftnl_set_set_u32(set.get(), NFTNL_SET_FAMILY, NFPROTO_BRIDGE);
    nftnl_set_set_u32(set.get(), NFTNL_SET_KEY_TYPE, key_type);
    nftnl_set_set_u32(set.get(), NFTNL_SET_KEY_LEN, sizeof(Key));
    nlmsghdr *message = batch.begin(NFT_MSG_NEWSET, NLM_F_CREATE);
    nftnl_set_nlmsg_build_payload(message, set.get());
    batch.end(message);
    if (keys.empty()) return;

    for (const Key &key : keys) {
        nftnl_set_elem *const element = made(nftnl_set_elem_alloc());
        nftnl_set_elem_set(element, NFTNL_SET_ELEM_KEY, &key, sizeof key);
        nftnl_set_elem_add(set.get(), element);
    }
    nftnl_set_elems_iter *const at = made(nftnl_set_elems_iter_create(set.get()));
    int more = 1;
    while (more > 0) {
        message = batch.begin(NFT_MSG_NEWSETELEM, NLM_F_CREATE);
        more = nftnl_set_elems_nlmsg_build_payload_iter(message, at);
        batch.end(message);
    }
    nftnl_set_elems_iter_destroy(at);
}

// One rule, written from left to right.
class RuleWriter {
public:
    explicit RuleWriter(const char *chain) : rule_(made(nftnl_rule_alloc())) {
        nftnl_rule_set_str(rule_.get(), NFTNL_RULE_TABLE, table_name);
        nftnl_rule_set_str(rule_.get(), NFTNL_RULE_CHAIN, chain);
    }
    RuleWriter &meta(std::uint32_t key) {
        nftnl_expr *const it = add("meta");
        nftnl_expr_set_u32(it, NFTNL_EXPR_META_KEY, key);
        nftnl_expr_set_u32(it, NFTNL_EXPR_META_DREG, NFT_REG_1);
        return *this;
    }
    RuleWriter &ethertype_at(std::uint32_t base, std::uint32_t offset) {
        nftnl_expr *const it = add("payload");
        nftnl_expr_set_u32(it, NFTNL_EXPR_PAYLOAD_DREG, NFT_REG_1);
        nftnl_expr_set_u32(it, NFTNL_EXPR_PAYLOAD_BASE, base);
        nftnl_expr_set_u32(it, NFTNL_EXPR_PAYLOAD_OFFSET, offset);
        nftnl_expr_set_u32(it, NFTNL_EXPR_PAYLOAD_LEN, sizeof(std::uint16_t));
        return *this;
    }
    RuleWriter &equals(std::uint16_t ethertype) {
        const std::uint16_t wire = htons(ethertype);
        nftnl_expr *const it = add("cmp");
        nftnl_expr_set_u32(it, NFTNL_EXPR_CMP_SREG, NFT_REG_1);
        nftnl_expr_set_u32(it, NFTNL_EXPR_CMP_OP, NFT_CMP_EQ);
        nftnl_expr_set(it, NFTNL_EXPR_CMP_DATA, &wire, sizeof wire);
        return *this;
    }
    RuleWriter &is_in(const SetName &set, bool inverted = false) {
        nftnl_expr *const it = add("lookup");
        nftnl_expr_set_u32(it, NFTNL_EXPR_LOOKUP_SREG, NFT_REG_1);
        nftnl_expr_set_str(it, NFTNL_EXPR_LOOKUP_SET, set.name);
        nftnl_expr_set_u32(it, NFTNL_EXPR_LOOKUP_SET_ID, set.id);
        if (inverted) nftnl_expr_set_u32(it, NFTNL_EXPR_LOOKUP_FLAGS, NFT_LOOKUP_F_INV);
        return *this;
    }
    RuleWriter &count() {
        add("counter");
        return *this;
    }
    RuleWriter &verdict(int verdict, const char *chain = nullptr) {
        nftnl_expr *const it = add("immediate");
        nftnl_expr_set_u32(it, NFTNL_EXPR_IMM_DREG, NFT_REG_VERDICT);
        nftnl_expr_set_u32(it, NFTNL_EXPR_IMM_VERDICT, static_cast<std::uint32_t>(verdict));
        if (chain) nftnl_expr_set_str(it, NFTNL_EXPR_IMM_CHAIN, chain);
        return *this;
    }
    void into(Batch &batch) {
        nlmsghdr *const message = batch.begin(NFT_MSG_NEWRULE, NLM_F_CREATE | NLM_F_APPEND);
        nftnl_rule_nlmsg_build_payload(message, rule_.get());
        batch.end(message);
    }

private:
    nftnl_expr *add(const char *kind) {
        nftnl_expr *const it = made(nftnl_expr_alloc(kind));
        nftnl_rule_add_expr(rule_.get(), it);
        return it;
    }

    Rule rule_;
};

// Looks behind the tags, the type after the first one at `first`, each next one
// four bytes on. The tag that the kernel keeps beside the frame is behind us.
void add_search(Batch &batch, const char *chain, std::uint32_t base, std::uint32_t first) {
    for (std::uint32_t depth = 0; depth <= tags_read; ++depth) {
        const auto type = [&](RuleWriter &&rule) -> RuleWriter && {
            if (depth == 0)
                rule.meta(NFT_META_PROTOCOL);
            else
                rule.ethertype_at(base, first + (depth - 1) * 4);
            return std::move(rule);
        };
        type(RuleWriter(chain)).equals(discovery).verdict(NFT_GOTO, verdict_chain).into(batch);
        type(RuleWriter(chain)).is_in(tag_set, true).verdict(NF_ACCEPT).into(batch);
    }
    RuleWriter(chain).verdict(NFT_GOTO, verdict_chain).into(batch);
}

void add_verdict(Batch &batch, bool knows_bridges) {
    if (knows_bridges) {
        for (const std::uint32_t key : {NFT_META_BRI_IIFNAME, NFT_META_BRI_OIFNAME})
            RuleWriter(verdict_chain)
                .meta(key)
                .is_in(bridge_set)
                .count()
                .verdict(NF_DROP)
                .into(batch);
        return;
    }
    for (const std::uint32_t key : {NFT_META_IIF, NFT_META_OIF})
        RuleWriter(verdict_chain).meta(key).is_in(open_set).verdict(NF_ACCEPT).into(batch);
    RuleWriter(verdict_chain).count().verdict(NF_DROP).into(batch);
}

std::vector<std::array<char, IFNAMSIZ>> name_keys(const std::set<std::string> &names) {
    std::vector<std::array<char, IFNAMSIZ>> keys;
    for (const std::string &name : names) name.copy(keys.emplace_back().data(), IFNAMSIZ - 1);
    return keys;
}

std::vector<std::uint16_t> wire_types(const std::set<std::uint16_t> &types) {
    std::vector<std::uint16_t> keys;
    for (const std::uint16_t type : types) keys.push_back(htons(type));
    return keys;
}

[[noreturn]] void rules_fail(int error) {
    throw std::system_error(error, std::system_category(), "netfilter rules of the bridges");
}

}  // namespace

Barrier::Barrier() : kernel_(NETLINK_NETFILTER) {}

// The table is made and deleted first, so that it need not be there.
int Barrier::send(const Rules &rules) {
    Batch batch((64 << 10) + 64 * (rules.open_ports.size() + rules.bridges.size()));
    add_table(batch, NFT_MSG_NEWTABLE);
    add_table(batch, NFT_MSG_DELTABLE);
    if (!rules.bridges.empty()) {
        add_table(batch, NFT_MSG_NEWTABLE);
        add_set(batch, tag_set, type_ethertype, wire_types(rules.tag_types));
        if (knows_bridges_)
            add_set(batch, bridge_set, type_ifname, name_keys(rules.bridges));
        else
            add_set(batch, open_set, type_ifindex,
                    std::vector(rules.open_ports.begin(), rules.open_ports.end()));
        add_chain(batch, verdict_chain);
        add_chain(batch, entry_chain, NF_BR_PRE_ROUTING);
        add_chain(batch, exit_chain, NF_BR_LOCAL_OUT);
        add_verdict(batch, knows_bridges_);
        add_search(batch, entry_chain, NFT_PAYLOAD_NETWORK_HEADER, 2);
        add_search(batch, exit_chain, NFT_PAYLOAD_LL_HEADER, 16);
    }
    return kernel_.send_batch(batch.finish());
}

void Barrier::put(const Rules &rules) {
    int error = send(rules);
    if (knows_bridges_ && (error == EOPNOTSUPP || error == ENOENT)) {
        knows_bridges_ = false;
        error = send(rules);
        if (error != 0) knows_bridges_ = true;
    }
    if (error != 0) rules_fail(error);
}

bool Barrier::stands() {
    constexpr auto get_table =
        static_cast<std::uint16_t>(NFNL_SUBSYS_NFTABLES << 8 | NFT_MSG_GETTABLE);
    Netlink::Request request;
    Netlink::begin(request, get_table, 0,
                   nfgenmsg{.nfgen_family = NFPROTO_BRIDGE, .version = NFNETLINK_V0, .res_id = 0});
    mnl_attr_put_strz(request.header, NFTA_TABLE_NAME, table_name);
    return kernel_.ask(request) == 0;
}

bool Barrier::remove() {
    Batch batch(4 << 10);
    add_table(batch, NFT_MSG_DELTABLE);
    const int error = kernel_.send_batch(batch.finish());
    if (error != 0 && error != ENOENT && error != EOPNOTSUPP) rules_fail(error);
    return error == 0;
}

}  // namespace ia::node
