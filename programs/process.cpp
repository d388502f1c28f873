#include "programs/process.h"

#include "node/description/read_description.h"
#include "programs/command_line.h"

#include <sys/resource.h>
#include <syslog.h>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>

namespace ia {

namespace {

enum ExitStatus { done = 0, failed = 1, refused = 2 };

ExitStatus complain(const std::exception &error, ExitStatus status) {
    std::fprintf(stderr, "%s\n", error.what());
    return status;
}

// Bridges and callers have descriptors each. A shell's or manager's usual limit is for
// programs that use select().
void raise_descriptor_limit() {
    constexpr rlim_t wanted = 4096;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted) return;
    limit.rlim_cur = std::min(limit.rlim_max, wanted);
    setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

int run_process(int argc, char **argv, const char *program, const char *what,
                void (*serve)(const node::Description &), void (*release)()) {
    openlog(program, LOG_PID, LOG_DAEMON);
    std::signal(SIGPIPE, SIG_IGN);  // a peer that closes its socket must not end this process
    raise_descriptor_limit();
    CommandLine options;
    options.releases = release != nullptr;
    if (const auto status = read_command_line(argc, argv, program, what, options))
        return *status ? refused : done;
    try {
        if (options.release) {
            release();
            return done;
        }
        const node::Description description = node::read_description(options.node);
        if (!description.warnings.empty())
            std::fprintf(stderr, "%s\n", description.warnings.c_str());
        if (!options.check) serve(description);
        return done;
    } catch (const node::DescriptionError &error) {
        return complain(error, refused);
    } catch (const std::exception &error) {
        return complain(error, failed);
    }
}

}  // namespace ia
