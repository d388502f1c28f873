// Memory under a test's control: allocations are counted and can be made to fail.
// A test that names failing_memory in LAYERS allocates through this.
#pragma once

#include <cstddef>

namespace ia::test {

// Of the calling thread so far.
std::size_t allocations();

// The calling thread's nth allocation from here on fails, once; 1 is the next.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t nth);
    FailingAllocation(const FailingAllocation &) = delete;
    FailingAllocation &operator=(const FailingAllocation &) = delete;
    ~FailingAllocation();

    bool came() const;
};

// While this lives, no other thread gets any.
class MemoryForThisThreadOnly {
public:
    MemoryForThisThreadOnly();
    MemoryForThisThreadOnly(const MemoryForThisThreadOnly &) = delete;
    MemoryForThisThreadOnly &operator=(const MemoryForThisThreadOnly &) = delete;
    ~MemoryForThisThreadOnly();
};

// Runs `work` with its 1st, its 2nd, ... allocation failing, until it comes
// through without; `check` sees each failed result.
template <class Work, class Check>
void with_each_allocation_failing(Work work, Check check) {
    for (std::size_t nth = 1;; ++nth) {
        bool came = false;
        const auto result = [&] {
            const FailingAllocation failing(nth);
            auto given = work();
            came = failing.came();
            return given;
        }();
        if (!came) return;
        check(nth, result);
    }
}

}  // namespace ia::test
