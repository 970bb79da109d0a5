// A printf format, parsed: its pieces, and what they demand of the arguments.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

#include "runtime/cx_os.h"
#include "runtime/cx_stringbuff.h"
#include "runtime/rak.h"

namespace vel::runtime {

// A list that starts out inside itself, without a call for memory. New elements are T{}.
template <class T, int32_t kInside>
class GrowingList {
    static_assert(std::is_trivially_copyable_v<T>);

  public:
    GrowingList() : elements_(reinterpret_cast<T*>(inside_)) {}
    ~GrowingList() {
        if (capacity_ > kInside) RakMemoryFree(elements_);
    }
    GrowingList(const GrowingList&) = delete;
    GrowingList& operator=(const GrowingList&) = delete;

    int32_t count() const { return count_; }
    T* begin() { return elements_; }
    T* end() { return elements_ + count_; }
    const T* begin() const { return elements_; }
    const T* end() const { return elements_ + count_; }
    T& operator[](int32_t i) { return elements_[i]; }
    const T& operator[](int32_t i) const { return elements_[i]; }

    // Has at least so many elements then; false: no memory.
    bool reach(int32_t count) {
        if (count > capacity_ && !grow(count)) return false;
        for (; count_ < count; ++count_) std::construct_at(elements_ + count_);
        return true;
    }

    // One more element; null: no memory.
    T* add() { return reach(count_ + 1) ? &elements_[count_ - 1] : nullptr; }

  private:
    bool grow(int32_t count) {
        const int32_t capacity = std::max(2 * capacity_, count);
        void* const block = RakMemoryRealloc(capacity_ > kInside ? elements_ : nullptr,
                                             static_cast<size_t>(capacity) * sizeof(T));
        if (block == nullptr) return false;
        if (capacity_ == kInside) memcpy(block, inside_, sizeof inside_);
        elements_ = static_cast<T*>(block);
        capacity_ = capacity;
        return true;
    }

    alignas(T) std::byte inside_[kInside * sizeof(T)];
    T* elements_;
    int32_t count_ = 0;
    int32_t capacity_ = kInside;
};

// What an argument is, by what was demanded of it.
enum class ArgKind : uint8_t {
    none = 0,   // nothing was demanded
    unset = 1,  // there is no value
    int32 = 10,
    short_int = 11,
    long_int = 12,
    long_long = 13,
    intmax = 14,
    uint32 = 20,
    ushort_int = 21,
    ulong_int = 22,
    ulong_long = 23,
    uintmax = 24,
    real = 30,
    long_real = 31,
    signed_char = 40,
    unsigned_char = 41,
    wide_char = 42,
    pointer = 50,
    int_count = 60,
    short_count = 61,
    long_count = 62,
    long_long_count = 63,
    text = 70,  // and the count of "%hhn"
    wide_text = 71,
    ssize = 80,
    size = 81,
    ptrdiff = 90,
};

struct Arg {
    ArgKind kind = ArgKind::none;
    union {
        int64_t i;  // 32-bit kinds, too, with their sign
        uint64_t u;
        long double f;
        const void* p;
    } is{.i = 0};
};

enum class LengthCode : uint8_t {
    none = 0,
    l = 10,
    ll = 11,
    L = 12,
    h = 20,
    hh = 21,
    I64 = 30,
    j = 40,
    q = 50,
    t = 60,
    z = 70,
};

enum Flag : uint8_t {
    kLeft = 1,        // "-"
    kZero = 2,        // "0"
    kPlus = 4,        // "+"
    kBlank = 8,       // " "
    kAlternate = 16,  // "#"
    kGroup = 32,      // "'"
};

constexpr int32_t kMaxArguments = 4096;
constexpr int32_t kMaxMeasure = 65535;  // of a width or a precision

// A field of some width, filled up with blanks or with zeros.
struct Field {
    int32_t width = -1;  // -1: as wide as what is in it
    uint8_t flags = 0;
};

struct Conversion;

// A stretch of literal text, or a conversion.
struct FormatItem {
    const char* begin = nullptr;  // of the text; null for a conversion
    const char* end = nullptr;
    Field field;
    int32_t argument = -1;
    int32_t width_argument = -1;
    int32_t precision_argument = -1;
    int32_t precision = -1;
    bool plain = false;  // nothing but the letter, and perhaps a position
    LengthCode length = LengthCode::none;
    ArgKind kind = ArgKind::none;
    char letter = '?';
    const Conversion* conversion = nullptr;
};

// Whether a kind is one of integers, characters included.
constexpr bool is_integer(ArgKind kind) {
    const auto code = static_cast<unsigned>(kind);
    return (code >= 10 && code < 30) || (code >= 40 && code < 50) || code >= 80;
}

// Prints one argument; one of another family is passed over. False: it cannot be done, and the
// whole formatting fails.
using Emit = bool (*)(CxStringBuff* buff, const FormatItem& item, const Arg& arg);

// A conversion: which argument it demands for each length, in the order of the length's column.
struct Conversion {
    char letter;  // as it is stored: "i" is "d"
    Emit emit;
    std::array<ArgKind, 10> kinds;
};

bool emit_real(CxStringBuff* buff, const FormatItem& item, const Arg& arg);

// The conversion of a letter; null: there is none.
const Conversion* conversion_of(char letter);

struct FormatList {
    GrowingList<FormatItem, 16> items;
    int32_t next_argument = 0;  // of the conversions that do not name theirs
};

using ArgList = GrowingList<Arg, 16>;

}  // namespace vel::runtime

// Parses a format and notes what it demands of each argument. 0: it is not one (status: 22), or no
// memory (12).
int CxPrintfProcessFmts(vel::runtime::FormatList* list, vel::runtime::ArgList* args,
                        const char* format, CxStatus* status);

// Puts the separator of the locale between the groups of a text of digits; 0: no memory.
int cxPrintfDoThousandSep(CxStringBuff* digits);
