// The property "level" of loggers and level filters.
#pragma once

#include "log/message.h"
#include "log/object.h"

namespace vel::log {

inline void set_level(PmxObject* object, const char* key) {
    const char* const text = peek_object_property(object, key);
    if (text != nullptr && *text != '\0') {
        set_gate(object, object->enabled, PmxGetLevelFromString(text));
    } else {
        report(PMX_WARN, Msg::property_empty, key, object->name);
        set_gate(object, object->enabled, PMX_INFO);
    }
}

}  // namespace vel::log
