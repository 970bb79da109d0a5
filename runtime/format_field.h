// What all conversions share: a prefix, zeros and a body in a field of some width.
#pragma once

#include <algorithm>
#include <string_view>

#include "runtime/format.h"
#include "runtime/owned.h"
#include "runtime/room.h"

namespace vel::runtime {

// Copies by the first and the last bytes, which may overlap.
template <size_t kSize>
inline void copy_ends(char* out, const char* from, size_t size) {
    char first[kSize], last[kSize];
    memcpy(first, from, kSize);
    memcpy(last, from + size - kSize, kSize);
    memcpy(out, first, kSize);
    memcpy(out + size - kSize, last, kSize);
}

// Copies what is mostly too short to be worth a call, and returns the end of the copy.
inline char* copy_short(char* out, std::string_view text) {
    const size_t size = text.size();
    if (size >= 16) {
        memcpy(out, text.data(), size);
    } else if (size >= 8) {
        copy_ends<8>(out, text.data(), size);
    } else if (size >= 4) {
        copy_ends<4>(out, text.data(), size);
    } else if (size >= 2) {
        copy_ends<2>(out, text.data(), size);
    } else if (size == 1) {
        *out = text[0];
    }
    return out + size;
}

inline bool put(CxStringBuff* buff, std::string_view text) {
    char* const out = room_for(buff, text.size());
    if (out == nullptr) return false;
    copy_short(out, text);
    extend(buff, text.size());
    return true;
}

// Puts down a prefix, zeros and a body, padded with blanks to the width.
inline bool put_field(CxStringBuff* buff, Field field, std::string_view prefix, size_t zeros,
                      std::string_view body) {
    const size_t length = prefix.size() + zeros + body.size();
    const size_t width = field.width < 0 ? 0 : static_cast<size_t>(field.width);
    const size_t blanks = width > length ? width - length : 0;
    char* out = room_for(buff, length + blanks);
    if (out == nullptr) return false;
    const bool left = (field.flags & kLeft) != 0;
    if (!left) out = std::fill_n(out, blanks, ' ');
    out = copy_short(out, prefix);
    out = std::fill_n(out, zeros, '0');
    out = copy_short(out, body);
    if (left) std::fill_n(out, blanks, ' ');
    extend(buff, length + blanks);
    return true;
}

// The zeros that fill up the width when the flag says so.
inline size_t zeros_to_width(Field field, size_t length) {
    if (!(field.flags & kZero) || field.flags & kLeft || field.width < 0) return 0;
    const auto width = static_cast<size_t>(field.width);
    return width > length ? width - length : 0;
}

inline std::string_view sign_of(uint8_t flags, bool negative) {
    if (negative) return "-";
    if (flags & kPlus) return "+";
    return flags & kBlank ? " " : "";
}

inline std::string_view text_of(const CxStringBuff& buff) {
    return {buff.text, static_cast<size_t>(buff.length)};
}

}  // namespace vel::runtime
