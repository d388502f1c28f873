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

// One in a process: the platform's singletons answer from its node. Any thread
// may use it; its operations run one at a time.
class Framework {
public:
    // `calls` outlives the framework. External messages arrive at
    // `message_socket`; an empty path receives none. The RPC programs are served at
    // `rpc_socket`, too, when it is not empty.
    Framework(EntityCalls &calls, std::string message_socket, std::string rpc_socket = {});
    ~Framework();  // stops
    Framework(const Framework &) = delete;
    Framework &operator=(const Framework &) = delete;

    // Serves requests at the local socket before start(), with nothing of the node
    // announced: most are refused, but not those that ask how the node is. False, with
    // the reason in the log, when it cannot.
    bool serve(const Description &description);

    // Starts the entities, each after those it depends on, announces the node
    // to them, then serves requests. False, with the reason in the log, when something
    // does not start: what was made is stopped again, and requests are served as before.
    bool start(const Description &description);

    // Announces how the node differs from what it was. False when a change was
    // refused; the next call tries it again.
    bool apply(const Description &description);

    // Makes the engine and the store start anew by `begin`, and announces the
    // whole node to the entities again, which go on running; requests wait
    // meanwhile. False when it could not be begun, or a change was refused.
    bool announce_anew(const Description &description, const std::function<bool()> &begin);

    // Takes the entities back to their defaults and tells them the
    // description's settings once more. False when an entity refuses.
    bool clear_configuration();

    // Lets `save` store the settings between the notices that tell of it.
    void save_configuration(const std::function<void()> &save = {});

    // Whether the loop that serves requests has made a pass since it was asked last. Never
    // waits.
    bool serves() const;

    // Stops serving, then the entities, latest first. False when an entity
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
    std::mutex serving_;               // starting and stopping to serve; taken before `operation_`
    std::mutex operation_;             // requests that are served may take it too
    std::vector<BLEntity *> running_;  // in the order of their start
    std::optional<RPCLocalSocket> local_requests_;
    RPCProxy receive_loop_;
    bool is_serving_ = false;
    std::optional<ExternalMessages> messages_;
};

}  // namespace ia::node
