// The locked halves of the toolkit's calls, in the order of their headers.
#include "log/api_lock.h"
#include "log/classes.h"
#include "log/config.h"
#include "log/event.h"
#include "log/message.h"
#include "log/object.h"
#include "log/toolkit.h"

using namespace vel::log;

// Toolkit, classes, objects, configurations

int PmxOpenToolkit(const char* path) { return locked<pmxIntlOpenToolkit>(path); }
void PmxCloseToolkit() { locked<pmxIntlCloseToolkit>(); }
int PmxLoadAdditionalProperties(const char* path) {
    return locked<pmxIntlLoadAdditionalProperties>(path);
}
void PmxAddLoggerClass(const char* name, const PmxI18Msg* description, PmxAllocVarsOp alloc_vars,
                       PmxFreeVarsOp free_vars, PmxCfgChangeOp cfg_change, PmxLogOp log) {
    const ClassDefinition definition{.name = name,
                                     .kind = PMX_LOGGER,
                                     .life = {alloc_vars, free_vars, cfg_change},
                                     .logger = {log}};
    locked<pmxIntlAddClass>(&definition, description);
}
void PmxAddFilterClass(const char* name, const PmxI18Msg* description, PmxAllocVarsOp alloc_vars,
                       PmxFreeVarsOp free_vars, PmxCfgChangeOp cfg_change, PmxProcessOp process,
                       PmxIsLoggableOp is_loggable, PmxLogOp log) {
    const ClassDefinition definition{.name = name,
                                     .kind = PMX_FILTER,
                                     .life = {alloc_vars, free_vars, cfg_change},
                                     .filter = {process, is_loggable, log}};
    locked<pmxIntlAddClass>(&definition, description);
}
void PmxAddHandlerClass(const char* name, const PmxI18Msg* description, PmxAllocVarsOp alloc_vars,
                        PmxFreeVarsOp free_vars, PmxCfgChangeOp cfg_change, PmxProcessOp process,
                        PmxOpenOp open, PmxCloseOp close) {
    const ClassDefinition definition{.name = name,
                                     .kind = PMX_HANDLER,
                                     .life = {alloc_vars, free_vars, cfg_change},
                                     .handler = {process, open, close}};
    locked<pmxIntlAddClass>(&definition, description);
}
void PmxAddFormatterClass(const char* name, const PmxI18Msg* description, PmxAllocVarsOp alloc_vars,
                          PmxFreeVarsOp free_vars, PmxCfgChangeOp cfg_change, PmxFormatOp format,
                          PmxGetHeaderOp get_header, PmxGetTrailerOp get_trailer,
                          PmxBindMsgOp bind_message) {
    const ClassDefinition definition{.name = name,
                                     .kind = PMX_FORMATTER,
                                     .life = {alloc_vars, free_vars, cfg_change},
                                     .formatter = {format, get_header, get_trailer, bind_message}};
    locked<pmxIntlAddClass>(&definition, description);
}
PmxStringGroupLink* PmxGetLoggerClasses() { return locked<pmxIntlGetClassNames>(PMX_LOGGER); }
PmxStringGroupLink* PmxGetFilterClasses() { return locked<pmxIntlGetClassNames>(PMX_FILTER); }
PmxStringGroupLink* PmxGetHandlerClasses() { return locked<pmxIntlGetClassNames>(PMX_HANDLER); }
PmxStringGroupLink* PmxGetFormatterClasses() { return locked<pmxIntlGetClassNames>(PMX_FORMATTER); }
PmxObject* PmxGetObject(const char* name, const char* class_name) {
    return locked<pmxIntlGetObject>(name, class_name);
}
PmxObject* PmxAcquireObject(PmxObject* object) { return locked<pmxIntlAcquireObject>(object); }
void PmxReleaseObject(PmxObject* object) { locked<pmxIntlReleaseObject>(object); }
char* PmxGetObjectName(const PmxObject* object) { return locked<pmxIntlGetObjectName>(object); }
char* PmxGetObjectDesc(PmxObject* object) { return locked<pmxIntlGetObjectDesc>(object); }
int PmxAreObjectsEqual(const PmxObject* a, const PmxObject* b) {
    return locked<pmxIntlAreObjectsEqual>(a, b);
}
int PmxIsObjectEnabled(const PmxObject* object) { return locked<pmxIntlIsObjectEnabled>(object); }
void PmxSetObjectEnabled(PmxObject* object, int enabled) {
    locked<pmxIntlSetObjectEnabled>(object, enabled);
}
char* PmxGetObjProp(PmxObject* object, const char* name, int* found) {
    return locked<pmxIntlGetObjProp>(object, name, found);
}
int PmxGetObjPropBool(PmxObject* object, const char* name, int* found) {
    return locked<pmxIntlGetObjPropBool>(object, name, found);
}
int32_t PmxGetObjPropInt(PmxObject* object, const char* name, int* found) {
    return locked<pmxIntlGetObjPropInt>(object, name, found);
}
int64_t PmxGetObjPropLong(PmxObject* object, const char* name, int* found) {
    return locked<pmxIntlGetObjPropLong>(object, name, found);
}
float PmxGetObjPropFloat(PmxObject* object, const char* name, int* found) {
    return locked<pmxIntlGetObjPropFloat>(object, name, found);
}
double PmxGetObjPropDouble(PmxObject* object, const char* name, int* found) {
    return locked<pmxIntlGetObjPropDouble>(object, name, found);
}
int PmxSetObjProp(PmxObject* object, const char* name, const char* text) {
    return locked<pmxIntlSetObjProp>(object, name, text);
}
int PmxSetObjPropBool(PmxObject* object, const char* name, int value) {
    return locked<pmxIntlSetObjPropBool>(object, name, value);
}
int PmxSetObjPropInt(PmxObject* object, const char* name, int32_t value) {
    return locked<pmxIntlSetObjPropInt>(object, name, value);
}
int PmxSetObjPropLong(PmxObject* object, const char* name, int64_t value) {
    return locked<pmxIntlSetObjPropLong>(object, name, value);
}
int PmxSetObjPropFloat(PmxObject* object, const char* name, float value) {
    return locked<pmxIntlSetObjPropFloat>(object, name, value);
}
int PmxSetObjPropDouble(PmxObject* object, const char* name, double value) {
    return locked<pmxIntlSetObjPropDouble>(object, name, value);
}
PmxListenerGroupLink* PmxGetListeners(PmxObject* object) {
    return locked<pmxIntlGetListeners>(object);
}
int PmxAddListener(PmxObject* object, PmxObject* listener) {
    return locked<pmxIntlAddListener>(object, listener);
}
int PmxRemListener(PmxObject* object, PmxObject* listener) {
    return locked<pmxIntlRemListener>(object, listener);
}
int PmxIsLoggableByFilter(PmxObject* filter, PmxEvent* event) {
    return locked<pmxIntlIsLoggableByFilter>(filter, event);
}
PmxObjCfg* PmxAllocObjCfg(const char* name) { return locked<pmxIntlAllocObjCfg>(name); }
PmxObjCfg* PmxAcquireObjCfg(PmxObjCfg* cfg) { return locked<pmxIntlAcquireObjCfg>(cfg); }
void PmxReleaseObjCfg(PmxObjCfg* cfg) { locked<pmxIntlReleaseObjCfg>(cfg); }
char* PmxObjCfgGetName(const PmxObjCfg* cfg) { return locked<pmxIntlObjCfgGetName>(cfg); }
int PmxObjCfgIsFromFile(const PmxObjCfg* cfg) { return locked<pmxIntlObjCfgIsFromFile>(cfg); }
void PmxObjCfgSetFromFile(PmxObjCfg* cfg, int from_file) {
    locked<pmxIntlObjCfgSetFromFile>(cfg, from_file);
}
PmxObjCfg* PmxObjCfgGetParent(const PmxObjCfg* cfg) { return locked<pmxIntlObjCfgGetParent>(cfg); }
void PmxObjCfgSetParent(PmxObjCfg* cfg, const PmxObjCfg* parent) {
    locked<pmxIntlObjCfgSetParent>(cfg, parent);
}
int PmxObjCfgAddChild(PmxObjCfg* cfg, PmxObjCfg* child) {
    return locked<pmxIntlObjCfgAddChild>(cfg, child);
}
int PmxObjCfgRemChild(PmxObjCfg* cfg, const PmxObjCfg* child) {
    return locked<pmxIntlObjCfgRemChild>(cfg, child);
}
PmxStringGroupLink* PmxObjCfgChildrenNames(const PmxObjCfg* cfg) {
    return locked<pmxIntlObjCfgChildrenNames>(cfg);
}
PmxStringToStringMapLink* PmxObjCfgProperties(const PmxObjCfg* cfg) {
    return locked<pmxIntlObjCfgProperties>(cfg);
}
int PmxSetObjCfgProp(PmxObjCfg* cfg, const char* name, const char* text) {
    return locked<pmxIntlSetObjCfgProp>(cfg, name, text);
}
int PmxSetObjCfgPropBool(PmxObjCfg* cfg, const char* name, int value) {
    return locked<pmxIntlSetObjCfgPropBool>(cfg, name, value);
}
int PmxSetObjCfgPropInt(PmxObjCfg* cfg, const char* name, int32_t value) {
    return locked<pmxIntlSetObjCfgPropInt>(cfg, name, value);
}
int PmxSetObjCfgPropLong(PmxObjCfg* cfg, const char* name, int64_t value) {
    return locked<pmxIntlSetObjCfgPropLong>(cfg, name, value);
}
int PmxSetObjCfgPropFloat(PmxObjCfg* cfg, const char* name, float value) {
    return locked<pmxIntlSetObjCfgPropFloat>(cfg, name, value);
}
int PmxSetObjCfgPropDouble(PmxObjCfg* cfg, const char* name, double value) {
    return locked<pmxIntlSetObjCfgPropDouble>(cfg, name, value);
}
char* PmxGetInheritedObjCfgProp(PmxObjCfg* cfg, const char* name, int* found) {
    return locked<pmxIntlGetInheritedObjCfgProp>(cfg, name, found);
}
char* PmxGetObjCfgProp(PmxObjCfg* cfg, const char* name, int* found) {
    return locked<pmxIntlGetInheritedObjCfgProp>(cfg, name, found);
}
int PmxGetObjCfgPropBool(PmxObjCfg* cfg, const char* name, int* found) {
    return locked<pmxIntlGetObjCfgPropBool>(cfg, name, found);
}
int32_t PmxGetObjCfgPropInt(PmxObjCfg* cfg, const char* name, int* found) {
    return locked<pmxIntlGetObjCfgPropInt>(cfg, name, found);
}
int64_t PmxGetObjCfgPropLong(PmxObjCfg* cfg, const char* name, int* found) {
    return locked<pmxIntlGetObjCfgPropLong>(cfg, name, found);
}
float PmxGetObjCfgPropFloat(PmxObjCfg* cfg, const char* name, int* found) {
    return locked<pmxIntlGetObjCfgPropFloat>(cfg, name, found);
}
double PmxGetObjCfgPropDouble(PmxObjCfg* cfg, const char* name, int* found) {
    return locked<pmxIntlGetObjCfgPropDouble>(cfg, name, found);
}
int PmxLogMgrHasCfg(const char* name) { return locked<pmxIntlLogMgrHasCfg>(name); }
PmxObjCfg* PmxLogMgrGetCfg(const char* name) { return locked<pmxIntlLogMgrGetCfg>(name); }
int PmxLogMgrAddCfg(PmxObjCfg* cfg) { return locked<pmxIntlLogMgrAddCfg>(cfg); }
int PmxLogMgrRemCfg(PmxObjCfg* cfg) { return locked<pmxIntlLogMgrRemCfg>(cfg); }
int PmxLogMgrUpdateCfg(PmxObjCfg* cfg) { return locked<pmxIntlLogMgrUpdateCfg>(cfg); }
int PmxLogMgrApplyCfg(PmxObject* object, const char* name) {
    return locked<pmxIntlLogMgrApplyCfg>(object, name);
}
PmxStringGroupLink* PmxLogMgrConfigNames() { return locked<pmxIntlLogMgrConfigNames>(); }
int PmxLogMgrReadProps(const char* path) { return locked<pmxIntlLogMgrReadProps>(path); }

// Events, messages, text

PmxEvent* PmxVaAllocEvent(int32_t level, const char* catalog, uint32_t set, uint32_t key,
                          const char* text, va_list arguments) {
    const ApiLock lock;
    return lock ? pmxIntlVaAllocEvent(level, catalog, set, key, text, arguments) : nullptr;
}
void PmxFreeEvent(PmxEvent* event) { locked<pmxIntlFreeEvent>(event); }
int64_t PmxGetEventTime(const PmxEvent* event) { return locked<pmxIntlGetEventTime>(event); }
int32_t PmxGetEventLevel(const PmxEvent* event) { return locked<pmxIntlGetEventLevel>(event); }
char* PmxGetEventMessageId(const PmxEvent* event) {
    return locked<pmxIntlGetEventMessageId>(event);
}
void PmxSetEventMessageId(PmxEvent* event, const char* id) {
    locked<pmxIntlSetEventMessageId>(event, id);
}
const char* PmxGetEventLocale(const PmxEvent* event) {
    return locked<pmxIntlGetEventLocale>(event);
}
void PmxSetEventLocale(PmxEvent* event, const char* locale) {
    locked<pmxIntlSetEventLocale>(event, locale);
}
int PmxGetEventIsMessage(const PmxEvent* event) { return locked<pmxIntlGetEventIsMessage>(event); }
void PmxSetEventIsMessage(PmxEvent* event, int is_message) {
    locked<pmxIntlSetEventIsMessage>(event, is_message);
}
char* PmxGetEventProp(PmxEvent* event, const char* name, int* found) {
    return locked<pmxIntlGetEventProp>(event, name, found);
}
int PmxGetEventPropBool(PmxEvent* event, const char* name, int* found) {
    return locked<pmxIntlGetEventPropBool>(event, name, found);
}
int32_t PmxGetEventPropInt(PmxEvent* event, const char* name, int* found) {
    return locked<pmxIntlGetEventPropInt>(event, name, found);
}
int64_t PmxGetEventPropLong(PmxEvent* event, const char* name, int* found) {
    return locked<pmxIntlGetEventPropLong>(event, name, found);
}
float PmxGetEventPropFloat(PmxEvent* event, const char* name, int* found) {
    return locked<pmxIntlGetEventPropFloat>(event, name, found);
}
double PmxGetEventPropDouble(PmxEvent* event, const char* name, int* found) {
    return locked<pmxIntlGetEventPropDouble>(event, name, found);
}
int PmxSetEventProp(PmxEvent* event, const char* name, const char* text) {
    return locked<pmxIntlSetEventProp>(event, name, text);
}
int PmxSetEventPropBool(PmxEvent* event, const char* name, int value) {
    return locked<pmxIntlSetEventPropBool>(event, name, value);
}
int PmxSetEventPropInt(PmxEvent* event, const char* name, int32_t value) {
    return locked<pmxIntlSetEventPropInt>(event, name, value);
}
int PmxSetEventPropLong(PmxEvent* event, const char* name, int64_t value) {
    return locked<pmxIntlSetEventPropLong>(event, name, value);
}
int PmxSetEventPropFloat(PmxEvent* event, const char* name, float value) {
    return locked<pmxIntlSetEventPropFloat>(event, name, value);
}
int PmxSetEventPropDouble(PmxEvent* event, const char* name, double value) {
    return locked<pmxIntlSetEventPropDouble>(event, name, value);
}
char* PmxBindEventMsg(PmxEvent* event, PmxBindMsgOp binder) {
    return locked<pmxIntlBindEventMsg>(event, binder);
}
PmxI18Msg* PmxAllocI18Msg(const char* catalog, uint32_t set, uint32_t key, const char* text) {
    return locked<pmxIntlAllocI18Msg>(catalog, set, key, text);
}
PmxI18Msg* PmxCopyI18Msg(const PmxI18Msg* message) { return locked<pmxIntlCopyI18Msg>(message); }
void PmxFreeI18Msg(PmxI18Msg* message) { locked<pmxIntlFreeI18Msg>(message); }
int PmxSetI18MsgCat(PmxI18Msg* message, const char* catalog) {
    return locked<pmxIntlSetI18MsgCat>(message, catalog);
}
int PmxSetI18MsgSet(PmxI18Msg* message, uint32_t set) {
    return locked<pmxIntlSetI18MsgSet>(message, set);
}
int PmxSetI18MsgKey(PmxI18Msg* message, uint32_t key) {
    return locked<pmxIntlSetI18MsgKey>(message, key);
}
int PmxSetI18MsgTxt(PmxI18Msg* message, const char* text) {
    return locked<pmxIntlSetI18MsgTxt>(message, text);
}
int PmxSetI18MsgLocale(PmxI18Msg* message, const char* locale) {
    return locked<pmxIntlSetI18MsgLocale>(message, locale);
}
int PmxAddI18MsgParmString(PmxI18Msg* message, const char* value) {
    return locked<pmxIntlAddI18MsgParmString>(message, value);
}
int PmxAddI18MsgParmInt(PmxI18Msg* message, int32_t value) {
    return locked<pmxIntlAddI18MsgParmInt>(message, value);
}
int PmxAddI18MsgParmLong(PmxI18Msg* message, int64_t value) {
    return locked<pmxIntlAddI18MsgParmLong>(message, value);
}
int PmxAddI18MsgParmFloat(PmxI18Msg* message, float value) {
    return locked<pmxIntlAddI18MsgParmFloat>(message, value);
}
int PmxAddI18MsgParmDouble(PmxI18Msg* message, double value) {
    return locked<pmxIntlAddI18MsgParmDouble>(message, value);
}
int PmxAddI18MsgParmChar(PmxI18Msg* message, char value) {
    return locked<pmxIntlAddI18MsgParmChar>(message, value);
}
int PmxAddI18MsgParmBool(PmxI18Msg* message, int value) {
    return locked<pmxIntlAddI18MsgParmBool>(message, value);
}
char* PmxBindI18Msg(PmxI18Msg* message) { return locked<pmxIntlBindI18Msg>(message); }
char* PmxAprintf(const char* format, PmxParmList* parameters) {
    return locked<pmxIntlAprintf>(format, parameters);
}
int PmxPrintText(FILE* stream, const char* text) { return locked<pmxIntlPrintText>(stream, text); }
char* PmxStrACat(int32_t count, const char* const* texts, const char* separator) {
    return locked<pmxIntlStrACat>(count, texts, separator);
}
char* PmxText1047ToUTF8(const char* text, int32_t length) {
    return locked<pmxIntlText1047ToUTF8>(text, length);
}
char* PmxText37ToUTF8(const char* text, int32_t length) {
    return locked<pmxIntlText37ToUTF8>(text, length);
}
char* PmxTextUTF8To1047(const char* text) { return locked<pmxIntlTextUTF8To1047>(text); }
char* PmxTextUTF8To37(const char* text) { return locked<pmxIntlTextUTF8To37>(text); }
struct uc_ch_t* PmxGetCodeSet1047() {
    return locked<pmxIntlGetCodeSet1047>();
}
struct uc_ch_t* PmxGetCodeSet37() {
    return locked<pmxIntlGetCodeSet37>();
}
void PmxReportPlatformErr(uint64_t status) { locked<pmxIntlReportPlatformErr>(status); }

// Handlers

PmxObject* PmxHandlerGetFormatter(PmxObject* handler) {
    return locked<pmxIntlHandlerGetFormatter>(handler);
}
void PmxHandlerSetFormatter(PmxObject* handler, PmxObject* formatter) {
    locked<pmxIntlHandlerSetFormatter>(handler, formatter);
}
char* PmxHandlerGetFmtHeader(PmxObject* handler) {
    return locked<pmxIntlHandlerGetFmtHeader>(handler);
}
char* PmxHandlerGetFmtTrailer(PmxObject* handler) {
    return locked<pmxIntlHandlerGetFmtTrailer>(handler);
}
char* PmxHandlerDoFmt(PmxObject* handler, PmxEvent* event) {
    return locked<pmxIntlHandlerDoFmt>(handler, event);
}

// First failure data capture

char* PmxFFDCTriggerHandlerGetBaseDir(PmxObject* handler) {
    return locked<pmxIntlFFDCTriggerHandlerGetBaseDir>(handler);
}
void PmxFFDCTriggerHandlerSetBaseDir(PmxObject* handler, const char* directory) {
    locked<pmxIntlFFDCTriggerHandlerSetBaseDir>(handler, directory);
}
int64_t PmxFFDCTriggerHandlerGetMaxDisk(PmxObject* handler) {
    return locked<pmxIntlFFDCTriggerHandlerGetMaxDisk>(handler);
}
void PmxFFDCTriggerHandlerSetMaxDisk(PmxObject* handler, int64_t bytes) {
    locked<pmxIntlFFDCTriggerHandlerSetMaxDisk>(handler, bytes);
}
PmxObject* PmxFFDCTriggerHandlerGetFilter(PmxObject* handler) {
    return locked<pmxIntlFFDCTriggerHandlerGetFilter>(handler);
}
void PmxFFDCTriggerHandlerSetFilter(PmxObject* handler, PmxObject* filter) {
    locked<pmxIntlFFDCTriggerHandlerSetFilter>(handler, filter);
}
char* PmxFFDCTriggerHandlerGetFilterName(PmxObject* handler) {
    return locked<pmxIntlFFDCTriggerHandlerGetFilterName>(handler);
}
void PmxFFDCTriggerHandlerSetFilterName(PmxObject* handler, const char* name) {
    locked<pmxIntlFFDCTriggerHandlerSetFilterName>(handler, name);
}
int64_t PmxFFDCTriggerHandlerGetInterval(PmxObject* handler) {
    return locked<pmxIntlFFDCTriggerHandlerGetInterval>(handler);
}
void PmxFFDCTriggerHandlerSetInterval(PmxObject* handler, int64_t milliseconds) {
    locked<pmxIntlFFDCTriggerHandlerSetInterval>(handler, milliseconds);
}
char* PmxFFDCTriggerHandlerGetQuotaPolicy(PmxObject* handler) {
    return locked<pmxIntlFFDCTriggerHandlerGetQuotaPolicy>(handler);
}
void PmxFFDCTriggerHandlerSetQuotaPolicy(PmxObject* handler, const char* policy) {
    locked<pmxIntlFFDCTriggerHandlerSetQuotaPolicy>(handler, policy);
}
double PmxFFDCTriggerHandlerGetFirstWarning(PmxObject* handler) {
    return locked<pmxIntlFFDCTriggerHandlerGetFirstWarning>(handler);
}
void PmxFFDCTriggerHandlerSetFirstWarning(PmxObject* handler, double fraction) {
    locked<pmxIntlFFDCTriggerHandlerSetFirstWarning>(handler, fraction);
}
double PmxFFDCTriggerHandlerGetSecondWarning(PmxObject* handler) {
    return locked<pmxIntlFFDCTriggerHandlerGetSecondWarning>(handler);
}
void PmxFFDCTriggerHandlerSetSecondWarning(PmxObject* handler, double fraction) {
    locked<pmxIntlFFDCTriggerHandlerSetSecondWarning>(handler, fraction);
}
char* PmxFileCopyHandlerGetFiles(PmxObject* handler) {
    return locked<pmxIntlFileCopyHandlerGetFiles>(handler);
}
void PmxFileCopyHandlerSetFiles(PmxObject* handler, const char* files) {
    locked<pmxIntlFileCopyHandlerSetFiles>(handler, files);
}
char* PmxFileCopyHandlerGetZipFile(PmxObject* handler) {
    return locked<pmxIntlFileCopyHandlerGetZipFile>(handler);
}
void PmxFileCopyHandlerSetZipFile(PmxObject* handler, const char* name) {
    locked<pmxIntlFileCopyHandlerSetZipFile>(handler, name);
}
char* PmxFileCopyHandlerGetZipCmdPath(PmxObject* handler) {
    return locked<pmxIntlFileCopyHandlerGetZipCmdPath>(handler);
}
void PmxFileCopyHandlerSetZipCmdPath(PmxObject* handler, const char* path) {
    locked<pmxIntlFileCopyHandlerSetZipCmdPath>(handler, path);
}

int PmxIsToolkitOpen(void) { return toolkit.open; }
