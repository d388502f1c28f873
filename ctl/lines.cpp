// What the engine knows of lines, sessions and servers.
#include "ctl/lines.h"

#include "ctl/answers.h"
#include "ctl/screen.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace ia::ctl {

Json address_json(u_quad_t address) {
    if (address == 0) return {};
    char text[18];
    const auto byte = [&](int i) { return static_cast<unsigned>(address >> 8 * i & 0xFF); };
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", byte(0), byte(1), byte(2),
                  byte(3), byte(4), byte(5));
    return text;
}

Json moment_json(u_quad_t nanoseconds) {
    if (nanoseconds == 0) return {};
    return static_cast<double>(nanoseconds / 1'000'000) / 1000;
}

std::string moment_text(const Json &seconds) {
    if (seconds.is_null()) return "-";
    const auto then = static_cast<std::time_t>(seconds.get<double>());
    std::tm parts{}, today{};
    const std::time_t now = std::time(nullptr);
    localtime_r(&then, &parts);
    localtime_r(&now, &today);
    const bool same = parts.tm_yday == today.tm_yday && parts.tm_year == today.tm_year;
    char text[32];
    std::strftime(text, sizeof text, same ? "%H:%M:%S" : "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

Json line_json(const rpcNodeLineRow &row, const std::map<u_int, std::string> &names) {
    const auto name = names.find(row.port);
    const bool refused = row.refusals != 0, waits = row.requests != 0;
    return {{"port", row.port},
            {"name", name == names.end() ? std::to_string(row.port) : name->second},
            {"vlan", row.vlan},
            {"cvlan", row.cvlan == no_vlan ? Json() : Json(row.cvlan)},
            {"state", row.state},
            {"client", address_json(row.client)},
            {"session", row.session ? Json(row.session) : Json()},
            {"sessions", row.sessions},
            {"server", address_json(row.server)},
            {"since", moment_json(row.since)},
            {"requests", row.requests},
            {"requests_since", waits ? moment_json(row.requestsSince) : Json()},
            {"refusals", row.refusals},
            {"refusals_since", refused ? moment_json(row.refusalsSince) : Json()},
            {"first_heard", moment_json(row.firstHeard)},
            {"last_heard", moment_json(row.lastHeard)}};
}

std::map<u_int, std::string> port_names(Call &call) {
    std::map<u_int, std::string> names;
    for (const PortName &port : call.session().ports()) names[port.number] = port.name;
    return names;
}

namespace {

// In the order of ports and VLANs; of one port when one is given.
Json read_lines(Call &call) {
    const auto only = call.maybe("port");
    const auto names = port_names(call);
    const rpcNodeLines &reply = call.agent().node(rpc_node_lines_1);
    Remote::expect(reply.result, "the lines");
    std::vector<const rpcNodeLineRow *> rows;
    for (u_int i = 0; i < reply.list.list_len; ++i)
        if (!only || *only == reply.list.list_val[i].port) rows.push_back(&reply.list.list_val[i]);
    std::ranges::sort(rows, {}, [](const rpcNodeLineRow *row) {
        return std::tuple(row->port, row->vlan, row->cvlan);
    });
    Json lines = Json::array();
    for (const rpcNodeLineRow *row : rows) lines.push_back(line_json(*row, names));
    return {{"looking_since", moment_json(reply.lookingSince)},
            {"limit", reply.limit},
            {"forgotten", reply.forgotten},
            {"without_room", reply.full},
            {"lines", lines}};
}

// Times as people read them.
Json readable(Json rows) {
    for (Json &row : rows)
        for (const char *key : {"since", "first_heard", "last_heard"})
            if (row.contains(key)) row[key] = moment_text(row.at(key));
    return rows;
}

std::string since_text(const Json &answer) {
    return "\n" + line("looking since", moment_text(answer.at("looking_since")));
}

}  // namespace

Json show_lines(Call &call) {
    Json answer = read_lines(call);
    if (!call.has("state")) return answer;
    Json wanted = Json::array();
    for (const Json &row : answer.at("lines"))
        if (row.at("state") == call.text("state")) wanted.push_back(row);
    answer["lines"] = wanted;
    return answer;
}

void print_lines(const Json &answer) {
    std::fputs((table({{"NAME", "name"},
                       {"VLAN", "vlan", true},
                       {"CVLAN", "cvlan", true},
                       {"STATE", "state"},
                       {"CLIENT", "client", false, 4},
                       {"SESSION", "session", true, 3},
                       {"WAITING", "requests", true, 2},
                       {"REFUSED", "refusals", true, 2},
                       {"LAST HEARD", "last_heard", false, 1}},
                      readable(answer.at("lines"))) +
                since_text(answer))
                   .c_str(),
               stdout);
}

// Of a line that has several, all of them.
Json show_sessions(Call &call) {
    const Json answer = read_lines(call);
    Json sessions = Json::array();
    for (const Json &row : answer.at("lines")) {
        if (row.at("session").is_null()) continue;
        Json session = {{"port", row.at("port")},
                        {"name", row.at("name")},
                        {"vlan", row.at("vlan")},
                        {"cvlan", row.at("cvlan")}};
        const auto add = [&](const Json &id, const Json &client, const Json &server,
                             const Json &since) {
            session["session"] = id;
            session["client"] = client;
            session["server"] = server;
            session["since"] = since;
            sessions.push_back(session);
        };
        if (row.at("sessions") == 1) {
            add(row.at("session"), row.at("client"), row.at("server"), row.at("since"));
            continue;
        }
        const rpcNodeLineStory &story = call.agent().node(
            rpc_node_line_story_1, row.at("port").get<u_int>(), row.at("vlan").get<u_short>(),
            row.at("cvlan").is_null() ? u_short{no_vlan} : row.at("cvlan").get<u_short>());
        for (u_int i = 0; story.result == 0 && i < story.clients.clients_len; ++i)
            if (const rpcNodeLineClient &one = story.clients.clients_val[i]; one.session != 0)
                add(one.session, address_json(one.client), address_json(one.server),
                    moment_json(one.since));
    }
    return {{"looking_since", answer.at("looking_since")}, {"sessions", sessions}};
}

void print_sessions(const Json &answer) {
    std::fputs((table({{"NAME", "name"},
                       {"VLAN", "vlan", true},
                       {"CVLAN", "cvlan", true},
                       {"SESSION", "session", true},
                       {"CLIENT", "client", false, 3},
                       {"SERVER", "server", false, 2},
                       {"SINCE", "since", false, 1}},
                      readable(answer.at("sessions"))) +
                since_text(answer))
                   .c_str(),
               stdout);
}

Json show_servers(Call &call) {
    const rpcNodeServers &reply = call.agent().node(rpc_node_servers_1);
    Remote::expect(reply.result, "the servers");
    Json servers = Json::array();
    for (u_int i = 0; i < reply.list.list_len; ++i) {
        const rpcNodeServer &row = reply.list.list_val[i];
        Json times = Json::array();
        for (const u_int count : row.answerTimes) times.push_back(count);
        servers.push_back(
            {{"server", address_json(row.server)},
             {"ac_name", std::string(row.acName.acName_val, row.acName.acName_len)},
             {"service", std::string(row.service.service_val, row.service.service_len)},
             {"vlan", row.vlan},
             {"cvlan", row.cvlan == no_vlan ? Json() : Json(row.cvlan)},
             {"offers", row.offers},
             {"sessions", row.sessions},
             {"refusals", row.refusals},
             {"ended", row.ended},
             {"answer_times", times},
             {"longest_ms", row.longestUs / 1000.0},
             {"first_heard", moment_json(row.firstHeard)},
             {"last_heard", moment_json(row.lastHeard)}});
    }
    return {{"servers", servers}};
}

void print_servers(const Json &answer) {
    std::fputs(table({{"SERVER", "server"},
                      {"AC-NAME", "ac_name"},
                      {"VLAN", "vlan", true, 2},
                      {"OFFERS", "offers", true},
                      {"SESSIONS", "sessions", true},
                      {"REFUSALS", "refusals", true},
                      {"LONGEST ms", "longest_ms", true, 3},
                      {"LAST HEARD", "last_heard", false, 1}},
                     readable(answer.at("servers")))
                   .c_str(),
               stdout);
}

}  // namespace ia::ctl
