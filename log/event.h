// Events: one logged occurrence each.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "log/arena.h"
#include "log/message.h"
#include "log/pmx_classes.h"
#include "log/pmx_log.h"

// It stands at the beginning of a block of memory in which its parts lie, as far as they fit.
struct PmxEvent {
    uint8_t is_message = 0;
    int64_t time = 0;  // milliseconds since 1970
    int32_t level = 0;
    PmxI18Msg* message = nullptr;
    char* message_id = nullptr;                  // null until somebody has found it
    const char* locale = nullptr;                // not owned
    PmxStringToStringMap* properties = nullptr;  // null: none yet
    vel::log::Arena arena;
};

PmxEvent* pmxIntlVaAllocEvent(int32_t level, const char* catalog, uint32_t set, uint32_t key,
                              const char* text, va_list arguments);
void pmxIntlFreeEvent(PmxEvent* event);
void pmxIntlSetEventIsMessage(PmxEvent* event, int is_message);

namespace vel::log {

using OwnedEvent = runtime::Owned<PmxEvent, pmxIntlFreeEvent>;

// A property as it is, without a copy; null: there is none.
inline const char* peek_event_property(const PmxEvent* event, const char* name) {
    return peek_property(event->properties, name);
}

}  // namespace vel::log
