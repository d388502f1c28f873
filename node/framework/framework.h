// The management process on a plain machine: hosts the entities that libraries
// have registered, tells them what the node is, serves their RPC programs and
// receives the operator's diagnostic commands.
#pragma once

#include "node/description/description.h"
#include "node/framework/entity_calls.h"
#include "node/framework/external_messages.h"
#include "platform/bll/BLEntity.h"
#include "rte/BLL/core/rpcProxy.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace ia::node {

// One per process: the platform's singletons answer with its node. Any thread may
// use it; its operations run one at a time.
class Framework {
public:
    // `calls` outlives the framework. External messages arrive at `message_socket`,
    // the RPC programs are also served at `rpc_socket`; an empty path means no such
    // socket.
    Framework(EntityCalls &calls, std::string message_socket, std::string rpc_socket = {});
    ~Framework();  // stops
    Framework(const Framework &) = delete;
    Framework &operator=(const Framework &) = delete;

    // Serves requests at the local socket before start(), while the node is not announced
    // yet: requests for the node's health are answered, most others refused. False, with
    // the reason in the log, when it cannot.
    bool serve(const Description &description);

    // Starts the entities in the order of their dependencies, announces the node to
    // them, then serves requests. If something fails, the entities are stopped again,
    // requests are served as before, the log has the reason, and the result is false.
    bool start(const Description &description);

    // Announces the node's changes. False when a change was refused; the next call
    // tries it again.
    bool apply(const Description &description);

    // Calls `begin`, which restarts the engine and the store, and announces the
    // whole node again to the running entities. Requests wait meanwhile. False when
    // `begin` failed or a change was refused.
    bool announce_anew(const Description &description, const std::function<bool()> &begin);

    // Resets the entities to their defaults and applies the description's settings
    // again. False when an entity refuses.
    bool clear_configuration();

    // Runs `save` between the notices of a save's start and end.
    void save_configuration(const std::function<void()> &save = {});

    // Whether the loop that serves requests has made a pass since the last
    // question. Never waits.
    bool serves() const;

    // Stops serving, then the entities in reverse order. False when an entity
    // reports a failure.
    bool stop();

private:
    bool receive_messages();
    bool start_serving();
    void stop_serving();
    bool start_entities();
    bool stop_entities();
    bool announce(const Description &description);

    EntityCalls &entity_calls_;
    const std::string message_path_;
    const std::string rpc_path_;
    std::mutex serving_;               // starting and stopping; taken before `operation_`
    std::mutex operation_;             // any operation; requests may take it too
    std::vector<BLEntity *> running_;  // in the order of their start
    std::optional<RPCLocalSocket> local_requests_;
    RPCProxy receive_loop_;
    bool is_serving_ = false;
    std::optional<ExternalMessages> messages_;
};

}  // namespace ia::node
