// The reader of properties files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "runtime/cx_text.h"

namespace vel::log {

enum class PropsState : uint8_t {
    none,
    start_line,
    start_blanks,
    comment,
    key,
    key_escape,
    key_end,  // blanks after the key, no separator yet
    separator,
    value,
    value_escape,
    next_line,  // the start of a line that continues a value
    unicode_0,
    unicode_1,
    unicode_2,
    unicode_3,
    done,
    failed
};

// Who wants to know how a text is read, and where in it everything stands. Its calls throw nothing.
struct PropsWatcher {
    void* context;
    // The byte at the offset led from one state to another; at the end of the text that is its
    // size.
    void (*step)(void* context, PropsState from, PropsState to, size_t offset);
    // An escape was read, before the step by its last digit: the character that it makes.
    void (*code)(void* context, int32_t code);
    // An entry is complete, before the step that completes it; the value may be null. False: it is
    // not to go into the log manager, and the reading goes on.
    bool (*entry)(void* context, const char* key, const char* value);
};

// Reads a text as a file that has it would be read, into the log manager, with the toolkit's lock.
// Nothing is reported. False: there is a fault; what came before it stays.
bool read_watched_props(std::string_view text, const PropsWatcher& watcher);

}  // namespace vel::log

// Reads a file into the property list, without the toolkit's lock, or with null into the log
// manager, with it. 1: all of it was read; else what came before the fault stays.
int pmxDoReadProps(const char* path, CxPropList* list);
