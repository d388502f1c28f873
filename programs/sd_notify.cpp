#include "programs/sd_notify.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace ia {

void sd_notify(const char *state) {
    const char *name = std::getenv("NOTIFY_SOCKET");
    if (!name || (name[0] != '/' && name[0] != '@')) return;
    const std::string_view path = name;
    sockaddr_un address{};
    if (path.size() >= sizeof address.sun_path)
        return syslog(LOG_WARNING, "NOTIFY_SOCKET is too long: %s", name);

    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, path.size());
    if (path[0] == '@') address.sun_path[0] = '\0';
    // An abstract name ends with its last byte; bytes past it would count.
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());

    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    // Never blocks: a service manager that does not read must not stop the process.
    const bool sent =
        socket >= 0 && sendto(socket, state, std::strlen(state), MSG_NOSIGNAL | MSG_DONTWAIT,
                              reinterpret_cast<const sockaddr *>(&address), length) >= 0;
    if (!sent) syslog(LOG_WARNING, "cannot notify %s: %s", name, std::strerror(errno));
    if (socket >= 0) close(socket);
}

std::optional<std::chrono::microseconds> watchdog_pulse() {
    const char *limit = std::getenv("WATCHDOG_USEC");
    const long long pulse = limit ? std::strtoll(limit, nullptr, 10) / 2 : 0;
    if (pulse <= 0) return std::nullopt;
    return std::chrono::microseconds(pulse);
}

}  // namespace ia
