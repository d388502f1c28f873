#include "programs/process.h"

#include "node/description/read_description.h"
#include "programs/command_line.h"

#include <syslog.h>
#include <cstdio>
#include <exception>

namespace ia {

namespace {

enum ExitStatus { done = 0, failed = 1, refused = 2 };

ExitStatus complain(const std::exception &error, ExitStatus status) {
    std::fprintf(stderr, "%s\n", error.what());
    return status;
}

}  // namespace

int run_process(int argc, char **argv, const char *program, const char *what,
                void (*serve)(const node::Description &)) {
    openlog(program, LOG_PID, LOG_DAEMON);
    CommandLine options;
    if (const auto status = read_command_line(argc, argv, program, what, options))
        return *status ? refused : done;
    try {
        const node::Description description = node::read_description(options.node);
        if (!options.check) serve(description);
        return done;
    } catch (const node::DescriptionError &error) {
        return complain(error, refused);
    } catch (const std::exception &error) {
        return complain(error, failed);
    }
}

}  // namespace ia
