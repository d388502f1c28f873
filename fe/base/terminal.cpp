#include "fe/base/terminal.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

void pppoeia_send_stream_to_tty(const std::ostringstream &text, const std::string &path) {
    if (path.empty()) return;
    const int terminal = open(path.c_str(), O_WRONLY | O_NOCTTY);
    if (terminal < 0) {
        syslog(LOG_CRIT, "\t PPPoEIA: Error opening tty file for writing: %s\n", path.c_str());
        return;
    }
    if (fcntl(terminal, F_SETFD, FD_CLOEXEC) != 0) {
        syslog(LOG_CRIT, "\t PPPoEIA: Error setting flags to file: %s\n", path.c_str());
        close(terminal);
        return;
    }
    const std::string report = text.str();
    if (write(terminal, report.data(), report.size()) != static_cast<ssize_t>(report.size()))
        syslog(LOG_CRIT, "\t PPPoEIA: Error writing to file: %s\n", path.c_str());
    close(terminal);
}
