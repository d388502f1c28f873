#include "node/kernel/filter.h"
#include "node/kernel/failure.h"

#include "filter.skel.h"
#include "platform/kernel_modules.h"

#include <bpf/bpf.h>
#include <bpf/libbpf.h>
#include <syslog.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

// The programs write the record by these places.
static_assert(RECORD_SIZE == sizeof(kvbridge_frame_hdr));
static_assert(RECORD_VLAN == offsetof(kvbridge_frame_hdr, vlan));
static_assert(RECORD_CVLAN == offsetof(kvbridge_frame_hdr, cvlan));
static_assert(RECORD_MARK >= offsetof(kvbridge_frame_hdr, kernel2));
static_assert(RECORD_ARRIVAL + sizeof(filter_arrival) <= RECORD_SOURCE);
static_assert(RECORD_SOURCE + 6 <= offsetof(kvbridge_frame_hdr, total_length));
static_assert(RECORD_TOTAL_LENGTH == offsetof(kvbridge_frame_hdr, total_length));
static_assert(RECORD_INPUT_PORT == offsetof(kvbridge_frame_hdr, input_port));
static_assert(RECORD_INPUT_DEVICE == offsetof(kvbridge_frame_hdr, input_device));
static_assert(RECORD_OUTPUT_DEVICE == offsetof(kvbridge_frame_hdr, output_device));
static_assert(FILTER_NAME_SIZE == sizeof(kvbridge_frame_hdr::output_device));
static_assert(int{RECORD_NO_CVLAN} == KVBRIDGE_NO_CVLAN);

namespace ia::node {
namespace {

constexpr std::uint16_t usual_tag_types[] = {0x8100, 0x88A8, 0x9100, 0x9200, 0x9300};

// Told only to those who look for it: a failure is also the caller's error.
int note(libbpf_print_level level, const char *format, va_list arguments) {
    if (level == LIBBPF_WARN) vsyslog(LOG_DEBUG, format, arguments);
    return 0;
}

const bpf_program *program_of(const filter_bpf &programs, Hook hook) {
    switch (hook) {
        case Hook::port_in: return programs.progs.pppoeia_enter;
        case Hook::port_out: return programs.progs.pppoeia_guard;
        case Hook::pseudo_out: return programs.progs.pppoeia_leave;
    }
    return nullptr;
}

std::uint32_t id_of(const bpf_program *program) {
    bpf_prog_info info{};
    std::uint32_t size = sizeof info;
    if (bpf_obj_get_info_by_fd(bpf_program__fd(program), &info, &size) != 0)
        fail(errno, "the pppoe filter");
    return info.id;
}

// Map keys and values go by address and size.
template <class Key, class Value>
void store(const bpf_map *map, const Key &key, const Value &value) {
    const int result = bpf_map__update_elem(map, &key, sizeof key, &value, sizeof value, BPF_ANY);
    if (result != 0) fail(-result, std::string("filter map ") + bpf_map__name(map));
}

// Also when there was none.
template <class Key>
void erase(const bpf_map *map, const Key &key) {
    const int result = bpf_map__delete_elem(map, &key, sizeof key, 0);
    if (result != 0 && result != -ENOENT)
        fail(-result, std::string("filter map ") + bpf_map__name(map));
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
    for (const Hook hook : {Hook::port_in, Hook::port_out, Hook::pseudo_out})
        ids_.at(static_cast<std::size_t>(hook)) = id_of(program_of(*programs_, hook));
    for (const std::uint16_t type : usual_tag_types) set_tag_type(type);
}

Filter::~Filter() = default;

Program Filter::program(Hook hook) const {
    return {descriptor(hook), ids_.at(static_cast<std::size_t>(hook))};
}

Attachment Filter::attach(Hook hook, int device, const std::string &name) {
    return places_.attach(hook, device, name, program(hook));
}

bool Filter::attached(Hook hook, int device) {
    return places_.attached(hook, device, program(hook));
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
    store(programs_->maps.newcomers, key, filter_newcomers{});
}

void Filter::set_station_share(std::uint32_t role, std::uint32_t cells) {
    programs_->bss->station_shares[role] = cells;
}

void Filter::begin_counts(int device) {
    store(programs_->maps.counts, index_key(device), frame_counts{});
}

void Filter::end_counts(int device) {
    erase(programs_->maps.counts, index_key(device));
}

frame_counts Filter::counts(int device) const {
    frame_counts counted{};
    const std::uint32_t key = index_key(device);
    if (bpf_map__lookup_elem(programs_->maps.counts, &key, sizeof key, &counted, sizeof counted,
                             0) != 0)
        return {};
    return counted;
}

void Filter::set_servers(std::uint32_t bridge,
                         const std::vector<std::array<std::uint8_t, 6>> &listed) {
    const bpf_map *map = programs_->maps.servers;
    std::vector<filter_server> gone;
    filter_server server{};
    for (const filter_server *last = nullptr;
         bpf_map__get_next_key(map, last, &server, sizeof server) == 0; last = &server)
        if (server.bridge == bridge) gone.push_back(server);
    store(programs_->maps.servers_seen, bridge, std::uint32_t{UINT32_MAX});  // none enters
    for (const filter_server &each : gone) erase(map, each);
    server.bridge = static_cast<std::uint16_t>(bridge);
    for (const auto &address : listed) {
        std::copy(address.begin(), address.end(), server.address);
        store(map, server, std::uint32_t{1});
    }
    store(programs_->maps.servers_seen, bridge, std::uint32_t{0});
}

int Filter::descriptor(Hook hook) const {
    return bpf_program__fd(program_of(*programs_, hook));
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
