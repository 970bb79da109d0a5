// "pmx_basicformatter": a record is one line: date, source, properties, message.
#include <charconv>
#include <cstdlib>
#include <ctime>

#include "i18n/mab.h"
#include "log/classes.h"
#include "log/event.h"
#include "log/object.h"
#include "runtime/cx_printf.h"
#include "runtime/owned.h"

namespace vel::log {

constinit const ClassDefinition kBasicFormatterClass{
    .name = "pmx_basicformatter",
    .kind = PMX_FORMATTER,
    .description = Msg::basic_formatter,
    .life = {.cfg_change = PmxBasicFormatterFCfgChange},
    .formatter = {PmxBasicFormatterFFormat, PmxBasicFormatterFGetHeader,
                  PmxBasicFormatterFGetTrailer, nullptr},
};

namespace {

using runtime::OwnedText;
using runtime::StringBuff;

constexpr size_t kDateBytes = 128;
constexpr int64_t kMillis = 1000;  // of a second

// Copies the property, or null for none; all stays when there is no memory.
void set_text(PmxObject* formatter, const char* key, char* PmxObject::*slot) {
    const char* const text = peek_object_property(formatter, key);
    char* const copy = RakStringDup(text);
    if (copy == nullptr && text != nullptr) return;
    RakMemoryFree(std::exchange(formatter->*slot, copy));
}

void set_separator(PmxObject* formatter, const char* key) {
    set_text(formatter, key, &PmxObject::separator);
}

void set_date_time_format(PmxObject* formatter, const char* key) {
    set_text(formatter, key, &PmxObject::date_time_format);
}

void set_locale(PmxObject* formatter, const char* key) {
    mab_loc_free(formatter->locale);
    formatter->locale = mab_loc_new(peek_object_property(formatter, key));
}

constexpr Property kProperties[] = {
    {"separator", set_separator},
    {"dateTimeFormat", set_date_time_format},
    {"locale", set_locale},
};

// Properties that stand in a record before its message when the event has them.
constexpr const char* kTexts[] = {"pmx_prop_srcfile", "pmx_prop_srcfunction"};
constexpr const char* kLine = "pmx_prop_srcline";
constexpr const char* kOrigins[] = {"organization", "product", "component", "client", "server"};

void append_field(CxStringBuff* record, const char* text, const char* separator) {
    if (text == nullptr) return;
    CxStringBuffAppendStr(record, text);
    CxStringBuffAppendStr(record, separator);
}

void append_line_number(CxStringBuff* record, PmxEvent* event, const char* separator) {
    int found = 0;
    const int32_t line = pmxIntlGetEventPropInt(event, kLine, &found);
    char digits[16] = {};
    std::to_chars(digits, std::end(digits) - 1, line);
    if (found) append_field(record, digits, separator);
}

// In the words of the process locale.
char* local_date(const char* format, const struct tm& time) {
    char local[kDateBytes] = {};
    char text[kDateBytes] = {};
    if (mab_strftime(local, sizeof local, format, &time) == 0) local[0] = '\0';
    mab_to_utf8(nullptr, local, static_cast<int32_t>(strlen(local)), text, sizeof text - 1);
    return RakStringDup(text);
}

char* default_date(const struct tm& time, int32_t millis) {
    char seconds[kDateBytes] = {};
    tzset();  // localtime_r need not have set the zone
    strftime(seconds, sizeof seconds, "%Y-%m-%d %H:%M:%S", &time);
    // The zone is the process's own, whatever it was at that date but for the hour of summer.
    constexpr long kMinute = 60;
    constexpr long kHour = 3600;
    const auto hours = static_cast<int32_t>(-timezone / kHour) + (time.tm_isdst > 0 ? 1 : 0);
    const auto minutes = static_cast<int32_t>(std::abs(timezone / kMinute % kMinute));
    StringBuff date;
    const bool done = CxStringBuffAppendStr(&date, seconds) &&
                      CxStringBuffPrintf(nullptr, &date, ".%.3d%+.2d:%.2d", millis, hours, minutes);
    return done ? date.take().release() : nullptr;
}

}  // namespace
}  // namespace vel::log

using namespace vel::log;

void PmxBasicFormatterFCfgChange(PmxObject* formatter, const char* property) {
    if (!is_kind(formatter, PMX_FORMATTER) || property == nullptr) return;
    if (!apply_property(kProperties, formatter, property)) {
        PmxBasicObjectFCfgChange(formatter, property);
    }
}

char* PmxBasicFormatterFGetHeader(void) { return nullptr; }

char* PmxBasicFormatterFGetTrailer(void) { return nullptr; }

char* PmxBasicFormatterFormatDate(PmxObject* formatter, int64_t time) {
    const time_t seconds = time / kMillis;
    struct tm local {};
    if (localtime_r(&seconds, &local) == nullptr) return nullptr;
    if (formatter != nullptr && formatter->date_time_format != nullptr) {
        return local_date(formatter->date_time_format, local);
    }
    return default_date(local, static_cast<int32_t>(time % kMillis));
}

char* PmxBasicFormatterFFormat(PmxObject* formatter, PmxEvent* event) {
    if (!is_kind(formatter, PMX_FORMATTER) || event == nullptr) return nullptr;
    const PmxBindMsgOp bind_message = formatter->cls->formatter.bind_message;
    if (bind_message == nullptr) return nullptr;
    const char* const separator = formatter->separator == nullptr ? " " : formatter->separator;
    const OwnedText date(PmxBasicFormatterFormatDate(formatter, event->time));

    StringBuff record;
    append_field(&record, date.get(), separator);
    for (const char* const name : kTexts) {
        append_field(&record, peek_event_property(event, name), separator);
    }
    append_line_number(&record, event, separator);
    for (const char* const name : kOrigins) {
        append_field(&record, peek_event_property(event, name), separator);
    }
    if (formatter->locale != nullptr) pmxIntlSetEventLocale(event, formatter->locale);
    const OwnedText message(pmxIntlBindEventMsg(event, bind_message));
    CxStringBuffAppendStr(&record, message.get());
    CxStringBuffAppendChar(&record, '\n');
    return record.take().release();
}
