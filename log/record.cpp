#include "log/record.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>

#include "i18n/mab.h"
#include "log/object.h"
#include "runtime/room.h"

namespace vel::log {
namespace {

using runtime::extend;
using runtime::OwnedText;
using runtime::room_for;

constexpr size_t kDateBytes = 128;
constexpr int64_t kMillis = 1000;  // of a second

// The parts of a date that change from one second to the next at most.
struct Second {
    int64_t number = INT64_MIN;  // since 1970
    long zone = 0;               // the process's own, seconds west, when the texts were made
    int summer = 0;              // whether it knows a summer time, likewise
    bool exists = false;
    struct tm time {};
    char text[kDateBytes]{};
    size_t length = 0;
    char offset[32]{};  // from UTC, as "+01:00"
    size_t offset_length = 0;
};
constinit Second last_second;

// The zone is the process's own, whatever it was at that date but for the hour of summer.
void write_offset(Second& second) {
    constexpr long kMinute = 60;
    constexpr long kHour = 3600;
    const long hours = -second.zone / kHour + (second.time.tm_isdst > 0 ? 1 : 0);
    const long minutes = std::abs(second.zone / kMinute % kMinute);
    const int length =
        snprintf(second.offset, sizeof second.offset, "%+.2ld:%.2ld", hours, minutes);
    second.offset_length = static_cast<size_t>(length);
}

// Of a program that changes its zone by tzset the old one is not used on.
const Second& second_of(int64_t number) {
    Second& second = last_second;
    if (second.number == number && second.zone == timezone && second.summer == daylight) {
        return second;
    }
    second.number = number;
    const time_t time = number;
    second.exists = localtime_r(&time, &second.time) != nullptr;
    second.zone = timezone;  // which the first conversion in a process may have set
    second.summer = daylight;
    if (!second.exists) return second;
    second.length = strftime(second.text, sizeof second.text, "%Y-%m-%d %H:%M:%S", &second.time);
    write_offset(second);
    return second;
}

// In the words of the process locale.
bool append_local_date(CxStringBuff* record, const char* format, const struct tm& time) {
    char local[kDateBytes] = {};
    char text[kDateBytes] = {};
    if (mab_strftime(local, sizeof local, format, &time) == 0) local[0] = '\0';
    mab_to_utf8(nullptr, local, static_cast<int32_t>(strlen(local)), text, sizeof text - 1);
    return CxStringBuffAppendStr(record, text);
}

// As "2024-01-02 14:03:09.045+01:00"
bool append_default_date(CxStringBuff* record, const Second& second, int32_t millis) {
    constexpr size_t kMaxMillis = 8;
    char* to = room_for(record, second.length + kMaxMillis + second.offset_length);
    if (to == nullptr) return false;
    to = static_cast<char*>(mempcpy(to, second.text, second.length));
    *to++ = '.';
    if (millis < 0) *to++ = '-';  // before 1970
    const int32_t digits = std::abs(millis);
    for (const int32_t place : {100, 10, 1}) *to++ = static_cast<char>('0' + digits / place % 10);
    to = static_cast<char*>(mempcpy(to, second.offset, second.offset_length));
    extend(record, static_cast<size_t>(to - record->text - record->length));
    return true;
}

struct LevelWord {
    int32_t level;
    const char* word;
};
constexpr LevelWord kLevelWords[] = {
    {PMX_DEBUG_MAX, "MAX"}, {PMX_DEBUG_MID, "MID"}, {PMX_DEBUG_MIN, "MIN"}, {PMX_INFO, "INFO"},
    {PMX_WARN, "WARN"},     {PMX_ERROR, "ERROR"},   {PMX_FATAL, "ERROR"},  // no word of its own
};

bool append_digits(CxStringBuff* record, auto number) {
    constexpr size_t kMaxDigits = 20;
    char* const to = room_for(record, kMaxDigits);
    if (to == nullptr) return false;
    extend(record, static_cast<size_t>(std::to_chars(to, to + kMaxDigits, number).ptr - to));
    return true;
}

}  // namespace

const char* level_word(int32_t level) {
    for (const LevelWord& row : kLevelWords) {
        if (row.level == level) return row.word;
    }
    return "OTHER";
}

bool append_date(CxStringBuff* record, const PmxObject* formatter, int64_t time) {
    const Second& second = second_of(time / kMillis);
    if (!second.exists) return false;
    if (formatter != nullptr && formatter->date_time_format != nullptr) {
        return append_local_date(record, formatter->date_time_format, second.time);
    }
    return append_default_date(record, second, static_cast<int32_t>(time % kMillis));
}

bool append_number(CxStringBuff* record, int64_t number) { return append_digits(record, number); }

bool append_unsigned(CxStringBuff* record, uint64_t number) {
    return append_digits(record, number);
}

bool append_message(CxStringBuff* record, PmxEvent* event, PmxBindMsgOp binder) {
    if (binder == PmxBindI18Msg || binder == pmxIntlBindI18Msg) {
        prepare_binding(event);
        return append_bound(record, event->message);
    }
    const OwnedText message(pmxIntlBindEventMsg(event, binder));
    return message != nullptr && CxStringBuffAppendStr(record, message.get());
}

}  // namespace vel::log
