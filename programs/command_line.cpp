#include "programs/command_line.h"

#include <CLI/CLI.hpp>

namespace ia {

std::optional<int> read_command_line(int argc, char **argv, const char *program, const char *what,
                                     CommandLine &options) {
    CLI::App app(std::string("PPPoE Intermediate Agent: ") + what, program);
    app.add_option("--node", options.node, "The node description")->required()->type_name("FILE");
    app.add_flag("--check", options.check, "Only read and check the description");
    try {
        app.parse(argc, argv);
        return std::nullopt;
    } catch (const CLI::ParseError &error) {
        return app.exit(error);
    }
}

}  // namespace ia
