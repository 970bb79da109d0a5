// Conversions are printed here but for real numbers: each kind of conversion is put into the string
// buffer as the C library's printf puts it.
#include <array>
#include <charconv>
#include <climits>
#include <clocale>
#include <cwchar>

#include "runtime/format_field.h"

namespace vel::runtime {
namespace {

bool has_32_bits(ArgKind kind) {
    switch (kind) {
        case ArgKind::int32:
        case ArgKind::uint32:
        case ArgKind::short_int:
        case ArgKind::ushort_int:
        case ArgKind::signed_char:
        case ArgKind::unsigned_char:
        case ArgKind::wide_char:
            return true;
        default:
            return false;
    }
}

// The type to which an integer is converted, in bits: char and short as demanded, else the wider of
// what is demanded and what there is, so that any integer prints by its value.
unsigned bits_of(ArgKind demanded, ArgKind actual) {
    if (demanded == ArgKind::signed_char || demanded == ArgKind::unsigned_char) return CHAR_BIT;
    if (demanded == ArgKind::short_int || demanded == ArgKind::ushort_int) return 16;
    return has_32_bits(demanded) && has_32_bits(actual) ? 32 : 64;
}

struct Number {
    bool negative;
    uint64_t magnitude;
};

Number number_of(const FormatItem& item, const Arg& arg) {
    const unsigned unused = 64 - bits_of(item.kind, arg.kind);
    const uint64_t top = arg.is.u << unused;
    if (item.letter != 'd') return {false, top >> unused};
    const int64_t value = static_cast<int64_t>(top) >> unused;
    const auto magnitude = static_cast<uint64_t>(value);
    return value < 0 ? Number{true, 0 - magnitude} : Number{false, magnitude};
}

constexpr size_t kMaxDigits = 24;  // of 64 bits in octal, and some

std::string_view digits_of(uint64_t number, char letter, char* out) {
    const int base = letter == 'o' ? 8 : letter == 'x' || letter == 'X' ? 16 : 10;
    char* const end = std::to_chars(out, out + kMaxDigits, number, base).ptr;
    if (letter == 'X') {
        std::transform(out, end, out,
                       [](char c) { return static_cast<char>(c >= 'a' ? c - 'a' + 'A' : c); });
    }
    return {out, static_cast<size_t>(end - out)};
}

// The common case: nothing but the number.
bool put_decimal(CxStringBuff* buff, const Number& number) {
    char digits[kMaxDigits] = "-";
    const char* const end = std::to_chars(digits + 1, std::end(digits), number.magnitude).ptr;
    const char* const begin = number.negative ? digits : digits + 1;
    return put(buff, {begin, static_cast<size_t>(end - begin)});
}

// Prints the digits of an integer with as many zeros as are due.
bool put_digits(CxStringBuff* buff, const FormatItem& item, std::string_view prefix,
                std::string_view digits) {
    const auto least = static_cast<size_t>(std::max(item.precision, 0));
    size_t zeros = least > digits.size() ? least - digits.size() : 0;
    const bool octal_mark = item.letter == 'o' && item.field.flags & kAlternate;
    if (octal_mark && zeros == 0 && !digits.starts_with('0')) zeros = 1;
    if (item.precision < 0) {
        zeros = std::max(zeros, zeros_to_width(item.field, prefix.size() + digits.size()));
    }
    return put_field(buff, item.field, prefix, zeros, digits);
}

bool emit_number(CxStringBuff* buff, const FormatItem& item, const Number& number,
                 std::string_view prefix) {
    char buffer[kMaxDigits];
    std::string_view digits = digits_of(number.magnitude, item.letter, buffer);
    if (number.magnitude == 0 && item.precision == 0) digits = {};
    if (!(item.field.flags & kGroup)) return put_digits(buff, item, prefix, digits);
    StringBuff grouped;
    if (!put(&grouped, digits) || !cxPrintfDoThousandSep(&grouped)) return false;
    return put_digits(buff, item, prefix, text_of(grouped));
}

bool emit_integer(CxStringBuff* buff, const FormatItem& item, const Arg& arg) {
    if (!is_integer(arg.kind)) return true;
    const Number number = number_of(item, arg);
    if (item.letter == 'd') {
        return item.plain
                   ? put_decimal(buff, number)
                   : emit_number(buff, item, number, sign_of(item.field.flags, number.negative));
    }
    std::string_view prefix;
    if (item.field.flags & kAlternate && number.magnitude != 0) {
        prefix = item.letter == 'x' ? "0x" : item.letter == 'X' ? "0X" : "";
    }
    return emit_number(buff, item, number, prefix);
}

// Appends the multibyte form of a wide character, when it is no longer than room. -1: it has none,
// or no memory; else its length.
ptrdiff_t put_wide(CxStringBuff* buff, wchar_t c, size_t room, mbstate_t& state) {
    char bytes[MB_LEN_MAX];
    const size_t length = wcrtomb(bytes, c, &state);
    if (length == static_cast<size_t>(-1)) return -1;
    if (length <= room && !put(buff, {bytes, length})) return -1;
    return static_cast<ptrdiff_t>(length);
}

bool emit_wide_text(CxStringBuff* buff, const FormatItem& item, const wchar_t* text) {
    StringBuff converted;
    mbstate_t state{};
    auto room = item.precision < 0 ? size_t{INT32_MAX} : static_cast<size_t>(item.precision);
    while (room > 0 && *text != L'\0') {
        const ptrdiff_t length = put_wide(&converted, *text++, room, state);
        if (length < 0) return false;
        if (static_cast<size_t>(length) > room) break;
        room -= static_cast<size_t>(length);
    }
    return put_field(buff, item.field, {}, 0, text_of(converted));
}

bool emit_text(CxStringBuff* buff, const FormatItem& item, const Arg& arg) {
    if (arg.kind != item.kind) return true;
    if (arg.is.p == nullptr) {
        // Whole or not at all.
        constexpr std::string_view kNull = "(null)";
        const bool fits = item.precision < 0 || static_cast<size_t>(item.precision) >= kNull.size();
        return put_field(buff, item.field, {}, 0, fits ? kNull : "");
    }
    if (item.kind == ArgKind::wide_text) {
        return emit_wide_text(buff, item, static_cast<const wchar_t*>(arg.is.p));
    }
    const auto* text = static_cast<const char*>(arg.is.p);
    const size_t length =
        item.precision < 0 ? strlen(text) : strnlen(text, static_cast<size_t>(item.precision));
    if (item.plain) return put(buff, {text, length});
    return put_field(buff, item.field, {}, 0, {text, length});
}

bool emit_character(CxStringBuff* buff, const FormatItem& item, const Arg& arg) {
    if (!is_integer(arg.kind)) return true;
    if (item.kind != ArgKind::wide_char) {
        const auto byte = static_cast<char>(arg.is.i);
        return put_field(buff, item.field, {}, 0, {&byte, 1});
    }
    StringBuff converted;
    mbstate_t state{};
    const auto c = static_cast<wchar_t>(arg.is.i);
    if (put_wide(&converted, c, MB_LEN_MAX, state) < 0) return false;
    return put_field(buff, item.field, {}, 0, text_of(converted));
}

bool emit_pointer(CxStringBuff* buff, const FormatItem& item, const Arg& arg) {
    if (arg.kind != ArgKind::pointer) return true;
    if (arg.is.p == nullptr) return put_field(buff, item.field, {}, 0, "(nil)");
    constexpr std::string_view kPrefixes[] = {"0x", "+0x", " 0x"};
    const size_t prefix = item.field.flags & kPlus ? 1 : item.field.flags & kBlank ? 2 : 0;
    FormatItem as_hex = item;
    as_hex.letter = 'x';
    as_hex.field.flags = static_cast<uint8_t>(item.field.flags & ~kGroup);
    const auto address = reinterpret_cast<uintptr_t>(arg.is.p);
    return emit_number(buff, as_hex, {false, address}, kPrefixes[prefix]);
}

// A format must not be able to write into memory: "%n" only takes its argument.
bool emit_nothing(CxStringBuff*, const FormatItem&, const Arg&) { return true; }

using K = ArgKind;

// What takes the same argument for every length.
constexpr std::array<ArgKind, 10> always(ArgKind kind) {
    std::array<ArgKind, 10> kinds{};
    kinds.fill(kind);
    return kinds;
}

constexpr std::array<ArgKind, 10> kUnsigned = {
    K::uint32,     K::ushort_int, K::unsigned_char, K::ulong_int, K::ulong_long,
    K::ulong_long, K::uintmax,    K::ptrdiff,       K::size,      K::uint32};
constexpr std::array<ArgKind, 10> kReal = {K::real, K::real, K::real, K::real, K::real,
                                           K::real, K::real, K::real, K::real, K::long_real};

constexpr Conversion kConversions[] = {
    //    none, h, hh, l, ll and I64, q, j, t, z, L
    {'d',
     emit_integer,
     {K::int32, K::short_int, K::signed_char, K::long_int, K::long_long, K::long_long, K::intmax,
      K::ptrdiff, K::ssize, K::int32}},
    {'o', emit_integer, kUnsigned},
    {'u', emit_integer, kUnsigned},
    {'x', emit_integer, kUnsigned},
    {'X', emit_integer, kUnsigned},
    {'c',
     emit_character,
     {K::int32, K::int32, K::int32, K::wide_char, K::int32, K::int32, K::int32, K::int32, K::int32,
      K::int32}},
    {'C', emit_character, always(K::wide_char)},
    {'s',
     emit_text,
     {K::text, K::text, K::text, K::wide_text, K::text, K::text, K::text, K::text, K::text,
      K::text}},
    {'S', emit_text, always(K::wide_text)},
    {'a', emit_real, kReal},
    {'A', emit_real, kReal},
    {'e', emit_real, kReal},
    {'E', emit_real, kReal},
    {'f', emit_real, kReal},
    {'F', emit_real, kReal},
    {'g', emit_real, kReal},
    {'G', emit_real, kReal},
    {'p', emit_pointer, always(K::pointer)},
    {'n',
     emit_nothing,
     {K::int_count, K::short_count, K::text, K::long_count, K::long_long_count, K::long_count,
      K::int_count, K::int_count, K::int_count, K::int_count}},
};

// The conversion of each letter; "i" is read as "d".
constexpr auto kByLetter = [] {
    std::array<const Conversion*, 128> conversions{};
    for (const Conversion& conversion : kConversions) {
        conversions[static_cast<unsigned char>(conversion.letter)] = &conversion;
    }
    conversions['i'] = conversions['d'];
    return conversions;
}();

}  // namespace

const Conversion* conversion_of(char letter) {
    const auto code = static_cast<unsigned char>(letter);
    return code < kByLetter.size() ? kByLetter[code] : nullptr;
}

}  // namespace vel::runtime

int cxPrintfDoThousandSep(CxStringBuff* digits) {
    constexpr unsigned kMaxGroup = 254;
    const lconv* const locale = localeconv();
    const char* const separator = locale->thousands_sep;
    const char* grouping = locale->grouping;
    auto size = static_cast<unsigned char>(*grouping);
    if (*separator == '\0' || size < 1 || size > kMaxGroup) return 1;
    for (int32_t at = digits->length - size; at > 0; at -= size) {
        if (!CxStringBuffInsertStr(digits, separator, at)) return 0;
        if (grouping[1] == '\0') continue;  // the last size is repeated
        size = static_cast<unsigned char>(*++grouping);
        if (size >= CHAR_MAX) break;  // the rest is one group
    }
    return 1;
}
