// Notifications of the platform: lists of callbacks, called in the order of
// their subscription on the thread that raises the event. A callback may
// subscribe and unsubscribe; any thread may use every operation.
#pragma once

#include <boost/function.hpp>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#pragma GCC visibility push(default)

namespace Notification {

// A plain list. `Callback` is a boost::function type.
template <class Callback>
class Callbacks {
public:
    void subscribe(const Callback &callback) {
        const std::lock_guard guard(mutex);
        entries.push_back(std::make_shared<Entry>(callback));
    }

    // Removes every callback that was made from a binding equal to `functor`.
    // None of them is called by an event raised afterwards, nor by the rest of
    // one that is being raised.
    template <class Functor>
    void unsubscribe(const Functor &functor) {
        const std::lock_guard guard(mutex);
        std::erase_if(entries, [&](const std::shared_ptr<Entry> &entry) {
            if (!entry->callback.contains(functor)) return false;
            entry->subscribed = false;
            return true;
        });
    }

    // Tells every subscriber.
    template <class... Args>
    void tell(const Args &...args) const {
        for (const auto &entry : snapshot())
            if (entry->subscribed) entry->callback(args...);
    }

    // Asks one subscriber after the other; false at the first that answers so.
    template <class... Args>
    bool ask(const Args &...args) const {
        const auto asked = snapshot();
        return std::all_of(asked.begin(), asked.end(), [&](const auto &entry) {
            return !entry->subscribed || entry->callback(args...);
        });
    }

private:
    struct Entry {
        explicit Entry(const Callback &called) : callback(called) {}
        Callback callback;
        std::atomic<bool> subscribed{true};
    };

    std::vector<std::shared_ptr<Entry>> snapshot() const {
        const std::lock_guard guard(mutex);
        return entries;
    }

    mutable std::mutex mutex;
    std::vector<std::shared_ptr<Entry>> entries;
};

// A change of the platform. `Pre` and `Post` are boost::function types: Pre
// returns bool and is asked before the change, which a false refuses; Post
// returns nothing and is told after it.
template <class Pre, class Post>
class Event {
public:
    void subscribePre(const Pre &callback) { before.subscribe(callback); }
    void subscribePost(const Post &callback) { after.subscribe(callback); }

    template <class Functor>
    void unsubscribePre(const Functor &functor) {
        before.unsubscribe(functor);
    }
    template <class Functor>
    void unsubscribePost(const Functor &functor) {
        after.unsubscribe(functor);
    }

    // For the publisher.
    template <class... Args>
    bool ask(const Args &...args) const {
        return before.ask(args...);
    }
    template <class... Args>
    void tell(const Args &...args) const {
        after.tell(args...);
    }

private:
    Callbacks<Pre> before;
    Callbacks<Post> after;
};

// An event whose two callbacks take the same arguments.
template <class... Args>
using EventOf = Event<boost::function<bool(Args...)>, boost::function<void(Args...)>>;

}  // namespace Notification

#pragma GCC visibility pop
