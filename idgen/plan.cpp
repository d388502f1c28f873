#include "idgen/plan.h"

#include "diag/test_data.h"
#include "fe/base/trace.h"
#include "idgen/assembly.h"
#include "idgen/formatter.h"
#include "idgen/frame_fields.h"
#include "idgen/resolver.h"
#include "idgen/scanner.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ia {

namespace {

// An ID's text before it is cut. A format of 128 characters holds 32 macros at
// most, and no value is longer than 256: there is always room.
class IdText {
public:
    void clear() { size_ = 0; }
    std::size_t size() const { return size_; }
    std::string_view view() const { return {text_.data(), size_}; }

    IdText &operator+=(std::string_view more) {
        const std::size_t length = std::min(more.size(), text_.size() - size_);
        std::memcpy(text_.data() + size_, more.data(), length);
        size_ += length;
        return *this;
    }

private:
    std::array<char, 16384> text_;
    std::size_t size_ = 0;
};

// What a frame's IDs are made in; the thread's own, so that it keeps its room.
struct id_scratch {
    id_scratch() {
        for (std::string *text : {&value, &processed}) text->reserve(1024);
        hex_runs.reserve(32);
    }

    std::string value;
    std::string processed;
    IdText id;
    std::vector<hex_run> hex_runs;
};

// Appends rendered text and notes it when it stands for bytes. Where an empty
// run was noted before, no other is.
void append(std::string_view text, bool stands_for_bytes, id_scratch &work) {
    const std::size_t at = work.id.size();
    if (stands_for_bytes && (work.hex_runs.empty() || work.hex_runs.back().at != at))
        work.hex_runs.push_back({at, static_cast<unsigned>(text.size())});
    work.id += text;
}

void run_step(const plan_step &step, const subscriber &who, id_scratch &work) {
    work.id += step.literal;
    if (!step.source) return append(step.constant, true, work);
    work.value.clear();
    step.source(who, work.value);
    if (step.flags == 0)  // as it is
        work.id += work.value;
    else if (render_value(work.value, step.type, step.flags, step.delimiter, step.count,
                          work.processed))
        append(work.processed, step.flags & macroStringPrintHex, work);
    else
        work.id += step.macro;
}

const format_plan &plan_in(plan_slot &slot, const char *format) {
    if (!slot || slot->format != format)
        slot = std::make_shared<const format_plan>(make_plan(format));
    return *slot;
}

}  // namespace

bool plans_run() {
    return !tracing() && !test_debug.load(std::memory_order_relaxed);
}

format_plan make_plan(const std::string &format) {
    format_plan plan{format, {}, {}};
    std::string literal;
    plan_step step;
    std::string user_string;
    unsigned long start = 0;
    unsigned long position = 0;
    // Delimiter and count live on from macro to macro.
    while (getNextMacroFormatString(format, position, start, step.macro, step.type, step.flags,
                                    step.delimiter, step.count, user_string)) {
        literal.append(format, position, start - position);
        position = start + step.macro.size();
        step.source = macro_rule_of(step.type).source;
        const bool constant =
            !user_string.empty() && processMacroString(user_string, step.type, step.flags,
                                                       step.delimiter, step.count, step.constant);
        const bool value = user_string.empty() && step.source &&
                           macroAreFlagsValid(step.type, step.flags, step.delimiter, step.count);
        user_string.clear();
        if (!constant && !value) {  // never anything but itself
            literal += step.macro;
            continue;
        }
        step.literal.swap(literal);
        literal.clear();
        plan.steps.push_back(step);
    }
    plan.rest = literal.append(format, position);
    return plan;
}

void run_plan(plan_slot &slot, const char *format, const pppoeia_bridge &bridge, std::uint32_t port,
              std::uint16_t vid, std::uint16_t cvid, char *out, std::vector<std::uint8_t> &binary) {
    static thread_local id_scratch work;
    const format_plan &plan = plan_in(slot, format);
    const subscriber who{bridge, port, vid, cvid,
                         frame_field<pppoeia_mac>(bridge, FRAME_SOURCE_MAC)};
    work.id.clear();
    work.hex_runs.clear();
    for (const plan_step &step : plan.steps) run_step(step, who, work);
    work.id += plan.rest;

    if (!work.hex_runs.empty()) {
        text_to_bytes(work.id.view(), work.hex_runs, binary);
        if (binary.size() > GENERATED_ID_MAX) binary.resize(GENERATED_ID_MAX);
    }
    const std::size_t length = std::min(work.id.size(), GENERATED_ID_MAX);
    std::memcpy(out, work.id.view().data(), length);
    out[length] = '\0';
}

}  // namespace ia
