// Classes: what objects are made of.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>

#include "log/message_table.h"
#include "log/pmx_types.h"

namespace vel::log {

struct Life {
    PmxAllocVarsOp alloc_vars = nullptr;
    PmxFreeVarsOp free_vars = nullptr;
    PmxCfgChangeOp cfg_change = nullptr;
};
struct LoggerOps {
    PmxLogOp log = nullptr;
};
struct FilterOps {
    PmxProcessOp process = nullptr;
    PmxIsLoggableOp is_loggable = nullptr;
    PmxLogOp log = nullptr;
};
struct HandlerOps {
    PmxProcessOp process = nullptr;
    PmxOpenOp open = nullptr;
    PmxCloseOp close = nullptr;
};
struct FormatterOps {
    PmxFormatOp format = nullptr;
    PmxGetHeaderOp get_header = nullptr;
    PmxGetTrailerOp get_trailer = nullptr;
    PmxBindMsgOp bind_message = nullptr;
};

// What makes a class. Of the last four the one of its kind counts; its places that are left empty
// get their defaults.
struct ClassDefinition {
    const char* name;
    uint32_t kind;                        // PMX_LOGGER ...
    Msg description = Msg::catalog_name;  // that is: none
    Life life{};
    LoggerOps logger{};
    FilterOps filter{};
    HandlerOps handler{};
    FormatterOps formatter{};
};

// A property that a class knows: its key, and what its change does.
struct Property {
    const char* key;
    void (*apply)(PmxObject* object, const char* key);
};

// Whether the property is one of the rows; its change has taken effect then.
inline bool apply_property(std::span<const Property> rows, PmxObject* object, const char* key) {
    for (const Property& row : rows) {
        if (strcmp(row.key, key) != 0) continue;
        row.apply(object, key);
        return true;
    }
    return false;
}

// The toolkit's own, each in the file of its name.
extern const ClassDefinition kBasicLoggerClass;
extern const ClassDefinition kPDLoggerClass;
extern const ClassDefinition kLevelFilterClass;
extern const ClassDefinition kMsgIdFilterClass;
extern const ClassDefinition kConsoleHandlerClass;
extern const ClassDefinition kStderrHandlerClass;
extern const ClassDefinition kFileHandlerClass;
extern const ClassDefinition kHVNHandlerClass;
extern const ClassDefinition kMultiProcFileHandlerClass;
extern const ClassDefinition kBasicFormatterClass;
extern const ClassDefinition kXMLFormatterClass;
extern const ClassDefinition kTraceFormatterClass;
extern const ClassDefinition kFFDCTriggerHandlerClass;
extern const ClassDefinition kFileCopyHandlerClass;

// In the order of their registration.
std::span<const ClassDefinition* const> builtin_classes();

// Makes the registry, with the built-in classes in it, when there is none.
void register_builtin_classes();

// The operation by which an object of the class takes events; null: none.
PmxProcessOp process_of(const PmxObjClass* cls);

void free_classes();

}  // namespace vel::log

struct PmxObjClass {
    uint32_t kind;
    char* name;
    PmxI18Msg* description;  // null: none
    vel::log::LoggerOps logger;
    vel::log::FilterOps filter;
    vel::log::HandlerOps handler;
    vel::log::FormatterOps formatter;
    vel::log::Life life;
};

// Registers a class; one whose name is null or taken already is ignored.
void pmxIntlAddClass(const vel::log::ClassDefinition* definition, const PmxI18Msg* description);
PmxObjClass* pmxIntlGetClass(const char* name);
PmxStringGroupLink* pmxIntlGetClassNames(uint32_t kind);
