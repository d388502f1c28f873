// Diagnostic commands: the management process passes them to the engine, whose
// report appears on this terminal.
#include "ctl/answers.h"
#include "node/framework/external_messages.h"
#include "node/linux/sockets.h"

#include <unistd.h>
#include <system_error>

namespace ia::ctl {

namespace {

std::string this_terminal() {
    for (const int file : {STDOUT_FILENO, STDERR_FILENO, STDIN_FILENO})
        if (const char *path = ttyname(file)) return path;
    throw Refused("diagnostic reports go to a terminal, and there is none here; try it in one");
}

}  // namespace

Json diagnose(const std::string &command, const std::string &argument) {
    const std::string terminal = this_terminal();
    std::string answer;
    try {
        answer = node::send_external_message(message_socket, {command, argument, terminal});
    } catch (const std::system_error &error) {
        throw Unreachable(std::string("the management process cannot be reached: ") + error.what() +
                          "; is pppoeia-mgmt running, and are you root?");
    }
    constexpr char ok[] = "ok\n";
    if (!answer.starts_with(ok)) throw Refused(answer);
    return {{"text", answer.substr(sizeof ok - 1)}};
}

}  // namespace ia::ctl
