#include "programs/ctl/screen.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <algorithm>
#include <cstdlib>

namespace ia::ctl {

namespace {

constexpr std::size_t name_width = 22;
constexpr std::size_t least_width = 8;  // of a column that gives way
constexpr char gap[] = "  ";

// Characters, not bytes: those of UTF-8 that begin one.
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

// Takes from the widest column until the row fits.
void fit(std::vector<std::size_t> &widths, std::size_t available) {
    const auto used = [&] {
        std::size_t sum = (widths.size() - 1) * (sizeof gap - 1);
        for (const std::size_t width : widths) sum += width;
        return sum;
    };
    while (used() > available) {
        std::size_t &widest = *std::ranges::max_element(widths);
        if (widest <= least_width) return;
        --widest;
    }
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

std::string printable(const std::string &text) {
    std::string safe = text;
    for (char &c : safe)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    return safe;
}

std::string shown(const Json &value) {
    if (value.is_null()) return "-";
    if (value.is_boolean()) return value.get<bool>() ? "on" : "off";
    const std::string text =
        value.is_string() ? printable(value.get<std::string>()) : to_text(value, -1);
    return text.empty() ? "-" : text;
}

std::string table(const std::vector<Column> &columns, const Json &rows) {
    std::vector<std::size_t> widths;
    for (const Column &column : columns) {
        std::size_t width = width_of(column.title);
        for (const Json &row : rows) width = std::max(width, width_of(shown(row.at(column.key))));
        widths.push_back(width);
    }
    if (on_terminal()) fit(widths, terminal_width());
    const auto print_row = [&](auto text_of, Ink colour) {
        std::string out;
        for (std::size_t i = 0; i < columns.size(); ++i)
            out += (i > 0 ? gap : "") +
                   padded(cut(text_of(columns[i]), widths[i]), widths[i], columns[i].right);
        out.erase(out.find_last_not_of(' ') + 1);
        return ink(colour, out) + '\n';
    };
    std::string out = print_row([](const Column &c) { return std::string(c.title); }, Ink::bold);
    for (const Json &row : rows)
        out += print_row([&](const Column &c) { return shown(row.at(c.key)); }, Ink::plain);
    return out;
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
    return value.dump(indent, ' ', false, Json::error_handler_t::replace);
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
