// A description on disk for as long as a test needs it.
#pragma once

#include "node/description/read_description.h"

#include <unistd.h>
#include <cstdlib>
#include <fstream>
#include <string>

class DescriptionFile {
public:
    explicit DescriptionFile(const std::string &text) {
        close(mkstemp(path_.data()));
        std::ofstream(path_) << text;
    }
    ~DescriptionFile() { unlink(path_.c_str()); }
    DescriptionFile(const DescriptionFile &) = delete;
    DescriptionFile &operator=(const DescriptionFile &) = delete;

    const std::string &path() const { return path_; }

    // All that is said against the file, with FILE in the place of its path;
    // empty when it is good.
    std::string problems() const {
        try {
            ia::node::read_description(path_);
            return "";
        } catch (const ia::node::DescriptionError &error) {
            std::string text = error.what();
            for (std::size_t at; (at = text.find(path_)) != std::string::npos;)
                text.replace(at, path_.size(), "FILE");
            return text;
        }
    }

private:
    std::string path_ = "/tmp/description-XXXXXX";
};
