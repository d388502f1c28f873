// The operator's settings, beyond what the description says: in force, waiting
// for what is not there yet, and in files.
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

// What operators want is kept here, and changed here with each change of theirs:
// nothing is found again by reading what is in force. It is in a journal before
// the change is answered, and then in a copy beside the operator's own file: so
// it survives a killed process, and ends with a clean stop.
//
// Any thread. It calls nobody while it is locked but this process's store.
class KeptSettings {
public:
    KeptSettings(std::string copy_file, std::string journal_file)
        : copy_file_(std::move(copy_file)), journal_(std::move(journal_file)) {}

    // The operator's file; empty: there is none.
    void use_file(const std::string &file);

    // Reads the copy and the journal that a killed process left, or else the file.
    // A line that is wrong costs its setting: problem() says what is wrong with it.
    void load();

    // Takes over what an operator has changed, and puts it on record. False, with
    // nothing taken over, when it cannot be.
    bool changed(SettingKey key);

    // The description says something else now: what it changed is in force, over
    // what operators had set of it before.
    void description_changed(const node::Description &was, const node::Description &now);

    // Makes the settings of what has arrived.
    void arrived(const node::Arrivals &arrivals) const;

    // Drops what operators wanted, and takes what is there back to what the
    // description says.
    void forget();

    // Writes the file, or the copy when it does not hold this already. Throws
    // std::system_error; the file is then as it was.
    void save();
    void copy();
    void remove_copy();

    std::string text() const;  // as a save would write it
    std::string difference_to_saved() const;
    bool unsaved() const;
    std::uint32_t waiting() const;  // settings of what is not there
    std::string file() const;
    std::string problem() const;
    bool file_is_bad() const;

private:
    // Those lines of a file that are right; the problem with the others is logged.
    static node::Settings read(const std::string &file, std::string &problem);
    std::string keepable_text();

    mutable std::mutex lock_;
    std::string file_;
    const std::string copy_file_;
    ChangeJournal journal_;
    node::Settings wanted_;
    node::Settings saved_;                  // what the file says
    std::optional<node::Settings> copied_;  // what the copy says
    std::string problem_;                   // of the file
    std::string copy_problem_;
    node::Settings kept_;   // those of the last text
    std::string left_out_;  // of the last text
    bool file_is_bad_ = false;
};

// Every setting in force, as TOML; empty while the managed bridge is not there.
std::string all_settings_text();

// Those of the description, and where it has none those of creation.
std::string described_settings_text();

}  // namespace ia
