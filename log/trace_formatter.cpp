// "pmx_veltraceformatter": a record is one line of fields: date, level, host, process and thread,
// source, message identifier, message.
#include <algorithm>
#include <cstring>

#include "log/classes.h"
#include "log/message_id.h"
#include "log/object.h"
#include "log/record.h"
#include "runtime/owned.h"
#include "runtime/room.h"

namespace vel::log {

constinit const ClassDefinition kTraceFormatterClass{
    .name = "pmx_veltraceformatter",
    .kind = PMX_FORMATTER,
    .formatter = {.format = PmxVelTraceFormatterFFormat},
};

namespace {

using runtime::extend;
using runtime::OwnedText;
using runtime::room_for;
using runtime::StringBuff;

constexpr const char* kSeparator = " - ";
// Each record begins with the control character of that name, so that a reader of traces finds it
// whatever lines its message has.
constexpr char kRecordSeparator = 0x1E;
constexpr size_t kLevelWidth = 5;  // of all words for levels

void append_date_field(CxStringBuff* record, const PmxObject* formatter, int64_t time) {
    CxStringBuffAppendChar(record, '[');
    append_date(record, formatter, time);
    CxStringBuffAppendChar(record, ']');
}

// In the middle of its width, further left where it cannot be.
void append_level(CxStringBuff* record, int32_t level) {
    const char* const word = level_word(level);
    const size_t length = strlen(word);
    char* const to = room_for(record, kLevelWidth);
    if (to == nullptr) return;
    memset(to, ' ', kLevelWidth);
    std::copy_n(word, length, to + (kLevelWidth - length) / 2);
    extend(record, kLevelWidth);
}

// The name of the host without its domain.
void append_host(CxStringBuff* record, const PmxEvent* event) {
    const char* const server = peek_other_property(event, "server");
    if (server == nullptr) return;
    const size_t length = strcspn(server, ".");
    char* const to = room_for(record, length);
    if (to == nullptr) return;
    memcpy(to, server, length);
    extend(record, length);
}

void append_process(CxStringBuff* record, const PmxEvent* event) {
    int has_process = 0;
    int has_thread = 0;
    const int64_t process = pmxIntlGetMapPropLong(event->properties, "processId", &has_process);
    const int64_t thread = pmxIntlGetMapPropLong(event->properties, "threadId", &has_thread);
    if (has_process) {
        CxStringBuffAppendChar(record, 'p');
        append_unsigned(record, static_cast<uint64_t>(process));
    }
    if (has_process && has_thread) CxStringBuffAppendChar(record, ':');
    if (has_thread) {
        CxStringBuffAppendChar(record, 't');
        append_unsigned(record, static_cast<uint64_t>(thread));
    }
}

void append_source(CxStringBuff* record, const PmxEvent* event) {
    const EventSource source = source_of(event);
    CxStringBuffAppendStr(record, source.file);
    if (source.file != nullptr && source.function != nullptr) CxStringBuffAppendChar(record, ':');
    CxStringBuffAppendStr(record, source.function);
    if (!source.has_line) return;
    CxStringBuffAppendChar(record, '(');
    append_number(record, source.line);
    CxStringBuffAppendChar(record, ')');
}

// The identifier may have to be found in the message, which stands behind it.
void append_id_and_message(CxStringBuff* record, PmxEvent* event) {
    CxStringBuffAppendStr(record, event->message_id);
    const int32_t id_place = record->length;
    CxStringBuffAppendStr(record, kSeparator);
    const int32_t message_place = record->length;
    if (!append_message(record, event, pmxIntlBindI18Msg) || event->message_id != nullptr) return;
    const OwnedText id(pmxPDXMLGetMessageID(record->text + message_place));
    CxStringBuffInsertStr(record, id.get(), id_place);
}

}  // namespace
}  // namespace vel::log

using namespace vel::log;

char* PmxVelTraceFormatterFFormat(PmxObject* formatter, PmxEvent* event) {
    if (!is_kind(formatter, PMX_FORMATTER) || event == nullptr) return nullptr;
    StringBuff record;
    CxStringBuffAppendChar(&record, kRecordSeparator);
    append_date_field(&record, formatter, event->time);
    CxStringBuffAppendStr(&record, kSeparator);
    append_level(&record, event->level);
    CxStringBuffAppendStr(&record, kSeparator);
    append_host(&record, event);
    CxStringBuffAppendStr(&record, kSeparator);
    append_process(&record, event);
    CxStringBuffAppendStr(&record, kSeparator);
    append_source(&record, event);
    CxStringBuffAppendStr(&record, kSeparator);
    if (formatter->locale != nullptr) pmxIntlSetEventLocale(event, formatter->locale);
    append_id_and_message(&record, event);
    CxStringBuffAppendChar(&record, '\n');
    return record.take().release();
}
