// "pmx_msgidfilter": lets events through, or not, by the identifiers of their messages.
#include <cstring>

#include "log/ascii_text.h"
#include "log/classes.h"
#include "log/event.h"
#include "log/message_id.h"
#include "log/object.h"
#include "runtime/owned.h"

namespace vel::log {

constinit const ClassDefinition kMsgIdFilterClass{
    .name = "pmx_msgidfilter",
    .kind = PMX_FILTER,
    .life = {PmxMsgIdFilterFAllocVars, PmxMsgIdFilterFFreeVars, PmxMsgIdFilterFCfgChange},
    .filter = {PmxBasicFilterFProcess, PmxMsgIdFilterFIsLoggable, PmxBasicObjectFLog},
};

namespace {

using runtime::OwnedText;

constexpr const char* kFirstPatterns = "*W *I";
constexpr const char* kBetweenPatterns = " \t\n\r";  // fewer than there are blanks elsewhere

// What happens to the events whose identifiers match.
enum class Mode : int32_t { block = 1, pass_through = 2 };

struct MsgIdVars {
    Mode mode = Mode::block;
    PmxStringList* patterns = PmxMsgIdFilterGetStringList(kFirstPatterns);
    PmxObject* formatter = pmxIntlGetObject("msgFormatter", "pmx_xmlformatter");  // null: none
    int64_t repeat_millis = 0;  // between two passes of an identifier, at least; below 1: any
    // When each identifier passed last, in milliseconds since 1970. Nothing is ever taken out.
    PmxStringToStringMap* last_seen = StringToStringMap::alloc();
};

MsgIdVars* vars_of(const PmxObject* filter) {
    return vars<MsgIdVars>(filter, PmxMsgIdFilterFFreeVars);
}

void set_mode(PmxObject* filter, const char* key) {
    MsgIdVars* const vars = vars_of(filter);
    const char* const text = vars == nullptr ? nullptr : peek_object_property(filter, key);
    if (text == nullptr) return;
    const bool pass_through = same_ignoring_case(text, "PASSTHRU");
    if (!pass_through && !same_ignoring_case(text, "BLOCK")) {
        report(PMX_WARN, Msg::bad_filter_mode, filter->name, text);
    }
    vars->mode = pass_through ? Mode::pass_through : Mode::block;
}

void set_patterns(PmxObject* filter, const char* key) {
    MsgIdVars* const vars = vars_of(filter);
    if (vars == nullptr) return;
    PmxStringList* const patterns = PmxMsgIdFilterGetStringList(peek_object_property(filter, key));
    if (patterns != nullptr) StringList::free(std::exchange(vars->patterns, patterns));
}

void set_repeat_time(PmxObject* filter, const char* key) {
    MsgIdVars* const vars = vars_of(filter);
    int found = 0;
    const int64_t millis = pmxIntlGetObjPropLong(filter, key, &found);
    if (vars != nullptr && found) vars->repeat_millis = millis;
}

constexpr Property kProperties[] = {
    {"mode", set_mode},
    {"msgIds", set_patterns},
    {"msgIdRepeatTime", set_repeat_time},
};

// Whether the identifier passed so shortly before that it is held back now; else its time is noted.
bool is_repetition(MsgIdVars* vars, const char* id, int64_t time) {
    int found = 0;
    int64_t quiet_until = pmxIntlGetMapPropLong(vars->last_seen, id, &found);
    const bool beyond_time = __builtin_add_overflow(quiet_until, vars->repeat_millis, &quiet_until);
    if (found && (beyond_time || quiet_until > time)) return true;
    pmxIntlSetMapPropLong(vars->last_seen, id, time);
    return false;
}

}  // namespace
}  // namespace vel::log

using namespace vel::log;

void* PmxMsgIdFilterFAllocVars(void) {
    auto* const vars = make_vars<MsgIdVars>();
    if (vars == nullptr) return nullptr;
    if (vars->patterns != nullptr && vars->last_seen != nullptr) return vars;
    PmxMsgIdFilterFFreeVars(vars);
    return nullptr;
}

void PmxMsgIdFilterFFreeVars(void* vars) {
    if (vars == nullptr) return;
    auto* const own = static_cast<MsgIdVars*>(vars);
    StringList::free(own->patterns);
    pmxIntlReleaseObject(own->formatter);
    StringToStringMap::free(own->last_seen);
    RakMemoryFree(own);
}

void PmxMsgIdFilterFCfgChange(PmxObject* filter, const char* property) {
    if (filter == nullptr || property == nullptr) return;
    if (!apply_property(kProperties, filter, property)) PmxBasicObjectFCfgChange(filter, property);
}

int PmxMsgIdFilterFIsLoggable(PmxObject* filter, PmxEvent* event) {
    MsgIdVars* const vars = vars_of(filter);
    if (vars == nullptr || event == nullptr) return 0;
    if (event->message_id == nullptr) pmxPDXMLFormatterCacheMessageID(vars->formatter, event);
    const char* const id = event->message_id;
    // A message that begins with no identifier has an empty one: a "*" alone matches it, too.
    const bool matched = PmxMsgIdFilterMatchMsgId(vars->patterns, id) != 0;
    if (matched != (vars->mode == Mode::pass_through)) return 0;
    if (id == nullptr || *id == '\0' || vars->repeat_millis < 1) return 1;
    return !is_repetition(vars, id, event->time);
}

PmxStringList* PmxMsgIdFilterGetStringList(const char* text) {
    PmxStringList* const list = text == nullptr ? nullptr : StringList::alloc();
    while (list != nullptr && PmxStrTokIterHasNext(text, kBetweenPatterns)) {
        const OwnedText piece(PmxStrTokIterGet(text, kBetweenPatterns));
        if (!StringList::append(list, piece.get())) {
            StringList::free(list);
            return nullptr;
        }
        text = PmxStrTokIterNext(text, kBetweenPatterns);
    }
    return list;
}

int PmxMsgIdFilterMatchMsgId(const PmxStringList* list, const char* id) {
    if (id == nullptr) return 0;
    const PmxStringListLink* link = StringList::begin(list);
    while (link != nullptr && !PmxPatternMatch(link->item, id)) link = link->next;
    return link != nullptr;
}

int PmxPatternMatch(const char* pattern, const char* text) {
    constexpr const char* kStar = "*";
    if (pattern == nullptr || text == nullptr) return 0;
    if (*pattern != '*' && *pattern != '\0') {
        const size_t length = strcspn(pattern, kStar);
        if (pattern[length] == '\0') return strcmp(pattern, text) == 0;
        if (strncmp(pattern, text, length) != 0) return 0;
        pattern += length;
        text += length;
    }
    const char* const end = text + strlen(text);
    bool matches = true;
    // Each piece stays where it first occurs, and the last one must end the text, though a "*" come
    // after it.
    for (pattern += strspn(pattern, kStar); *pattern != '\0'; pattern += strspn(pattern, kStar)) {
        const size_t length = strcspn(pattern, kStar);
        const void* const found = memmem(text, static_cast<size_t>(end - text), pattern, length);
        if (found == nullptr) return 0;
        text = static_cast<const char*>(found) + length;
        matches = text == end;
        pattern += length;
    }
    return matches;
}
