#include "node/ippc/ippc_server.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <system_error>

namespace ia::node {

namespace {

constexpr int retry_ms = 200;  // delay of the next accept when descriptors run out

// Blocks all signals here: other threads of the process handle them.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;

private:
    sigset_t before_;
};

// The reason why the peer may not call, or nothing.
std::string objection_to(int fd) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::strerror(errno);
    if (peer.uid == 0 || peer.uid == geteuid()) return {};
    return "process " + std::to_string(peer.pid) + " of user " + std::to_string(peer.uid);
}

bool must_wait() {
    return errno == EAGAIN || errno == EINTR;
}

}  // namespace

IppcServer::IppcServer(std::string path, platform::IppcDispatch dispatch, Warn warn)
    : socket_(std::move(path)),
      dispatch_(std::move(dispatch)),
      warn_(std::move(warn)),
      epoll_(epoll_create1(EPOLL_CLOEXEC)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      request_(ippc_max_message + 1) {
    if (!epoll_ || !wake_)
        throw std::system_error(errno, std::generic_category(), "ippc: cannot wait for requests");
    watch(EPOLL_CTL_ADD, wake_.get(), EPOLLIN);
    watch(EPOLL_CTL_ADD, socket_.get(), EPOLLIN);
    const SignalsBlocked guard;
    thread_ = std::thread([this] { run(); });
}

IppcServer::~IppcServer() {
    eventfd_write(wake_.get(), 1);
    thread_.join();
}

void IppcServer::watch(int operation, int fd, std::uint32_t events) {
    epoll_event event{};
    event.events = events;
    event.data.fd = fd;
    if (epoll_ctl(epoll_.get(), operation, fd, &event) != 0)
        throw std::system_error(errno, std::generic_category(), "ippc: cannot watch a socket");
}

void IppcServer::run() {
    std::array<epoll_event, 64> events;
    for (;;) {
        const int ready = epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()),
                                     accepting_ ? -1 : retry_ms);
        if (!accepting_) resume_accepting();
        for (int i = 0; i < ready; ++i) {
            const epoll_event &event = events[static_cast<std::size_t>(i)];
            const int fd = event.data.fd;
            if (fd == wake_.get()) return;
            if (fd == socket_.get()) {
                accept_client();
            } else if (const auto client = clients_.find(fd); client != clients_.end()) {
                // This caller has closed its end and counts the call as failed, so
                // its request must not be run.
                const bool gone = (event.events & EPOLLHUP) != 0;
                if (gone || !serve(client->second)) clients_.erase(client);
            }
        }
    }
}

void IppcServer::accept_client() {
    Fd fd(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!fd) {
        if (!must_wait() && errno != ECONNABORTED) pause_accepting();
        return;
    }
    if (const std::string who = objection_to(fd.get()); !who.empty()) {
        warn_("ippc: refused a connection of " + who);
        return;
    }
    const int key = fd.get();
    try {
        watch(EPOLL_CTL_ADD, key, EPOLLIN);
        clients_.insert_or_assign(key, Client{std::move(fd), {}});
    } catch (const std::exception &error) {
        warn_(error.what());
    }
}

// A connection that cannot be accepted stays in the queue; its caller waits.
void IppcServer::pause_accepting() {
    warn_(std::string("ippc: cannot accept connections: ") + std::strerror(errno));
    watch(EPOLL_CTL_MOD, socket_.get(), 0);
    accepting_ = false;
}

void IppcServer::resume_accepting() {
    watch(EPOLL_CTL_MOD, socket_.get(), EPOLLIN);
    accepting_ = true;
}

// False when the client has closed its end.
bool IppcServer::serve(Client &client) {
    if (client.pending.empty()) return read_request(client);
    const ssize_t sent = send(client.fd.get(), client.pending.data(), client.pending.size(),
                              MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0) return must_wait();
    client.pending.clear();
    watch(EPOLL_CTL_MOD, client.fd.get(), EPOLLIN);
    return true;
}

bool IppcServer::read_request(Client &client) {
    const ssize_t length = recv(client.fd.get(), request_.data(), request_.size(), MSG_DONTWAIT);
    if (length == 0) return false;
    if (length < 0) return must_wait();
    answer({request_.data(), static_cast<std::size_t>(length)});
    return send_reply(client);
}

bool IppcServer::send_reply(Client &client) {
    if (send(client.fd.get(), reply_.data(), reply_.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0)
        return true;
    if (!must_wait()) return false;
    client.pending = reply_;
    watch(EPOLL_CTL_MOD, client.fd.get(), EPOLLOUT);
    return true;
}

// Puts the reply into `reply_`.
void IppcServer::answer(std::span<const std::uint8_t> request) {
    reply_.clear();
    Message message;
    auto fault = read_message(request, message);
    if (!fault && message.kind != MessageKind::request) fault = "it is not a request";
    if (!fault) return run_function(message);
    warn_("ippc: refused a message: " + *fault);
    write_head(reply_, MessageKind::refusal, 0, 0);
}

void IppcServer::run_function(const Message &request) {
    platform::IppcAnswer answer;
    bool run = false;
    try {
        run = dispatch_({request.word, request.params()}, answer);
    } catch (const std::exception &error) {
        warn_("ippc: function " + std::to_string(request.word) + " failed: " + error.what());
    }
    if (!run) return write_head(reply_, MessageKind::refusal, 0, 0);
    write_head(reply_, MessageKind::reply, answer.outputs,
               static_cast<std::uint32_t>(answer.result));
    for (std::size_t i = 0; i < answer.outputs; ++i) {
        const platform::IppcOutput &output = answer.output[i];
        write_param(reply_, {output.code, 1, {output.bytes.data(), output.size}});
    }
}

}  // namespace ia::node
