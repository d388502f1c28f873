#include "node/framework/framework.h"

#include "node/framework/changes.h"
#include "platform/bll/BLLManager.h"
#include "platform/bll/CliConfig.h"
#include "platform/bll/Interfaces.h"

#include <syslog.h>
#include <algorithm>
#include <sstream>
#include <system_error>

namespace ia::node {
namespace {

BLLManager &manager() {
    return singleton<BLLManager>::instance();
}

// This thread only serves services that others register.
void *no_service(void *) {
    return nullptr;
}

std::string deliver(const ExternalMessage &message) {
    std::ostringstream answer;
    if (manager().externalMessage.ask(message.command, message.argument, &answer, message.target))
        manager().externalMessage.tell(message.command, message.argument, &answer, message.target);
    return answer.str();
}

bool is_among(const std::vector<BLEntity *> &entities, const std::string &name) {
    return std::any_of(entities.begin(), entities.end(),
                       [&](const BLEntity *entity) { return entity->entityName() == name; });
}

// The platform's own singletons exist before any entity.
bool may_start(BLEntity &entity, const std::vector<BLEntity *> &running) {
    std::list<std::string> needed;
    entity.getDependencies(needed);
    return std::all_of(needed.begin(), needed.end(), [&](const std::string &name) {
        return name == singleton<Interfaces>::instance().entityName() || is_among(running, name);
    });
}

}  // namespace

Framework::Framework(EntityCalls &calls, std::string message_socket, std::string rpc_socket)
    : entity_calls_(calls),
      message_path_(std::move(message_socket)),
      rpc_path_(std::move(rpc_socket)),
      receive_loop_(no_service, "BLLManager_mng") {}

Framework::~Framework() {
    stop();
}

bool Framework::serve(const Description &description) {
    const std::scoped_lock guard(serving_, operation_);
    begin_registry(description);
    return start_serving();
}

// Requests that are served already wait for the lock until all is announced.
bool Framework::start(const Description &description) {
    const std::scoped_lock guard(serving_, operation_);
    const bool served = is_serving_;
    const BLLManager::exclusiveLock_t alone;
    if (!alone.owns_lock()) return false;
    begin_registry(description);
    if (start_entities()) {
        announce(description);
        if (receive_messages() && start_serving()) return true;
    }
    if (!served) stop_serving();
    stop_entities();
    return false;
}

bool Framework::receive_messages() {
    try {
        if (!message_path_.empty()) messages_.emplace(message_path_, deliver);
        return true;
    } catch (const std::system_error &error) {
        syslog(LOG_ERR, "cannot receive requests: %s", error.what());
        return false;
    }
}

bool Framework::start_serving() {
    if (is_serving_) return true;
    try {
        if (!rpc_path_.empty()) local_requests_.emplace(rpc_path_);
        is_serving_ = receive_loop_.start();
        if (!is_serving_) syslog(LOG_ERR, "cannot start the RPC receive loop");
    } catch (const std::system_error &error) {
        syslog(LOG_ERR, "cannot receive requests: %s", error.what());
    }
    if (!is_serving_) local_requests_.reset();
    return is_serving_;
}

bool Framework::start_entities() {
    std::vector<BLEntity *> waiting = manager().entities();
    while (!waiting.empty()) {
        const auto next = std::find_if(waiting.begin(), waiting.end(), [&](BLEntity *entity) {
            return may_start(*entity, running_);
        });
        if (next == waiting.end()) {
            syslog(LOG_ERR, "entity %s depends on one that is not there",
                   waiting.front()->entityName().c_str());
            return false;
        }
        if (!(*next)->start()) {
            syslog(LOG_ERR, "entity %s does not start", (*next)->entityName().c_str());
            return false;
        }
        running_.push_back(*next);
        waiting.erase(next);
    }
    return true;
}

bool Framework::announce(const Description &description) {
    manager().configurationApplyStart.tell();
    const unsigned missed = announce_changes(description, entity_calls_);
    manager().configurationApplyStop.tell(static_cast<int>(missed));
    return missed == 0;
}

bool Framework::apply(const Description &description) {
    const std::lock_guard guard(operation_);
    return announce(description);
}

bool Framework::announce_anew(const Description &description, const std::function<bool()> &begin) {
    const std::lock_guard guard(operation_);
    const BLLManager::exclusiveLock_t alone;
    if (!alone.owns_lock() || !begin()) return false;
    begin_registry(description);
    return announce(description);
}

bool Framework::clear_configuration() {
    const std::lock_guard guard(operation_);
    const BLLManager::exclusiveLock_t alone;
    if (!alone.owns_lock()) return false;
    CliConfig &config = singleton<CliConfig>::instance();
    config.clearConfigStart.tell();
    bool cleared = true;
    for (BLEntity *entity : running_) cleared = entity->applyDefaultSettings() && cleared;
    announce_settings_again(entity_calls_);
    config.clearConfigStop.tell();
    return cleared;
}

void Framework::save_configuration(const std::function<void()> &save) {
    const std::lock_guard guard(operation_);
    CliConfig &config = singleton<CliConfig>::instance();
    config.saveConfigStart.tell();
    for (const BLEntity *entity : running_) entity->saveConfiguration({});
    try {
        if (save) save();
    } catch (...) {  // the stop notice follows every start notice
        config.saveConfigStop.tell();
        throw;
    }
    config.saveConfigStop.tell();
}

bool Framework::serves() const {
    return rpcProxyLoopAnswers();
}

// Serving ends first, and without `operation_`: a running request may wait for that
// lock.
bool Framework::stop() {
    const std::lock_guard no_start(serving_);
    messages_.reset();
    stop_serving();
    const std::lock_guard guard(operation_);
    return stop_entities();
}

void Framework::stop_serving() {
    receive_loop_.stop(false);
    local_requests_.reset();
    is_serving_ = false;
}

bool Framework::stop_entities() {
    messages_.reset();
    bool stopped = true;
    for (; !running_.empty(); running_.pop_back()) stopped = running_.back()->stop() && stopped;
    return stopped;
}

}  // namespace ia::node
