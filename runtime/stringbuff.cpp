// The growable text.
#include <algorithm>
#include <charconv>
#include <cstring>

#include "i18n/mab.h"
#include "runtime/cx_stringbuff.h"
#include "runtime/owned.h"
#include "runtime/rak.h"
#include "runtime/room.h"

static_assert(offsetof(CxStringBuff, capacity) == 4 && offsetof(CxStringBuff, text) == 8);

namespace vel::runtime {
namespace {

constexpr int32_t kFirstCapacity = 1024;
constexpr int32_t kMaxNumber = 32;  // digits and a sign

// Makes room and returns where the bytes stand then: growing moves those that are the buffer's own.
// Null: there is no room.
const char* grow_keeping(CxStringBuff* buff, const char* bytes, size_t extra) {
    const ptrdiff_t own = own_offset(buff, bytes);
    if (room_for(buff, extra) == nullptr) return nullptr;
    return own < 0 ? bytes : buff->text + own;
}

int append(CxStringBuff* buff, const char* bytes, size_t count) {
    bytes = grow_keeping(buff, bytes, count);
    if (bytes == nullptr) return 0;
    memcpy(buff->text + buff->length, bytes, count);
    extend(buff, count);
    return 1;
}

// Appends a text that is short, with room to spare; false: nothing has been done. Looking for its
// end and copying at once takes half the time of the two calls of the C library.
bool append_short(CxStringBuff* buff, const char* text) {
    constexpr int32_t kShort = 32;
    const bool roomy = buff->text != nullptr && buff->capacity - buff->length > kShort;
    if (!roomy || own_offset(buff, text) >= 0) return false;
    char* const end = buff->text + buff->length;
    for (int32_t i = 0; i < kShort; ++i) {
        end[i] = text[i];
        if (text[i] != '\0') continue;
        buff->length += i;
        return true;
    }
    *end = '\0';
    return false;
}

char to_ebcdic(char ascii) { return static_cast<char>(ascii == '-' ? 0x60 : 0xF0 + (ascii - '0')); }

template <class Number>
int append_number(CxStringBuff* buff, Number number, bool ebcdic = false) {
    if (buff == nullptr) return 0;
    if (number == 0) return 1;  // zero has no digits here: users of the library rely on it
    // The digits are put where they belong when there is room for any number.
    char digits[kMaxNumber];
    const bool roomy = buff->text != nullptr && buff->capacity - buff->length > kMaxNumber;
    char* const begin = roomy ? buff->text + buff->length : digits;
    char* const end = std::to_chars(begin, begin + kMaxNumber, number).ptr;
    if (ebcdic) std::transform(begin, end, begin, to_ebcdic);
    const auto count = static_cast<size_t>(end - begin);
    if (!roomy) return append(buff, digits, count);
    extend(buff, count);
    return 1;
}

// The forms of UTF-8, up to six bytes long.
struct Utf8Form {
    int32_t last_code;
    uint8_t lead;
    unsigned following;
};
constexpr Utf8Form kUtf8Forms[] = {
    {0x7FE, 0xC0, 1},  // not 0x7FF: that code has always been written with three bytes
    {0xFFFF, 0xE0, 2}, {0x1FFFFF, 0xF0, 3}, {0x3FFFFFF, 0xF8, 4}, {INT32_MAX, 0xFC, 5},
};

size_t encode_utf8(int32_t code, char* out) {
    if (code <= 0x7F) {
        out[0] = static_cast<char>(code & 0x7F);
        return 1;
    }
    const Utf8Form* form = kUtf8Forms;
    while (code > form->last_code) ++form;
    out[0] = static_cast<char>(form->lead | code >> (6 * form->following));
    for (unsigned i = 1; i <= form->following; ++i) {
        out[i] = static_cast<char>(0x80 | (code >> (6 * (form->following - i)) & 0x3F));
    }
    return form->following + 1;
}

using Convert = int32_t (*)(uc_ch_t*, const char*, int32_t, char*, int32_t);

// Replaces the content by its conversion, which takes `growth` bytes for one.
int change(uc_ch_t* cs, CxStringBuff* buff, Convert convert, size_t growth) {
    // A conversion leaves off where its room ends, before a character of this length at most with
    // its shift. So this much is left when it did not.
    constexpr int32_t kLongestCharacter = 8;
    if (buff == nullptr) return 0;
    if (buff->length == 0) return 1;
    StringBuff fresh;
    const size_t needed = static_cast<size_t>(buff->length) * growth + kLongestCharacter;
    if (!cxStringBuffHasCapacity(&fresh, needed)) return 0;
    const int32_t room = fresh.capacity - 1;
    const int32_t written = convert(cs, buff->text, buff->length, fresh.text, room);
    if (written < 0 || written > room - kLongestCharacter) return 0;
    extend(&fresh, static_cast<size_t>(written));
    std::swap<CxStringBuff>(*buff, fresh);
    return 1;
}

}  // namespace
}  // namespace vel::runtime

using namespace vel::runtime;

int cxStringBuffHasCapacity(CxStringBuff* buff, size_t extra) {
    const bool first = buff->text == nullptr;
    const size_t length = first ? 0 : static_cast<size_t>(buff->length);
    size_t needed = 0;
    if (__builtin_add_overflow(length + 1, extra, &needed) || needed > INT32_MAX) return 0;
    int64_t capacity = first ? kFirstCapacity : std::max(buff->capacity, 1);
    if (static_cast<size_t>(capacity) < needed) {
        // A capacity that just suffices is doubled once more.
        while (static_cast<size_t>(capacity) <= needed) capacity *= 2;
        capacity = std::min<int64_t>(capacity, INT32_MAX);
    } else if (!first) {
        return 1;
    }
    auto* text = static_cast<char*>(RakMemoryRealloc(buff->text, static_cast<size_t>(capacity)));
    if (text == nullptr) return 0;
    text[length] = '\0';
    *buff = {static_cast<int32_t>(length), static_cast<int32_t>(capacity), text};
    return 1;
}

int CxStringBuffAppendStr(CxStringBuff* buff, const char* text) {
    if (buff == nullptr || text == nullptr) return 0;
    return append_short(buff, text) || append(buff, text, strlen(text));
}

int CxStringBuffAppendStrN(CxStringBuff* buff, const char* text, int32_t n) {
    if (buff == nullptr || text == nullptr || n < -1) return 0;
    return append(buff, text, n < 0 ? strlen(text) : strnlen(text, static_cast<size_t>(n)));
}

int CxStringBuffAppendChar(CxStringBuff* buff, char byte) {
    char* const end = buff == nullptr ? nullptr : room_for(buff, 1);
    if (end == nullptr) return 0;
    *end = byte;
    extend(buff, 1);
    return 1;
}

int CxStringBuffAppendUTF32Char(CxStringBuff* buff, int32_t code) {
    constexpr size_t kMaxUtf8 = 6;
    char form[kMaxUtf8];
    return buff != nullptr && append(buff, form, encode_utf8(code, form));
}

int CxStringBuffAppendUCS2Char(CxStringBuff* buff, uint16_t code) {
    return CxStringBuffAppendUTF32Char(buff, code);
}

int CxStringBuffAppendWStrN(CxStringBuff* buff, uc_ch_t* cs, const uint16_t* text, int32_t n) {
    if (buff == nullptr || text == nullptr || n < -1) return 0;
    if (*text == 0) return 1;
    // A handle of our own, for the shift state.
    const Owned<uc_ch_t, mab_cs_free> own(mab_dup_handle(cs));
    if (own == nullptr) return 0;
    auto room = static_cast<size_t>(n < 0 ? INT32_MAX : n);
    for (bool ended = false; !ended; ++text) {
        ended = *text == 0;
        char bytes[MAB_MB_LEN_MAX];
        const int written = mab_wctomb(own.get(), bytes, *text);
        if (written < 0) return 0;
        // Of the end only the shift is appended, if there is one.
        const size_t count = static_cast<size_t>(written) - (ended ? 1 : 0);
        if (count > room) return 1;
        if (!append(buff, bytes, count)) return 0;
        room -= count;
    }
    return 1;
}

int CxStringBuffAppendInt64(CxStringBuff* buff, int64_t number) {
    return append_number(buff, number);
}

int CxStringBuffAppendInt32(CxStringBuff* buff, int32_t number) {
    return append_number(buff, number);
}

int CxStringBuffAppendUInt64(CxStringBuff* buff, uint64_t number) {
    return append_number(buff, number);
}

int CxStringBuffAppendEBCDICInt64(CxStringBuff* buff, int64_t number) {
    return append_number(buff, number, true);
}

int CxStringBuffInsertStr(CxStringBuff* buff, const char* text, int32_t position) {
    if (buff == nullptr || text == nullptr || position < 0 || position > buff->length) return 0;
    const size_t count = strlen(text);
    const ptrdiff_t own = own_offset(buff, text);
    if (room_for(buff, count) == nullptr) return 0;
    char* const gap = buff->text + position;
    memmove(gap + count, gap, static_cast<size_t>(buff->length - position));
    // Of the buffer's own text, what stood before the gap is where it was; the rest has moved.
    size_t before = 0;
    if (own >= 0) {
        text = buff->text + own;
        before = std::min(count, static_cast<size_t>(std::max<ptrdiff_t>(position - own, 0)));
        memcpy(gap, text, before);
        text += count;
    }
    memcpy(gap + before, text + before, count - before);
    extend(buff, count);
    return 1;
}

int CxStringBuffChangeToUTF8(uc_ch_t* cs, CxStringBuff* buff) {
    return change(cs, buff, mab_to_utf8, 3);
}

int CxStringBuffChangeFromUTF8(uc_ch_t* cs, CxStringBuff* buff) {
    return change(cs, buff, mab_from_utf8, 2);
}

char* CxStringBuffTakeStr(CxStringBuff* buff) {
    return buff == nullptr ? nullptr : std::exchange(*buff, {}).text;
}

const char* CxStringBuffPeekStr(const CxStringBuff* buff) {
    return buff == nullptr ? nullptr : buff->text;
}

char* CxStringBuffCopyStr(const CxStringBuff* buff) {
    return RakStringDup(CxStringBuffPeekStr(buff));
}

int CxStringBuffRestart(CxStringBuff* buff) {
    if (buff == nullptr) return 0;
    buff->length = 0;
    if (buff->text != nullptr) buff->text[0] = '\0';
    return 1;
}

int CxStringBuffDiscard(CxStringBuff* buff) {
    if (buff == nullptr) return 0;
    RakMemoryFree(CxStringBuffTakeStr(buff));
    return 1;
}

int CxStringBuffPack(CxStringBuff* buff) {
    if (buff == nullptr) return 0;
    if (buff->length == 0) return CxStringBuffDiscard(buff);
    if (buff->capacity == buff->length + 1) return 0;
    auto* text = RakMemoryRealloc(buff->text, static_cast<size_t>(buff->length) + 1);
    if (text == nullptr) return 0;
    *buff = {buff->length, buff->length + 1, static_cast<char*>(text)};
    return 1;
}
