// Events: one logged occurrence each.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "log/arena.h"
#include "log/message.h"
#include "log/pmx_classes.h"
#include "log/pmx_log.h"

namespace vel::log {

// The place of a logging call in the source, as it was given: it lives as long as the call.
struct SourcePlace {
    const char* file = nullptr;
    const char* function = nullptr;
    int32_t line = 0;
};

}  // namespace vel::log

// It stands at the beginning of a block of memory in which its parts lie, as far as they fit.
struct PmxEvent {
    uint8_t is_message = 0;
    int64_t time = 0;  // milliseconds since 1970
    int32_t level = 0;
    PmxI18Msg* message = nullptr;
    char* message_id = nullptr;                  // null until somebody has found it
    char* locale = nullptr;                      // a copy: formatters come and go
    PmxStringToStringMap* properties = nullptr;  // null: none yet
    // Of the logging call; becomes properties when somebody looks at these, which not every event
    // comes to.
    const vel::log::SourcePlace* place = nullptr;
    // What is wrong with the list of arguments that it was made of; catalog_name: nothing.
    vel::log::Msg fault = vel::log::Msg::catalog_name;
    vel::log::Arena arena;
};

PmxEvent* pmxIntlVaAllocEvent(int32_t level, const char* catalog, uint32_t set, uint32_t key,
                              const char* text, va_list arguments);
void pmxIntlFreeEvent(PmxEvent* event);
void pmxIntlSetEventIsMessage(PmxEvent* event, int is_message);

namespace vel::log {

// Room for a usual event with all that it copies.
struct alignas(max_align_t) EventBlock {
    char bytes[2048];
};

// An event in a block that outlives it, without its time; null: no memory. This alone needs no
// lock.
PmxEvent* begin_event(EventBlock* block, int32_t level, const char* catalog, uint32_t set,
                      uint32_t key, const char* text, va_list arguments);
void end_event(PmxEvent* event);

// Gives it the time of this moment, and reports what is wrong with its arguments.
void time_event(PmxEvent* event);

// Gives the message the locale of its event.
inline void prepare_binding(PmxEvent* event) {
    if (event->locale != nullptr) event->message->locale = event->locale;
}

// The event's properties, those of its place among them; null: none.
const PmxStringToStringMap* properties_of(PmxEvent* event);

// Where the event comes from, by its properties.
struct EventSource {
    const char* file = nullptr;  // null: not known, as the next
    const char* function = nullptr;
    int32_t line = 0;
    bool has_line = false;
};
// Its place need not become properties for that.
EventSource source_of(const PmxEvent* event);

// Another property than those of its place; null: there is none.
inline const char* peek_other_property(const PmxEvent* event, const char* name) {
    return event->properties == nullptr ? nullptr : peek_property(event->properties, name);
}

// A property as it is, without a copy; null: there is none.
inline const char* peek_event_property(PmxEvent* event, const char* name) {
    return peek_property(properties_of(event), name);
}

}  // namespace vel::log
