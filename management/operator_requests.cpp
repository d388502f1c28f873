// Operators' requests to the management process, on the thread that serves them.
#include "management/description_changes.h"
#include "management/log_error.h"
#include "management/management.h"
#include "node/description/read_description.h"
#include "node/linux/ncfm.h"
#include "pppoeia/node.h"

#include <syslog.h>
#include <exception>
#include <system_error>
#include <utility>

namespace ia {

namespace {

std::string joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) text += line + "\n";
    return text;
}

}  // namespace

void Management::serve_operator() {
    const auto alone = [this](auto operation) {
        return [this, operation](auto &answer) {
            const std::lock_guard guard(lock_);
            return operation(answer);
        };
    };
    configFile &requests = configFile::instance();
    requests.save = alone([this](std::string &text) { return save(text); });
    requests.clear = alone([this](std::string &text) { return clear(text); });
    requests.show = alone([](std::string &text) {
        text = all_settings_text();
        return text.empty() ? 1 : 0;
    });
    requests.described = alone([](std::string &text) {
        text = described_settings_text();
        return 0;
    });
    requests.diff = alone([this](std::string &text) {
        text = settings_.difference_to_saved();
        return 0;
    });
    requests.status = alone([this](configFile::status_t &is) { return status(is); });
    requests.reload = [this](bool dry_run, std::string &text) { return reload(dry_run, text); };
    requests.health = [this](std::vector<Finding> &findings) {
        findings = this->findings();
        return 0;
    };
}

int Management::status(configFile::status_t &status) {
    status = {settings_.file(),    description_.settings_auto,
              settings_.unsaved(), settings_.waiting(),
              restores_,           settings_.problem()};
    return 0;
}

// If this fails halfway it is undone: everything is configured again as before, and
// frames are held until then.
int Management::clear(std::string &text) {
    const bool cleared = run_changes([this] {
        for (const node::Bridge &bridge : description_.bridges)
            if (hold_frames(bridge.name.c_str(), 0) != 0) return false;
        return framework_.clear_configuration();
    });
    if (!cleared) {
        configure_task_.ask();
        text = "the agent did not take all of its settings back: nothing is cleared\n";
        return 1;
    }
    const bool made = run_changes([this] {
        settings_.forget();
        bool released = true;
        for (const node::Bridge &bridge : description_.bridges)
            released = release_frames(bridge.name.c_str(), 0) == 0 && released;
        return released;
    });
    if (!made) configure_task_.ask();
    try {
        settings_.copy();
        return 0;
    } catch (const std::system_error &error) {
        text = std::string(error.what()) + ": a killed process would bring the settings back\n";
        return 1;
    }
}

// A faulty description changes nothing: the previous one stays in force.
int Management::reload(bool dry_run, std::string &text) {
    const std::lock_guard guard(lock_);
    try {
        node::Description changed = node::read_description(description_.file);
        const std::vector<std::string> changes = describe_changes(description_, changed);
        text = joined(changes);
        if (dry_run) return 0;
        node::describe_node(changed);
        settings_.description_changed(description_, changed);
        description_ = std::move(changed);
        reload_problem_.clear();
        settings_.use_file(description_.settings_file);
        announced_ = announce();
        copy_task_.ask();
        devices_task_.ask();  // a bridge may have to be created again
        reread_task_.ask();
        syslog(LOG_NOTICE, "the node description is read again: %zu changes", changes.size());
        for (const std::string &change : changes) syslog(LOG_NOTICE, "%s", change.c_str());
        return 0;
    } catch (const std::exception &error) {
        text = std::string(error.what()) + "\n";
        if (dry_run) return 1;
        reload_problem_ = error.what();
        look_task_.ask();
        log_error("reload refused: " + reload_problem_);
        return 1;
    }
}

void Management::reload_now() {
    std::string unused;
    if (reload(false, unused) != 0) return;
    part (&Management::follow_devices)();
    part (&Management::configure_if_wanted)();
}

}  // namespace ia
