/* pmx_classes.h — for classes: the operations of the toolkit's own, and the calls that operations
 * may use. The conventions are those of pmx_types.h.
 *
 * Everything in this header but the calls of the first two sections takes no lock and expects it to
 * be held, as it is while an operation runs.
 */
#ifndef PMX_CLASSES_H
#define PMX_CLASSES_H

#include <stdio.h>

#include "pmx_collections.h"
#include "pmx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Handlers and their formatters ---------------------------------------------------------- */

/* The formatter, with a reference for you; null: the object is no handler, or has none. Any object
 * may be set, or null for none; one that is no formatter counts as none. */
PmxObject* PmxHandlerGetFormatter(PmxObject* handler);
void PmxHandlerSetFormatter(PmxObject* handler, PmxObject* formatter);

/* What the formatter makes; null for anything but a handler with a formatter. */
char* PmxHandlerGetFmtHeader(PmxObject* handler);
char* PmxHandlerGetFmtTrailer(PmxObject* handler);
char* PmxHandlerDoFmt(PmxObject* handler, PmxEvent* event);

/* ---- Handlers of first failure data capture ---------------------------------------------------
 * What they have beside their properties, whose meaning docs/properties.md tells. The first group
 * goes for both classes. Getters answer 0 or null, and setters do nothing, for a handler of another
 * class or null. Texts that are got are yours, and a filter comes with a reference for you. */

/* Set: any text, of which 256 bytes count, with "/" for "\"; more than 0 bytes; an object, of
 * which a reference is taken; any text; more than 0 milliseconds; "QUOTA_IGNORE",
 * "QUOTA_AUTODELETE" or "QUOTA_SUSPEND"; fractions between 0 and 1. Anything else is ignored. */
char* PmxFFDCTriggerHandlerGetBaseDir(PmxObject* handler);
void PmxFFDCTriggerHandlerSetBaseDir(PmxObject* handler, const char* directory);
int64_t PmxFFDCTriggerHandlerGetMaxDisk(PmxObject* handler);
void PmxFFDCTriggerHandlerSetMaxDisk(PmxObject* handler, int64_t bytes);
PmxObject* PmxFFDCTriggerHandlerGetFilter(PmxObject* handler);
void PmxFFDCTriggerHandlerSetFilter(PmxObject* handler, PmxObject* filter);
char* PmxFFDCTriggerHandlerGetFilterName(PmxObject* handler);
void PmxFFDCTriggerHandlerSetFilterName(PmxObject* handler, const char* name);
int64_t PmxFFDCTriggerHandlerGetInterval(PmxObject* handler);
void PmxFFDCTriggerHandlerSetInterval(PmxObject* handler, int64_t milliseconds);
char* PmxFFDCTriggerHandlerGetQuotaPolicy(PmxObject* handler);
void PmxFFDCTriggerHandlerSetQuotaPolicy(PmxObject* handler, const char* policy);
double PmxFFDCTriggerHandlerGetFirstWarning(PmxObject* handler);
void PmxFFDCTriggerHandlerSetFirstWarning(PmxObject* handler, double fraction);
double PmxFFDCTriggerHandlerGetSecondWarning(PmxObject* handler);
void PmxFFDCTriggerHandlerSetSecondWarning(PmxObject* handler, double fraction);

/* Files to copy, with blanks between them and double quotes about those with blanks. The name of
 * the archive; an empty one means none, as at first, and ".zip" is appended to one that does not
 * end with it. The program that makes archives; a path that is unsafe or names no file is reported
 * and ignored. A null text changes nothing. */
char* PmxFileCopyHandlerGetFiles(PmxObject* handler);
void PmxFileCopyHandlerSetFiles(PmxObject* handler, const char* files);
char* PmxFileCopyHandlerGetZipFile(PmxObject* handler);
void PmxFileCopyHandlerSetZipFile(PmxObject* handler, const char* name);
char* PmxFileCopyHandlerGetZipCmdPath(PmxObject* handler);
void PmxFileCopyHandlerSetZipCmdPath(PmxObject* handler, const char* path);

/* ---- Operations of the toolkit's classes ------------------------------------------------------
 * An operation of an application's class may call those of the class that it builds on. */

/* Any object: the properties "description...", "logging" and "listenerNames". */
void PmxBasicObjectFCfgChange(PmxObject* object, const char* property);
/* Hands the event to each listener; the default Log of loggers and filters. */
void PmxBasicObjectFLog(PmxObject* object, PmxEvent* event);

/* "pmx_basiclogger": "level", and what any object has. */
void PmxBasicLoggerFCfgChange(PmxObject* logger, const char* property);

/* "pmx_pdlogger": "organization", "product", "component", "client", "server", "serverFormat",
 * "productInstance", and what a basic logger has. Its events get these as properties, "processId"
 * and "threadId" besides, and the identifier of their message. */
void* PmxPDLoggerFAllocVars(void);
void PmxPDLoggerFFreeVars(void* vars);
void PmxPDLoggerFCfgChange(PmxObject* logger, const char* property);
void PmxPDLoggerFLog(PmxObject* logger, PmxEvent* event);

/* "pmx_levelfilter": "level", and what any object has; the defaults of filters. */
void PmxLevelFilterFCfgChange(PmxObject* filter, const char* property);
int PmxLevelFilterFIsLoggable(PmxObject* filter, PmxEvent* event);
/* Logs what is loggable. */
void PmxBasicFilterFProcess(PmxObject* filter, PmxEvent* event, uint32_t kind);

/* "pmx_msgidfilter": "mode", "msgIds", "msgIdRepeatTime", and what any object has. Asking whether
 * an event is loggable notes the event as passed, where repetitions are suppressed. */
void* PmxMsgIdFilterFAllocVars(void);
void PmxMsgIdFilterFFreeVars(void* vars);
void PmxMsgIdFilterFCfgChange(PmxObject* filter, const char* property);
int PmxMsgIdFilterFIsLoggable(PmxObject* filter, PmxEvent* event);

/* The patterns of a text, with blanks, tabs or line ends between them: an empty list when there are
 * none. Null for null, and for no memory. The list is yours: PmxFreeStringList. */
PmxStringList* PmxMsgIdFilterGetStringList(const char* text);

/* Whether an identifier matches one of the patterns. */
int PmxMsgIdFilterMatchMsgId(const PmxStringList* list, const char* id);

/* Whether a text matches a pattern, byte by byte. "*" stands for any run of bytes, but each piece
 * between two is taken where it first occurs, and the last one must end the text, also when a "*"
 * follows: "*W" and "*W*" match "AW" and do not match "AWBW". A pattern of "*" alone, or an empty
 * one, matches all. */
int PmxPatternMatch(const char* pattern, const char* text);

/* Handlers: "formatterName", and what any object has; the defaults, which do nothing. */
void PmxBasicHandlerFCfgChange(PmxObject* handler, const char* property);
void PmxBasicHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t kind);
void PmxBasicHandlerFOpen(PmxObject* handler);
void PmxBasicHandlerFClose(PmxObject* handler);

/* "pmx_consolehandler" and "pmx_stderrhandler" */
void* PmxConsoleHandlerFAllocVars(void);
void PmxConsoleHandlerFFreeVars(void* vars);
void PmxConsoleHandlerFOpen(PmxObject* handler);
void PmxConsoleHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t kind);
void PmxStderrHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t kind);
void PmxConsoleHandlerFClose(PmxObject* handler);

/* "pmx_filehandler": "fileName", "maxFiles", "maxFileBytes", "maxFileSize", "appending",
 * "filePermission", "dirPermission", "fileEncoding", "MPFileSemKey", "logInternalErrs", and what
 * any handler has. A record is one write(2), done when Process returns. */
void* PmxFileHandlerFAllocVars(void);
void PmxFileHandlerFFreeVars(void* vars);
void PmxFileHandlerFCfgChange(PmxObject* handler, const char* property);
void PmxFileHandlerFOpen(PmxObject* handler);
void PmxFileHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t kind);
void PmxFileHandlerFClose(PmxObject* handler);

/* "pmx_multiproc_filehandler": processes that share a file under one key, "MPFileSemKey". The
 * properties are those of "pmx_filehandler", the variables too: its AllocVars, FreeVars and
 * CfgChange; "appending" has no effect, and there are no headers and no trailers. */
void PmxMultiProcFileHandlerFOpen(PmxObject* handler);
void PmxMultiProcFileHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t kind);
void PmxMultiProcFileHandlerFClose(PmxObject* handler);

/* "pmx_hvnhandler": "hvnLoggerName", "IPCID", "traceEnabled", "logInternalErrs", and what any
 * handler has. Process waits half a second at most for room in the channel. */
void* PmxHVNHandlerFAllocVars(void);
void PmxHVNHandlerFFreeVars(void* vars);
void PmxHVNHandlerFCfgChange(PmxObject* handler, const char* property);
void PmxHVNHandlerFOpen(PmxObject* handler);
void PmxHVNHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t kind);
void PmxHVNHandlerFClose(PmxObject* handler);

/* "pmx_ffdc_trigger_handler": "baseDir", "maxDiskSpace", "triggerFilter", "triggerRepeatTime",
 * "quotaPolicy", "firstWarning", "secondWarning", "warnOnDiskSpace", and what any handler has. */
void* PmxFFDCTriggerHandlerFAllocVars(void);
void PmxFFDCTriggerHandlerFFreeVars(void* vars);
void PmxFFDCTriggerHandlerFCfgChange(PmxObject* handler, const char* property);
void PmxFFDCTriggerHandlerFOpen(PmxObject* handler);
void PmxFFDCTriggerHandlerFClose(PmxObject* handler);

/* "pmx_ffdc_filecopy_handler": "filesToCopy", "zipFileName", "zipCmdPath", and what a trigger
 * handler has; opening and closing are its, too. */
void* PmxFileCopyHandlerFAllocVars(void);
void PmxFileCopyHandlerFFreeVars(void* vars);
void PmxFileCopyHandlerFCfgChange(PmxObject* handler, const char* property);
void PmxFileCopyHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t kind);

/* "pmx_basicformatter": "separator", "dateTimeFormat", "locale", and what any object has; the
 * defaults of formatters. There is no header and no trailer. */
void PmxBasicFormatterFCfgChange(PmxObject* formatter, const char* property);
char* PmxBasicFormatterFFormat(PmxObject* formatter, PmxEvent* event);
char* PmxBasicFormatterFGetHeader(PmxObject* formatter);
char* PmxBasicFormatterFGetTrailer(PmxObject* formatter);
/* A time in milliseconds since 1970 as the formatter writes it; the formatter may be null. */
char* PmxBasicFormatterFormatDate(PmxObject* formatter, int64_t time);

/* "pmx_xmlformatter": "singleComponent", "singleProduct", "singleProductId", "singleServer",
 * "forceAsMessage", "forceAsTrace", and what a basic formatter has. There is no text before the
 * first and after the last record; what stands once before the records goes with the first one
 * after each request for the header. */
void* PmxPDXMLFormatterFAllocVars(void);
void PmxPDXMLFormatterFFreeVars(void* vars);
void PmxPDXMLFormatterFCfgChange(PmxObject* formatter, const char* property);
char* PmxPDXMLFormatterFFormat(PmxObject* formatter, PmxEvent* event);
char* PmxPDXMLFormatterFGetHeader(PmxObject* formatter);
char* PmxPDXMLFormatterFGetTrailer(PmxObject* formatter);

/* "pmx_veltraceformatter": the fields of a trace, " - " between them. It has no properties. */
char* PmxVelTraceFormatterFFormat(PmxObject* formatter, PmxEvent* event);

/* ---- Calls for operations: their namesakes Pmx... without the lock ---------------------------
 * Of the other calls an operation has no need; what it wants to report it logs by
 * pmxIntlReportPlatformErr, or prints. */

/* What AllocVars made for the object. */
void* pmxIntlGetObjVars(const PmxObject* object);

PmxObject* pmxIntlGetObject(const char* name, const char* class_name);
PmxObject* pmxIntlAcquireObject(PmxObject* object);
void pmxIntlReleaseObject(PmxObject* object);
char* pmxIntlGetObjectName(const PmxObject* object);
int pmxIntlIsObjectEnabled(const PmxObject* object);
void pmxIntlSetObjectEnabled(PmxObject* object, int enabled);
char* pmxIntlGetObjProp(PmxObject* object, const char* name, int* found);
int pmxIntlGetObjPropBool(PmxObject* object, const char* name, int* found);
int32_t pmxIntlGetObjPropInt(PmxObject* object, const char* name, int* found);
int64_t pmxIntlGetObjPropLong(PmxObject* object, const char* name, int* found);
float pmxIntlGetObjPropFloat(PmxObject* object, const char* name, int* found);
double pmxIntlGetObjPropDouble(PmxObject* object, const char* name, int* found);
int pmxIntlSetObjProp(PmxObject* object, const char* name, const char* text);
int pmxIntlSetObjPropBool(PmxObject* object, const char* name, int value);
int pmxIntlSetObjPropInt(PmxObject* object, const char* name, int32_t value);
int pmxIntlSetObjPropLong(PmxObject* object, const char* name, int64_t value);
int pmxIntlSetObjPropFloat(PmxObject* object, const char* name, float value);
int pmxIntlSetObjPropDouble(PmxObject* object, const char* name, double value);
int pmxIntlAddListener(PmxObject* object, PmxObject* listener);
int pmxIntlRemListener(PmxObject* object, PmxObject* listener);
int pmxIntlIsLoggableByFilter(PmxObject* filter, PmxEvent* event);

PmxObject* pmxIntlHandlerGetFormatter(PmxObject* handler);
void pmxIntlHandlerSetFormatter(PmxObject* handler, PmxObject* formatter);
char* pmxIntlHandlerGetFmtHeader(PmxObject* handler);
char* pmxIntlHandlerGetFmtTrailer(PmxObject* handler);
char* pmxIntlHandlerDoFmt(PmxObject* handler, PmxEvent* event);

char* pmxIntlFFDCTriggerHandlerGetBaseDir(PmxObject* handler);
void pmxIntlFFDCTriggerHandlerSetBaseDir(PmxObject* handler, const char* directory);
int64_t pmxIntlFFDCTriggerHandlerGetMaxDisk(PmxObject* handler);
void pmxIntlFFDCTriggerHandlerSetMaxDisk(PmxObject* handler, int64_t bytes);
PmxObject* pmxIntlFFDCTriggerHandlerGetFilter(PmxObject* handler);
void pmxIntlFFDCTriggerHandlerSetFilter(PmxObject* handler, PmxObject* filter);
char* pmxIntlFFDCTriggerHandlerGetFilterName(PmxObject* handler);
void pmxIntlFFDCTriggerHandlerSetFilterName(PmxObject* handler, const char* name);
int64_t pmxIntlFFDCTriggerHandlerGetInterval(PmxObject* handler);
void pmxIntlFFDCTriggerHandlerSetInterval(PmxObject* handler, int64_t milliseconds);
char* pmxIntlFFDCTriggerHandlerGetQuotaPolicy(PmxObject* handler);
void pmxIntlFFDCTriggerHandlerSetQuotaPolicy(PmxObject* handler, const char* policy);
double pmxIntlFFDCTriggerHandlerGetFirstWarning(PmxObject* handler);
void pmxIntlFFDCTriggerHandlerSetFirstWarning(PmxObject* handler, double fraction);
double pmxIntlFFDCTriggerHandlerGetSecondWarning(PmxObject* handler);
void pmxIntlFFDCTriggerHandlerSetSecondWarning(PmxObject* handler, double fraction);
char* pmxIntlFileCopyHandlerGetFiles(PmxObject* handler);
void pmxIntlFileCopyHandlerSetFiles(PmxObject* handler, const char* files);
char* pmxIntlFileCopyHandlerGetZipFile(PmxObject* handler);
void pmxIntlFileCopyHandlerSetZipFile(PmxObject* handler, const char* name);
char* pmxIntlFileCopyHandlerGetZipCmdPath(PmxObject* handler);
void pmxIntlFileCopyHandlerSetZipCmdPath(PmxObject* handler, const char* path);

int64_t pmxIntlGetEventTime(const PmxEvent* event);
int32_t pmxIntlGetEventLevel(const PmxEvent* event);
char* pmxIntlGetEventMessageId(const PmxEvent* event);
void pmxIntlSetEventMessageId(PmxEvent* event, const char* id);
const char* pmxIntlGetEventLocale(const PmxEvent* event);
void pmxIntlSetEventLocale(PmxEvent* event, const char* locale);
int pmxIntlGetEventIsMessage(const PmxEvent* event);
char* pmxIntlGetEventProp(PmxEvent* event, const char* name, int* found);
int pmxIntlGetEventPropBool(PmxEvent* event, const char* name, int* found);
int32_t pmxIntlGetEventPropInt(PmxEvent* event, const char* name, int* found);
int64_t pmxIntlGetEventPropLong(PmxEvent* event, const char* name, int* found);
float pmxIntlGetEventPropFloat(PmxEvent* event, const char* name, int* found);
double pmxIntlGetEventPropDouble(PmxEvent* event, const char* name, int* found);
int pmxIntlSetEventProp(PmxEvent* event, const char* name, const char* text);
int pmxIntlSetEventPropBool(PmxEvent* event, const char* name, int value);
int pmxIntlSetEventPropInt(PmxEvent* event, const char* name, int32_t value);
int pmxIntlSetEventPropLong(PmxEvent* event, const char* name, int64_t value);
int pmxIntlSetEventPropFloat(PmxEvent* event, const char* name, float value);
int pmxIntlSetEventPropDouble(PmxEvent* event, const char* name, double value);
char* pmxIntlBindEventMsg(PmxEvent* event, PmxBindMsgOp binder);
char* pmxIntlBindI18Msg(PmxI18Msg* message);

int pmxIntlPrintText(FILE* stream, const char* text);
void pmxIntlReportPlatformErr(uint64_t status);

#ifdef __cplusplus
}
#endif

#endif
