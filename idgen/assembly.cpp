#include "idgen/assembly.h"

#include "fe/base/trace.h"
#include "idgen/debug.h"
#include "idgen/formatter.h"
#include "idgen/resolver.h"
#include "idgen/scanner.h"

namespace {

// The macro that the scanner found. Delimiter and count carry over from macro to
// macro.
struct FoundMacro {
    unsigned long start = 0;
    std::string text;
    customIdFormat type = MACRO_SHELF;
    char flags = 0;
    std::string delimiter;
    unsigned count = 0;
    std::string user_string;
};

// An ID under construction.
struct IdWork {
    std::string text;
    std::map<unsigned long, unsigned> hex_runs;
};

// Appends the rendered value, or the macro's own text if it cannot be rendered.
void append_formatted(const std::string &value, const FoundMacro &macro, IdWork &work) {
    std::string processed;
    if (!processMacroString(value, macro.type, macro.flags, macro.delimiter, macro.count,
                            processed)) {
        work.text += macro.text;
        return;
    }
    if ((macro.flags & macroStringPrintHex) || macro.type == MACRO_HEX)
        work.hex_runs.emplace(work.text.size(), static_cast<unsigned>(processed.size()));
    work.text += processed;
}

// -1 for a character that is no hexadecimal digit.
constexpr int digit_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// The value of the pair's leading hexadecimal digits; 0 without any.
std::uint8_t byte_of(const char *digits) {
    const int high = digit_value(digits[0]);
    const int low = digit_value(digits[1]);
    if (high < 0) return 0;
    return static_cast<std::uint8_t>(low < 0 ? high : high * 16 + low);
}

void convert_to_binary(const pppoeia_bridge &bridge, const IdWork &work,
                       std::vector<std::uint8_t> &out) {
    IA_TRACE("<%s> >> Generating binary string", bridge.name);
    if (!idStringToBinaryVector(work.text, work.hex_runs, out))
        IA_TRACE("<%s> >> idStringToBinaryVector failed!", bridge.name);
}

void cut_to_limit(const pppoeia_bridge &bridge, std::string &id,
                  std::vector<std::uint8_t> &binary) {
    constexpr int limit = generated_id_max;
    if (binary.empty() && id.size() > limit) {
        IA_TRACE("<%s> >> Cutting CHAR string from %ld to %d chars", bridge.name,
                 static_cast<long>(id.size()), limit);
        id.resize(limit);
    }
    if (binary.size() > limit) {
        IA_TRACE("<%s> >> Cutting BIN string from %ld to %d bytes", bridge.name,
                 static_cast<long>(binary.size()), limit);
        binary.resize(limit);
    }
}

}  // namespace

bool genCustomId(const pppoeia_bridge *bridge, unsigned intf_id, unsigned short vid,
                 unsigned short cvid, const std::string &format, std::string &id,
                 std::vector<std::uint8_t> &bin_id, idGenType gen_type) {
    IA_TRACE("<%s> >> genCustomId", bridge->name);
    IA_ID_DEBUG("format '%s', port %u, VLAN %u, customer VLAN %u", format.c_str(), intf_id, vid,
                cvid);
    IdWork work;
    FoundMacro macro;
    unsigned long position = 0;
    while (getNextMacroFormatString(format, position, macro.start, macro.text, macro.type,
                                    macro.flags, macro.delimiter, macro.count, macro.user_string)) {
        work.text.append(format, position, macro.start - position);
        position = macro.start + macro.text.size();
        std::string value;
        if (!macro.user_string.empty()) {
            value.swap(macro.user_string);
        } else if (!getMacroStringValue(bridge, macro.type, value, intf_id, gen_type, vid, cvid)) {
            IA_TRACE("<%s> >> Error reading macro %s. Appending macro string.", bridge->name,
                     macroFormatTypeToString(macro.type).c_str());
            work.text += macro.text;
            continue;
        }
        append_formatted(value, macro, work);
    }
    work.text.append(format, position);
    IA_TRACE("<%s> >> Generated custom ID '%s'.", bridge->name, work.text.c_str());
    if (!work.hex_runs.empty()) convert_to_binary(*bridge, work, bin_id);
    id = std::move(work.text);
    cut_to_limit(*bridge, id, bin_id);
    IA_ID_DEBUG("text '%s', %zu bytes", id.c_str(), bin_id.size());
    return true;
}

bool ia::text_to_bytes(std::string_view text, std::span<const HexRun> runs,
                       std::vector<std::uint8_t> &out) {
    auto run = runs.begin();
    for (std::size_t at = 0; at < text.size();) {
        while (run != runs.end() && run->at < at) ++run;
        if (run == runs.end() || run->at != at || run->size == 0) {
            out.push_back(static_cast<std::uint8_t>(text[at++]));
            continue;
        }
        for (std::size_t taken = 0; taken < run->size; taken += 2, at += 2) {
            if (at + 2 > text.size()) return false;
            out.push_back(byte_of(text.data() + at));
        }
    }
    return true;
}

bool idStringToBinaryVector(const std::string &text,
                            const std::map<unsigned long, unsigned> &hex_runs,
                            std::vector<std::uint8_t> &out) {
    std::vector<ia::HexRun> runs;
    runs.reserve(hex_runs.size());
    for (const auto &[at, size] : hex_runs) runs.push_back({at, size});
    return ia::text_to_bytes(text, runs, out);
}
