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

// The body of a real number is first put into a place of its own.
class Body {
  public:
    std::string_view text() const { return text_; }
    bool print(const FormatItem& item, const Arg& arg);

  private:
    bool print_fixed(const FormatItem& item, long double number);

    char inside_[128];
    StringBuff large_;
    std::string_view text_;
};

// Prints a number with a fixed point, when its digits fit into 64 bits. False: they do not.
bool Body::print_fixed(const FormatItem& item, long double number) {
    constexpr double kLimit = 1e18;
    const auto precision = static_cast<size_t>(item.precision < 0 ? 6 : item.precision);
    const auto value = static_cast<double>(number);
    if (precision >= kPowersOfTen.size() || value != number) return false;
    if (value * static_cast<double>(kPowersOfTen[precision]) >= kLimit) return false;
    const uint64_t integer = scaled_integer(value, kPowersOfTen[precision]);

    char digits[kMaxIntegerDigits];
    const char* const end = std::to_chars(digits, std::end(digits), integer).ptr;
    const std::string_view all(digits, static_cast<size_t>(end - digits));
    char* out = inside_;
    if (all.size() <= precision) *out++ = '0';
    const size_t whole = all.size() > precision ? all.size() - precision : 0;
    out = std::copy_n(all.begin(), whole, out);
    if (precision > 0 || item.flags & kAlternate) {
        for (const char* point = nl_langinfo(RADIXCHAR); *point != '\0'; ++point) *out++ = *point;
    }
    out = std::fill_n(out, precision - (all.size() - whole), '0');
    out = std::copy(all.begin() + static_cast<ptrdiff_t>(whole), all.end(), out);
    text_ = {inside_, static_cast<size_t>(out - inside_)};
    return true;
}

// Prints the absolute value of a number without its width: quickly where that can be, else by the
// C library. False: no memory.
bool Body::print(const FormatItem& item, const Arg& arg) {
    const long double number = std::fabs(arg.is.f);
    if ((item.letter == 'f' || item.letter == 'F') && print_fixed(item, number)) return true;

    const bool is_long = arg.kind == ArgKind::long_real;  // it matters for "%a"
    char pattern[8];
    char* out = pattern;
    *out++ = '%';
    if (item.flags & kAlternate) *out++ = '#';
    if (item.precision >= 0) out = std::copy_n(".*", 2, out);
    if (is_long) *out++ = 'L';
    *out++ = item.letter;
    *out = '\0';
    const auto print_into = [&](char* place, size_t size) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        const auto value = static_cast<double>(number);
        if (item.precision < 0) {
            return is_long ? snprintf(place, size, pattern, number)
                           : snprintf(place, size, pattern, value);
        }
        return is_long ? snprintf(place, size, pattern, item.precision, number)
                       : snprintf(place, size, pattern, item.precision, value);
#pragma GCC diagnostic pop
    };
    char* place = inside_;
    const int length = print_into(place, sizeof inside_);
    if (length < 0) return false;
    const auto size = static_cast<size_t>(length);
    if (size >= sizeof inside_) {
        place = room_for(&large_, size);
        if (place == nullptr) return false;
        print_into(place, size + 1);
    }
    text_ = {place, size};
    return true;
}

// The digits that a number begins with in groups, and the rest of it. False: no memory.
bool group_digits(StringBuff& grouped, std::string_view number) {
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    const auto rest = std::find_if_not(number.begin(), number.end(), digit);
    const auto digits = static_cast<size_t>(rest - number.begin());
    return put(&grouped, number.substr(0, digits)) && cxPrintfDoThousandSep(&grouped) &&
           put(&grouped, number.substr(digits));
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

}  // namespace

bool emit_real(CxStringBuff* buff, const FormatItem& item, const Arg& arg) {
    if (arg.kind != ArgKind::real && arg.kind != ArgKind::long_real) return true;
    Body body;
    if (!body.print(item, arg)) return false;
    std::string_view number = body.text();
    char prefix[3];
    size_t prefix_length = sign_of(item, std::signbit(arg.is.f)).copy(prefix, 1);
    if (!std::isfinite(arg.is.f)) return put_field(buff, item, {prefix, prefix_length}, 0, number);
    if (item.letter == 'a' || item.letter == 'A') {  // zeros go behind "0x"
        prefix_length += number.copy(prefix + prefix_length, 2);
        number.remove_prefix(2);
    }
    StringBuff grouped;
    if (item.flags & kGroup) {
        if (!group_digits(grouped, number)) return false;
        number = text_of(grouped);
    }
    // The width of a real number is in characters: so the C library has it, unlike for integers.
    FormatItem in_bytes = item;
    in_bytes.width += static_cast<int32_t>(item.width < 0 ? 0 : bytes_beyond_characters(number));
    return put_field(buff, in_bytes, {prefix, prefix_length},
                     zeros_to_width(in_bytes, prefix_length + number.size()), number);
}

}  // namespace vel::runtime
