// Marks changes that the management process makes itself, in contrast to operators'
// changes: those of a thread while it has an object of this class.
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

    // Whether a call of this thread got no answer from the engine, or frames could
    // not be held or released: the change is then incomplete.
    bool failed() const { return failed_; }

    // The calling thread's object, or null.
    static OwnChanges *current() { return current_; }
    void fail() { failed_ = true; }

private:
    inline static thread_local OwnChanges *current_ = nullptr;

    OwnChanges *const outer_;
    bool failed_ = false;
};

}  // namespace ia
