/* pmx_log.h — logging: the calls, levels, events and internationalized messages.
 * The conventions are those of pmx_types.h.
 */
#ifndef PMX_LOG_H
#define PMX_LOG_H

#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>

#include "pmx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

struct uc_ch_t; /* a code set of mab.h */

/* ---- Logging ------------------------------------------------------------------------------- */

/* The arguments at the end are pairs of a type and a value, up to 62 of them, and then 0:
 *
 *     PmxLogError(logger, "mycat", 1, 7, "ABCDE0007E %1$s: %2$d retries.",
 *                 PMX_STRING, name, PMX_INT, 3, PMX_END);
 *     PmxLogText(logger, "started", PMX_PROPERTY, "server", PMX_STRING, host, PMX_END);
 *
 * Each becomes a parameter of the message, or after PMX_PROPERTY and a name a property of the
 * event. A level among them (without a value) becomes the event's level. Of a 64th type or one that
 * is none, nothing more is read, which is reported; the event goes on as it is. The value of
 * PMX_PROPERTY with a null name is read and left out.
 *
 * A call whose level is below the logger's returns at once and touches neither the lock nor the
 * memory. The forms ending in VA take the arguments as a list that was started, and leave it to the
 * caller to end. */

/* A message of a catalog, found by the name of the catalog (mab_catopen), the numbers of the set
 * and of the message, or else the default text. Both are formats of cx_printf.h for the parameters;
 * what does not go together shows nothing, and when there are too few parameters the default text
 * is shown as it stands. A null catalog: the default text. */
void PmxLogFatal(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                 const char* text, ...);
void PmxLogError(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                 const char* text, ...);
void PmxLogWarn(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                const char* text, ...);
void PmxLogInfo(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                const char* text, ...);
void PmxLogFatalVA(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                   const char* text, va_list arguments);
void PmxLogErrorVA(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                   const char* text, va_list arguments);
void PmxLogWarnVA(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                  const char* text, va_list arguments);
void PmxLogInfoVA(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                  const char* text, va_list arguments);

/* Of no level. Text is a format, too. */
void PmxLogMsg(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key, const char* text,
               ...);
void PmxLogMsgVA(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                 const char* text, va_list arguments);
void PmxLogText(PmxObject* logger, const char* text, ...);
void PmxLogTextVA(PmxObject* logger, const char* text, va_list arguments);

/* Text, a format for the parameters, with its place in the source: __FILE__, __func__, __LINE__.
 * They become the properties "pmx_prop_srcfile", "pmx_prop_srcline" (with a file) and
 * "pmx_prop_srcfunction"; a null file or function is left out. */
void PmxLogDebugMax(PmxObject* logger, const char* file, const char* function, int32_t line,
                    const char* text, ...);
void PmxLogDebugMid(PmxObject* logger, const char* file, const char* function, int32_t line,
                    const char* text, ...);
void PmxLogDebugMin(PmxObject* logger, const char* file, const char* function, int32_t line,
                    const char* text, ...);
void PmxLogDebugMaxVA(PmxObject* logger, const char* file, const char* function, int32_t line,
                      const char* text, va_list arguments);
void PmxLogDebugMidVA(PmxObject* logger, const char* file, const char* function, int32_t line,
                      const char* text, va_list arguments);
void PmxLogDebugMinVA(PmxObject* logger, const char* file, const char* function, int32_t line,
                      const char* text, va_list arguments);

/* Whether the logger takes events of a level. Takes no lock. */
int PmxIsLoggable(const PmxObject* logger, int32_t level);

/* A level by its name, of which only the beginning counts, in any case: FATAL, ERROR, WARN, INFO,
 * DEBUG_MIN or MIN, DEBUG_MID or MID, DEBUG_MAX or MAX, ALL, OFF ("Warning" is WARN); or by a
 * number at the beginning. PMX_NO_LEVEL for null and anything else. Takes no lock. */
int32_t PmxGetLevelFromString(const char* text);

/* ---- Events -------------------------------------------------------------------------------- */

/* An event of now, with the arguments of a logging call; null: no memory. */
PmxEvent* PmxVaAllocEvent(int32_t level, const char* catalog, uint32_t set, uint32_t key,
                          const char* text, va_list arguments);
void PmxFreeEvent(PmxEvent* event);

/* Milliseconds since 1970; 0 for null. */
int64_t PmxGetEventTime(const PmxEvent* event);
int32_t PmxGetEventLevel(const PmxEvent* event);

/* The identifier of the message; null while nobody has set one. Setting null clears it. */
char* PmxGetEventMessageId(const PmxEvent* event);
void PmxSetEventMessageId(PmxEvent* event, const char* id);

/* The locale that the message is to be shown in, of mab_loc_new; null: none is set. A copy is kept,
 * which lasts until another is set. */
const char* PmxGetEventLocale(const PmxEvent* event);
void PmxSetEventLocale(PmxEvent* event, const char* locale);

/* Whether the event is a message, rather than text. */
int PmxGetEventIsMessage(const PmxEvent* event);
void PmxSetEventIsMessage(PmxEvent* event, int is_message);

/* Named properties, as text. Typed reading and writing are as PmxGetMapProp... and
 * PmxSetMapProp... of pmx_collections.h have them. */
char* PmxGetEventProp(PmxEvent* event, const char* name, int* found);
int PmxGetEventPropBool(PmxEvent* event, const char* name, int* found);
int32_t PmxGetEventPropInt(PmxEvent* event, const char* name, int* found);
int64_t PmxGetEventPropLong(PmxEvent* event, const char* name, int* found);
float PmxGetEventPropFloat(PmxEvent* event, const char* name, int* found);
double PmxGetEventPropDouble(PmxEvent* event, const char* name, int* found);
int PmxSetEventProp(PmxEvent* event, const char* name, const char* text);
int PmxSetEventPropBool(PmxEvent* event, const char* name, int value);
int PmxSetEventPropInt(PmxEvent* event, const char* name, int32_t value);
int PmxSetEventPropLong(PmxEvent* event, const char* name, int64_t value);
int PmxSetEventPropFloat(PmxEvent* event, const char* name, float value);
int PmxSetEventPropDouble(PmxEvent* event, const char* name, double value);

/* The event's message as text by a binder (as PmxBindI18Msg), in the event's locale when it has
 * one.
 */
char* PmxBindEventMsg(PmxEvent* event, PmxBindMsgOp binder);

/* ---- Internationalized messages ------------------------------------------------------------ */

/* A message as for PmxLogError; a null text is none. Null: no memory. */
PmxI18Msg* PmxAllocI18Msg(const char* catalog, uint32_t set, uint32_t key, const char* text);
PmxI18Msg* PmxCopyI18Msg(const PmxI18Msg* message);
void PmxFreeI18Msg(PmxI18Msg* message);

/* Replace one item. What there is no memory for leaves the item as it was. */
int PmxSetI18MsgCat(PmxI18Msg* message, const char* catalog);
int PmxSetI18MsgSet(PmxI18Msg* message, uint32_t set);
int PmxSetI18MsgKey(PmxI18Msg* message, uint32_t key);
int PmxSetI18MsgTxt(PmxI18Msg* message, const char* text);

/* The locale whose catalog is opened, of mab_loc_new; it stays the caller's and must live as long
 * as the message is used. Null: that of the environment. */
int PmxSetI18MsgLocale(PmxI18Msg* message, const char* locale);

/* Add a parameter behind the others. */
int PmxAddI18MsgParmString(PmxI18Msg* message, const char* value);
int PmxAddI18MsgParmInt(PmxI18Msg* message, int32_t value);
int PmxAddI18MsgParmLong(PmxI18Msg* message, int64_t value);
int PmxAddI18MsgParmFloat(PmxI18Msg* message, float value);
int PmxAddI18MsgParmDouble(PmxI18Msg* message, double value);
int PmxAddI18MsgParmChar(PmxI18Msg* message, char value);
int PmxAddI18MsgParmBool(PmxI18Msg* message, int value);

/* The message as text; null for null, and when there is neither text nor memory. The toolkit need
 * not be open. */
char* PmxBindI18Msg(PmxI18Msg* message);

/* A format of cx_printf.h with the parameters of a list: a bool, int or char is an int argument, a
 * long a long one, a float or double a double one. A conversion of another family shows nothing.
 * Null: no format, more arguments asked for than there are, no memory. */
char* PmxAprintf(const char* format, PmxParmList* parameters);

/* ---- Text ---------------------------------------------------------------------------------- */

/* Prints a text in the local code set, cut to 4,095 bytes of it; 0 also when the stream fails. */
int PmxPrintText(FILE* stream, const char* text);

/* The texts of an array that are not null, with the separator, if any, between any two; an empty
 * text when there are none. Null: no memory. */
char* PmxStrACat(int32_t count, const char* const* texts, const char* separator);

/* Text of EBCDIC code page 1047 or 37 as UTF-8 and back; length is in bytes. The toolkit leaves the
 * code sets to whoever ports it to such a system: they are null here, and so the text is taken for
 * the default code set. Null: a null text, a length below 0, no memory. */
char* PmxText1047ToUTF8(const char* text, int32_t length);
char* PmxText37ToUTF8(const char* text, int32_t length);
char* PmxTextUTF8To1047(const char* text);
char* PmxTextUTF8To37(const char* text);
struct uc_ch_t* PmxGetCodeSet1047(void);
struct uc_ch_t* PmxGetCodeSet37(void);

/* Logs the system's words for the error that a status of cx_os.h carries, at PMX_WARN; nothing for
 * a status without one. */
void PmxReportPlatformErr(uint64_t status);

#ifdef __cplusplus
}
#endif

#if defined(__GNUC__) && !defined(__clang__) && defined(__OPTIMIZE__) && !defined(PMX_LOG_NO_INLINE)
#include "pmx_log_inline.h"
#endif

#endif
