// The operator's settings beyond the description: in force, waiting for objects
// that do not exist yet, and in files.
#pragma once

#include "management/change_journal.h"
#include "management/setting_key.h"
#include "node/description/description.h"
#include "node/framework/entity_calls.h"
#include "node/settings/settings.h"

#include <mutex>
#include <optional>
#include <string>

namespace ia {

// Holds all settings that operators want; every change of theirs updates it. They
// are never derived from the settings in force. Each change is in a journal before
// it is answered, later in a copy beside the operator's file: so it survives a
// killed process. A clean stop drops unsaved changes.
//
// Any thread. While locked it calls nothing but this process's store.
class KeptSettings {
public:
    KeptSettings(std::string copy_file, std::string journal_file)
        : copy_file_(std::move(copy_file)), journal_(std::move(journal_file)) {}

    // The operator's file; empty: none.
    void use_file(const std::string &file);

    // Reads the copy and journal of a killed process, else the file. A faulty line
    // costs only its setting; problem() describes it.
    void load();

    // Stores an operator's change and records it in the journal. False, with
    // nothing stored, when it cannot be recorded.
    bool changed(SettingKey key);

    // Takes over a new description: the fields that it changed override the
    // operators' settings.
    void description_changed(const node::Description &was, const node::Description &now);

    // Makes the settings of objects that have just been announced.
    void arrived(const node::Arrivals &arrivals) const;

    // Drops all operators' settings and returns existing objects to the
    // description's.
    void forget();

    // Writes the file, or the copy unless it is up to date. Throws
    // std::system_error; the file has then not changed.
    void save();
    void copy();
    void remove_copy();

    std::string text() const;  // the text that a save would write
    std::string difference_to_saved() const;
    bool unsaved() const;
    std::uint32_t waiting() const;  // settings of objects that do not exist
    std::string file() const;
    std::string problem() const;
    bool file_is_bad() const;

private:
    // The valid lines of a file; problems with the others are logged.
    static node::Settings read(const std::string &file, std::string &problem);
    std::string keepable_text();

    mutable std::mutex lock_;
    std::string file_;
    const std::string copy_file_;
    ChangeJournal journal_;
    node::Settings wanted_;
    node::Settings saved_;                  // in the file
    std::optional<node::Settings> copied_;  // in the copy
    std::string problem_;                   // of the file
    std::string copy_problem_;
    node::Settings kept_;   // those of the last text
    std::string left_out_;  // of the last text
    bool file_is_bad_ = false;
};

// All settings in force as TOML; empty while the managed bridge does not exist.
std::string all_settings_text();

// Those of the description, and where it has none those of creation.
std::string described_settings_text();

}  // namespace ia
