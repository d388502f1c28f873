// Formats and the custom IDs they make, on the ports of the scenario.
#pragma once

#include "tests/idgen/scenario.h"

#include <span>
#include <string>

namespace ia::test {

struct id_row {
    const char *name;
    std::string format;
    std::string text;
    const char *bytes = "";  // empty: a text ID
    std::uint32_t port = GEM;
    std::uint16_t vid = 100;
    const char *trace = "";
    idGenType gen = ID_GEN_FRAME;
};

std::span<const id_row> custom_id_rows();

}  // namespace ia::test
