#include "node/linux/sockets.h"

#include <filesystem>

namespace ia {

std::string served_path(const char *path) {
    namespace fs = std::filesystem;
    std::error_code not_a_link;
    const fs::path target = fs::read_symlink(path, not_a_link);
    return not_a_link ? path : (fs::path(path).parent_path() / target).string();
}

}  // namespace ia
