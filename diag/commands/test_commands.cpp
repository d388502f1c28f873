// Trial runs of custom ID formats on the made-up subscriber.
#include "diag/test_data.h"
#include "fe/base/terminal.h"
#include "idgen/assembly.h"
#include "platform/CKvUtil.h"
#include "pppoeia/fe.h"
#include "store/bridge_list.h"

#include <charconv>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Data = customFormatTestData_t;

// --- changing a value ----------------------------------------------------------

// The number at the text's start; 0 when there is none or it exceeds 32 bits.
std::uint32_t leading_number(std::string_view text) {
    std::uint32_t number = 0;
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    const auto end = text.data() + text.size();
    const bool read = std::from_chars(text.data(), end, number).ec == std::errc{};
    return read ? number : 0;
}

// Six two-digit hexadecimal bytes, any single character between them.
std::optional<pppoeia_mac> parse_mac(std::string_view text) {
    pppoeia_mac mac{};
    if (text.size() != 17) return std::nullopt;
    for (std::size_t i = 0; i < 6; ++i) {
        const char *digits = text.data() + 3 * i;
        const auto read = std::from_chars(digits, digits + 2, mac.bytes[i], 16);
        if (read.ec != std::errc{} || read.ptr != digits + 2) return std::nullopt;
    }
    return mac;
}

template <auto Field>
void set_number(Data &data, const char *name, const std::string &value, std::ostream &out) {
    const std::uint32_t number = leading_number(value);
    data.*Field = static_cast<std::remove_reference_t<decltype(data.*Field)>>(number);
    out << "Setting " << name << ": " << number << "\n";
}

template <auto Field>
void set_format(Data &data, const char *name, const std::string &value, std::ostream &out) {
    data.*Field = value;
    out << "Setting " << name << ": '" << value << "'\n";
}

void set_mac(Data &data, const char *name, const std::string &value, std::ostream &out) {
    const auto mac = parse_mac(value);
    if (!mac) {
        out << "Invalid " << name << ": '" << value << "'";
        return;
    }
    data.clntMac = *mac;
    out << "Setting " << name << ": " << CKvUtil::macToString(data.clntMac.bytes);
}

struct Setter {
    std::string_view key;
    const char *name;
    void (*set)(Data &, const char *name, const std::string &value, std::ostream &);
};

constexpr Setter setters[] = {
    {"pppoeiaTestSetVlan", "vlan", set_number<&Data::vlan>},
    {"pppoeiaTestSetCvid", "cvid", set_number<&Data::cvid>},
    {"pppoeiaTestSetIntfId", "intfId", set_number<&Data::intfId>},
    {"pppoeiaTestSetOnu", "onu", set_number<&Data::onu>},
    {"pppoeiaTestSetVgem", "vgem", set_number<&Data::vgem>},
    {"pppoeiaTestSetTContType", "tcontType", set_number<&Data::tcontType>},
    {"pppoeiaTestSetCustomCidStr", "customCidStr", set_format<&Data::customCidStr>},
    {"pppoeiaTestSetCustomRidStr", "customRidStr", set_format<&Data::customRidStr>},
    {"pppoeiaTestSetClntMac", "clntMac", set_mac},
};

// --- trial runs ------------------------------------------------------------------

struct TrialRun {
    std::string_view command;
    const char *title;
    std::string Data::*format;
};

constexpr TrialRun trial_runs[] = {
    {"pppoeiaTestRunCid", "Circuit", &Data::customCidStr},
    {"pppoeiaTestRunRid", "Remote", &Data::customRidStr},
};

std::optional<idGenType> type_of(std::string_view mode) {
    if (mode == "test") return ID_GEN_TEST;
    if (mode == "available") return ID_GEN_QUERY;
    return std::nullopt;
}

}  // namespace

int fe_pppoeia_test_dump(const char *, const char *tty) {
    const Data data = ia::test_data();
    std::ostringstream out;
    out << "\n Debug: " << ia::test_debug << "\n\n"
        << " Test data:\n"
        << " ------------\n"
        << " vlan: " << data.vlan << "\n"
        << " cvid: " << data.cvid << "\n"
        << " intfId: " << data.intfId << "\n"
        << " onu: " << data.onu << "\n"
        << " vgem: " << data.vgem << "\n"
        << " tcontType: " << data.tcontType << "\n"
        << " clntMac: " << CKvUtil::macToString(data.clntMac.bytes) << "\n"
        << " customCidStr: '" << data.customCidStr << "'\n"
        << " customRidStr: '" << data.customRidStr << "'\n"
        << "\n\n";
    pppoeia_send_stream_to_tty(out, tty);
    return 0;
}

int fe_pppoeia_test_set(const char *bridge, const char *key, const char *value, const char *tty) {
    if (!ia::bridge_list_find(bridge)) return 1;
    std::ostringstream out;
    out << "\n";
    for (const Setter &setter : setters) {
        if (setter.key != key) continue;
        Data data = ia::test_data();
        setter.set(data, setter.name, value, out);
        ia::set_test_data(data);
    }
    out << "\n";
    pppoeia_send_stream_to_tty(out, tty);
    return 0;
}

int fe_pppoeia_test_run(const char *bridge, const char *command, const char *mode,
                        const char *tty) {
    const auto type = type_of(mode);
    std::ostringstream out;
    {
        const ia::LockedBridge found(bridge);
        if (!found || !type) return 1;
        const Data data = ia::test_data();
        for (const TrialRun &run : trial_runs) {
            if (run.command != command) continue;
            std::string id;
            std::vector<std::uint8_t> binary;  // the report shows the text form
            genCustomId(&*found, data.intfId, data.vlan, data.cvid, data.*run.format, id, binary,
                        *type);
            out << "\n Generated Custom " << run.title << " Id: '" << id << "'\n";
        }
    }
    pppoeia_send_stream_to_tty(out, tty);
    return 0;
}

int fe_pppoeia_test_debug(const char *bridge, std::uint32_t on, const char *tty) {
    if (!ia::bridge_list_find(bridge)) return 1;
    ia::test_debug = on != 0;
    std::ostringstream out;
    out << "\n Test debug set to " << ia::test_debug << "\n";
    pppoeia_send_stream_to_tty(out, tty);
    return 0;
}
