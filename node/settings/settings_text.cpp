#include "node/settings/settings_text.h"

#include "node/description/read_description.h"
#include "node/description/setting_values.h"
#include "node/description/text_file.h"

#include <unistd.h>
#include <cerrno>
#include <set>

namespace ia::node {

namespace {

// --- writing -----------------------------------------------------------------------------

template <class Record>
std::string lines_of(const Record &record) {
    std::string text;
    each_setting<Record>([&](const auto &setting) {
        if (const auto &value = record.*setting.field)
            text += std::string(setting.name) + " = " + put(*value, setting) + '\n';
    });
    return text;
}

// Each section: name, keys that identify its object, record.
template <class Visit>
void each_section(const Settings &settings, Visit visit) {
    using Keys = std::vector<std::pair<const char *, unsigned>>;
    visit("[agent]", Keys{}, settings.agent);
    for (const auto &[id, port] : settings.ports) visit("[[port]]", Keys{{"id", id}}, port);
    for (const auto &[id, vlan] : settings.vlans) visit("[[vlan]]", Keys{{"id", id}}, vlan);
    for (const auto &[key, line] : settings.lines)
        visit("[[port_vlan]]", Keys{{"port", key.first}, {"vlan", key.second}}, line);
}

// --- reading -----------------------------------------------------------------------------

constexpr std::uint32_t last_port = 65535;
constexpr std::uint32_t last_vlan = 4095;
constexpr std::size_t longest_line = 4096;  // bytes; a text of ours has 300 at most
constexpr std::size_t largest_file = 1U << 30;

// A section's kind: its header and the keys that say what it is about.
struct Kind {
    std::string_view header;
    std::string_view port_key, vlan_key;
};
constexpr Kind agent_kind{"[agent]", "", ""};
constexpr Kind port_kind{"[[port]]", "id", ""};
constexpr Kind vlan_kind{"[[vlan]]", "", "id"};
constexpr Kind line_kind{"[[port_vlan]]", "port", "vlan"};
constexpr const Kind *kinds[] = {&agent_kind, &port_kind, &vlan_kind, &line_kind};

class Reader {
public:
    explicit Reader(Settings &settings) : settings_(settings) {}

    void read(std::string_view text) {
        while (!text.empty()) {
            const std::size_t end = std::min(text.find('\n'), text.size());
            ++number_;
            line(trimmed(text.substr(0, end)));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
        finish();
    }

    Problems problems;

private:
    static std::string_view trimmed(std::string_view line) {
        const std::size_t begin = std::min(line.find_first_not_of(" \t\r"), line.size());
        line.remove_prefix(begin);
        return line.substr(0, line.find_last_not_of(" \t\r") + 1);
    }

    void line(std::string_view line) {
        if (line.empty() || line.front() == '#') return;
        if (line.size() > longest_line)
            return problems.add(number_, "this line has " + std::to_string(line.size()) +
                                             " bytes, expected at most 4096");
        if (line.front() == '[') return begin(line);
        if (kind_ || number_of_header_ == 0) setting(line);
    }

    // The lines of an unknown section are skipped.
    void begin(std::string_view header) {
        finish();
        header = trimmed(header.substr(0, header.find('#')));
        number_of_header_ = number_;
        entry_ = {};
        kind_ = nullptr;
        std::vector<std::string_view> headers;
        for (const Kind *kind : kinds) {
            headers.push_back(kind->header);
            if (kind->header == header) kind_ = kind;
        }
        if (!kind_)
            problems.add(number_,
                         "unknown section " + quoted(header) + ", expected " + any_of(headers));
    }

    void setting(std::string_view line) {
        Problems of_line;
        if (const auto table = parse(line, of_line))
            for (const auto &[name, node] : *table) take_key(name.str(), node, of_line);
        problems.add_all(of_line, number_);
    }

    void take_key(std::string_view name, const toml::node &node, Problems &of_line) {
        if (!kind_) return of_line.add(1, quoted(name) + " stands before any section");
        const Value value{node, kind_->header, name, of_line};
        if (!entry_.keys.emplace(name).second) {
            value.refuse("is here a second time");
            return;
        }
        if (name == kind_->port_key) return number(value, 1, last_port, entry_.port);
        if (name == kind_->vlan_key) return number(value, 0, last_vlan, entry_.vlan);
        if (kind_ == &agent_kind) return take_setting(value, entry_.agent);
        if (kind_ == &port_kind) return take_setting(value, entry_.of_port);
        if (kind_ == &vlan_kind) return take_setting(value, entry_.of_vlan);
        take_setting(value, entry_.of_line);
    }

    static void number(const Value &value, std::uint32_t least, std::uint32_t most,
                       std::optional<std::uint32_t> &to) {
        const auto given = value.node.value_exact<std::int64_t>();
        if (!given)
            refuse_kind(value, "an integer, " + range_text(least, most));
        else if (*given < least || *given > most)
            value.refuse("is " + std::to_string(*given) + ", expected " + range_text(least, most));
        else
            to = static_cast<std::uint32_t>(*given);
    }

    template <class Record>
    void take_setting(const Value &value, Record &record) {
        bool known = false;
        std::vector<std::string_view> names;
        each_setting<Record>([&](const auto &setting) {
            names.push_back(setting.name);
            if (setting.name != value.key) return;
            known = true;
            take(value, setting, record, Numbers::any);
        });
        if (known) return;
        const std::string_view near = nearest(value.key, names);
        value.problems.add(1, std::string(value.section) + " unknown key " + quoted(value.key) +
                                  ", expected " + (near.empty() ? any_of(names) : quoted(near)));
    }

    // Each key that identifies the section's object, unless it was refused.
    bool is_about(std::string_view key, const std::optional<std::uint32_t> &number) {
        if (key.empty() || number) return true;
        if (!entry_.keys.contains(std::string(key)))
            problems.add(number_of_header_, std::string(kind_->header) + " has no " +
                                                std::string(key) + ", expected one");
        return false;
    }

    void finish() {
        if (!kind_) return;
        if (!is_about(kind_->port_key, entry_.port) || !is_about(kind_->vlan_key, entry_.vlan))
            return;
        const std::uint32_t port = entry_.port.value_or(0);
        const auto vlan = static_cast<std::uint16_t>(entry_.vlan.value_or(0));
        const auto put = [&](auto &map, const auto &key, const auto &record) {
            return record == std::remove_cvref_t<decltype(record)>{} ||
                   map.emplace(key, record).second;
        };
        bool first = true;
        if (kind_ == &agent_kind)
            first = std::exchange(agent_is_read_, true) ? false
                                                        : (settings_.agent = entry_.agent, true);
        else if (kind_ == &port_kind)
            first = put(settings_.ports, port, entry_.of_port);
        else if (kind_ == &vlan_kind)
            first = put(settings_.vlans, vlan, entry_.of_vlan);
        else
            first = put(settings_.lines, LineKey{port, vlan}, entry_.of_line);
        if (!first)
            problems.add(number_of_header_, std::string(kind_->header) + " is here a second time");
    }

    // The current section.
    struct Entry {
        std::set<std::string> keys;
        std::optional<std::uint32_t> port, vlan;
        AgentSettings agent;
        PortSettings of_port;
        VlanSettings of_vlan;
        LineSettings of_line;
    };

    Settings &settings_;
    const Kind *kind_ = nullptr;  // null: none, or an unknown one
    Entry entry_;
    unsigned number_ = 0;
    unsigned number_of_header_ = 0;
    bool agent_is_read_ = false;
};

}  // namespace

std::string write_settings(const Settings &settings) {
    std::string text;
    each_section(settings, [&](const char *name, const auto &keys, const auto &record) {
        const std::string lines = lines_of(record);
        if (lines.empty()) return;
        text += (text.empty() ? "" : "\n") + std::string(name) + '\n';
        for (const auto &[key, number] : keys)
            text += std::string(key) + " = " + std::to_string(number) + '\n';
        text += lines;
    });
    return text;
}

ReadSettings read_settings(std::string_view text, const std::string &file) {
    ReadSettings read;
    Reader reader(read.settings);
    reader.read(text);
    read.problems = reader.problems.report(file);
    return read;
}

ReadSettings read_settings_file(const std::string &file) {
    if (access(file.c_str(), F_OK) != 0 && errno == ENOENT) return {};
    return read_settings(read_text_file(file, Links::refused, largest_file), file);
}

Keepable keepable(const Settings &settings) {
    Keepable kept;
    kept.text = write_settings(settings);
    ReadSettings back = read_settings(kept.text, "settings");
    kept.settings = std::move(back.settings);
    if (back.problems.empty()) return kept;
    const unsigned lost = count(settings) - count(kept.settings);
    kept.left_out =
        std::to_string(lost) + (lost == 1 ? " setting" : " settings") +
        " in force cannot be kept in a file: " + back.problems.substr(0, back.problems.find('\n'));
    kept.text = write_settings(kept.settings);
    return kept;
}

std::string difference_text(const Settings &from, const Settings &to) {
    const auto lines = [](char sign, const auto &record, const auto &other) {
        std::string text;
        each_setting<std::remove_cvref_t<decltype(record)>>([&](const auto &setting) {
            const auto &value = record.*setting.field;
            if (value && value != other.*setting.field)
                text += std::string(1, sign) + ' ' + std::string(setting.name) + " = " +
                        put(*value, setting) + '\n';
        });
        return text;
    };
    const auto same = [](const auto &map, const auto &key) {
        const auto found = map.find(key);
        return found == map.end() ? typename std::remove_cvref_t<decltype(map)>::mapped_type{}
                                  : found->second;
    };
    std::string text;
    each_section(overlay(from, to), [&](const char *name, const auto &keys, const auto &record) {
        using Record = std::remove_cvref_t<decltype(record)>;
        Record was, is;
        const auto both = [&](const auto &key, auto member) {
            was = same(from.*member, key);
            is = same(to.*member, key);
        };
        if constexpr (std::is_same_v<Record, AgentSettings>)
            was = from.agent, is = to.agent;
        else if constexpr (std::is_same_v<Record, PortSettings>)
            both(keys[0].second, &Settings::ports);
        else if constexpr (std::is_same_v<Record, VlanSettings>)
            both(static_cast<std::uint16_t>(keys[0].second), &Settings::vlans);
        else
            both(LineKey(keys[0].second, static_cast<std::uint16_t>(keys[1].second)),
                 &Settings::lines);
        const std::string said = lines('-', was, is) + lines('+', is, was);
        if (said.empty()) return;
        text += name;
        for (const auto &[key, number] : keys)
            text += ' ' + std::string(key) + " = " + std::to_string(number);
        text += '\n' + said;
    });
    return text;
}

}  // namespace ia::node
