// "pmx_levelfilter": lets through what is at or above a level.
#include "log/classes.h"
#include "log/event.h"
#include "log/level.h"

namespace vel::log {

constinit const ClassDefinition kLevelFilterClass{
    .name = "pmx_levelfilter",
    .kind = PMX_FILTER,
    .description = Msg::level_filter,
    .life = {.cfg_change = PmxLevelFilterFCfgChange},
    .filter = {PmxBasicFilterFProcess, PmxLevelFilterFIsLoggable, PmxBasicObjectFLog},
};

namespace {

constexpr Property kProperties[] = {{"level", set_level}};

}  // namespace
}  // namespace vel::log

using namespace vel::log;

void PmxLevelFilterFCfgChange(PmxObject* filter, const char* property) {
    if (filter == nullptr || property == nullptr) return;
    if (!apply_property(kProperties, filter, property)) PmxBasicObjectFCfgChange(filter, property);
}

int PmxLevelFilterFIsLoggable(PmxObject* filter, PmxEvent* event) {
    if (filter == nullptr || event == nullptr) return 0;
    const int32_t threshold = filter->level;
    return threshold == PMX_ALL || event->level == PMX_NO_LEVEL || threshold <= event->level;
}

void PmxBasicFilterFProcess(PmxObject* filter, PmxEvent* event, uint32_t) {
    if (!is_kind(filter, PMX_FILTER) || !filter->enabled) return;
    const FilterOps& can = filter->cls->filter;
    if (can.is_loggable == nullptr || can.log == nullptr) return;
    if (can.is_loggable(filter, event) == 1) can.log(filter, event);
}
