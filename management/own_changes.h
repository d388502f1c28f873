// The changes that the management process makes of itself, told from those of
// operators: a thread's are its own while it has one of these.
#pragma once

namespace ia {

class OwnChanges {
public:
    OwnChanges() : outer_(current_) { current_ = this; }
    ~OwnChanges() {
        current_ = outer_;
        if (outer_ && failed_) outer_->failed_ = true;
    }
    OwnChanges(const OwnChanges &) = delete;
    OwnChanges &operator=(const OwnChanges &) = delete;

    // Whether the engine left a call of this thread unanswered, or frames could
    // not be held or released: what was to be made is made half-way.
    bool failed() const { return failed_; }

    // This thread's; null while it has none.
    static OwnChanges *current() { return current_; }
    void fail() { failed_ = true; }

private:
    inline static thread_local OwnChanges *current_ = nullptr;

    OwnChanges *const outer_;
    bool failed_ = false;
};

}  // namespace ia
