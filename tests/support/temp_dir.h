// A directory of the test's own, removed with all it holds.
#pragma once

#include <stdlib.h>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace ia::test {

class TempDir {
public:
    TempDir() {
        std::string pattern = std::filesystem::temp_directory_path() / "pppoeia.XXXXXX";
        if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a directory");
        path_ = pattern;
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    std::string operator/(const std::string &name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

}  // namespace ia::test
