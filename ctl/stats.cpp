// Shows the agent's counters.
#include "ctl/answers.h"
#include "ctl/live.h"
#include "ctl/screen.h"

#include <chrono>
#include <cstdio>
#include <iterator>

namespace ia::ctl {

namespace {

struct Counter {
    const char *key;
    const char *title;
    u_int rpcNodeCounters::*count;
};

constexpr Counter counters[] = {
    {"padi", "PADI", &rpcNodeCounters::padi},
    {"padr", "PADR", &rpcNodeCounters::padr},
    {"pado", "PADO", &rpcNodeCounters::pado},
    {"pads", "PADS", &rpcNodeCounters::pads},
    {"padt", "PADT", &rpcNodeCounters::padt},
    {"dropped", "dropped", &rpcNodeCounters::dropped},
    {"unknown", "unknown code", &rpcNodeCounters::unknownCode},
    {"truncated", "truncated", &rpcNodeCounters::truncated},
    {"bypassed", "bypassed", &rpcNodeCounters::bypassed},
};

Json json_of(Json port, const std::string &name, const rpcNodeCounters &counted) {
    Json row = {{"port", std::move(port)}, {"name", name}};
    for (const Counter &counter : counters) row[counter.key] = counted.*counter.count;
    return row;
}

Json read(Call &call) {
    const rpcNodeCountersReply &reply = call.agent().node(rpc_node_counters_1);
    Remote::expect(reply.result, "the counters");
    const bool all = call.has("all");
    const auto only = call.maybe("port");
    Json rows = Json::array();
    if (!only) rows.push_back(json_of(nullptr, reply.bridge, reply.total));
    for (u_int i = 0; i < reply.ports.ports_len; ++i) {
        const auto &[port, counted] = reply.ports.ports_val[i];
        if (all || only == port.number) rows.push_back(json_of(port.number, port.name, counted));
    }
    if (rows.empty())
        throw Refused("port " + call.text("port") +
                      ": not found; 'pppoeiactl show ports' lists them");
    return {{"counters", rows}};
}

// The outcomes of one port's frames, and the frames sent by it.
void add_frames(Call &call, Json &answer) {
    const auto port = call.maybe("port");
    if (!port) return;
    const rpcNodePortFrames &reply =
        call.agent().node(rpc_node_port_frames_1, static_cast<u_int>(*port));
    Remote::expect(reply.result, "the port's frames");
    Json outcomes = Json::array();
    for (u_int i = 0; i < reply.outcomes.outcomes_len; ++i) {
        const rpcNodeOutcome &row = reply.outcomes.outcomes_val[i];
        outcomes.push_back(
            {{"outcome", row.outcome}, {"meaning", row.meaning}, {"frames", row.frames}});
    }
    const rpcNodeSent &sent = reply.sent;
    answer["sent"] = {{"padi", sent.padi}, {"pado", sent.pado}, {"padr", sent.padr},
                      {"pads", sent.pads}, {"padt", sent.padt}, {"other", sent.other}};
    answer["outcomes"] = outcomes;
}

std::string frames_text(const Json &answer) {
    if (!answer.contains("sent")) return {};
    const Json &sent = answer.at("sent");
    std::string text;
    for (const auto &[key, title] : {std::pair("padi", "sent PADI"),
                                     {"pado", "sent PADO"},
                                     {"padr", "sent PADR"},
                                     {"pads", "sent PADS"},
                                     {"padt", "sent PADT"},
                                     {"other", "sent other"}})
        text += field(title, sent.at(key));
    if (answer.at("outcomes").empty()) return text;
    return text + "\nwhat became of the frames that came in\n" +
           table({{"OUTCOME", "outcome"},
                  {"FRAMES", "frames", true},
                  {"MEANING", "meaning", false, 1}},
                 answer.at("outcomes"));
}

std::string list_of(const Json &row) {
    std::string text;
    for (const Counter &counter : counters) text += field(counter.title, row.at(counter.key));
    return text;
}

std::string table_of(const Json &rows) {
    return table({{"NAME", "name"},
                  {"PADI", "padi", true},
                  {"PADR", "padr", true},
                  {"PADO", "pado", true},
                  {"PADS", "pads", true},
                  {"PADT", "padt", true},
                  {"DROP", "dropped", true},
                  {"UNKN", "unknown", true, 2},
                  {"TRUNC", "truncated", true, 1},
                  {"BYPASS", "bypassed", true, 3}},
                 rows);
}

// Adds "<counter>_rate", the change per second since the previous row; counters
// wrap at 2^32.
void add_rates(Json &now, const Json &before, double seconds) {
    std::map<Json, const Json *> old;  // by port
    if (!before.is_null() && seconds > 0)
        for (const Json &row : before.at("counters")) old[row.at("port")] = &row;
    for (Json &row : now.at("counters")) {
        const auto earlier = old.find(row.at("port"));
        for (const Counter &counter : counters) {
            Json rate;
            if (earlier != old.end())
                rate = (row.at(counter.key).get<std::uint32_t>() -
                        earlier->second->at(counter.key).get<std::uint32_t>()) /
                       seconds;
            row[std::string(counter.key) + "_rate"] = rate;
        }
    }
}

std::string rate_text(const Json &rate) {
    if (rate.is_null()) return "-";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f/s", rate.get<double>());
    return text;
}

std::string watched(const Json &answer) {
    const Json &rows = answer.at("counters");
    Json lines = Json::array();
    if (rows.size() == 1) {
        for (const Counter &counter : counters)
            lines.push_back({{"name", counter.title},
                             {"count", rows[0].at(counter.key)},
                             {"rate", rate_text(rows[0].at(std::string(counter.key) + "_rate"))}});
        return ink(Ink::bold, shown(rows[0].at("name"))) + '\n' +
               table({{"FRAMES", "name"}, {"COUNT", "count", true}, {"RATE", "rate", true}}, lines);
    }
    for (Json row : rows) {
        for (const Counter &counter : counters)
            row[counter.key] = rate_text(row.at(std::string(counter.key) + "_rate"));
        lines.push_back(row);
    }
    return table_of(lines);
}

Json watch(Call &call) {
    const int rounds = static_cast<int>(call.maybe("count").value_or(0));
    Live screen(call.json());
    Json before;
    auto then = std::chrono::steady_clock::now();
    for (int round = 1;; ++round) {
        Json now = read(call);
        const auto at = std::chrono::steady_clock::now();
        add_rates(now, before, std::chrono::duration<double>(at - then).count());
        screen.show(call.json() ? to_text(now, -1) + '\n' : watched(now));
        before = std::move(now);
        then = at;
        if (round == rounds || screen.left_within(1000)) return {};
    }
}

}  // namespace

Json show_stats(Call &call) {
    if (call.has("all") && call.has("port")) throw Refused("either --all or one port");
    if (call.has("watch")) return watch(call);
    Json answer = read(call);
    add_frames(call, answer);
    return answer;
}

void print_stats(const Json &answer) {
    if (answer.is_null()) return;  // --watch has printed it
    const Json &rows = answer.at("counters");
    std::fputs((rows.size() == 1 ? list_of(rows[0]) : table_of(rows)).c_str(), stdout);
    std::fputs(frames_text(answer).c_str(), stdout);
}

}  // namespace ia::ctl
