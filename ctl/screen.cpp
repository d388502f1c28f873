#include "ctl/screen.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace ia::ctl {

namespace {

constexpr std::size_t name_width = 22;
constexpr std::size_t least_width = 8;  // of a column that is narrowed
constexpr char gap[] = "  ";

// Counts UTF-8 characters, not bytes.
std::size_t width_of(const std::string &text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string cut(const std::string &text, std::size_t width) {
    if (width_of(text) <= width) return text;
    std::string kept;
    for (const char c : text) {
        if ((c & 0xC0) != 0x80 && width_of(kept) + 4 > width) break;
        kept += c;
    }
    return kept + "...";
}

std::string padded(const std::string &text, std::size_t width, bool right) {
    const std::string blanks(width - std::min(width, width_of(text)), ' ');
    return right ? blanks + text : text + blanks;
}

std::size_t used(const std::vector<std::size_t> &widths) {
    std::size_t sum = 0;
    for (const std::size_t width : widths)
        if (width > 0) sum += width + sizeof gap - 1;
    return sum - std::min(sum, sizeof gap - 1);
}

// Narrows the least useful columns until the row fits. A column of width 0 is left
// out.
void fit(const std::vector<Column> &columns, std::vector<std::size_t> &widths,
         std::size_t available) {
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (columns[i].useful > 0) order.push_back(i);
    std::ranges::stable_sort(order, {}, [&](std::size_t i) { return columns[i].useful; });
    const auto over = [&] { return used(widths) - std::min(used(widths), available); };
    for (const std::size_t i : order) {
        if (columns[i].right) continue;  // a truncated number would be wrong
        const std::size_t least = std::min(widths[i], least_width);
        widths[i] -= std::min(widths[i] - least, over());
    }
    for (const std::size_t i : order)
        if (over() > 0) widths[i] = 0;
}

struct Character {
    std::uint32_t code;
    std::size_t size;  // bytes; 0: not a UTF-8 character
};

Character character_at(std::string_view text) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    static constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const std::size_t size = byte(0) < 0x80   ? 1
                             : byte(0) < 0xC2 ? 0
                             : byte(0) < 0xE0 ? 2
                             : byte(0) < 0xF0 ? 3
                             : byte(0) < 0xF5 ? 4
                                              : 0;
    if (size == 0 || size > text.size()) return {byte(0), 0};
    std::uint32_t code = size == 1 ? byte(0) : byte(0) & (0x7FU >> size);
    for (std::size_t at = 1; at < size; ++at) {
        if ((byte(at) & 0xC0) != 0x80) return {byte(0), 0};
        code = code << 6 | (byte(at) & 0x3FU);
    }
    return {code, code < least[size] ? 0 : size};
}

// Control characters, and characters that change the direction of writing.
bool acts_on_terminals(std::uint32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x202A && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

std::string escaped(std::string_view bytes) {
    if (bytes == "\n") return "\\n";
    if (bytes == "\t") return "\\t";
    if (bytes == "\r") return "\\r";
    std::string text;
    for (const char byte : bytes) text += "\\x" + hex_of({byte});
    return text;
}

std::string escaped_text(std::string_view text, std::string_view kept) {
    std::string safe;
    while (!text.empty()) {
        const auto [code, size] = character_at(text);
        const std::string_view one = text.substr(0, std::max<std::size_t>(size, 1));
        const bool plain = size > 0 && !acts_on_terminals(code);
        if (plain || kept.find(one.front()) != std::string_view::npos)
            safe += one;
        else
            safe += escaped(one);
        text.remove_prefix(one.size());
    }
    return safe;
}

}  // namespace

bool on_terminal() {
    return isatty(STDOUT_FILENO) == 1;
}

std::size_t terminal_width() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return 80;
}

std::string ink(Ink colour, const std::string &text) {
    static const bool coloured = [] {
        const char *no_color = std::getenv("NO_COLOR");
        const char *terminal = std::getenv("TERM");
        return on_terminal() && (!no_color || !*no_color) && terminal &&
               std::string(terminal) != "dumb";
    }();
    static constexpr const char *codes[] = {"", "1", "31", "33", "32"};
    if (!coloured || colour == Ink::plain) return text;
    return std::string("\033[") + codes[static_cast<int>(colour)] + 'm' + text + "\033[0m";
}

std::string printable(std::string_view text) {
    return escaped_text(text, "");
}

std::string printable_lines(std::string_view text) {
    return escaped_text(text, "\n\t");
}

std::string shown(const Json &value) {
    if (value.is_null()) return "-";
    if (value.is_boolean()) return value.get<bool>() ? "on" : "off";
    const std::string text =
        value.is_string() ? printable(value.get<std::string>()) : to_text(value, -1);
    return text.empty() ? "-" : text;
}

std::string table(const std::vector<Column> &columns, const Json &rows, std::size_t width) {
    std::vector<std::size_t> widths;
    for (const Column &column : columns) {
        std::size_t widest = width_of(column.title);
        for (const Json &row : rows) widest = std::max(widest, width_of(shown(row.at(column.key))));
        widths.push_back(widest);
    }
    fit(columns, widths, width);
    const auto print_row = [&](auto text_of, Ink colour) {
        std::string out;
        for (std::size_t i = 0; i < columns.size(); ++i)
            if (widths[i] > 0)
                out += (out.empty() ? "" : gap) +
                       padded(cut(text_of(columns[i]), widths[i]), widths[i], columns[i].right);
        out.erase(out.find_last_not_of(' ') + 1);
        return ink(colour, out) + '\n';
    };
    std::string out = print_row([](const Column &c) { return std::string(c.title); }, Ink::bold);
    for (const Json &row : rows)
        out += print_row([&](const Column &c) { return shown(row.at(c.key)); }, Ink::plain);
    return out;
}

std::string table(const std::vector<Column> &columns, const Json &rows) {
    return table(columns, rows, on_terminal() ? terminal_width() : SIZE_MAX);
}

std::string wrapped(const std::string &text, std::size_t column) {
    if (!on_terminal() || terminal_width() < 2 * column) return text;
    const std::size_t room = terminal_width() - column;
    std::string out;
    std::string rest = text;
    while (width_of(rest) > room) {
        std::size_t end = rest.rfind(' ', room);
        if (end == std::string::npos || end == 0) end = rest.find(' ');
        if (end == std::string::npos) break;
        out += rest.substr(0, end) + '\n' + std::string(column, ' ');
        rest.erase(0, end + 1);
    }
    return out + rest;
}

std::string line(const std::string &name, const std::string &value) {
    return padded(name, name_width, false) + ' ' + wrapped(value, name_width + 1) + '\n';
}

std::string field(const std::string &name, const Json &value) {
    return line(name, shown(value));
}

std::string to_text(const Json &value, int indent) {
    return value.dump(indent, ' ', on_terminal(), Json::error_handler_t::replace);
}

std::string hex_of(const std::string &bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        if (!text.empty()) text += ' ';
        text += digits[static_cast<unsigned char>(c) >> 4];
        text += digits[c & 0xF];
    }
    return text;
}

}  // namespace ia::ctl
