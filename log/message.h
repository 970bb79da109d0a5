// Internationalized messages, their parameters, and the toolkit's own reports.
#pragma once

#include <concepts>
#include <cstdarg>
#include <cstdint>
#include <new>
#include <tuple>

#include "log/collections.h"
#include "log/message_table.h"
#include "log/pmx_classes.h"
#include "log/pmx_log.h"
#include "runtime/owned.h"

struct PmxI18Msg {
    char* catalog;  // null: the text is the message
    uint32_t set;
    uint32_t key;
    char* text;
    PmxParmList* parms;  // null: none yet
    const char* locale;  // not owned; null: the environment's
    vel::log::Arena* arena;
};

PmxI18Msg* pmxIntlAllocI18Msg(const char* catalog, uint32_t set, uint32_t key, const char* text);
PmxI18Msg* pmxIntlCopyI18Msg(const PmxI18Msg* message);
void pmxIntlFreeI18Msg(PmxI18Msg* message);
int pmxIntlSetI18MsgCat(PmxI18Msg* message, const char* catalog);
int pmxIntlSetI18MsgSet(PmxI18Msg* message, uint32_t set);
int pmxIntlSetI18MsgKey(PmxI18Msg* message, uint32_t key);
int pmxIntlSetI18MsgTxt(PmxI18Msg* message, const char* text);
int pmxIntlSetI18MsgLocale(PmxI18Msg* message, const char* locale);
int pmxIntlAddI18MsgParmString(PmxI18Msg* message, const char* value);
int pmxIntlAddI18MsgParmInt(PmxI18Msg* message, int32_t value);
int pmxIntlAddI18MsgParmLong(PmxI18Msg* message, int64_t value);
int pmxIntlAddI18MsgParmFloat(PmxI18Msg* message, float value);
int pmxIntlAddI18MsgParmDouble(PmxI18Msg* message, double value);
int pmxIntlAddI18MsgParmChar(PmxI18Msg* message, char value);
int pmxIntlAddI18MsgParmBool(PmxI18Msg* message, int value);

// text.cpp
char* pmxIntlAprintf(const char* format, PmxParmList* parameters);
char* pmxIntlStrACat(int32_t count, const char* const* texts, const char* separator);
char* pmxIntlText1047ToUTF8(const char* text, int32_t length);
char* pmxIntlText37ToUTF8(const char* text, int32_t length);
char* pmxIntlTextUTF8To1047(const char* text);
char* pmxIntlTextUTF8To37(const char* text);
uc_ch_t* pmxIntlGetCodeSet1047();
uc_ch_t* pmxIntlGetCodeSet37();
void pmxI18InitMab();
void pmxI18UninitMab();

// Logs a message of the toolkit's own, with the arguments of a logging call.
void pmxIntlLogVA(int32_t level, uint32_t number, const char* text, ...);

namespace vel::log {

// A message whose memory, and that of its parts, is the arena's; null: plain heap.
inline PmxI18Msg* make_message(Arena* arena, const char* catalog, uint32_t set, uint32_t key,
                               const char* text) {
    void* const place = allocate_in(arena, sizeof(PmxI18Msg));
    if (place == nullptr) return nullptr;
    auto* const message = new (place) PmxI18Msg{.catalog = copy_text_in(arena, catalog),
                                                .set = set,
                                                .key = key,
                                                .text = copy_text_in(arena, text),
                                                .parms = nullptr,
                                                .locale = nullptr,
                                                .arena = arena};
    const bool complete = (message->catalog != nullptr || catalog == nullptr) &&
                          (message->text != nullptr || text == nullptr);
    if (complete) return message;
    pmxIntlFreeI18Msg(message);
    return nullptr;
}

inline bool add_parm(PmxI18Msg* message, const PmxParm& parm) {
    if (message->parms == nullptr) message->parms = make_chain<PmxParmList>(message->arena);
    return ParmList::append(message->parms, &parm) != 0;
}

// Appends the message as text, all of it or nothing; false: there is none, or no memory.
bool append_bound(CxStringBuff* buff, const PmxI18Msg* message);

// Appends a format with its parameters; false, and nothing appended: it cannot be printed.
bool append_formatted(CxStringBuff* buff, const char* format, const PmxParmList* parms);

using OwnedMsg = runtime::Owned<PmxI18Msg, pmxIntlFreeI18Msg>;

// The type that goes before an argument of a logging call, and the argument as it is passed.
constexpr int32_t marker_of(std::same_as<int32_t> auto) { return PMX_INT; }
constexpr int32_t marker_of(std::same_as<int64_t> auto) { return PMX_LONG; }
constexpr int32_t marker_of(std::same_as<float> auto) { return PMX_FLOAT; }
constexpr int32_t marker_of(std::same_as<double> auto) { return PMX_DOUBLE; }
constexpr int32_t marker_of(std::same_as<char> auto) { return PMX_CHAR; }
constexpr int32_t marker_of(const char*) { return PMX_STRING; }

// Reports a message of the toolkit's own by the error logger.
template <class... Arguments>
void report(int32_t level, Msg message, Arguments... arguments) {
    const auto log = [=](auto... marked) {
        pmxIntlLogVA(level, static_cast<uint32_t>(message), text_of(message), marked..., PMX_END);
    };
    std::apply(log, std::tuple_cat(std::tuple(marker_of(arguments), arguments)...));
}

}  // namespace vel::log
