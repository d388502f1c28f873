#include "node/kernel/places.h"
#include "node/kernel/failure.h"

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/pkt_cls.h>
#include <linux/pkt_sched.h>
#include <linux/rtnetlink.h>
#include <algorithm>
#include <cerrno>
#include <iterator>
#include <string_view>
#include <system_error>

namespace ia::node {
namespace {

// Among filters of one priority the kernel runs the latest first: attaching under a
// second handle moves ours to the front.
constexpr std::uint32_t handles[] = {0x8863, 0x8864};
constexpr std::uint32_t first_priority = 1, next_priority = 2;
constexpr std::string_view every_program_of_ours = "pppoeia_";
constexpr std::uint32_t parents[] = {TC_H_MAKE(TC_H_CLSACT, TC_H_MIN_INGRESS),
                                     TC_H_MAKE(TC_H_CLSACT, TC_H_MIN_EGRESS)};

std::uint32_t parent_of(Hook hook) {
    return parents[hook == Hook::port_in ? 0 : 1];
}

std::string_view name_of(Hook hook) {
    switch (hook) {
        case Hook::port_in: return "pppoeia_enter";
        case Hook::port_out: return "pppoeia_guard";
        case Hook::pseudo_out: return "pppoeia_leave";
    }
    return {};
}

tcmsg place(int device, std::uint32_t parent, std::uint32_t priority, std::uint32_t handle) {
    tcmsg message{};
    message.tcm_family = AF_UNSPEC;
    message.tcm_ifindex = device;
    message.tcm_parent = parent;
    message.tcm_handle = handle;
    if (priority != 0) message.tcm_info = TC_H_MAKE(priority << 16, htons(ETH_P_ALL));
    return message;
}

tcmsg qdisc_of(int device) {
    return place(device, TC_H_CLSACT, 0, TC_H_MAKE(TC_H_CLSACT, 0));
}

bool is_gone(int error) {
    return error == ENODEV || error == ENOENT || error == EINVAL;
}

}  // namespace

std::vector<Places::Entry> Places::entries(std::uint32_t parent, int device) {
    std::vector<Entry> all;
    const auto take = [&](const nlmsghdr &message) {
        const auto &header = payload<tcmsg>(message);
        if (message.nlmsg_type != RTM_NEWTFILTER || header.tcm_handle == 0) return;
        Entry entry;
        entry.priority = TC_H_MAJ(header.tcm_info) >> 16;
        entry.handle = header.tcm_handle;
        each_attribute(message, sizeof header, [&](const nlattr &attribute) {
            if (mnl_attr_get_type(&attribute) != TCA_OPTIONS) return;
            each_nested(attribute, [&](const nlattr &nested) {
                const auto type = mnl_attr_get_type(&nested);
                if (type == TCA_BPF_NAME) entry.name = mnl_attr_get_str(&nested);
                if (type == TCA_BPF_ID) entry.program = mnl_attr_get_u32(&nested);
            });
        });
        if (entry.program == 0) entry.name.clear();
        all.push_back(std::move(entry));
    };
    for (;;) {
        Netlink::Request request;
        Netlink::begin(request, RTM_GETTFILTER, 0, place(device, parent, 0, 0));
        if (kernel_.dump(request, take)) return all;
        all.clear();
    }
}

int Places::add_qdisc(int device) {
    Netlink::Request request;
    Netlink::begin(request, RTM_NEWQDISC, NLM_F_CREATE | NLM_F_EXCL, qdisc_of(device));
    mnl_attr_put_strz(request.header, TCA_KIND, "clsact");
    return kernel_.ask(request);
}

int Places::put(Hook hook, int device, std::uint32_t priority, std::uint32_t handle,
                const Program &program) {
    Netlink::Request request;
    Netlink::begin(request, RTM_NEWTFILTER, NLM_F_CREATE,
                   place(device, parent_of(hook), priority, handle));
    mnl_attr_put_strz(request.header, TCA_KIND, "bpf");
    nlattr *const options = mnl_attr_nest_start(request.header, TCA_OPTIONS);
    mnl_attr_put_u32(request.header, TCA_BPF_FD, static_cast<std::uint32_t>(program.descriptor));
    const std::string name = std::string(name_of(hook)) + ":[" + std::to_string(program.id) + "]";
    mnl_attr_put_strz(request.header, TCA_BPF_NAME, name.c_str());
    mnl_attr_put_u32(request.header, TCA_BPF_FLAGS, TCA_BPF_FLAG_ACT_DIRECT);
    mnl_attr_nest_end(request.header, options);
    return kernel_.ask(request);
}

int Places::remove(std::uint32_t parent, int device, const Entry &entry) {
    Netlink::Request request;
    Netlink::begin(request, RTM_DELTFILTER, 0, place(device, parent, entry.priority, entry.handle));
    mnl_attr_put_strz(request.header, TCA_KIND, "bpf");
    return kernel_.ask(request);
}

// Another kind of filter may have the first priority for itself.
Attachment Places::attach(Hook hook, int device, const std::string &name, const Program &program) {
    const int qdisc = add_qdisc(device);
    if (qdisc != 0 && qdisc != EEXIST) fail(qdisc, name + ": clsact qdisc");
    const std::uint32_t parent = parent_of(hook);
    const auto is_ours = [&](const Entry &entry) { return entry.name.starts_with(name_of(hook)); };

    std::vector<Entry> there = entries(parent, device);
    auto ours = std::find_if(there.begin(), there.end(), is_ours);
    const bool taken_over = ours != there.end();
    std::uint32_t handle = taken_over ? ours->handle : handles[0];
    std::uint32_t priority = taken_over ? ours->priority : first_priority;
    int error = put(hook, device, priority, handle, program);
    if (error == EINVAL && !taken_over) {
        priority = next_priority;
        error = put(hook, device, priority, handle, program);
    }
    if (error != 0) fail(error, name + ": pppoe filter");

    there = entries(parent, device);
    const auto rival = std::find_if(there.begin(), there.end(),
                                    [&](const Entry &entry) { return entry.priority == priority; });
    if (rival != there.end() && !is_ours(*rival)) {
        handle = handle == handles[0] ? handles[1] : handles[0];
        error = put(hook, device, priority, handle, program);
        if (error != 0) fail(error, name + ": pppoe filter");
    }
    for (const Entry &entry : there)
        if (is_ours(entry) && entry.handle != handle) remove(parent, device, entry);
    return {qdisc == 0, taken_over};
}

bool Places::attached(Hook hook, int device, const Program &program) {
    const std::vector<Entry> there = entries(parent_of(hook), device);
    const auto ours = std::find_if(there.begin(), there.end(), [&](const Entry &entry) {
        return entry.program == program.id && entry.name.starts_with(name_of(hook));
    });
    if (ours == there.end()) return false;
    return std::none_of(there.begin(), ours,
                        [&](const Entry &entry) { return entry.priority == ours->priority; });
}

bool Places::attached_by_anyone(Hook hook, int device) {
    const std::vector<Entry> there = entries(parent_of(hook), device);
    return std::any_of(there.begin(), there.end(),
                       [&](const Entry &entry) { return entry.name.starts_with(name_of(hook)); });
}

bool Places::detach(int device, bool with_qdisc) {
    bool any = false, others = false;
    for (const std::uint32_t parent : parents) {
        for (const Entry &entry : entries(parent, device)) {
            if (!entry.name.starts_with(every_program_of_ours)) {
                others = true;
                continue;
            }
            const int error = remove(parent, device, entry);
            if (error != 0 && !is_gone(error))
                fail(error, "device " + std::to_string(device) + ": filter not removed");
            any = true;
        }
    }
    if (!with_qdisc || others) return any;
    Netlink::Request request;
    Netlink::begin(request, RTM_DELQDISC, 0, qdisc_of(device));
    if (const int error = kernel_.ask(request); error != 0 && !is_gone(error))
        fail(error, "device " + std::to_string(device) + ": clsact qdisc not removed");
    return any;
}

std::vector<int> Places::devices() {
    std::vector<int> all;
    const auto take = [&](const nlmsghdr &message) {
        const auto &header = payload<tcmsg>(message);
        if (message.nlmsg_type == RTM_NEWQDISC && header.tcm_parent == TC_H_CLSACT)
            all.push_back(header.tcm_ifindex);
    };
    for (;;) {
        Netlink::Request request;
        Netlink::begin(request, RTM_GETQDISC, 0, place(0, 0, 0, 0));
        if (kernel_.dump(request, take)) return all;
        all.clear();
    }
}

}  // namespace ia::node
