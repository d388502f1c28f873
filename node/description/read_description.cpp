#include "node/description/read_description.h"

#include "node/description/check.h"
#include "node/description/problems.h"
#include "node/description/sections.h"
#include "node/description/text_file.h"

namespace ia::node {

Description read_description(const std::string &file) {
    const std::string text = read_text_file(file);
    Problems problems;
    std::optional<Sections> sections = read_sections(text, problems);
    if (sections) check_description(*sections, problems);
    if (problems.any()) throw DescriptionError(problems.report(file));
    sections->description.file = file;
    sections->description.warnings = problems.warnings(file);
    return std::move(sections->description);
}

}  // namespace ia::node
