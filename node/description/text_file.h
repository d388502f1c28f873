// Reads a whole text file.
#pragma once

#include <cstddef>
#include <string>

namespace ia::node {

enum class Links { followed, refused };

inline constexpr std::size_t largest_description = 16U << 20;  // bytes

// Reads a regular file of at most `largest` bytes. Throws DescriptionError with the
// file and the reason.
std::string read_text_file(const std::string &file, Links links = Links::followed,
                           std::size_t largest = largest_description);

}  // namespace ia::node
