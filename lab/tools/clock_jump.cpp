// Preloaded into a process, shifts its wall clock by the number of seconds in the
// file that LAB_CLOCK names; the file may change at any time. The machine's own
// clock does not change.
//
// The kernel's wall clock is not shifted: a wait for an absolute time of the wall
// clock therefore ends late, or never, and the test sees it.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>
#include <cstdlib>

namespace {

const volatile long *open_jump() {
    const char *name = getenv("LAB_CLOCK");
    const int file = name ? open(name, O_RDONLY | O_CLOEXEC) : -1;
    static constexpr long none = 0;
    if (file < 0) return &none;
    void *const memory = mmap(nullptr, sizeof none, PROT_READ, MAP_SHARED, file, 0);
    close(file);
    return memory == MAP_FAILED ? &none : static_cast<const volatile long *>(memory);
}

long jump() {
    static const volatile long *const seconds = open_jump();
    return *seconds;
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

int clock_gettime(clockid_t clock, timespec *now) noexcept {
    const long result = syscall(SYS_clock_gettime, clock, now);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        now->tv_sec += jump();
    return static_cast<int>(result);
}

int gettimeofday(timeval *now, void *) noexcept {
    timespec precise{};
    clock_gettime(CLOCK_REALTIME, &precise);
    *now = {precise.tv_sec, precise.tv_nsec / 1000};
    return 0;
}

time_t time(time_t *to) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (to) *to = now.tv_sec;
    return now.tv_sec;
}

}  // extern "C"
#pragma GCC visibility pop
