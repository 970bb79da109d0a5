// Conversions of texts, whole and in pieces.
#include <stdlib.h>

#include "i18n/converters.h"
#include "i18n/ebcdic37.h"

namespace vel::i18n {

// A direction: which conversion, from and to units of what size, and whether it is into the code
// set.
template <Converter Family::*kMember, class InUnit, class OutUnit, bool kInto>
struct Direction {
    using In = InUnit;
    using Out = OutUnit;
    static constexpr bool kIntoCodeSet = kInto;

    static uint8_t& state(uc_ch_t& cs) { return kInto ? cs.from_state : cs.to_state; }

    static int convert(uc_ch_t& cs, Span& s) { return (family_of(cs).*kMember)(cs, s); }

    // Passes the ASCII through with which a text begins, and returns its length in units: all of it
    // often enough, and then no converter is needed.
    static size_t pass_ascii(const uc_ch_t& cs, const In* in, size_t length, Out* out,
                             size_t room) {
        if (cs.kind == kEbcdicSbcs || cs.kind == kEbcdicDbcs) return 0;
        return copy_ascii<std::make_unsigned_t<In>, std::make_unsigned_t<Out>>(
            reinterpret_cast<const uint8_t*>(in), reinterpret_cast<uint8_t*>(out),
            std::min(length, room));
    }
};
using ToUtf8 = Direction<&Family::to_utf8, char, char, false>;
using FromUtf8 = Direction<&Family::from_utf8, char, char, true>;
using ToUcs2 = Direction<&Family::to_ucs2, char, uint16_t, false>;
using FromUcs2 = Direction<&Family::from_ucs2, uint16_t, char, true>;

// Returns to the initial state at the end of a text. Into the code set that takes a byte.
template <class D>
static int close_text(uc_ch_t& cs, Span& s) {
    if (D::kIntoCodeSet && cs.from_state != 0) {
        if (s.room() == 0) return kFull;
        *s.to++ = kShiftIn;
    }
    D::state(cs) = 0;
    return kDone;
}

static size_t length_of(const char* text) { return strlen(text); }
static size_t length_of(const uint16_t* text) { return mab_wcslen(text); }

template <class In, class Out>
static Span span_of(const In* in, size_t length, Out* out, size_t room) {
    const auto* from = reinterpret_cast<const uint8_t*>(in);
    auto* to = reinterpret_cast<uint8_t*>(out);
    return {from, from + length * sizeof(In), to, to + room * sizeof(Out)};
}

// Converts the rest of a whole text, and returns where the result ends. (Not inlined, so that plain
// ASCII pays for none of it.)
template <class D, class In = typename D::In, class Out = typename D::Out>
[[gnu::noinline]] static Out* convert_rest(uc_ch_t& cs, const In* in, size_t length, Out* out,
                                           size_t room) {
    Span s = span_of(in, length, out, room);
    D::convert(cs, s);
    close_text<D>(cs, s);
    return reinterpret_cast<Out*>(s.to);
}

// Converts a text from its beginning to its end.
template <class D, class In = typename D::In, class Out = typename D::Out>
static int32_t convert_text(uc_ch_t* cs, const In* in, int32_t length, Out* out, int32_t size) {
    if (size <= 0 || in == nullptr || out == nullptr || length < -1) return 0;
    cs = or_default(cs);
    D::state(*cs) = 0;
    const bool terminated = length < 0;
    const size_t units = terminated ? length_of(in) : static_cast<size_t>(length);
    const size_t room = static_cast<size_t>(terminated ? size - 1 : size);
    const size_t ascii = D::pass_ascii(*cs, in, units, out, room);
    Out* end = out + ascii;
    if (ascii < units) end = convert_rest<D>(*cs, in + ascii, units - ascii, end, room - ascii);
    if (terminated) *end++ = 0;
    return static_cast<int32_t>(end - out);
}

// How many units are there: none behind a null or a negative count.
static size_t count_of(const void* begin, const int32_t* units) {
    return begin == nullptr || units == nullptr || *units < 0 ? 0 : static_cast<size_t>(*units);
}

// Converts the piece of text that the caller points at, and moves the caller's four values on.
template <class D, class In = typename D::In, class Out = typename D::Out>
static int32_t convert_piece(uc_ch_t* cs, const In** in, int32_t* length, Out** out,
                             int32_t* room) {
    if (in == nullptr) return kDone;
    cs = or_default(cs);
    Out* const begin = out == nullptr ? nullptr : *out;
    Span s = span_of(*in, count_of(*in, length), begin, count_of(begin, room));
    const Span before = s;
    const int32_t result = *in == nullptr ? close_text<D>(*cs, s) : D::convert(*cs, s);
    if (s.from != before.from) {
        *length -= static_cast<int32_t>((before.left() - s.left()) / sizeof(In));
        *in = reinterpret_cast<const In*>(s.from);
    }
    if (s.to != before.to) {
        *room -= static_cast<int32_t>((before.room() - s.room()) / sizeof(Out));
        *out = reinterpret_cast<Out*>(s.to);
    }
    return result;
}

// Converts into a new block with room for `growth` bytes of each byte of text, and a zero.
template <class D>
static char* convert_alloc(int32_t growth, uc_ch_t* cs, const char* in, int32_t length,
                           int32_t* written) {
    if (written != nullptr) *written = 0;
    int32_t size = 0;
    if (in == nullptr || length < 0 || __builtin_mul_overflow(length, growth, &size) ||
        __builtin_add_overflow(size, 1, &size)) {
        return nullptr;
    }
    auto* block = static_cast<char*>(malloc(static_cast<size_t>(size)));
    if (block == nullptr) return nullptr;
    const int32_t count = convert_text<D>(cs, in, length, block, size);
    block[std::min(count, size - 1)] = '\0';
    if (written != nullptr) *written = count;
    return block;
}

}  // namespace vel::i18n

using namespace vel::i18n;

int32_t mab_to_utf8(uc_ch_t* cs, const char* in, int32_t length, char* out, int32_t size) {
    return convert_text<ToUtf8>(cs, in, length, out, size);
}

int32_t mab_from_utf8(uc_ch_t* cs, const char* in, int32_t length, char* out, int32_t size) {
    return convert_text<FromUtf8>(cs, in, length, out, size);
}

int32_t mab_to_ucs2(uc_ch_t* cs, const char* in, int32_t length, uint16_t* out, int32_t size) {
    return convert_text<ToUcs2>(cs, in, length, out, size);
}

int32_t mab_from_ucs2(uc_ch_t* cs, const uint16_t* in, int32_t length, char* out, int32_t size) {
    return convert_text<FromUcs2>(cs, in, length, out, size);
}

int32_t mab_to_utf8_r(uc_ch_t* cs, const char** in, int32_t* length, char** out, int32_t* room) {
    return convert_piece<ToUtf8>(cs, in, length, out, room);
}

int32_t mab_from_utf8_r(uc_ch_t* cs, const char** in, int32_t* length, char** out, int32_t* room) {
    return convert_piece<FromUtf8>(cs, in, length, out, room);
}

int32_t mab_to_ucs2_r(uc_ch_t* cs, const char** in, int32_t* length, uint16_t** out,
                      int32_t* room) {
    return convert_piece<ToUcs2>(cs, in, length, out, room);
}

int32_t mab_from_ucs2_r(uc_ch_t* cs, const uint16_t** in, int32_t* length, char** out,
                        int32_t* room) {
    return convert_piece<FromUcs2>(cs, in, length, out, room);
}

char* mab_tou_alloc(uc_ch_t* cs, const char* in, int32_t length, int32_t* written) {
    return convert_alloc<ToUtf8>(3, cs, in, length, written);
}

char* mab_fromu_alloc(uc_ch_t* cs, const char* in, int32_t length, int32_t* written) {
    return convert_alloc<FromUtf8>(2, cs, in, length, written);
}

void mab_free(void* block) { free(block); }
