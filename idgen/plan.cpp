#include "idgen/plan.h"

#include "diag/test_data.h"
#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "idgen/assembly.h"
#include "idgen/formatter.h"
#include "idgen/resolver.h"
#include "idgen/scanner.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace ia {

namespace {

// A format of 128 characters holds 32 macros at most.
constexpr std::size_t uncut_id_max = 32 * (MACRO_VALUE_MAX + PPPOEIA_FORMAT_SIZE);

// What a frame's IDs are made in; the thread's own, so that it keeps its room.
struct id_scratch {
    id_scratch() {
        for (std::string *text : {&value, &processed}) text->reserve(1024);
        hex_runs.reserve(32);
    }
    void clear() {
        id.clear();
        hex_runs.clear();
    }

    std::array<char, uncut_id_max> room;
    TextWriter id{room};
    std::string value;
    std::string processed;
    std::vector<hex_run> hex_runs;
};

// A block's own: one of the namespace that finds no memory would end the process.
id_scratch &scratch() {
    thread_local id_scratch work;
    return work;
}

// Appends rendered text and notes it when it stands for bytes. Where an empty
// run was noted before, no other is.
void append(std::string_view text, bool stands_for_bytes, id_scratch &work) {
    const std::size_t at = work.id.size();
    if (stands_for_bytes && (work.hex_runs.empty() || work.hex_runs.back().at != at))
        work.hex_runs.push_back({at, static_cast<unsigned>(text.size())});
    work.id << text;
}

// The value, which the formatter wants by itself.
void fetch(const plan_step &step, const subscriber &who, std::string &value) {
    std::array<char, MACRO_VALUE_MAX> room;
    TextWriter text(room);
    step.source(who, text);
    value = text.view();
}

void run_step(const plan_step &step, const subscriber &who, id_scratch &work) {
    work.id << step.literal;
    if (!step.source) return append(step.constant, true, work);
    if (step.flags == 0) return step.source(who, work.id);  // as it is
    fetch(step, who, work.value);
    if (render_value(work.value, step.type, step.flags, step.delimiter, step.count, work.processed))
        append(work.processed, step.flags & macroStringPrintHex, work);
    else
        work.id << step.macro;
}

// The plan with the values in it that last: as text in front of what follows,
// or as constant digits.
format_plan fold(const format_plan &plan, const subscriber &who, id_scratch &work) {
    format_plan folded;
    std::string literal;
    for (const plan_step &step : plan.steps) {
        const bool stays = step.source && !macro_rule_of(step.type).lasts;
        work.clear();
        if (stays)
            work.id << step.literal;
        else
            run_step(step, who, work);
        const bool digits = !work.hex_runs.empty();
        const std::string_view text = work.id.view();
        const std::size_t end = digits ? work.hex_runs.front().at : text.size();
        literal += text.substr(0, end);
        if (!stays && !digits) continue;
        plan_step &kept = folded.steps.emplace_back(step);
        kept.literal = std::exchange(literal, {});
        if (!stays) {
            kept.source = nullptr;
            kept.constant = text.substr(end);
        }
    }
    folded.rest = literal + plan.rest;
    return folded;
}

}  // namespace

bool plans_run() {
    return !tracing() && !test_debug.load(std::memory_order_relaxed);
}

format_plan make_plan(const std::string &format) {
    format_plan plan;
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

void run_plan(const format_plan *plan, const subscriber &who, char *out,
              std::vector<std::uint8_t> &binary) {
    id_scratch &work = scratch();
    work.clear();
    if (plan) {
        for (const plan_step &step : plan->steps) run_step(step, who, work);
        work.id << plan->rest;
    }
    if (!work.hex_runs.empty()) {
        text_to_bytes(work.id.view(), work.hex_runs, binary);
        if (binary.size() > GENERATED_ID_MAX) binary.resize(GENERATED_ID_MAX);
    }
    const std::size_t length = std::min(work.id.size(), GENERATED_ID_MAX);
    std::memcpy(out, work.id.view().data(), length);
    out[length] = '\0';
}

line_plan *current_line(const line_slot &slot, const subscriber &who) {
    line_plan *line = slot.get();
    const bool current = line && line->revision != 0 && line->revision == who.bridge.revision &&
                         line->vid == who.vid && line->cvid == who.cvid;
    return current ? line : nullptr;
}

void begin_line(line_slot &slot, const subscriber &who, const format_plan *plan) {
    if (!slot) slot = std::make_unique<line_plan>();
    *slot = {who.bridge.revision, who.vid, who.cvid, plan, std::nullopt};
}

const format_plan *folded_plan(line_plan &line, const subscriber &who) {
    if (!line.of) return nullptr;
    if (!line.folded) line.folded = fold(*line.of, who, scratch());
    return &*line.folded;
}

}  // namespace ia
