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
constexpr std::size_t uncut_id_max = 32 * (macro_value_max + PPPOEIA_FORMAT_SIZE);

// Buffers for a frame's IDs, one set per thread, so that their memory is reused.
struct IdScratch {
    IdScratch() {
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
    std::vector<HexRun> hex_runs;
};

// Local to its function: one at namespace scope that finds no memory would end the
// process.
IdScratch &scratch() {
    thread_local IdScratch work;
    return work;
}

// Appends rendered text and records it when it stands for bytes. An empty run
// already recorded is not recorded again.
void append(std::string_view text, bool stands_for_bytes, IdScratch &work) {
    const std::size_t at = work.id.size();
    if (stands_for_bytes && (work.hex_runs.empty() || work.hex_runs.back().at != at))
        work.hex_runs.push_back({at, static_cast<unsigned>(text.size())});
    work.id << text;
}

// The value as a string, which the formatter needs.
void fetch(const PlanStep &step, const subscriber &who, std::string &value) {
    std::array<char, macro_value_max> room;
    TextWriter text(room);
    step.source(who, text);
    value = text.view();
}

void run_step(const PlanStep &step, const subscriber &who, IdScratch &work) {
    work.id << step.literal;
    if (!step.source) return append(step.constant, true, work);
    if (step.flags == 0) return step.source(who, work.id);  // without options
    fetch(step, who, work.value);
    if (render_value(work.value, step.type, step.flags, step.delimiter, step.count, work.processed))
        append(work.processed, step.flags & macroStringPrintHex, work);
    else
        work.id << step.macro;
}

// The plan with its constant values filled in: as text in front of the next step,
// or as constant digits.
FormatPlan fold(const FormatPlan &plan, const subscriber &who, IdScratch &work) {
    FormatPlan folded;
    std::string literal;
    for (const PlanStep &step : plan.steps) {
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
        PlanStep &kept = folded.steps.emplace_back(step);
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

FormatPlan make_plan(const std::string &format) {
    FormatPlan plan;
    std::string literal;
    PlanStep step;
    std::string user_string;
    unsigned long start = 0;
    unsigned long position = 0;
    // Delimiter and count carry over from macro to macro.
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
        if (!constant && !value) {  // never has a value
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

void run_plan(const FormatPlan *plan, const subscriber &who, char *out,
              std::vector<std::uint8_t> &binary) {
    IdScratch &work = scratch();
    work.clear();
    if (plan) {
        for (const PlanStep &step : plan->steps) run_step(step, who, work);
        work.id << plan->rest;
    }
    if (!work.hex_runs.empty()) {
        text_to_bytes(work.id.view(), work.hex_runs, binary);
        if (binary.size() > generated_id_max) binary.resize(generated_id_max);
    }
    const std::size_t length = std::min(work.id.size(), generated_id_max);
    std::memcpy(out, work.id.view().data(), length);
    out[length] = '\0';
}

LinePlan *current_line(const LineSlot &slot, const subscriber &who) {
    LinePlan *line = slot.get();
    const bool current = line && line->revision != 0 && line->revision == who.bridge.revision &&
                         line->vid == who.vid && line->cvid == who.cvid;
    return current ? line : nullptr;
}

void begin_line(LineSlot &slot, const subscriber &who, const FormatPlan *plan) {
    if (!slot) slot = std::make_unique<LinePlan>();
    *slot = {who.bridge.revision, who.vid, who.cvid, plan, std::nullopt};
}

const FormatPlan *folded_plan(LinePlan &line, const subscriber &who) {
    if (!line.of) return nullptr;
    if (!line.folded) line.folded = fold(*line.of, who, scratch());
    return &*line.folded;
}

}  // namespace ia
