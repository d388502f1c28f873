// The process's bridges, found by name.
//
// The list has a lock of its own, held only for the walk. Who has found a
// bridge keeps it alive: deletion unlinks it, and the record goes with its last
// holder.
#pragma once

#include "store/bridge.h"

#include <memory>
#include <mutex>
#include <vector>

namespace ia {

using BridgePtr = std::shared_ptr<pppoeia_bridge>;

bool bridge_list_exists();

// Starts an empty list. False when there is no memory for it.
bool bridge_list_create();

// Ends the list and hands back the bridges it held, newest first.
std::vector<BridgePtr> bridge_list_release();

// The bridges there are, newest first.
std::vector<BridgePtr> bridge_list_snapshot();

BridgePtr bridge_list_find(const char *name);

void bridge_list_link(BridgePtr bridge);

// Takes the bridge off the list; null when there is none of that name.
BridgePtr bridge_list_unlink(const char *name);

// Finds a bridge and holds its lock for as long as this object lives. False
// when there is no such bridge. The only way to a bridge, but for its worker's.
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
