// The process's bridges, found by name.
//
// The list has its own lock, held only during the search. A caller that found a
// bridge keeps it alive: deletion takes the bridge off the list, and the last
// holder destroys the record.
#pragma once

#include "store/bridge.h"

#include <memory>
#include <mutex>
#include <vector>

namespace ia {

using BridgePtr = std::shared_ptr<pppoeia_bridge>;

bool bridge_list_exists();

// Creates an empty list. False without memory.
bool bridge_list_create();

// Deletes the list and returns its bridges, newest first.
std::vector<BridgePtr> bridge_list_release();

// All bridges, newest first.
std::vector<BridgePtr> bridge_list_snapshot();

BridgePtr bridge_list_find(const char *name);

void bridge_list_link(BridgePtr bridge);

// Takes the bridge off the list; null when there is none of that name.
BridgePtr bridge_list_unlink(const char *name);

// Finds a bridge and holds its lock during this object's lifetime. False when there
// is no such bridge. Every thread but the bridge's own worker gets at a bridge this
// way.
class LockedBridge {
public:
    explicit LockedBridge(const char *name) : bridge_(bridge_list_find(name)) {
        if (!bridge_) return;
        lock_ = std::unique_lock(bridge_->lock);
        ++bridge_->revision;
    }

    explicit operator bool() const { return bridge_ != nullptr; }
    pppoeia_bridge &operator*() const { return *bridge_; }
    pppoeia_bridge *operator->() const { return bridge_.get(); }

private:
    BridgePtr bridge_;  // outlives the lock
    std::unique_lock<FairMutex> lock_;
};

}  // namespace ia
