#include "node/framework/external_messages.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace ia::node {
namespace {

constexpr std::size_t message_max = 1024;
constexpr std::size_t command_max = 63;
constexpr std::size_t reply_max = 65'536;
constexpr timeval patience{2, 0};  // a silent sender blocks the thread no longer than this
constexpr int retry_ms = 200;      // delay of the next accept when descriptors run out

[[noreturn]] void fail(const std::string &path) {
    throw std::system_error(errno, std::generic_category(), path);
}

sockaddr_un address_of(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        fail(path);
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    return address;
}

Descriptor open_socket(const std::string &path) {
    Descriptor opened(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    if (!opened) fail(path);
    return opened;
}

bool connect_to(const Descriptor &socket, const sockaddr_un &address) {
    return connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

bool bind_to(const Descriptor &socket, const sockaddr_un &address) {
    return bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

bool served_by_nobody(const std::string &path, const sockaddr_un &address) {
    struct stat file {};
    return lstat(path.c_str(), &file) == 0 && S_ISSOCK(file.st_mode) &&
           !connect_to(open_socket(path), address) && errno == ECONNREFUSED;
}

Descriptor listen_at(const std::string &path) {
    const sockaddr_un address = address_of(path);
    Descriptor listener = open_socket(path);
    fchmod(listener.get(), S_IRUSR | S_IWUSR);  // bind() gives the file this mode
    if (!bind_to(listener, address)) {
        if (errno != EADDRINUSE) fail(path);
        if (!served_by_nobody(path, address)) {
            errno = EADDRINUSE;
            fail(path);
        }
        unlink(path.c_str());
        if (!bind_to(listener, address)) fail(path);
    }
    if (listen(listener.get(), 8) != 0) fail(path);
    return listener;
}

bool is_root(int connection) {
    ucred sender{};
    socklen_t size = sizeof sender;
    return getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &sender, &size) == 0 && sender.uid == 0;
}

}  // namespace

std::optional<ExternalMessage> parse_external_message(std::string_view record) {
    std::array<std::string, 3> texts;
    for (std::string &text : texts) {
        const std::size_t end = record.find('\0');
        if (end == std::string_view::npos) return std::nullopt;
        text = record.substr(0, end);
        record.remove_prefix(end + 1);
    }
    if (!record.empty() || texts[0].empty() || texts[0].size() > command_max) return std::nullopt;
    return ExternalMessage{texts[0], texts[1], texts[2]};
}

ExternalMessages::ExternalMessages(const std::string &path, Deliver deliver)
    : socket_path_(path),
      deliver_message_(std::move(deliver)),
      listener_(listen_at(path)),
      stop_(eventfd(0, EFD_CLOEXEC)) {
    if (!stop_) fail(path);
    receiver_ = std::thread(&ExternalMessages::receive, this);
}

ExternalMessages::~ExternalMessages() {
    eventfd_write(stop_.get(), 1);
    receiver_.join();
    unlink(socket_path_.c_str());
}

void ExternalMessages::receive() {
    for (;;) {
        pollfd waited[] = {{listener_.get(), POLLIN, 0}, {stop_.get(), POLLIN, 0}};
        if (poll(waited, 2, -1) < 0) continue;
        if (waited[1].revents) return;
        const Descriptor connection(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!connection) {
            poll(&waited[1], 1, retry_ms);
            continue;
        }
        setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        setsockopt(connection.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
        const std::string reply = serve(connection.get()).substr(0, reply_max);
        send(connection.get(), reply.data(), reply.size(), MSG_NOSIGNAL);
    }
}

std::string ExternalMessages::serve(int connection) const {
    // Read before replying: closing a socket with an unread record would discard
    // the reply.
    std::array<char, message_max> record;
    const ssize_t size = recv(connection, record.data(), record.size(), MSG_TRUNC);
    if (!is_root(connection)) return "error: only root may send messages\n";
    if (size < 0) return "error: no message came\n";
    const auto length = static_cast<std::size_t>(size);
    if (length > record.size())
        return "error: the message is longer than " + std::to_string(message_max) + " bytes\n";
    const auto message = parse_external_message({record.data(), length});
    if (!message) return "error: the message is malformed\n";
    return "ok\n" + deliver_message_(*message);
}

std::string send_external_message(const std::string &path, const ExternalMessage &message) {
    std::string record;
    for (const std::string *text : {&message.command, &message.argument, &message.target})
        record.append(*text).push_back('\0');
    if (!parse_external_message(record)) throw std::invalid_argument("not a message");

    const Descriptor connection = open_socket(path);
    if (!connect_to(connection, address_of(path))) fail(path);
    if (send(connection.get(), record.data(), record.size(), MSG_NOSIGNAL) < 0) fail(path);
    std::string reply(reply_max, '\0');
    const ssize_t size = recv(connection.get(), reply.data(), reply.size(), 0);
    if (size < 0) fail(path);
    reply.resize(static_cast<std::size_t>(size));
    return reply;
}

}  // namespace ia::node
