#include "fe/frame_watch.h"

#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "fe/frame.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <new>
#include <vector>

namespace ia {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char *reasons[] = {
    "",                                      // forwarded
    "the frame would be too large",          // answered
    "the bridge is disabled",                // bridge_disabled
    "the VLAN is not enabled",               // vlan_not_enabled
    "the port is disabled",                  // port_disabled
    "the input port is not known",           // unknown_port
    "not a Discovery frame",                 // not_discovery
    "the payload is longer than the frame",  // payload_truncated
    "the port's role",                       // wrong_role
    "a tag from an untrusted port",          // untrusted_tag
    "the tag is cut off",                    // tag_truncated
    "no address of its own to answer with",  // no_local_mac
    "no memory",                             // no_memory
};
static_assert(std::size(reasons) == static_cast<std::size_t>(Outcome::no_memory) + 1);
static_assert(std::ranges::all_of(reasons, [](std::string_view text) {
    return text.size() < sizeof WatchedFrame{}.reason;
}));

// Frame number n is in slot n modulo the size. Numbers continue from one watch to
// the next, so an old number never means another frame.
struct Ring {
    std::mutex lock;
    std::vector<WatchedFrame> slots;  // empty: nobody watches
    std::uint64_t next = 0;
    std::uint64_t first = 0;  // of this watch
    Clock::time_point lease_end;

    void renew() { lease_end = Clock::now() + std::chrono::seconds(watch_lease_s); }

    bool run_out() const { return slots.empty() || Clock::now() >= lease_end; }

    void forget() {
        frames_are_watched = false;
        slots = {};
    }
};

// Never destroyed: a worker may still use it while the process exits.
Ring &ring() {
    static Ring &the_ring = *new Ring;
    return the_ring;
}

std::uint64_t now_ns() {
    using namespace std::chrono;
    const auto since_1970 = system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(duration_cast<nanoseconds>(since_1970).count());
}

// Copies the Ethernet frame in the buffer; returns its length.
std::uint16_t copy_frame(const Datagram &datagram, std::size_t end,
                         std::uint8_t (&to)[watched_frame_size]) {
    end = std::min(end, datagram.bytes.size());
    if (end <= ethernet_start) return 0;
    const auto frame = std::span(datagram.bytes).subspan(ethernet_start, end - ethernet_start);
    std::ranges::copy(frame.first(std::min(frame.size(), watched_frame_size)), to);
    return static_cast<std::uint16_t>(frame.size());
}

const kvbridge_frame_hdr &record_of(const Datagram &datagram) {
    return *reinterpret_cast<const kvbridge_frame_hdr *>(datagram.bytes.data());
}

const char *verdict_of(Outcome outcome) {
    if (outcome == Outcome::answered) return "answered";
    return is_sent(outcome) ? "forwarded" : "dropped";
}

}  // namespace

void FrameWatch::came() {
    frame_.reset(new (std::nothrow) WatchedFrame{});
    if (!frame_) return;
    frame_->time_ns = now_ns();
    frame_->port = record_of(datagram_).input_port;
    copy_text(frame_->bridge, bridge_.name);
    copy_text(frame_->input_device, text_of(record_of(datagram_).input_device));
    frame_->came_length = copy_frame(datagram_, datagram_.end, frame_->came);
}

void FrameWatch::keep(Outcome outcome) {
    copy_text(frame_->output_device, text_of(record_of(datagram_).output_device));
    copy_text(frame_->verdict, verdict_of(outcome));
    copy_text(frame_->reason, reasons[static_cast<std::size_t>(outcome)]);
    if (is_sent(outcome))
        frame_->left_length =
            copy_frame(datagram_, record_of(datagram_).total_length, frame_->left);
    Ring &all = ring();
    const std::lock_guard guard(all.lock);
    if (all.run_out()) return all.forget();
    frame_->number = all.next++;
    all.slots[frame_->number % watched_frames_max] = *frame_;
}

int fe_watch_frames(std::uint64_t *next) {
    trace_call(__func__);
    Ring &all = ring();
    const std::lock_guard guard(all.lock);
    if (all.run_out()) try {
            all.slots.resize(watched_frames_max);
            all.first = all.next;
        } catch (const std::bad_alloc &) {
            return refuse(__func__, -ENOMEM);
        }
    all.renew();
    frames_are_watched = true;
    *next = all.next;
    return trace_result(__func__, 0);
}

int fe_watched_frame_get(std::uint64_t number, WatchedFrame *out) {
    Ring &all = ring();
    const std::lock_guard guard(all.lock);
    if (all.run_out()) {
        all.forget();
        return refuse(__func__, -ENOENT);
    }
    all.renew();
    const std::uint64_t oldest =
        all.next - std::min<std::uint64_t>(all.next - all.first, watched_frames_max);
    number = std::max(number, oldest);
    if (number >= all.next) return 1;
    *out = all.slots[number % watched_frames_max];
    return 0;
}

}  // namespace ia
