#include "diag/test_data.h"

#include <mutex>

namespace ia {
namespace {

struct shared_test_data {
    std::mutex lock;
    customFormatTestData_t data;
};

// Never destroyed: a worker may still read it while the process exits.
shared_test_data &the_test_data() {
    static shared_test_data &shared = *new shared_test_data;
    return shared;
}

}  // namespace

customFormatTestData_t test_data() {
    shared_test_data &shared = the_test_data();
    const std::lock_guard guard(shared.lock);
    return shared.data;
}

void set_test_data(const customFormatTestData_t &data) {
    shared_test_data &shared = the_test_data();
    const std::lock_guard guard(shared.lock);
    shared.data = data;
}

}  // namespace ia
