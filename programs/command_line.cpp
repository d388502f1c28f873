#include "programs/command_line.h"

#include <CLI/CLI.hpp>

namespace ia {

std::optional<int> read_command_line(int argc, char **argv, const char *program, const char *what,
                                     CommandLine &options) {
    CLI::App app(std::string("PPPoE Intermediate Agent: ") + what, program);
    app.set_version_flag("--version", std::string(program) + ' ' + PPPOEIA_VERSION);
    auto *const node =
        app.add_option("--node", options.node, "The node description")->type_name("FILE");
    app.add_flag("--check", options.check, "Only read and check the description");
    if (options.releases)
        app.add_flag("--release", options.release, "Make plain bridges again, and end");
    try {
        app.parse(argc, argv);
        if (!options.release && node->empty()) throw CLI::RequiredError("--node");
        return std::nullopt;
    } catch (const CLI::ParseError &error) {
        return app.exit(error);
    }
}

}  // namespace ia
