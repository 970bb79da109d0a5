// UTF-8 and UCS-2 as readers and writers, and bytes that are passed through.
#pragma once

#include "i18n/convert.h"

namespace vel::i18n {

inline constexpr uint32_t kPlanes = 0x10000;  // where the characters begin that take two units

// ---- UTF-8 ----------------------------------------------------------------------------------

struct Utf8Writer : Replacing {
    using Unit = uint8_t;
    static constexpr size_t kMost = 4;
    static constexpr bool kAsciiBased = true;

    explicit Utf8Writer(const uc_ch_t&) {}

    // The bytes of a character, the first one lowest.
    static uint32_t bytes_of(uint32_t value, size_t size) {
        const uint32_t a = value & 0x3F, b = value >> 6 & 0x3F, c = value >> 12 & 0x3F;
        switch (size) {
            case 1:
                return value;
            case 2:
                return 0x80C0 | value >> 6 | a << 8;
            case 3:
                return 0x80'80E0 | value >> 12 | b << 8 | a << 16;
            default:
                return 0x8080'80F0 | value >> 18 | c << 8 | b << 16 | a << 24;
        }
    }

    static size_t size_of(uint32_t value) {
        return value < 0x80 ? 1U : value < 0x800 ? 2U : value < kPlanes ? 3U : 4U;
    }

    size_t put(uint8_t* at, size_t room, uint32_t value) {
        if (value == kNoValue) [[unlikely]] {
            *at = kSubstitute;
            ++replaced;
            return 1;
        }
        const size_t size = size_of(value);
        const uint32_t bytes = bytes_of(value, size);
        if (room >= sizeof bytes) {
            store(at, bytes);  // what is beyond the character is overwritten later
            return size;
        }
        if (size > room) return 0;
        memcpy(at, &bytes, size);
        return size;
    }
};

// Following bytes give their low six bits, whatever they are; over-long forms are what they say.
inline uint32_t tail_bits(const uint8_t* at, size_t following) {
    uint32_t bits = 0;
    for (size_t i = 1; i <= following; ++i) bits = bits << 6 | (at[i] & 0x3F);
    return bits;
}

// Reads UTF-8 for UTF-8 and UCS-2.
struct Utf8Reader : Stateless {
    using Unit = uint8_t;
    static constexpr size_t kMost = 4;
    static constexpr bool kAsciiBased = true;

    explicit Utf8Reader(const uc_ch_t&) {}

    static Char next(const uint8_t* at, size_t left) {
        const uint32_t lead = *at;
        if (lead < 0x80) return {lead, 1};
        if (lead < 0xC0 || lead > 0xF7) return {kNoValue, 1};
        const uint32_t following = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        if (left <= following) return {kNoValue, 0};
        const uint32_t top = lead & (0x3FU >> following);
        return {top << 6 * following | tail_bits(at, following), following + 1};
    }
};

// Reads UTF-8 for the table-based code sets. It knows two forms only, deliberately: every lead byte
// from E0 up takes two more, so that four bytes are read as three and a stray one.
struct CoarseUtf8Reader : Stateless {
    using Unit = uint8_t;
    static constexpr size_t kMost = 3;
    static constexpr bool kAsciiBased = true;

    explicit CoarseUtf8Reader(const uc_ch_t&) {}

    static Char next(const uint8_t* at, size_t left) {
        const uint32_t lead = *at;
        if (lead < 0x80) return {lead, 1};
        if (lead < 0xC0) return {kNoValue, 1};
        if (lead < 0xE0) {
            if (left < 2) return {kNoValue, 0};
            return {(lead & 0x1F) << 6 | tail_bits(at, 1), 2};
        }
        if (left < 3) return {kNoValue, 0};
        return {(lead & 0x0F) << 12 | tail_bits(at, 2), 3};
    }
};

// ---- UCS-2 ----------------------------------------------------------------------------------

inline constexpr uint32_t kHighSurrogate = 0xD800;
inline constexpr uint32_t kLowSurrogate = 0xDC00;
inline bool is_surrogate(uint32_t unit, uint32_t which) { return (unit & 0xFC00) == which; }

struct Ucs2Writer : Replacing {
    using Unit = uint16_t;
    static constexpr size_t kMost = 4;
    static constexpr bool kAsciiBased = true;

    explicit Ucs2Writer(const uc_ch_t&) {}

    size_t put(uint8_t* at, size_t room, uint32_t value) {
        if (value == kNoValue) {
            value = kSubstitute;
            ++replaced;
        }
        if (value < kPlanes) {
            store(at, static_cast<uint16_t>(value));
            return 2;
        }
        if (room < 4) return 0;
        store(at, static_cast<uint16_t>(kHighSurrogate | (value - kPlanes) >> 10));
        store(at + 2, static_cast<uint16_t>(kLowSurrogate | (value & 0x3FF)));
        return 4;
    }
};

// Reads units one by one, for code sets that have nothing above U+FFFF.
struct Ucs2Reader : Stateless {
    using Unit = uint16_t;
    static constexpr size_t kMost = 2;
    static constexpr bool kAsciiBased = true;

    explicit Ucs2Reader(const uc_ch_t&) {}

    static Char next(const uint8_t* at, size_t) { return {load<uint16_t>(at), 2}; }
};

// Reads surrogate pairs as one character, for UTF-8; a lone surrogate is written like any value.
struct Ucs2PairReader : Stateless {
    using Unit = uint16_t;
    static constexpr size_t kMost = 4;
    static constexpr bool kAsciiBased = true;

    explicit Ucs2PairReader(const uc_ch_t&) {}

    static Char next(const uint8_t* at, size_t left) {
        const uint32_t unit = load<uint16_t>(at);
        if (!is_surrogate(unit, kHighSurrogate)) return {unit, 2};
        if (left < 4) return {kNoValue, 0};
        const uint32_t second = load<uint16_t>(at + 2);
        if (!is_surrogate(second, kLowSurrogate)) return {unit, 2};
        return {kPlanes + ((unit & 0x3FF) << 10 | (second & 0x3FF)), 4};
    }
};

// ---- Bytes ----------------------------------------------------------------------------------

struct ByteReader : Stateless {
    using Unit = uint8_t;
    static constexpr size_t kMost = 1;
    static constexpr bool kAsciiBased = true;

    explicit ByteReader(const uc_ch_t&) {}

    static Char next(const uint8_t* at, size_t) { return {*at, 1}; }
};

struct ByteWriter : Replacing {
    using Unit = uint8_t;
    static constexpr size_t kMost = 1;
    static constexpr bool kAsciiBased = true;

    explicit ByteWriter(const uc_ch_t&) {}

    size_t put(uint8_t* at, size_t, uint32_t value) {
        if (value > 0xFF) ++replaced;
        *at = value > 0xFF ? kSubstitute : static_cast<uint8_t>(value);
        return 1;
    }
};

inline bool advance(ByteReader&, ByteWriter&, Span& s) {
    const size_t bytes = std::min(s.left(), s.room());
    memcpy(s.to, s.from, bytes);
    s.from += bytes;
    s.to += bytes;
    return true;
}

// ---- Quick ways -----------------------------------------------------------------------------

// How many of the eight bytes at a character's beginning are whole, well-formed characters of up to
// three bytes; 0: there is something else among them. (E0 begins over-long forms, and counts so.)
inline size_t well_formed(uint64_t bytes) {
    static_assert(std::endian::native == std::endian::little);
    constexpr uint64_t kHigh = every_byte(0x80);
    const uint64_t lead = bytes & bytes << 1 & kHigh;  // C0 and above
    const uint64_t lead_of_three = lead & bytes << 2;  // E0 and above
    const uint64_t following = bytes & ~(bytes << 1) & kHigh;
    const uint64_t has_low_four = (bytes & every_byte(0x0F)) + every_byte(0x7F);
    const uint64_t has_low_five = (bytes & every_byte(0x1E)) + every_byte(0x7E);
    const uint64_t shortest = (lead_of_three & has_low_four) | (~lead_of_three & has_low_five);
    const uint64_t lead_of_four = lead_of_three & bytes << 3;
    if (((lead & ~shortest) | lead_of_four | (following ^ (lead << 8 | lead_of_three << 16))) !=
        0) {
        return 0;
    }
    return lead >> 63 != 0 ? 7 : lead_of_three >> 55 != 0 ? 6 : 8;
}

// Whether the first six of the bytes are two well-formed characters of three.
inline bool two_of_three(uint64_t bytes) {
    return (bytes & 0xC0C0'F0C0'C0F0) == 0x8080'E080'80E0 && (bytes & 0x200F) != 0 &&
           (bytes & 0x20'0F00'0000) != 0;
}

// The last bytes of a text, one to seven of them, with zeros behind. A longer text is read from
// before them.
inline uint64_t load_last(const uint8_t* begin, const uint8_t* end, size_t left) {
    constexpr size_t kWord = sizeof(uint64_t);
    if (static_cast<size_t>(end - begin) >= kWord) {
        return load<uint64_t>(end - kWord) >> 8 * (kWord - left);
    }
    uint64_t bytes = 0;
    for (size_t i = 0; i < left; ++i) bytes |= uint64_t{(end - left)[i]} << 8 * i;
    return bytes;
}

// Copies well-formed UTF-8; anything else goes through reader and writer.
inline bool advance(Utf8Reader&, Utf8Writer&, Span& span) {
    constexpr size_t kWord = sizeof(uint64_t);
    Span s = span;
    while (s.left() >= kWord && s.room() >= kWord) {
        const auto bytes = load<uint64_t>(s.from);
        size_t length = 6;
        if ((bytes & every_byte(0x80)) == 0) {
            pass_ascii<uint8_t, uint8_t>(s);
            continue;
        }
        if (!two_of_three(bytes)) length = well_formed(bytes);
        if (length == 0) break;
        store(s.to, bytes);
        s.from += length;
        s.to += length;
    }
    if (s.left() > 0 && s.left() < kWord && s.room() >= kWord) {
        const uint64_t bytes = load_last(span.from, s.from_end, s.left());
        if (well_formed(bytes) == kWord) {
            store(s.to, bytes);
            s.to += s.left();
            s.from = s.from_end;
        }
    }
    const bool moved = s.from != span.from;
    span = s;
    return moved;
}

}  // namespace vel::i18n
