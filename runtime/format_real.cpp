// Real numbers are printed here: with a fixed point by exact integers, else by the C library.
#include <langinfo.h>

#include <array>
#include <bit>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cwchar>

#include "runtime/format_field.h"

namespace vel::runtime {
namespace {

__extension__ typedef unsigned __int128 Wide;

constexpr auto kPowersOfTen = [] {
    std::array<uint64_t, 19> powers{1};
    for (size_t i = 1; i < powers.size(); ++i) powers[i] = 10 * powers[i - 1];
    return powers;
}();

constexpr size_t kMaxIntegerDigits = 20;  // of 64 bits
constexpr size_t kUsualBody = 128;        // bytes of a number before it is put into its field

// A number that is not negative times a power of ten, rounded to an integer: exactly, and halves to
// even. Its result must be below 2^63.
uint64_t scaled_integer(double number, uint64_t power) {
    constexpr int kMantissaBits = 52, kExponentBias = 1075, kWideBits = 128;
    const auto bits = std::bit_cast<uint64_t>(number);
    const auto biased = static_cast<int>(bits >> kMantissaBits);
    const uint64_t hidden = biased == 0 ? 0 : uint64_t{1} << kMantissaBits;
    const uint64_t mantissa = (bits & ((uint64_t{1} << kMantissaBits) - 1)) | hidden;
    const int exponent = std::max(biased, 1) - kExponentBias;
    const Wide product = static_cast<Wide>(mantissa) * power;
    if (exponent >= 0) return static_cast<uint64_t>(product << exponent);
    if (-exponent >= kWideBits) return 0;  // far below a half
    const Wide half = static_cast<Wide>(1) << (-exponent - 1);
    const auto integer = static_cast<uint64_t>(product >> -exponent);
    const Wide rest = product & (2 * half - 1);
    return integer + (rest > half || (rest == half && integer % 2 == 1) ? 1 : 0);
}

// Prints a number that is not negative with a fixed point, when its digits fit into 64 bits, and
// returns its length; 0: they do not.
size_t print_fixed(const FormatItem& item, long double number, char* out) {
    constexpr double kLimit = 1e18;
    const auto precision = static_cast<size_t>(item.precision < 0 ? 6 : item.precision);
    const auto value = static_cast<double>(number);
    if (precision >= kPowersOfTen.size() || value != number) return 0;
    if (value * static_cast<double>(kPowersOfTen[precision]) >= kLimit) return 0;
    const std::string_view point = nl_langinfo(RADIXCHAR);
    if (point.size() > MB_LEN_MAX) return 0;  // there is no telling what a locale holds
    const uint64_t integer = scaled_integer(value, kPowersOfTen[precision]);

    char digits[kMaxIntegerDigits];
    char* const end = std::to_chars(digits, std::end(digits), integer).ptr;
    const auto count = static_cast<size_t>(end - digits);
    const size_t whole = count > precision ? count - precision : 0;
    const char* const begin = out;
    if (whole == 0) *out++ = '0';
    out = std::copy_n(digits, whole, out);
    if (precision > 0 || item.field.flags & kAlternate) {
        out = std::copy(point.begin(), point.end(), out);
    }
    out = std::fill_n(out, precision - (count - whole), '0');
    out = std::copy(digits + whole, end, out);
    return static_cast<size_t>(out - begin);
}

// Prints a number that is not negative as the C library does, at `out` when it fits there, else
// into the buffer. False: no memory.
bool print_by_library(const FormatItem& item, const Arg& arg, char* out, StringBuff& large,
                      std::string_view& text) {
    const bool is_long = arg.kind == ArgKind::long_real;  // it matters for "%a"
    char pattern[8];
    char* end = pattern;
    *end++ = '%';
    if (item.field.flags & kAlternate) *end++ = '#';
    if (item.precision >= 0) end = std::copy_n(".*", 2, end);
    if (is_long) *end++ = 'L';
    *end++ = item.letter;
    *end = '\0';
    const auto print = [&](char* place, size_t size) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        const long double number = std::fabs(arg.is.f);
        const auto value = static_cast<double>(number);
        if (item.precision < 0) {
            return is_long ? snprintf(place, size, pattern, number)
                           : snprintf(place, size, pattern, value);
        }
        return is_long ? snprintf(place, size, pattern, item.precision, number)
                       : snprintf(place, size, pattern, item.precision, value);
#pragma GCC diagnostic pop
    };
    const int length = print(out, kUsualBody);
    if (length < 0) return false;
    text = {out, static_cast<size_t>(length)};
    if (text.size() < kUsualBody) return true;
    char* const place = room_for(&large, text.size());
    if (place == nullptr) return false;
    print(place, text.size() + 1);
    text = {place, text.size()};
    return true;
}

// The digits that a number begins with in groups, and the rest of it. False: no memory.
bool group_digits(StringBuff& grouped, std::string_view number) {
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    const auto rest = std::find_if_not(number.begin(), number.end(), digit);
    return put(&grouped, {number.begin(), rest}) && cxPrintfDoThousandSep(&grouped) &&
           put(&grouped, {rest, number.end()});
}

// The bytes that a number has beyond its characters, by its separators and its point.
size_t bytes_beyond_characters(std::string_view number) {
    size_t beyond = 0;
    mbstate_t state{};
    for (size_t at = 0, length = 1; at < number.size(); at += length) {
        length = 1;
        if (static_cast<signed char>(number[at]) >= 0) continue;  // ASCII
        const size_t found = mbrlen(&number[at], number.size() - at, &state);
        if (found > 1 && found <= MB_LEN_MAX) length = found;
        beyond += length - 1;
    }
    return beyond;
}

// Prints the absolute value of a number, printed already, with its sign.
bool put_real(CxStringBuff* buff, const FormatItem& item, const Arg& arg, std::string_view number) {
    char prefix[3];
    size_t prefix_length = sign_of(item.field.flags, std::signbit(arg.is.f)).copy(prefix, 1);
    if (item.letter == 'a' || item.letter == 'A') {  // zeros go behind "0x"
        prefix_length += number.copy(prefix + prefix_length, 2);
        number.remove_prefix(2);
    }
    // The width of a real number is in characters: so the C library has it, unlike for integers.
    Field field = item.field;
    if (field.width >= 0) field.width += static_cast<int32_t>(bytes_beyond_characters(number));
    return put_field(buff, field, {prefix, prefix_length},
                     zeros_to_width(field, prefix_length + number.size()), number);
}

}  // namespace

bool emit_real(CxStringBuff* buff, const FormatItem& item, const Arg& arg) {
    if (arg.kind != ArgKind::real && arg.kind != ArgKind::long_real) return true;
    char usual[kUsualBody];
    const bool fixed = item.letter == 'f' || item.letter == 'F';
    const size_t length = fixed ? print_fixed(item, std::fabs(arg.is.f), usual) : 0;
    if (length > 0 && !(item.field.flags & kGroup))
        return put_real(buff, item, arg, {usual, length});

    StringBuff large, grouped;
    std::string_view number(usual, length);
    if (length == 0 && !print_by_library(item, arg, usual, large, number)) return false;
    if (!std::isfinite(arg.is.f)) {
        const std::string_view sign = sign_of(item.field.flags, std::signbit(arg.is.f));
        return put_field(buff, item.field, sign, 0, number);
    }
    if (item.field.flags & kGroup) {
        if (!group_digits(grouped, number)) return false;
        number = text_of(grouped);
    }
    return put_real(buff, item, arg, number);
}

}  // namespace vel::runtime
