// Hexadecimal numbers as scanf's %x takes them: white space, a sign and "0x" may stand in front.
#pragma once

#include <array>
#include <cstdint>

namespace vel::guid {

inline constexpr uint8_t kNoHexDigit = 0xFF;

// The value of a hexadecimal digit in either case; kNoHexDigit for any other byte.
inline constexpr std::array<uint8_t, 256> kHexDigit = [] {
    std::array<uint8_t, 256> value{};
    value.fill(kNoHexDigit);
    for (uint8_t i = 0; i < 10; ++i) value['0' + i] = i;
    for (uint8_t i = 0; i < 6; ++i) value['a' + i] = value['A' + i] = static_cast<uint8_t>(10 + i);
    return value;
}();

inline constexpr int kNoWidth = -1;

// Scans one number of at most `width` characters (white space not counted, all others are) and
// moves `text` behind it; false, when there is none. The number wraps: its low 64 bits are kept.
constexpr bool scan_hex(const char*& text, int width, uint64_t& value) {
    const char* at = text;
    while (*at == ' ' || (*at >= '\t' && *at <= '\r')) ++at;
    // A negative width never becomes zero, so it sets no bound.
    const bool negative = *at == '-';
    if (negative || *at == '+') {
        ++at;
        --width;
    }
    bool any = false;
    if (width != 0 && *at == '0') {
        any = true;
        ++at;
        --width;
        // An "0x" without digits is 0, as the C library has it.
        if (width != 0 && (*at == 'x' || *at == 'X')) {
            ++at;
            --width;
        }
    }
    uint64_t number = 0;
    for (; width != 0; ++at, --width) {
        const uint8_t digit = kHexDigit[static_cast<uint8_t>(*at)];
        if (digit == kNoHexDigit) break;
        any = true;
        number = number << 4 | digit;
    }
    if (!any) return false;
    text = at;
    value = negative ? 0 - number : number;
    return true;
}

}  // namespace vel::guid
