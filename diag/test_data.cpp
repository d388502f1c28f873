#include "diag/test_data.h"

#include <mutex>

namespace ia {
namespace {

struct SharedTestData {
    std::mutex lock;
    customFormatTestData_t data;
};

// Never destroyed: a worker may still read it while the process exits.
SharedTestData &the_test_data() {
    static SharedTestData &shared = *new SharedTestData;
    return shared;
}

}  // namespace

customFormatTestData_t test_data() {
    SharedTestData &shared = the_test_data();
    const std::lock_guard guard(shared.lock);
    return shared.data;
}

void set_test_data(const customFormatTestData_t &data) {
    SharedTestData &shared = the_test_data();
    const std::lock_guard guard(shared.lock);
    shared.data = data;
}

}  // namespace ia
