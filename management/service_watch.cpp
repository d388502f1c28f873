#include "management/service_watch.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <utility>

namespace ia {

namespace {

constexpr std::chrono::milliseconds between_tries{50};

// A connection; none while nobody serves the socket. Never waits.
node::Descriptor connected_to(const std::string &path, int type) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    node::Descriptor connection(socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (connection && connect(connection.get(), reinterpret_cast<const sockaddr *>(&address),
                              sizeof address) == 0)
        return connection;
    return {};
}

}  // namespace

ServiceWatch::ServiceWatch(EventLoop &loop, std::string socket_path, int type, Notices notices)
    : loop_(loop),
      path_(std::move(socket_path)),
      type_(type),
      notices_(std::move(notices)),
      again_(loop, [this] { try_again(); }) {
    if (!connect()) again_.at(loop_.now() + between_tries);
}

bool ServiceWatch::connected() const {
    pollfd look{connection_.get(), POLLRDHUP, 0};
    return connection_ && poll(&look, 1, 0) == 0;
}

bool ServiceWatch::connect() {
    connection_ = connected_to(path_, type_);
    if (!connection_) return false;
    try {
        end_.emplace(loop_, connection_.get(), EPOLLRDHUP, [this] { lose(); });
        return true;
    } catch (const std::system_error &) {  // without memory: as if the service were away
        connection_ = {};
        return false;
    }
}

void ServiceWatch::try_again() {
    if (connect()) return notices_.came();
    again_.at(loop_.now() + between_tries);
}

// A process that is ending accepts connections until its last file is closed.
void ServiceWatch::lose() {
    end_.reset();
    connection_ = {};
    again_.at(loop_.now() + between_tries);
    notices_.went();
}

}  // namespace ia
