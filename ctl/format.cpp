// Explains a format, with a line's values if one is named, and lists the
// vocabulary.
#include "ctl/answers.h"
#include "ctl/screen.h"
#include "idgen/explain.h"
#include "pppoeia/client.h"
#include "pppoeia/node.h"

#include <algorithm>
#include <cstdio>

namespace ia::ctl {

namespace {

constexpr std::size_t id_max = 63;

// The line whose values are used.
struct Line {
    std::string bridge;
    std::uint32_t port;
    std::uint16_t vlan;
    std::uint16_t cvid;
    pppoeia_mac client{};
};

pppoeia_mac parse_mac(const std::string &text) {
    pppoeia_mac mac{};
    // None given, or already checked by the command line.
    if (const auto bytes = mac_for(text)) std::ranges::copy(*bytes, mac.bytes);
    return mac;
}

std::optional<std::string> ask_engine(const Line &line, customIdFormat macro) {
    MacroValueBlock block{};
    switch (macro_value(line.bridge.c_str(), macro, line.port, line.vlan, line.cvid, &line.client,
                        &block)) {
        case 0: return std::string(block.text);
        case 4:
            throw Unreachable(
                "the engine cannot be asked for values; is pppoeia-fe running, and are you root?");
        default:
            throw Refused("port " + std::to_string(line.port) +
                          ": the engine has no such port; 'pppoeiactl show ports' lists them");
    }
}

std::string bridge_of(Call &call) {
    const rpcNodeCountersReply &counters = call.agent().node(rpc_node_counters_1);
    Remote::expect(counters.result, "the bridge");
    return counters.bridge;
}

Json id_of(const FormatReport &report) {
    if (!report.complete) return nullptr;
    const bool binary = !report.binary.empty();
    const std::string sent =
        binary ? std::string(report.binary.begin(), report.binary.end()) : report.text;
    return {{"text", binary ? Json() : Json(report.text)},
            {"hex", hex_of(sent)},
            {"binary", binary},
            {"length", sent.size()}};
}

// Prints the format with carets under a position; of a long format, the
// surroundings.
std::string with_caret(const std::string &format, std::size_t at, std::size_t length) {
    constexpr std::size_t before = 30;
    constexpr std::size_t width = 72;
    const std::size_t from = at + length > width && at > before ? at - before : 0;
    const std::string shown_part = format.substr(from, width);
    const auto columns = [](const std::string &text) {
        return static_cast<std::size_t>(
            std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
    };
    const std::size_t indent = columns(printable(format.substr(from, at - from)));
    const std::size_t marked =
        std::max<std::size_t>(columns(printable(shown_part.substr(at - from, length))), 1);
    return "  " + printable(shown_part) + "\n  " + std::string(indent, ' ') +
           ink(Ink::yellow, '^' + std::string(marked - 1, '~')) + '\n';
}

Json quoted(const Json &text) {
    return '\'' + text.get<std::string>() + '\'';
}

}  // namespace

Json check_format(Call &call) {
    std::optional<Line> line;
    if (call.has("port"))
        line = Line{bridge_of(call), call.number("port"),
                    static_cast<std::uint16_t>(call.maybe("vlan").value_or(no_vlan)),
                    static_cast<std::uint16_t>(call.maybe("cvid").value_or(no_vlan)),
                    parse_mac(call.text("mac"))};
    const std::string format = call.text("format");
    const FormatReport report =
        explain_format(format, [&](customIdFormat macro) -> std::optional<std::string> {
            return line ? ask_engine(*line, macro) : std::nullopt;
        });
    Json pieces = Json::array();
    for (const FormatPiece &piece : report.pieces)
        pieces.push_back({
            {"at", piece.at},
            {"source", format.substr(piece.at, piece.length)},
            {"macro", piece.macro ? Json(piece.name) : Json()},
            {"options", piece.macro ? Json(piece.options) : Json()},
            {"value", piece.value ? Json(*piece.value) : Json()},
            {"output", piece.output},
        });
    Json warnings = Json::array();
    for (const FormatNote &note : report.notes)
        warnings.push_back({{"kind", warning_name(note.warning)},
                            {"at", note.at},
                            {"length", note.length},
                            {"text", note.text}});
    return {
        {"format",
         {{"source", format}, {"pieces", pieces}, {"warnings", warnings}, {"id", id_of(report)}}}};
}

void print_format(const Json &answer) {
    const Json &format = answer.at("format");
    const auto source = format.at("source").get<std::string>();
    Json rows = Json::array();
    for (const Json &piece : format.at("pieces")) {
        const bool macro = !piece.at("macro").is_null();
        rows.push_back({{"source", macro ? piece.at("source") : quoted(piece.at("source"))},
                        {"meaning", macro ? piece.at("options") : Json("text")},
                        {"value", macro ? piece.at("value") : Json()},
                        {"output", quoted(piece.at("output"))}});
    }
    std::string out =
        table(
            {{"PIECE", "source"}, {"READ", "meaning"}, {"VALUE", "value"}, {"IN THE ID", "output"}},
            rows) +
        '\n';
    for (const Json &warning : format.at("warnings"))
        out +=
            with_caret(source, warning.at("at"), warning.at("length")) +
            ink(Ink::yellow, "warning") + ": " +
            wrapped(shown(warning.at("text")) + " (" + warning.at("kind").get<std::string>() + ')',
                    sizeof "warning:") +
            "\n\n";
    const Json &id = format.at("id");
    if (id.is_null())
        out += "Name a line to see the ID: --port N [--vlan V] [--cvid C] [--mac M]\n";
    else
        out += field("ID, text",
                     id.at("binary").get<bool>() ? Json("none: it is binary") : id.at("text")) +
               line("ID, hex", id.at("hex")) +
               line("length", std::to_string(id.at("length").get<std::size_t>()) + " of " +
                                  std::to_string(id_max));
    std::fputs(out.c_str(), stdout);
}

Json show_macros(Call &) {
    Json list = Json::array();
    for (const MacroHelp &macro : macro_vocabulary())
        list.push_back(
            {{"name", macro.name}, {"options", macro.options}, {"meaning", macro.meaning}});
    return {{"macros", list}};
}

void print_macros(const Json &answer) {
    std::fputs(table({{"MACRO", "name"}, {"OPTIONS", "options"}, {"MEANING", "meaning"}},
                     answer.at("macros"))
                   .c_str(),
               stdout);
    std::puts(
        "\nA macro is $, its options and its name, as in $z4PORT. Options: n a count\n"
        "to cut to, z or s with a count to fill with zeroes or spaces, h hexadecimal\n"
        "bytes, d and a character for the delimiter. See pppoeia-formats(7).");
}

}  // namespace ia::ctl
