#include "tests/client/engine_process.h"

#include "client/dispatch/dispatch.h"
#include "node/ippc/ippc_server.h"
#include "pppoeia/fe.h"
#include "tests/support/scripted_node.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace ia::test {

namespace {

// The child is a copy: functions are where they are in the parent.
void run_engine(const std::string &path, int control) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    reset_node();
    {
        const node::IppcServer server(path, dispatch, warn_ippc);
        EngineProcess::Look what = nullptr;
        send(control, "ready", 5, 0);
        while (recv(control, &what, sizeof what, 0) == sizeof what) {
            const std::string said = what() + "\n";
            send(control, said.data(), said.size(), 0);
        }
    }
    fe_pppoeia_fini();
}

std::string receive_text(int control) {
    std::array<char, 4096> text;
    ssize_t length = 0;
    do {  // the alarm that limits a fuzzed input's time interrupts it
        length = recv(control, text.data(), text.size(), 0);
    } while (length < 0 && errno == EINTR);
    if (length <= 0) throw std::runtime_error("the engine's process is gone");
    return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace

EngineProcess::EngineProcess(const std::string &path) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::runtime_error("no socket pair");
    pid_ = fork();
    if (pid_ == 0) {
        close(ends[0]);
        run_engine(path, ends[1]);
        _exit(0);
    }
    close(ends[1]);
    control_ = ends[0];
    receive_text(control_);
}

EngineProcess::~EngineProcess() {
    close(control_);
    if (pid_ <= 0) return;
    int status = 0;
    waitpid(pid_, &status, 0);
    if (status == 0) return;
    // What a sanitizer found there must not pass for the test's success.
    std::fprintf(stderr, "the engine's process ended with status %d\n", status);
    std::abort();
}

std::string EngineProcess::look(Look what) {
    send(control_, &what, sizeof what, MSG_NOSIGNAL);
    std::string said = receive_text(control_);
    said.pop_back();
    return said;
}

void EngineProcess::stop() const {
    ::kill(pid_, SIGSTOP);
    waitpid(pid_, nullptr, WUNTRACED);
}

void EngineProcess::go_on() const {
    ::kill(pid_, SIGCONT);
}

void EngineProcess::kill() {
    ::kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = 0;
}

}  // namespace ia::test
