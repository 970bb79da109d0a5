// Room at the end of a string buffer, for those who write there themselves.
#pragma once

#include <cstddef>
#include <cstdint>

#include "runtime/cx_stringbuff.h"

// Makes room for so many bytes and a zero behind the text. 0, and all as it was: no memory, or more
// than a buffer can hold.
int cxStringBuffHasCapacity(CxStringBuff* buff, size_t extra);

namespace vel::runtime {

// Where the next `extra` bytes go; null: there is no room for them.
inline char* room_for(CxStringBuff* buff, size_t extra) {
    const bool ready = buff->text != nullptr && extra < static_cast<size_t>(buff->capacity) -
                                                            static_cast<size_t>(buff->length);
    if (!ready && !cxStringBuffHasCapacity(buff, extra)) return nullptr;
    return buff->text + buff->length;
}

// Where in the buffer's own text something stands; -1: elsewhere.
inline ptrdiff_t own_offset(const CxStringBuff* buff, const void* bytes) {
    const auto place = reinterpret_cast<uintptr_t>(bytes);
    const auto begin = reinterpret_cast<uintptr_t>(buff->text);
    const bool own =
        begin != 0 && place >= begin && place - begin <= static_cast<size_t>(buff->length);
    return own ? static_cast<ptrdiff_t>(place - begin) : -1;
}

// Takes bytes that were put there into the text.
inline void extend(CxStringBuff* buff, size_t count) {
    buff->length += static_cast<int32_t>(count);
    buff->text[buff->length] = '\0';
}

}  // namespace vel::runtime
