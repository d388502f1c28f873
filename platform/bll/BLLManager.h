// The business-logic framework: hosts the entities, their locks and threads.
#pragma once

#include "platform/bll/BLEntity.h"
#include "platform/bll/Notification.h"
#include "platform/bll/singleton.h"

#include <sstream>
#include <string>
#include <vector>

#pragma GCC visibility push(default)

class BLLManager : public singleton<BLLManager> {
public:
    // Holds the framework's lock exclusively for its scope. A thread that holds it
    // may take it again; a thread that holds only the shared lock fails at once.
    // Otherwise taking it fails after the time limit; owns_lock() tells.
    class exclusiveLock_t {
    public:
        exclusiveLock_t();
        ~exclusiveLock_t();
        exclusiveLock_t(const exclusiveLock_t &) = delete;
        exclusiveLock_t &operator=(const exclusiveLock_t &) = delete;
        bool owns_lock() const { return held_; }

    private:
        const bool held_;
    };

    // The same, shared with other readers. A thread may take it while it holds
    // either.
    class sharedLock_t {
    public:
        sharedLock_t();
        ~sharedLock_t();
        sharedLock_t(const sharedLock_t &) = delete;
        sharedLock_t &operator=(const sharedLock_t &) = delete;
        bool owns_lock() const { return held_; }

    private:
        const bool held_;
    };

    // The entity lives as long as the process. Called while libraries load.
    void registerEntity(BLEntity &entity);
    const std::vector<BLEntity *> &entities() const;

    // Names the calling thread.
    void registerThread(const std::string &name);

    // Command, argument, the sender's stream, the sender's terminal.
    Notification::EventOf<const std::string &, const std::string &, std::ostringstream *,
                          const std::string &>
        externalMessage;
    Notification::Callbacks<boost::function<void()>> configurationApplyStart;
    Notification::Callbacks<boost::function<void(int)>> configurationApplyStop;

private:
    std::vector<BLEntity *> registered_;
};

#pragma GCC visibility pop
