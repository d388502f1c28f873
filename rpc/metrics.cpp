// Writes exposition format 0.0.4.
#include "rpc/metrics.h"

#include "platform/bll/configFile.h"
#include "pppoeia_version.h"
#include "rpc/node_health.h"

#include <ctime>
#include <iterator>
#include <string>
#include <vector>

namespace ia {

namespace {

struct Kind {
    const char *name;
    std::uint32_t pppoeia_stats::*count;
};

constexpr Kind kinds[] = {
    {"padi", &pppoeia_stats::padi},
    {"padr", &pppoeia_stats::padr},
    {"pado", &pppoeia_stats::pado},
    {"pads", &pppoeia_stats::pads},
    {"padt", &pppoeia_stats::padt},
    {"dropped", &pppoeia_stats::dropped},
    {"unknown", &pppoeia_stats::unknown_code},
    {"truncated", &pppoeia_stats::truncated},
    {"bypassed", &pppoeia_stats::bypassed},
};
static_assert(std::size(kinds) * sizeof(std::uint32_t) == sizeof(pppoeia_stats));

// A label's value, in quotes.
std::string quoted(const std::string &text) {
    std::string value = "\"";
    for (const char c : text) {
        if (c == '\\' || c == '"') value += '\\';
        if (c == '\n')
            value += "\\n";
        else
            value += c;
    }
    return value + '"';
}

void describe(std::string &out, const std::string &name, const char *type, const char *help) {
    out += "# HELP " + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n';
}

void sample(std::string &out, const char *name, const char *type, const char *help,
            std::uint64_t value) {
    describe(out, name, type, help);
    out += name + (' ' + std::to_string(value)) + '\n';
}

void frames(std::string &out, const std::string &name, const std::string &labels,
            const pppoeia_stats &stats) {
    for (const Kind &kind : kinds) {
        out.append(name).append("{").append(labels).append(",kind=\"").append(kind.name);
        out.append("\"} ").append(std::to_string(stats.*kind.count)).append("\n");
    }
}

std::string port_labels(const PortCounters &port) {
    return ",port=\"" + std::to_string(port.number) + "\",name=" + quoted(port.name);
}

// Outcomes with a count of 0 are left out: most ports have few.
void outcomes(std::string &out, const std::string &bridge, const std::vector<PortCounters> &ports) {
    static constexpr const char *codes[] = {"padi", "pado", "padr", "pads", "padt", "other"};
    static_assert(std::size(codes) == SENT_CODES);
    const std::string came = "pppoeia_port_outcomes_total", went = "pppoeia_port_sent_total";
    std::string came_samples, went_samples;
    const auto add = [](std::string &samples, const std::string &name, const std::string &labels,
                        std::uint64_t frames) {
        if (frames != 0) samples += name + '{' + labels + "\"} " + std::to_string(frames) + '\n';
    };
    PortFrames frames;
    for (const PortCounters &port : ports) {
        if (read_port_frames(port.number, frames) != 0) continue;
        const std::string labels = bridge + port_labels(port);
        for (const auto &row : frames.outcomes)
            add(came_samples, came, labels + ",outcome=\"" + row.word, row.frames);
        for (std::size_t code = 0; code < SENT_CODES; ++code)
            add(went_samples, went, labels + ",code=\"" + codes[code], frames.sent[code]);
    }
    const auto put = [&](const std::string &name, const char *help, const std::string &samples) {
        if (samples.empty()) return;
        describe(out, name, "counter", help);
        out += samples;
    };
    put(came, "What became of the Discovery frames of a port; those that are 0 are left out.",
        came_samples);
    put(went, "Discovery frames that left by a port; those that are 0 are left out.", went_samples);
}

void counters(std::string &out) {
    Counters now;
    if (!read_counters(now)) return;
    const std::string bridge = "bridge=" + quoted(default_bridge);
    const std::string of_bridge = "pppoeia_bridge_frames_total";
    describe(out, of_bridge, "counter", "Discovery frames of the bridge; wraps at 2^32.");
    frames(out, of_bridge, bridge, now.bridge);
    if (now.ports.empty()) return;
    const std::string of_port = "pppoeia_port_frames_total";
    describe(out, of_port, "counter", "Discovery frames of a port; wraps at 2^32.");
    for (const PortCounters &port : now.ports)
        frames(out, of_port, bridge + port_labels(port), port.stats);
    outcomes(out, bridge, now.ports);
}

// One sample for each finding, so that an alert can name it, and their number.
void findings(std::string &out) {
    std::vector<configFile::finding_t> found;
    if (const auto &look = configFile::instance().health; !look || look(found) != 0) return;
    sample(out, "pppoeia_findings", "gauge", "What is not as described or set; see `status`.",
           found.size());
    if (found.empty()) return;
    static constexpr const char *words[] = {"note", "warning", "critical"};
    describe(out, "pppoeia_finding", "gauge", "One of them; always 1.");
    for (const auto &finding : found)
        out += "pppoeia_finding{severity=\"" + std::string(words[finding.severity]) +
               "\",code=" + quoted(finding.code) + ",subject=" + quoted(finding.subject) + "} 1\n";
}

}  // namespace

std::string metrics_text() {
    const Health now = read_health();
    std::string out;
    sample(out, "pppoeia_up", "gauge", "Whether the forwarding engine answers.",
           now.engine_answers);
    describe(out, "pppoeia_build_info", "gauge", "Version and compiler; always 1.");
    out += "pppoeia_build_info{version=" + quoted(PPPOEIA_VERSION) +
           ",compiler=" + quoted(build_compiler()) + "} 1\n";
    sample(out, "pppoeia_start_time_seconds", "gauge",
           "When the management process began, seconds since 1970.",
           static_cast<std::uint64_t>(now.started));
    sample(out, "pppoeia_metrics_time_seconds", "gauge",
           "When this was written, seconds since 1970: what is old says nothing of now.",
           static_cast<std::uint64_t>(std::time(nullptr)));
    findings(out);
    sample(out, "pppoeia_engine_restarts_total", "counter",
           "Times that the engine was configured anew after it went.", now.engine_restarts);
    sample(out, "pppoeia_ippc_failures_total", "counter", "Calls that the engine did not answer.",
           now.ippc_failures);
    if (now.engine_answers) counters(out);
    return out;
}

}  // namespace ia
