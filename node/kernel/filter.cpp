#include "node/kernel/filter.h"

#include "filter.skel.h"
#include "node/kernel/links.h"
#include "platform/kernel_modules.h"

#include <bpf/bpf.h>
#include <bpf/libbpf.h>
#include <syslog.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <system_error>
#include <vector>

// The programs write the record by these places.
static_assert(RECORD_SIZE == sizeof(kvbridge_frame_hdr));
static_assert(RECORD_VLAN == offsetof(kvbridge_frame_hdr, vlan));
static_assert(RECORD_CVLAN == offsetof(kvbridge_frame_hdr, cvlan));
static_assert(RECORD_MARK >= offsetof(kvbridge_frame_hdr, kernel2));
static_assert(RECORD_ROLE < offsetof(kvbridge_frame_hdr, total_length));
static_assert(RECORD_TOTAL_LENGTH == offsetof(kvbridge_frame_hdr, total_length));
static_assert(RECORD_INPUT_PORT == offsetof(kvbridge_frame_hdr, input_port));
static_assert(RECORD_INPUT_DEVICE == offsetof(kvbridge_frame_hdr, input_device));
static_assert(RECORD_OUTPUT_DEVICE == offsetof(kvbridge_frame_hdr, output_device));
static_assert(FILTER_NAME_SIZE == sizeof(kvbridge_frame_hdr::output_device));
static_assert(int{RECORD_NO_CVLAN} == KVBRIDGE_NO_CVLAN);

namespace ia::node {
namespace {

constexpr std::uint32_t filter_handle = 0x8863;
constexpr std::uint32_t filter_priority = 1;  // before any other filter
constexpr std::uint16_t usual_tag_types[] = {0x8100, 0x88A8, 0x9100, 0x9200, 0x9300};

[[noreturn]] void fail(int error, const std::string &what) {
    throw std::system_error(error, std::system_category(), what);
}

// libbpf also reports what is no fault here, as a qdisc that exists already.
int note(libbpf_print_level level, const char *format, va_list arguments) {
    if (level == LIBBPF_WARN) vsyslog(LOG_DEBUG, format, arguments);
    return 0;
}

constexpr const char *program_name(Hook hook) {
    switch (hook) {
        case Hook::port_in: return "pppoeia_enter";
        case Hook::port_out: return "pppoeia_guard";
        case Hook::pseudo_out: return "pppoeia_leave";
    }
    return "";
}

const bpf_program *program(const filter_bpf &programs, Hook hook) {
    switch (hook) {
        case Hook::port_in: return programs.progs.pppoeia_enter;
        case Hook::port_out: return programs.progs.pppoeia_guard;
        case Hook::pseudo_out: return programs.progs.pppoeia_leave;
    }
    return nullptr;
}

bpf_tc_hook tc_hook(int device, int attach_point) {
    bpf_tc_hook hook{};
    hook.sz = sizeof hook;
    hook.ifindex = device;
    hook.attach_point = static_cast<bpf_tc_attach_point>(attach_point);
    return hook;
}

bpf_tc_hook tc_hook(Hook hook, int device) {
    return tc_hook(device, hook == Hook::port_in ? BPF_TC_INGRESS : BPF_TC_EGRESS);
}

bpf_tc_opts tc_place() {
    bpf_tc_opts place{};
    place.sz = sizeof place;
    place.handle = filter_handle;
    place.priority = filter_priority;
    return place;
}

struct LoadedProgram {
    std::uint32_t id = 0;  // 0: none there
    std::string name;
};

LoadedProgram program_at(Hook hook, int device) {
    const bpf_tc_hook where = tc_hook(hook, device);
    bpf_tc_opts place = tc_place();
    if (bpf_tc_query(&where, &place) != 0) return {};
    const int descriptor = bpf_prog_get_fd_by_id(place.prog_id);
    if (descriptor < 0) return {};
    bpf_prog_info info{};
    std::uint32_t size = sizeof info;
    const int result = bpf_obj_get_info_by_fd(descriptor, &info, &size);
    close(descriptor);
    if (result != 0) return {};
    return {info.id, info.name};
}

// Map keys and values go by address and size.
template <class Key, class Value>
void store(const bpf_map *map, const Key &key, const Value &value) {
    const int result = bpf_map__update_elem(map, &key, sizeof key, &value, sizeof value, BPF_ANY);
    if (result != 0) fail(-result, std::string("filter map ") + bpf_map__name(map));
}

template <class Key>
void erase(const bpf_map *map, const Key &key) {
    bpf_map__delete_elem(map, &key, sizeof key, 0);
}

std::array<char, FILTER_NAME_SIZE> name_key(const std::string &name) {
    std::array<char, FILTER_NAME_SIZE> key{};
    name.copy(key.data(), key.size() - 1);
    return key;
}

std::uint32_t index_key(int device) {
    return static_cast<std::uint32_t>(device);
}

}  // namespace

void Filter::Unload::operator()(filter_bpf *programs) const {
    filter_bpf::destroy(programs);
}

Filter::Filter() {
    libbpf_set_print(note);
    programs_.reset(filter_bpf::open_and_load());
    if (!programs_)
        fail(errno, "the pppoe filter cannot be loaded (needs eBPF and its capabilities)");
    for (const std::uint16_t type : usual_tag_types) set_tag_type(type);
}

Filter::~Filter() = default;

Attachment Filter::attach(Hook hook, int device, const std::string &name) {
    bpf_tc_hook qdisc = tc_hook(device, BPF_TC_INGRESS | BPF_TC_EGRESS);
    const int created = bpf_tc_hook_create(&qdisc);
    if (created != 0 && created != -EEXIST) fail(-created, name + ": clsact qdisc");
    const bool taken_over = created == -EEXIST && attached_by_anyone(hook, device);

    const bpf_tc_hook where = tc_hook(hook, device);
    bpf_tc_opts place = tc_place();
    place.prog_fd = bpf_program__fd(program(*programs_, hook));
    place.flags = BPF_TC_F_REPLACE;
    const int attached = bpf_tc_attach(&where, &place);
    if (attached != 0) fail(-attached, name + ": pppoe filter");
    return {created == 0, taken_over};
}

void Filter::detach(int device, bool with_qdisc) {
    for (const Hook hook : {Hook::port_in, Hook::port_out, Hook::pseudo_out}) {
        if (!attached_by_anyone(hook, device)) continue;
        const bpf_tc_hook where = tc_hook(hook, device);
        const bpf_tc_opts place = tc_place();
        bpf_tc_detach(&where, &place);
    }
    try {
        if (!with_qdisc || has_filters(device)) return;
    } catch (const std::system_error &) {
        return;  // the device is gone
    }
    bpf_tc_hook qdisc = tc_hook(device, BPF_TC_INGRESS | BPF_TC_EGRESS);
    bpf_tc_hook_destroy(&qdisc);
}

bool Filter::attached(Hook hook, int device) const {
    bpf_prog_info info{};
    std::uint32_t size = sizeof info;
    if (bpf_obj_get_info_by_fd(bpf_program__fd(program(*programs_, hook)), &info, &size) != 0)
        return false;
    return program_at(hook, device).id == info.id;
}

bool Filter::attached_by_anyone(Hook hook, int device) {
    return program_at(hook, device).name == program_name(hook);
}

void Filter::set_tag_type(std::uint16_t ethertype) {
    programs_->bss->tag_types[ethertype / 8] |= static_cast<std::uint8_t>(1U << (ethertype % 8));
}

void Filter::set_bridge(std::uint32_t number, const filter_bridge &bridge) {
    store(programs_->maps.bridges, number, bridge);
}

void Filter::set_port(int device, const filter_port &port) {
    store(programs_->maps.ports, index_key(device), port);
}

void Filter::clear_port(int device) {
    erase(programs_->maps.ports, index_key(device));
}

void Filter::set_pseudo(int device, std::uint32_t bridge) {
    store(programs_->maps.pseudo_devices, index_key(device), bridge);
}

void Filter::clear_pseudo(int device) {
    erase(programs_->maps.pseudo_devices, index_key(device));
}

void Filter::set_output(const std::string &name, const filter_output &output) {
    store(programs_->maps.outputs, name_key(name), output);
}

void Filter::clear_output(const std::string &name) {
    erase(programs_->maps.outputs, name_key(name));
}

void Filter::set_slot(const filter_port &port, int device) {
    const std::uint32_t key = (port.bridge * FILTER_ROLES + port.role) * FILTER_SLOTS + port.slot;
    store(programs_->maps.slots, key, index_key(device));
    store(programs_->maps.station_clocks, key, std::uint64_t{0});
}

std::array<std::uint64_t, OUTCOME_COUNT> Filter::outcomes() const {
    std::array<std::uint64_t, OUTCOME_COUNT> sums{};
    std::vector<std::uint64_t> counts(static_cast<std::size_t>(libbpf_num_possible_cpus()));
    for (std::uint32_t outcome = 0; outcome < OUTCOME_COUNT; ++outcome) {
        if (bpf_map__lookup_elem(programs_->maps.outcomes, &outcome, sizeof outcome, counts.data(),
                                 counts.size() * sizeof counts[0], 0) != 0)
            continue;
        for (const std::uint64_t count : counts) sums[outcome] += count;
    }
    return sums;
}

}  // namespace ia::node
