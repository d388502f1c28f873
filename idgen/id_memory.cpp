#include "idgen/id_memory.h"

#include <utility>

namespace ia {

IdMemory &renewed_memory(pppoeia_bridge &bridge) {
    if (!bridge.ids) {
        auto made = make_owned<IdMemory>();
        made->lines.resize(bridge.ports.size());
        bridge.ids = std::move(made);
    }
    IdMemory &memory = *bridge.ids;
    memory.revision = bridge.revision;
    memory.management_sought = false;
    if (memory.plans.size() > IdMemory::plans_max) memory.plans.clear();
    return memory;
}

const FormatPlan *plan_of(IdMemory &memory, const char *format) {
    if (format[0] == '\0') return nullptr;
    const auto kept = memory.plans.find(std::string_view(format));
    if (kept != memory.plans.end()) return &kept->second;
    return &memory.plans.emplace(format, make_plan(format)).first->second;
}

}  // namespace ia
