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
        const std::lock_guard guard(mutex_);
        entries_.push_back(std::make_shared<Entry>(callback));
    }

    // Removes every callback made from a binding equal to `functor`. They are not
    // called by later events, nor by the rest of an event that is being raised.
    template <class Functor>
    void unsubscribe(const Functor &functor) {
        const std::lock_guard guard(mutex_);
        std::erase_if(entries_, [&](const std::shared_ptr<Entry> &entry) {
            if (!entry->callback.contains(functor)) return false;
            entry->subscribed = false;
            return true;
        });
    }

    // Calls every subscriber.
    template <class... Args>
    void tell(const Args &...args) const {
        for (const auto &entry : snapshot())
            if (entry->subscribed) entry->callback(args...);
    }

    // Calls one subscriber after the other; stops and returns false at the first
    // that returns false.
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
        const std::lock_guard guard(mutex_);
        return entries_;
    }

    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<Entry>> entries_;
};

// A change of the platform. `Pre` and `Post` are boost::function types: Pre returns
// bool and runs before the change, which false refuses; Post returns nothing and
// runs after it.
template <class Pre, class Post>
class Event {
public:
    void subscribePre(const Pre &callback) { before_.subscribe(callback); }
    void subscribePost(const Post &callback) { after_.subscribe(callback); }

    template <class Functor>
    void unsubscribePre(const Functor &functor) {
        before_.unsubscribe(functor);
    }
    template <class Functor>
    void unsubscribePost(const Functor &functor) {
        after_.unsubscribe(functor);
    }

    // For the publisher.
    template <class... Args>
    bool ask(const Args &...args) const {
        return before_.ask(args...);
    }
    template <class... Args>
    void tell(const Args &...args) const {
        after_.tell(args...);
    }

private:
    Callbacks<Pre> before_;
    Callbacks<Post> after_;
};

// An event whose two callbacks take the same arguments.
template <class... Args>
using EventOf = Event<boost::function<bool(Args...)>, boost::function<void(Args...)>>;

}  // namespace Notification

#pragma GCC visibility pop
