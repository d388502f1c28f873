#include "management/service_watch.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

namespace ia {

namespace {

constexpr int retry_ms = 50;

int make_event() {
    const int event = eventfd(0, EFD_CLOEXEC);
    if (event < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    return event;
}

}  // namespace

ServiceWatch::ServiceWatch(std::string socket_path, int type, Notices notices)
    : path_(std::move(socket_path)),
      type_(type),
      notices_(std::move(notices)),
      stop_(make_event()),
      thread_([this] { watch(); }) {}

ServiceWatch::~ServiceWatch() {
    const std::uint64_t one = 1;
    while (write(stop_, &one, sizeof one) < 0 && errno == EINTR) {
    }
    thread_.join();
    close(stop_);
}

void ServiceWatch::watch() {
    for (bool first = true;; first = false) {
        int connection = connect(path_, type_);
        while (connection < 0) {
            if (stop_within(retry_ms)) return;
            connection = connect(path_, type_);
        }
        (first ? notices_.found : notices_.returned)();
        pollfd waits[] = {{stop_, POLLIN, 0}, {connection, POLLRDHUP, 0}};
        while (poll(waits, 2, -1) < 0 && errno == EINTR) {
        }
        close(connection);
        if (waits[0].revents != 0) return;
        notices_.lost();
        // A process that ends takes connections until the last of its files is closed.
        if (stop_within(retry_ms)) return;
    }
}

// A connection, or -1 while nobody serves the socket.
int ServiceWatch::connect(const std::string &path, int type) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int connection = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    if (connection < 0) return -1;
    if (::connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        return connection;
    close(connection);
    return -1;
}

bool ServiceWatch::is_served(const std::string &socket_path, int type) {
    const int connection = connect(socket_path, type);
    if (connection >= 0) close(connection);
    return connection >= 0;
}

bool ServiceWatch::stop_within(int milliseconds) const {
    pollfd wait{stop_, POLLIN, 0};
    return poll(&wait, 1, milliseconds) == 1;
}

}  // namespace ia
