// Events, and the typed arguments that they are made of.
#include "log/event.h"

#include <new>

#include "log/toolkit.h"
#include "runtime/cx_os.h"

namespace vel::log {
namespace {

constexpr int kMaxMarkers = 63;

// The properties that a place in the source becomes.
constexpr const char* kSourceFile = "pmx_prop_srcfile";
constexpr const char* kSourceLine = "pmx_prop_srcline";
constexpr const char* kSourceFunction = "pmx_prop_srcfunction";

PmxStringToStringMap* make_properties(PmxEvent* event) {
    if (event->properties == nullptr) {
        event->properties = make_chain<PmxStringToStringMap>(&event->arena);
    }
    return event->properties;
}

// Makes properties of the place that the logging call named.
void settle_place(PmxEvent* event) {
    const SourcePlace* const place = std::exchange(event->place, nullptr);
    if (place == nullptr) return;
    if (place->file != nullptr) {
        pmxIntlSetMapProp(make_properties(event), kSourceFile, place->file);
        pmxIntlSetMapPropInt(make_properties(event), kSourceLine, place->line);
    }
    if (place->function != nullptr) {
        pmxIntlSetMapProp(make_properties(event), kSourceFunction, place->function);
    }
}

PmxStringToStringMap* writable_properties(PmxEvent* event) {
    if (event == nullptr) return nullptr;
    settle_place(event);
    return make_properties(event);
}

int set_property(PmxStringToStringMap* map, const char* name, const PmxParm& parm) {
    switch (parm.type) {
        case PMX_BOOL:
            return pmxIntlSetMapPropBool(map, name, static_cast<int>(parm.value.integer));
        case PMX_CHAR:
            return pmxIntlSetMapPropChar(map, name, static_cast<char>(parm.value.integer));
        case PMX_FLOAT:
            return pmxIntlSetMapPropFloat(map, name, static_cast<float>(parm.value.real));
        case PMX_DOUBLE:
            return pmxIntlSetMapPropDouble(map, name, parm.value.real);
        case PMX_STRING:
            return pmxIntlSetMapProp(map, name, parm.value.text == nullptr ? "" : parm.value.text);
        default:
            return pmxIntlSetMapPropLong(map, name, parm.value.integer);
    }
}

bool is_level(int32_t marker) {
    constexpr int32_t kStep = PMX_DEBUG_MAX;  // from one level to the next
    return marker == PMX_NO_LEVEL || marker == PMX_OFF ||
           (marker >= PMX_ALL && marker <= PMX_FATAL && marker % kStep == 0);
}

// What is wrong with the list; catalog_name: nothing.
Msg read_arguments(PmxEvent* event, va_list arguments) {
    for (int markers = 0; markers < kMaxMarkers; ++markers) {
        PmxParm parm;
        parm.type = va_arg(arguments, int32_t);
        if (parm.type == PMX_END) return Msg::catalog_name;
        const bool is_property = parm.type == PMX_PROPERTY;
        const char* const name = is_property ? va_arg(arguments, const char*) : nullptr;
        if (is_property) parm.type = va_arg(arguments, int32_t);
        switch (parm.type) {
            case PMX_BOOL:
            case PMX_CHAR:
                parm.value.integer = static_cast<uint8_t>(va_arg(arguments, int));
                break;
            case PMX_INT:
                parm.value.integer = va_arg(arguments, int32_t);
                break;
            case PMX_LONG:
                parm.value.integer = va_arg(arguments, int64_t);
                break;
            case PMX_FLOAT:
                parm.value.real =
                    static_cast<double>(static_cast<float>(va_arg(arguments, double)));
                break;
            case PMX_DOUBLE:
                parm.value.real = va_arg(arguments, double);
                break;
            case PMX_STRING:
                parm.value.text = va_arg(arguments, char*);
                break;
            default:
                if (!is_level(parm.type)) return Msg::list_without_markers;
                event->level = parm.type;
                continue;
        }
        if (is_property) {
            set_property(make_properties(event), name, parm);
        } else {
            add_parm(event->message, parm);
        }
    }
    return Msg::list_not_ended;
}

// Puts a copy of a text, or null, in the place of another; all stays when there is no memory.
void replace_text(PmxEvent* event, char*& slot, const char* text) {
    char* const copy = copy_text_in(&event->arena, text);
    if (copy == nullptr && text != nullptr) return;
    event->arena.release(std::exchange(slot, copy));
}

}  // namespace

PmxEvent* begin_event(EventBlock* block, int32_t level, const char* catalog, uint32_t set,
                      uint32_t key, const char* text, va_list arguments) {
    auto* const event = new (block) PmxEvent{
        .arena = Arena(block->bytes + sizeof(PmxEvent), block->bytes + sizeof block->bytes)};
    event->level = level;
    event->is_message = catalog != nullptr;
    event->message = make_message(&event->arena, catalog, set, key, text);
    if (event->message == nullptr) return nullptr;
    event->fault = read_arguments(event, arguments);
    return event;
}

void time_event(PmxEvent* event) {
    event->time = CxSystemGetTimestamp();
    if (event->fault != Msg::catalog_name) report(PMX_ERROR, event->fault);
}

void end_event(PmxEvent* event) {
    if (event == nullptr || !event->arena.has_spilled()) return;
    pmxIntlFreeI18Msg(event->message);
    StringToStringMap::free(event->properties);
    event->arena.release(event->message_id);
    event->arena.release(event->locale);
}

EventSource source_of(const PmxEvent* event) {
    EventSource source;
    if (event->place != nullptr) {
        const auto& [file, function, line] = *event->place;
        source = {file, function, line, file != nullptr};
    }
    if (event->properties == nullptr) return source;
    if (source.file == nullptr) {
        int found = 0;
        source.file = peek_property(event->properties, kSourceFile);
        source.line = pmxIntlGetMapPropInt(event->properties, kSourceLine, &found);
        source.has_line = found != 0;
    }
    if (source.function == nullptr) {
        source.function = peek_property(event->properties, kSourceFunction);
    }
    return source;
}

const PmxStringToStringMap* properties_of(PmxEvent* event) {
    if (event == nullptr) return nullptr;
    settle_place(event);
    return event->properties;
}

}  // namespace vel::log

using namespace vel::log;

PmxEvent* pmxIntlVaAllocEvent(int32_t level, const char* catalog, uint32_t set, uint32_t key,
                              const char* text, va_list arguments) {
    auto* const block = static_cast<EventBlock*>(RakMemoryMalloc(sizeof(EventBlock)));
    if (block == nullptr) return nullptr;
    PmxEvent* const event = begin_event(block, level, catalog, set, key, text, arguments);
    if (event == nullptr) {
        RakMemoryFree(block);
    } else {
        time_event(event);
    }
    return event;
}

void pmxIntlFreeEvent(PmxEvent* event) {
    end_event(event);
    RakMemoryFree(event);
}

int64_t pmxIntlGetEventTime(const PmxEvent* event) { return event == nullptr ? 0 : event->time; }

int32_t pmxIntlGetEventLevel(const PmxEvent* event) { return event == nullptr ? 0 : event->level; }

char* pmxIntlGetEventMessageId(const PmxEvent* event) {
    return event == nullptr ? nullptr : RakStringDup(event->message_id);
}

void pmxIntlSetEventMessageId(PmxEvent* event, const char* id) {
    if (event != nullptr) replace_text(event, event->message_id, id);
}

const char* pmxIntlGetEventLocale(const PmxEvent* event) {
    return event == nullptr ? nullptr : event->locale;
}

void pmxIntlSetEventLocale(PmxEvent* event, const char* locale) {
    if (event == nullptr) return;
    pmxIntlSetI18MsgLocale(event->message, nullptr);  // it had the old one
    replace_text(event, event->locale, locale);
}

int pmxIntlGetEventIsMessage(const PmxEvent* event) {
    return event != nullptr && event->is_message != 0;
}

void pmxIntlSetEventIsMessage(PmxEvent* event, int is_message) {
    if (event != nullptr) event->is_message = is_message != 0;
}

// Properties

char* pmxIntlGetEventProp(PmxEvent* event, const char* name, int* found) {
    return pmxIntlGetMapProp(properties_of(event), name, found);
}
int pmxIntlGetEventPropBool(PmxEvent* event, const char* name, int* found) {
    return pmxIntlGetMapPropBool(properties_of(event), name, found);
}
int32_t pmxIntlGetEventPropInt(PmxEvent* event, const char* name, int* found) {
    return pmxIntlGetMapPropInt(properties_of(event), name, found);
}
int64_t pmxIntlGetEventPropLong(PmxEvent* event, const char* name, int* found) {
    return pmxIntlGetMapPropLong(properties_of(event), name, found);
}
float pmxIntlGetEventPropFloat(PmxEvent* event, const char* name, int* found) {
    return pmxIntlGetMapPropFloat(properties_of(event), name, found);
}
double pmxIntlGetEventPropDouble(PmxEvent* event, const char* name, int* found) {
    return pmxIntlGetMapPropDouble(properties_of(event), name, found);
}
int pmxIntlSetEventProp(PmxEvent* event, const char* name, const char* text) {
    return pmxIntlSetMapProp(writable_properties(event), name, text);
}
int pmxIntlSetEventPropBool(PmxEvent* event, const char* name, int value) {
    return pmxIntlSetMapPropBool(writable_properties(event), name, value);
}
int pmxIntlSetEventPropInt(PmxEvent* event, const char* name, int32_t value) {
    return pmxIntlSetMapPropInt(writable_properties(event), name, value);
}
int pmxIntlSetEventPropLong(PmxEvent* event, const char* name, int64_t value) {
    return pmxIntlSetMapPropLong(writable_properties(event), name, value);
}
int pmxIntlSetEventPropFloat(PmxEvent* event, const char* name, float value) {
    return pmxIntlSetMapPropFloat(writable_properties(event), name, value);
}
int pmxIntlSetEventPropDouble(PmxEvent* event, const char* name, double value) {
    return pmxIntlSetMapPropDouble(writable_properties(event), name, value);
}

char* pmxIntlBindEventMsg(PmxEvent* event, PmxBindMsgOp binder) {
    if (event == nullptr || binder == nullptr) return nullptr;
    prepare_binding(event);
    // The public form would want the lock that is held here.
    return binder == PmxBindI18Msg ? pmxIntlBindI18Msg(event->message) : binder(event->message);
}
