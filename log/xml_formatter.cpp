// "pmx_xmlformatter": a record is an XML element, "Message" or "Trace", with all that an event has.
#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <string_view>

#include "log/c_locale.h"
#include "log/classes.h"
#include "log/message_id.h"
#include "log/object.h"
#include "log/record.h"
#include "runtime/cx_printf.h"
#include "runtime/cx_text.h"
#include "runtime/owned.h"

namespace vel::log {

constinit const ClassDefinition kXMLFormatterClass{
    .name = "pmx_xmlformatter",
    .kind = PMX_FORMATTER,
    .description = Msg::xml_formatter,
    .life = {PmxPDXMLFormatterFAllocVars, PmxPDXMLFormatterFFreeVars, PmxPDXMLFormatterFCfgChange},
    .formatter = {PmxPDXMLFormatterFFormat, PmxPDXMLFormatterFGetHeader,
                  PmxPDXMLFormatterFGetTrailer, nullptr},
};

namespace {

using runtime::StringBuff;

struct XMLFormatterVars {
    uint8_t first = 1;  // no record since the last request for the header
    uint8_t single_component = 0;
    uint8_t single_product = 0;
    uint8_t single_product_id = 0;
    uint8_t single_server = 0;
    uint8_t force_as_message = 0;
    uint8_t force_as_trace = 0;
};

XMLFormatterVars* vars_of(const PmxObject* formatter) {
    if (!is_kind(formatter, PMX_FORMATTER)) return nullptr;
    return vars<XMLFormatterVars>(formatter, PmxPDXMLFormatterFFreeVars);
}

struct PropertyFlag {
    const char* key;
    uint8_t XMLFormatterVars::*flag;
};
constexpr PropertyFlag kProperties[] = {
    {"singleComponent", &XMLFormatterVars::single_component},
    {"singleProduct", &XMLFormatterVars::single_product},
    {"singleProductId", &XMLFormatterVars::single_product_id},
    {"singleServer", &XMLFormatterVars::single_server},
    {"forceAsMessage", &XMLFormatterVars::force_as_message},
    {"forceAsTrace", &XMLFormatterVars::force_as_trace},
};

void set_flag(PmxObject* formatter, const PropertyFlag& row) {
    XMLFormatterVars* const vars = vars_of(formatter);
    if (vars == nullptr) return;
    vars->*row.flag = pmxIntlGetObjPropBool(formatter, row.key, nullptr) != 0;
}

constexpr size_t kIdBytes = sizeof CxMessageID::identifier + 1;

// The identifier that a text begins with; empty: none. One that fills its field has no zero there.
const char* find_id(const char* text, char (&id)[kIdBytes]) {
    const CxMessageID parsed = CxParseQRAID(text);
    *static_cast<char*>(mempcpy(id, parsed.identifier, parsed.length)) = '\0';
    return id;
}

// Null ones are left out.
void append(CxStringBuff* record, std::initializer_list<const char*> texts) {
    for (const char* const text : texts) CxStringBuffAppendStr(record, text);
}

// When the event has the property, which is not one of its place in the source.
void append_element(CxStringBuff* record, const PmxEvent* event, const char* begin,
                    const char* property, const char* end) {
    const char* const text = peek_other_property(event, property);
    if (text != nullptr) append(record, {begin, text, end});
}

struct ProductElement {
    uint8_t XMLFormatterVars::*single;
    const char *begin, *property, *end;
};
constexpr ProductElement kProductElements[] = {
    {&XMLFormatterVars::single_product, " <ProductId>", "product", "</ProductId>\n"},
    {&XMLFormatterVars::single_component, " <Component>", "component", "</Component>\n"},
    {&XMLFormatterVars::single_product_id, " <ProductInstance>", "productInstance",
     "</ProductInstance>\n"},
};

// Those that stand once before the records, or those of each record.
void append_product_elements(CxStringBuff* record, const PmxEvent* event,
                             const XMLFormatterVars& vars, bool single) {
    const char* const server = peek_other_property(event, "server");
    if (server != nullptr && (vars.single_server != 0) == single) {
        append(record, {" <Server Format=\"", peek_other_property(event, "serverFormat"), "\">",
                        server, "</Server>\n"});
    }
    for (const ProductElement& row : kProductElements) {
        if ((vars.*row.single != 0) != single) continue;
        append_element(record, event, row.begin, row.property, row.end);
    }
}

// The place for the identifier.
int32_t append_message_tag(CxStringBuff* record, int32_t level) {
    append(record, {"<Message Id=\""});
    const int32_t place = record->length;
    if (level != PMX_NO_LEVEL) append(record, {"\" Severity=\"", level_word(level)});
    append(record, {"\">\n"});
    return place;
}

void append_trace_tag(CxStringBuff* record, int32_t level) {
    if (level == PMX_NO_LEVEL) return append(record, {"<Trace>\n"});
    append(record, {"<Trace Level=\"", level_word(level), "\">\n"});
}

void append_time(CxStringBuff* record, const PmxObject* formatter, int64_t time) {
    append(record, {" <Time Millis=\""});
    append_number(record, time);
    append(record, {"\">"});
    if (!append_date(record, formatter, time)) report(PMX_ERROR, Msg::out_of_memory);
    append(record, {"</Time>\n"});
}

// Behind the text, as that may be what tells the identifier.
void insert_id(CxStringBuff* record, int32_t place, const PmxEvent* event, int32_t text_begin) {
    if (record->text == nullptr) return;
    char found[kIdBytes];
    const char* const id = event->message_id != nullptr ? event->message_id
                                                        : find_id(record->text + text_begin, found);
    CxStringBuffInsertStr(record, *id == '\0' ? "None" : id, place);
}

// Properties that have elements of their own, or none in some records.
constexpr std::string_view kNotExtra[] = {
    "threadId",         "correlationId",    "client",
    "pmx_prop_srcfile", "pmx_prop_srcline", "pmx_prop_srcfunction",
    "server",           "serverFormat",     "product",
    "component",        "productInstance",  "processId",
};

void append_extra_properties(CxStringBuff* record, const PmxEvent* event) {
    bool any = false;
    for (const PmxStringToStringMapLink* link = StringToStringMap::begin(event->properties);
         link != nullptr; link = link->next) {
        const std::string_view key = link->key;
        if (std::find(std::begin(kNotExtra), std::end(kNotExtra), key) != std::end(kNotExtra)) {
            continue;
        }
        append(record, {any ? nullptr : " <LogAttribs>", "<Key>", link->key, "</Key><Value>",
                        link->value, "</Value>"});
        any = true;
    }
    if (any) append(record, {"</LogAttribs>\n"});
}

// False: the event does not tell.
bool append_source(CxStringBuff* record, const PmxEvent* event) {
    const EventSource source = source_of(event);
    if (source.file == nullptr) return false;
    append(record, {" <Source FileName=\"", source.file});
    if (source.function != nullptr) append(record, {"\" Method=\"", source.function});
    if (source.has_line) {
        append(record, {"\" Line=\""});
        append_number(record, source.line);
    }
    append(record, {"\"/>\n"});
    return true;
}

void append_real(CxStringBuff* record, double number) {
    const CLocale locale;
    if (locale) CxStringBuffPrintf(nullptr, record, "%f", number);
}

void append_parm(CxStringBuff* record, const PmxParm& parm) {
    switch (parm.type) {
        case PMX_BOOL:  // as "%c" prints it: no word, but the byte 1, or 0, which is no text
        case PMX_CHAR:
            if (parm.value.integer == 0) break;
            CxStringBuffAppendChar(record, static_cast<char>(parm.value.integer));
            break;
        case PMX_FLOAT:
        case PMX_DOUBLE:
            append_real(record, parm.value.real);
            break;
        case PMX_STRING:
            append(record, {parm.value.text});
            break;
        default:
            append_number(record, parm.value.integer);
    }
}

void append_translation(CxStringBuff* record, const PmxI18Msg& message) {
    append(record, {" <TranslationInfo Type=\"XPG4\" Catalog=\"", message.catalog, "\" MsgKey=\""});
    append_number(record, message.key);
    append(record, {"\" SetId=\""});
    append_number(record, message.set);
    append(record, {"\">"});
    for (const PmxParmListLink* link = ParmList::begin(message.parms); link != nullptr;
         link = link->next) {
        append(record, {"<Param><![CDATA["});
        append_parm(record, *link->item);
        append(record, {"]]></Param>"});
    }
    append(record, {"</TranslationInfo>\n"});
}

void append_thread_and_process(CxStringBuff* record, const PmxEvent* event) {
    int found = 0;
    const int64_t thread = pmxIntlGetMapPropLong(event->properties, "threadId", &found);
    if (found) {
        append(record, {" <Thread>"});
        append_unsigned(record, static_cast<uint64_t>(thread));
        append(record, {"</Thread>\n"});
    }
    const int64_t process = pmxIntlGetMapPropLong(event->properties, "processId", &found);
    if (found) {
        append(record, {" <Process>"});
        append_number(record, process);
        append(record, {"</Process>\n"});
    }
}

// What all records have between their tags. The identifier goes to its place, unless that is -1.
void append_body(CxStringBuff* record, const PmxObject* formatter, PmxEvent* event,
                 const XMLFormatterVars& vars, int32_t id_place) {
    append_time(record, formatter, event->time);
    append_product_elements(record, event, vars, false);
    append(record, {" <LogText><![CDATA["});
    const int32_t text_begin = record->length;
    append_message(record, event, pmxIntlBindI18Msg);
    if (id_place >= 0) insert_id(record, id_place, event, text_begin);
    append(record, {"]]></LogText>\n"});  // also behind a text with "]]>" in it, which stays
    append_extra_properties(record, event);
}

void append_message_record(CxStringBuff* record, const PmxObject* formatter, PmxEvent* event,
                           const XMLFormatterVars& vars) {
    const int32_t id_place = append_message_tag(record, event->level);
    append_body(record, formatter, event, vars, id_place);
    append_source(record, event);
    append_translation(record, *event->message);
}

void append_trace_record(CxStringBuff* record, const PmxObject* formatter, PmxEvent* event,
                         const XMLFormatterVars& vars) {
    append_trace_tag(record, event->level);
    append_body(record, formatter, event, vars, -1);
    if (!append_source(record, event)) {
        append(record, {" <Source FileName=\"None\" Method=\"None\"/>\n"});
    }
    append_thread_and_process(record, event);
}

}  // namespace
}  // namespace vel::log

using namespace vel::log;

char* pmxPDXMLGetMessageID(const char* text) {
    char id[kIdBytes];
    return *find_id(text, id) == '\0' ? nullptr : RakStringDup(id);
}

void pmxPDXMLFormatterCacheMessageID(PmxObject*, PmxEvent* event) {
    if (event == nullptr || event->message_id != nullptr) return;
    StringBuff text;
    append_message(&text, event, pmxIntlBindI18Msg);
    char id[kIdBytes];
    pmxIntlSetEventMessageId(event, find_id(text.text, id));
}

void* PmxPDXMLFormatterFAllocVars(void) { return make_vars<XMLFormatterVars>(); }

void PmxPDXMLFormatterFFreeVars(void* vars) { RakMemoryFree(vars); }

void PmxPDXMLFormatterFCfgChange(PmxObject* formatter, const char* property) {
    if (formatter == nullptr || property == nullptr) return;
    for (const PropertyFlag& row : kProperties) {
        if (strcmp(row.key, property) == 0) return set_flag(formatter, row);
    }
    PmxBasicFormatterFCfgChange(formatter, property);
}

char* PmxPDXMLFormatterFFormat(PmxObject* formatter, PmxEvent* event) {
    XMLFormatterVars* const own = vars_of(formatter);
    if (own == nullptr || event == nullptr) return nullptr;
    const XMLFormatterVars vars = *own;  // a report on the way may end the formatter
    own->first = 0;
    StringBuff record;
    if (vars.first != 0) append_product_elements(&record, event, vars, true);
    const bool forced = vars.force_as_message != vars.force_as_trace;
    const bool is_message = (forced ? vars.force_as_message : event->is_message) != 0;
    if (formatter->locale != nullptr) pmxIntlSetEventLocale(event, formatter->locale);

    (is_message ? append_message_record : append_trace_record)(&record, formatter, event, vars);
    append_element(&record, event, " <CorrelationId>", "correlationId", "</CorrelationId>\n");
    append_element(&record, event, " <Principal>", "client", "</Principal>\n");
    append(&record, {is_message ? "</Message>\n" : "</Trace>\n"});
    return record.take().release();
}

// There is none; the next record is the first.
char* PmxPDXMLFormatterFGetHeader(PmxObject* formatter) {
    if (XMLFormatterVars* const vars = vars_of(formatter)) vars->first = 1;
    return nullptr;
}

char* PmxPDXMLFormatterFGetTrailer(PmxObject*) { return nullptr; }
