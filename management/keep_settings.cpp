// Saves the operator's settings to files.
#include "management/log_error.h"
#include "management/management.h"

#include <syslog.h>
#include <algorithm>
#include <system_error>

namespace ia {

using namespace std::chrono_literals;

namespace {

constexpr auto try_again = 1s;
constexpr auto save_delay = 1s;        // after the last change
constexpr auto save_delay_most = 10s;  // after the first

}  // namespace

// Writes the copy at once, but spends at most a tenth of the time on it.
void Management::copy_settings() {
    const Clock::time_point begin = loop_.now();
    if (begin < copy_next_) return copy_task_.at(copy_next_);
    copy_task_.at(begin + try_again);
    settings_.copy();
    report({});
    copy_task_.cancel();
    copy_next_ = loop_.now() + 9 * (loop_.now() - begin);
    if (!description_.settings_auto || settings_.file_is_bad() || !settings_.unsaved()) return;
    if (!save_task_.due()) unsaved_since_ = begin;
    save_task_.at(std::min(begin + save_delay, unsaved_since_ + save_delay_most));
}

void Management::save_when_due() {
    std::string text;
    if (settings_.unsaved() && save(text) != 0) log_error(text);
}

int Management::save(std::string &text) {
    if (settings_.file().empty()) {
        text = "the node description names no file for settings: [settings] file\n";
        return 2;
    }
    try {
        framework_.save_configuration([&] { settings_.save(); });
        return 0;
    } catch (const std::system_error &error) {
        text = std::string(error.what()) + "\n";
        return 1;
    }
}

// Saves everything that would end with this process; on failure the log says so.
void Management::keep_at_the_end() {
    if (settings_.file().empty() || !settings_.unsaved()) return;
    std::string text;
    if (description_.settings_auto && !settings_.file_is_bad()) {
        if (save(text) == 0) return;
        log_error(text);
    }
    syslog(LOG_WARNING, "the process ends with settings that are not saved: they are lost:\n%s",
           settings_.difference_to_saved().c_str());
}

}  // namespace ia
