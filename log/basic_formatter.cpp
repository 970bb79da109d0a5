// "pmx_basicformatter": a record is one line: date, source, properties, message.
#include "i18n/mab.h"
#include "log/classes.h"
#include "log/object.h"
#include "log/record.h"
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

using runtime::StringBuff;

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
constexpr const char* kOrigins[] = {"organization", "product", "component", "client", "server"};

void append_field(CxStringBuff* record, const char* text, const char* separator) {
    if (text == nullptr) return;
    CxStringBuffAppendStr(record, text);
    CxStringBuffAppendStr(record, separator);
}

void append_source(CxStringBuff* record, const PmxEvent* event, const char* separator) {
    const EventSource source = source_of(event);
    append_field(record, source.file, separator);
    append_field(record, source.function, separator);
    if (source.has_line && append_number(record, source.line)) {
        CxStringBuffAppendStr(record, separator);
    }
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

char* PmxBasicFormatterFGetHeader(PmxObject*) { return nullptr; }

char* PmxBasicFormatterFGetTrailer(PmxObject*) { return nullptr; }

char* PmxBasicFormatterFormatDate(PmxObject* formatter, int64_t time) {
    StringBuff date;
    return append_date(&date, formatter, time) ? date.take().release() : nullptr;
}

char* PmxBasicFormatterFFormat(PmxObject* formatter, PmxEvent* event) {
    if (!is_kind(formatter, PMX_FORMATTER) || event == nullptr) return nullptr;
    const PmxBindMsgOp bind_message = formatter->cls->formatter.bind_message;
    if (bind_message == nullptr) return nullptr;
    const char* const separator = formatter->separator == nullptr ? " " : formatter->separator;

    StringBuff record;
    append_date(&record, formatter, event->time);
    CxStringBuffAppendStr(&record, separator);
    append_source(&record, event, separator);
    for (const char* const name : kOrigins) {
        append_field(&record, peek_other_property(event, name), separator);
    }
    if (formatter->locale != nullptr) pmxIntlSetEventLocale(event, formatter->locale);
    append_message(&record, event, bind_message);
    CxStringBuffAppendChar(&record, '\n');
    return record.take().release();
}
