// "pmx_pdlogger": tells with each event who it comes from, and the identifier of its message.
#include "log/classes.h"
#include "log/event.h"
#include "log/message.h"
#include "log/message_id.h"
#include "log/object.h"
#include "runtime/cx_os.h"

namespace vel::log {

constinit const ClassDefinition kPDLoggerClass{
    .name = "pmx_pdlogger",
    .kind = PMX_LOGGER,
    .description = Msg::pd_logger,
    .life = {PmxPDLoggerFAllocVars, PmxPDLoggerFFreeVars, PmxPDLoggerFCfgChange},
    .logger = {PmxPDLoggerFLog},
};

namespace {

struct PDLoggerVars {
    char* organization = nullptr;
    char* product = nullptr;
    char* component = nullptr;
    char* client = nullptr;
    char* server = nullptr;
    char* server_format = nullptr;
    char* product_instance = nullptr;
    PmxObject* id_formatter = nullptr;
};

PDLoggerVars* vars_of(const PmxObject* logger) {
    if (!is_kind(logger, PMX_LOGGER)) return nullptr;
    return vars<PDLoggerVars>(logger, PmxPDLoggerFFreeVars);
}

// A property that becomes one of each event.
struct PropertyText {
    const char* key;
    char* PDLoggerVars::*text;
};
constexpr PropertyText kProperties[] = {
    {"organization", &PDLoggerVars::organization},
    {"product", &PDLoggerVars::product},
    {"component", &PDLoggerVars::component},
    {"client", &PDLoggerVars::client},
    {"server", &PDLoggerVars::server},
    {"serverFormat", &PDLoggerVars::server_format},
    {"productInstance", &PDLoggerVars::product_instance},
};

// Null, and reported: it cannot be had.
char* copy_host_name() {
    constexpr size_t kHostNameBytes = 256;
    char name[kHostNameBytes];
    if (CxSystemGetFQHostname(name, sizeof name) == CX_SUCCESS) return RakStringDup(name);
    report(PMX_WARN, Msg::no_host_name, kPDLoggerClass.name);
    return nullptr;
}

// Copies the property, or null for none, so that the host name, too, goes with "server"; all stays
// when there is no memory.
void set_text(PmxObject* logger, const PropertyText& row) {
    PDLoggerVars* const vars = vars_of(logger);
    if (vars == nullptr) return;
    const char* const text = peek_object_property(logger, row.key);
    char* const copy = RakStringDup(text);
    if (copy == nullptr && text != nullptr) return;
    RakMemoryFree(std::exchange(vars->*row.text, copy));
}

}  // namespace
}  // namespace vel::log

using namespace vel::log;

void* PmxPDLoggerFAllocVars(void) {
    auto* const vars = make_vars<PDLoggerVars>();
    if (vars == nullptr) return nullptr;
    vars->server = copy_host_name();
    vars->server_format = RakStringDup("IP");
    vars->id_formatter = pmxIntlGetObject("pmxlog.pdMsgIdFormatter", kXMLFormatterClass.name);
    return vars;
}

void PmxPDLoggerFFreeVars(void* vars) {
    auto* const own = static_cast<PDLoggerVars*>(vars);
    if (own == nullptr) return;
    pmxIntlReleaseObject(own->id_formatter);
    for (const PropertyText& row : kProperties) RakMemoryFree(own->*row.text);
    RakMemoryFree(own);
}

void PmxPDLoggerFCfgChange(PmxObject* logger, const char* property) {
    if (logger == nullptr || property == nullptr) return;
    for (const PropertyText& row : kProperties) {
        if (strcmp(row.key, property) == 0) return set_text(logger, row);
    }
    PmxBasicLoggerFCfgChange(logger, property);
}

void PmxPDLoggerFLog(PmxObject* logger, PmxEvent* event) {
    if (logger == nullptr || event == nullptr) return;
    PmxObject* id_formatter = nullptr;
    if (const PDLoggerVars* const vars = vars_of(logger)) {
        for (const PropertyText& row : kProperties) {
            const char* const text = vars->*row.text;
            if (text != nullptr) pmxIntlSetEventProp(event, row.key, text);
        }
        id_formatter = vars->id_formatter;
    }
    pmxIntlSetEventPropLong(event, "processId", CxProcessGetCurrentID());
    pmxIntlSetEventPropLong(event, "threadId", CxThreadGetCurrentID());
    pmxPDXMLFormatterCacheMessageID(id_formatter, event);
    PmxBasicObjectFLog(logger, event);
}
