// "pmx_basiclogger": hands events to its listeners.
#include "log/classes.h"
#include "log/level.h"

namespace vel::log {

constinit const ClassDefinition kBasicLoggerClass{
    .name = "pmx_basiclogger",
    .kind = PMX_LOGGER,
    .description = Msg::basic_logger,
    .life = {.cfg_change = PmxBasicLoggerFCfgChange},
};

namespace {

constexpr Property kProperties[] = {{"level", set_level}};

}  // namespace
}  // namespace vel::log

using namespace vel::log;

void PmxBasicLoggerFCfgChange(PmxObject* logger, const char* property) {
    if (logger == nullptr || property == nullptr) return;
    if (!apply_property(kProperties, logger, property)) PmxBasicObjectFCfgChange(logger, property);
}
