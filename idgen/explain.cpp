#include "idgen/explain.h"

#include "idgen/assembly.h"
#include "idgen/formatter.h"
#include "idgen/resolver.h"
#include "idgen/scanner.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace ia {

namespace {

struct Options {
    char flags = 0;
    std::string delimiter;
    unsigned count = 0;

    bool has(int flag) const { return (flags & flag) != 0; }
};

std::string in_words(customIdFormat type, const Options &options) {
    std::string words;
    const auto add = [&](const std::string &more) { words += (words.empty() ? "" : ", ") + more; };
    if (type == MACRO_HEX) return "bytes from the digits before the name";
    if (options.has(macroStringPrintHex)) add("in hexadecimal bytes");
    if (options.has(macroStringDelimChar))
        add(options.delimiter.empty() ? "without delimiter"
                                      : "delimiter '" + options.delimiter + "'");
    if (options.has(macroStringPadZeroes)) add("filled with zeroes on the left");
    if (options.has(macroStringPadSpaces)) add("filled with spaces on the left");
    if (options.has(macroStringNumOfChars))
        add((options.has(macroStringPadZeroes | macroStringPadSpaces) ? "to " : "cut to ") +
            std::to_string(options.count) +
            (options.has(macroStringPrintHex) ? " bytes" : " characters"));
    return words.empty() ? "as it is" : words;
}

// The reason why an option block is malformed.
std::string fault_in(const std::string &block) {
    for (std::size_t end = 1; end <= block.size(); ++end) {
        Options ignored;
        // A letter that needs a count is only at fault at the end of the block.
        if (parseOptChars(block.substr(0, end), ignored.delimiter, ignored.count, ignored.flags))
            continue;
        if (block[end - 1] == 's' && end < block.size()) continue;
        if (block[end - 1] == 's' && std::count(block.begin(), block.end(), 's') == 1)
            return "'s' needs a count behind it";
        return std::string("'") + block[end - 1] + "' cannot stand here";
    }
    return "the options are malformed";
}

class Explainer {
public:
    Explainer(const std::string &format, const MacroValues &values)
        : format_(format), values_(values) {}

    FormatReport run() {
        while (next_macro()) {
            note_no_macros(position_, start_);
            literal(position_, start_);
            position_ = start_ + macro_.size();
            expand();
        }
        const std::size_t notes = report_.notes.size();
        note_what_stopped();
        if (report_.notes.size() == notes) note_no_macros(position_, format_.size());
        literal(position_, format_.size());
        finish();
        return std::move(report_);
    }

private:
    bool next_macro() {
        return getNextMacroFormatString(format_, position_, start_, macro_, type_, options_.flags,
                                        options_.delimiter, options_.count, user_string_);
    }

    const std::string &name() {
        name_ = macroFormatTypeToString(type_);
        return name_;
    }

    void note(FormatWarning warning, std::size_t at, std::size_t length, std::string text) {
        report_.notes.push_back({warning, at, length, std::move(text)});
    }
    void note_macro(FormatWarning warning, std::string text) {
        note(warning, start_, macro_.size(), std::move(text));
    }

    void literal(std::size_t from, std::size_t to) {
        if (from == to) return;
        FormatPiece piece;
        piece.at = from;
        piece.length = to - from;
        piece.output = format_.substr(from, to - from);
        add(std::move(piece));
    }

    void add(FormatPiece piece) {
        work_ += piece.output;
        ends_.push_back(work_.size());
        report_.pieces.push_back(std::move(piece));
    }

    void expand() {
        FormatPiece piece;
        piece.at = start_;
        piece.length = macro_.size();
        piece.macro = type_;
        piece.name = name();
        piece.options = in_words(type_, options_);
        piece.output = macro_;
        note_carried_over();
        if (type_ == MACRO_HEX && !user_string_.empty()) {
            piece.value.emplace().swap(user_string_);
            render(piece);
        } else if (!macro_rule_of(type_).source) {
            note_macro(
                FormatWarning::never_resolves,
                "$" + name() +
                    (type_ == MACRO_HEX ? " needs digits before its name" : " never has a value") +
                    ": it stays in the ID as it stands here");
        } else {
            piece.value = values_(type_);
            if (type_ == MACRO_BOARD)
                note_macro(FormatWarning::empty,
                           "$BOARD is always empty; the node's board is $AGENT_BOARD");
            else if (piece.value && piece.value->empty())
                note_macro(FormatWarning::empty, "$" + name() + " is empty for this line");
            render(piece);
        }
        add(std::move(piece));
    }

    void render(FormatPiece &piece) {
        const bool fits =
            macroAreFlagsValid(type_, options_.flags, options_.delimiter, options_.count);
        if (fits && !piece.value) {
            report_.complete = false;
            piece.output.clear();
            if (options_.has(macroStringPrintHex)) hex_runs_.emplace(work_.size(), 0U);
            return note_binary();
        }
        std::string processed;
        if (!fits || !processMacroString(*piece.value, type_, options_.flags, options_.delimiter,
                                         options_.count, processed))
            return note_macro(
                FormatWarning::stays_literal,
                "these options do not fit $" + name() + ": it stays in the ID as it stands here");
        if (options_.has(macroStringPrintHex) || type_ == MACRO_HEX) {
            hex_runs_.emplace(work_.size(), static_cast<unsigned>(processed.size()));
            note_binary();
        }
        piece.output = std::move(processed);
    }

    void note_binary() {
        if (hex_runs_.size() != 1 || binary_noted_) return;
        binary_noted_ = true;
        note_macro(FormatWarning::binary,
                   "this hexadecimal makes the whole ID binary: it is sent as bytes, not as text");
    }

    // Compares the block's meaning on its own with its meaning here.
    void note_carried_over() {
        if (type_ == MACRO_HEX) return;
        Options own;
        const std::string block = macro_.substr(1, macro_.size() - 1 - name().size());
        parseOptChars(block, own.delimiter, own.count, own.flags);
        const bool uses_count =
            own.has(macroStringPadZeroes | macroStringPadSpaces | macroStringNumOfChars) &&
            (own.has(macroStringNumOfChars) || !is_ip(macro_rule_of(type_).shape));
        if (own.has(macroStringDelimChar) && own.delimiter != options_.delimiter)
            note_macro(FormatWarning::carries_over, "no delimiter follows 'd': '" +
                                                        options_.delimiter +
                                                        "' of an earlier macro is taken");
        if (uses_count && own.count != options_.count)
            note_macro(FormatWarning::carries_over,
                       "no count follows: " + std::to_string(options_.count) +
                           " of an earlier macro is taken");
    }

    // Warns of text that looks like a macro: '$', options and a name in capitals.
    void note_no_macros(std::size_t from, std::size_t to) {
        const auto option = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); };
        const auto capital = [](char c) { return (c >= 'A' && c <= 'Z') || c == '_'; };
        const std::string_view text = std::string_view(format_).substr(0, to);
        for (std::size_t at = text.find('$', from); at < to; at = text.find('$', at + 1)) {
            const auto name = std::find_if_not(text.begin() + at + 1, text.end(), option);
            const auto end = std::find_if_not(name, text.end(), capital);
            if (name == end) continue;
            const std::string word(text.begin() + at, end);
            note(FormatWarning::never_resolves, at, word.size(),
                 word + " names no macro: it stays in the ID as it stands here");
        }
    }

    // The scanner found no further macro: the format ends, or the scanner gave its
    // reason.
    void note_what_stopped() {
        const std::string rest = position_ <= format_.size() ? format_.substr(position_) : "";
        if (!macro_.empty()) {
            const std::string block = macro_.substr(1, macro_.size() - 1 - name().size());
            return note_macro(FormatWarning::stops_expansion,
                              "not a macro: between '$' and " + name() + ' ' + fault_in(block) +
                                  ". All from here on stays as it is");
        }
        std::size_t first = std::string::npos;
        std::string_view found;
        for (const MacroRule &rule : macro_rules()) {
            const std::size_t at = rest.find(rule.name);
            if (at < first ||
                (at == first && rule.name.size() > found.size() && at != std::string::npos)) {
                first = at;
                found = rule.name;
            }
        }
        if (first == std::string::npos) return;
        note(FormatWarning::name_in_text, position_ + first, found.size(),
             std::string(found) +
                 " is a macro's name, without '$' before it. All from here on stays as it is");
    }

    void finish() {
        if (!report_.complete) return;
        if (!hex_runs_.empty()) idStringToBinaryVector(work_, hex_runs_, report_.binary);
        const bool binary = !report_.binary.empty();
        if ((binary ? report_.binary.size() : work_.size()) > generated_id_max) {
            const std::size_t piece = piece_at_limit(binary);
            const FormatPiece &where = report_.pieces[piece];
            note(FormatWarning::cut, where.at, where.length,
                 "the ID has " + std::to_string(binary ? report_.binary.size() : work_.size()) +
                     (binary ? " bytes" : " characters") + " and is cut here, at 63");
            if (binary)
                report_.binary.resize(generated_id_max);
            else
                work_.resize(generated_id_max);
        }
        report_.text = std::move(work_);
    }

    // The piece in which the ID exceeds its limit.
    std::size_t piece_at_limit(bool binary) const {
        for (std::size_t piece = 0; piece < ends_.size(); ++piece) {
            std::size_t size = ends_[piece];
            if (binary) {
                std::vector<std::uint8_t> bytes;
                idStringToBinaryVector(work_.substr(0, size), hex_runs_, bytes);
                size = bytes.size();
            }
            if (size > generated_id_max) return piece;
        }
        return ends_.size() - 1;
    }

    const std::string &format_;
    const MacroValues &values_;
    FormatReport report_;
    unsigned long position_ = 0;

    // the current macro
    unsigned long start_ = 0;
    std::string macro_;
    customIdFormat type_ = MACRO_SHELF;
    Options options_;
    std::string user_string_;
    std::string name_;

    // the ID under construction
    std::string work_;
    std::vector<std::size_t> ends_;  // of the pieces, in `work_`
    std::map<unsigned long, unsigned> hex_runs_;
    bool binary_noted_ = false;
};

}  // namespace

const char *warning_name(FormatWarning warning) {
    static constexpr const char *names[format_warning_count] = {
        "stops-expansion", "name-in-text",   "stays-literal", "carries-over",
        "empty",           "never-resolves", "cut",           "binary",
    };
    return names[static_cast<std::size_t>(warning)];
}

FormatReport explain_format(const std::string &format, const MacroValues &values) {
    return Explainer(format, values).run();
}

std::vector<MacroHelp> macro_vocabulary() {
    std::vector<MacroHelp> all;
    for (const MacroRule &rule : macro_rules()) {
        const bool counted = rule.shape != MacroShape::user_hex;
        std::string options = counted ? "n" : "digits";
        if (counted && !is_address(rule.shape)) options += " z s";
        if (is_ip(rule.shape)) options += " z";
        if (macroIsSupportedForHex(rule.type)) options += " h";
        if (macroIsSupportedForDelimiter(rule.type)) options += " d";
        all.push_back({std::string(rule.name), options, std::string(rule.meaning)});
    }
    return all;
}

}  // namespace ia
