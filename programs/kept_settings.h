// The operator's settings, beyond what the description says: in force, waiting
// for what is not there yet, and in files.
#pragma once

#include "node/framework/entity_calls.h"
#include "node/settings/settings.h"

#include <string>

namespace ia {

// A copy of the settings in force is kept beside the operator's own file: what
// was set and not saved survives a killed process, and ends with a clean stop.
//
// Not locked: its owner calls from one thread at a time.
class KeptSettings {
public:
    explicit KeptSettings(std::string copy_file) : copy_file_(std::move(copy_file)) {}

    // The operator's file; empty: there is none.
    void use_file(const std::string &file);

    // Reads the copy that a killed process left, or else the file. One that does
    // not check stays as it is: problem() says what is wrong with it.
    void load();

    // Takes over what is in force for all that is there. False while the managed
    // bridge is not.
    bool remember();

    // Makes the settings of what has arrived.
    void arrived(const node::Arrivals &arrivals) const;

    // Takes what is there back to what the description says, and drops the rest.
    void forget();

    // Writes the file, or the copy when it does not hold this already. Throws
    // std::system_error; the file is then as it was.
    void save();
    void copy();
    void remove_copy();

    std::string text() const;  // as a save would write it
    std::string difference_to_saved() const;
    bool unsaved() const { return text() != saved_; }
    std::uint32_t waiting() const;  // settings of what is not there
    const std::string &file() const { return file_; }
    const std::string &problem() const { return problem_.empty() ? copy_problem_ : problem_; }
    bool file_is_bad() const { return file_is_bad_; }

private:
    std::string file_;
    const std::string copy_file_;
    node::Settings wanted_;
    node::Settings running_;  // as last seen
    std::string saved_;       // the text in the file
    std::string copied_;
    std::string problem_;  // of the file
    std::string copy_problem_;
    bool file_is_bad_ = false;
};

// Every setting in force, as TOML; empty while the managed bridge is not there.
std::string all_settings_text();

// The lines that only one of two texts has: "- " for the first, "+ " for the
// second, below the name of their section.
std::string line_difference(const std::string &from, const std::string &to);

}  // namespace ia
