// A node whose management process is the test's: the real framework and entity,
// and the engine in a process of its own.
#pragma once

#include "client/request.h"
#include "entity/pppoeia.h"
#include "management/agent_calls.h"
#include "node/framework/changes.h"
#include "platform/bll/Log.h"
#include "pppoeia/client.h"
#include "pppoeia/store.h"
#include "store/bridge_list.h"
#include "tests/client/engine_process.h"
#include "tests/rpc/private_node.h"
#include "tests/support/captured_syslog.h"
#include "tests/support/interface.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace ia::test {

using Lines = std::vector<std::string>;

template <class... Words>
std::string spaced(const Words &...words) {
    std::ostringstream text;
    const char *gap = "";
    ((text << gap << words, gap = " "), ...);
    return text.str();
}

class ManagedNode : public testing::Test {
protected:
    ManagedNode() {
        // As root the machine's port mapper is out of reach of the RPC service.
        static const std::string missing = enter_private_node();
        pppoeia_cache_init();  // of an earlier test
        engine_path = path.c_str();
        engine.emplace(path);
        described.bridges = {{.name = "br0", .ports = 64}};
        clear_syslog();
    }
    ~ManagedNode() override { entity.stop(); }

    // As the framework does it.
    void start() {
        node::begin_registry(described);
        ASSERT_TRUE(entity.start());
        announce();
        clear_syslog();
    }
    void announce() { EXPECT_EQ(node::announce_changes(described, calls), 0U); }

    // Makes the registry know of something that no event has announced.
    void know(const node::Interface &interface) {
        node::registry().change(
            [&](node::NodeState &node) { node.interfaces[interface.id] = interface; });
    }

    // The framework's log since the last look, "<priority> <line>".
    static Lines logged() {
        Log::instance().setMsgLevel(0);  // ends an open line
        Lines lines;
        for (const syslog_record &record : syslog_records())
            if (record.priority <= LOG_WARNING && record.text.find("[PPPoE]") == std::string::npos)
                lines.push_back(std::to_string(record.priority) + " " + record.text);
        clear_syslog();
        return lines;
    }

    const TempDir dir;
    const std::string path = dir / "main";
    std::optional<EngineProcess> engine;
    node::Description described;
    AgentCalls calls;
    pppoeia &entity = pppoeia::instance();
};

}  // namespace ia::test
