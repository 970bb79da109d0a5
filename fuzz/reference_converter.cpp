#include "fuzz/reference_converter.h"

#include "i18n/ebcdic37.h"

namespace reference {

using vel::i18n::def_eb_to_ucs;
using vel::i18n::def_ucs_to_eb;
using vel::i18n::invar_eb_to_ucs;
using vel::i18n::invar_ucs_to_eb;

constexpr long kUnmapped = -1;
constexpr long kShift = -2;  // no character

// A little-endian number of the image; nothing outside.
static std::optional<uint32_t> number(const Bytes& image, uint64_t at, unsigned bytes) {
    if (at + bytes > image.size()) return std::nullopt;
    uint32_t value = 0;
    for (unsigned i = 0; i < bytes; ++i) value |= uint32_t{image[at + i]} << (8 * i);
    return value;
}

static uint32_t header(const Bytes& image, uint64_t at, unsigned bytes) {
    return *number(image, at, bytes);
}

static std::optional<uint32_t> in_area(const Bytes& image, uint64_t offset, unsigned bytes) {
    return number(image, header(image, 0, 4) + offset, bytes);
}

unsigned kind_of(const Bytes& image) {
    if (header(image, 50, 2) == 0x1100) return 8;
    const unsigned kind = header(image, 48, 2);
    return kind == 0 || kind == 5 || kind == 7 || kind > 10 ? 9 : kind;
}

static long mapped(std::optional<uint32_t> value) {
    return value && *value != 0xFFFF ? static_cast<long>(*value) : kUnmapped;
}

// ---- Characters of a code set ---------------------------------------------------------------

struct Character {
    long value;   // or kUnmapped, kShift
    size_t size;  // beyond the end of the text: cut
};

static long in_row(const Bytes& image, uint8_t row, uint8_t byte) {
    return mapped(in_area(image, header(image, 736 + 2 * row, 2) * 4ULL + 2ULL * byte, 2));
}

static long multibyte_value(const Bytes& image, const uint8_t* text, size_t size) {
    uint32_t node = header(image, 736 + 2 * text[0], 2);
    for (size_t i = 1; i < size; ++i) {
        const auto count = in_area(image, node * 4ULL, 2);
        const auto lowest = in_area(image, node * 4ULL + 2, 2);
        if (!count || !lowest || text[i] < *lowest || text[i] >= *lowest + *count) return kUnmapped;
        const auto entry = in_area(image, node * 4ULL + 4 + 2 * (text[i] - *lowest), 2);
        if (!entry) return kUnmapped;
        node = *entry;
    }
    return mapped(node);
}

static long gb18030_value(const Bytes& image, long index) {
    if (index >= 213067 && index <= 1261642) return index - 147531;
    if (index < 0 || index >= 65535) return kUnmapped;
    const uint64_t block = header(image, 38, 2);
    const auto base = [&](unsigned at) { return number(image, block + at, 4); };
    if (block + 32 > image.size()) return kUnmapped;
    const auto unit = [&](uint64_t at) { return number(image, block + 32 + 2 * at, 2); };
    const auto start = unit(*base(16) + static_cast<uint64_t>(index) / 512);
    if (!start) return kUnmapped;
    long value = kUnmapped;
    for (uint64_t range = 0; range < 4096; ++range) {
        const uint64_t at = *base(20) + 4ULL * (*start + range);
        const auto first = unit(at), last = unit(at + 1), type = unit(at + 2), datum = unit(at + 3);
        if (!datum || static_cast<long>(*first) > index) break;
        if (static_cast<long>(*last) < index) continue;
        const auto place = *datum + static_cast<uint32_t>(index) - *first;
        if (*type == 1) value = mapped(unit(uint64_t{*base(24)} + place));
        if (*type == 2) value = mapped(place & 0xFFFF);
    }
    return value == '?' ? kUnmapped : value;
}

static Character gb18030_character(const Bytes& image, const uint8_t* text, size_t left) {
    if (text[0] == 0x80 || text[0] == 0xFF) return {kUnmapped, 1};
    if (left < 2) return {kUnmapped, 2};
    if (text[1] < '0' || text[1] > '9') {
        return {gb18030_value(image, text[0] * 191L + text[1] - 24702), 2};
    }
    if (left < 4) return {kUnmapped, 4};
    const long index = (((text[0] - 128L) * 10 + text[1]) * 126 + text[2]) * 10 + text[3] - 50351;
    return {gb18030_value(image, index), 4};
}

static Character mixed_character(const Bytes& image, const uint8_t* text, size_t left,
                                 bool& pairs) {
    if (text[0] == (pairs ? 0x0F : 0x0E)) {
        pairs = !pairs;
        return {kShift, 1};
    }
    if (!pairs) {
        return {invar_eb_to_ucs[text[0]] ? def_eb_to_ucs[text[0]] : in_row(image, 0, text[0]), 1};
    }
    if (text[0] < 0x40 || text[0] == 0xFF) return {def_eb_to_ucs[text[0]], 1};
    return {left < 2 ? kUnmapped : in_row(image, text[0], text[1]), 2};
}

static Character utf8_character(const uint8_t* text, size_t left) {
    if (text[0] < 0xC0 || text[0] > 0xF7) return {kUnmapped, 1};
    const size_t size = text[0] < 0xE0 ? 2 : text[0] < 0xF0 ? 3 : 4;
    if (left < size) return {kUnmapped, size};
    long value = text[0] & (0xFF >> (size + 1));
    for (size_t i = 1; i < size; ++i) value = value << 6 | (text[i] & 0x3F);
    return {value, size};
}

static Character character(const CodeSet& set, const uint8_t* text, size_t left, bool& pairs) {
    const Bytes& image = set.image;
    const uint8_t first = text[0];
    if (set.kind == 4) return mixed_character(image, text, left, pairs);
    if (set.kind == 8) {
        const long value = mapped(header(image, 736 + 2 * first, 2));
        return {invar_eb_to_ucs[first] ? def_eb_to_ucs[first] : value, 1};
    }
    if (first < 0x80) return {first, 1};
    if (set.kind == 6) return utf8_character(text, left);
    if (set.kind == 10) return gb18030_character(image, text, left);
    if (set.kind == 1) return {mapped(header(image, 736 + 2 * first, 2)), 1};
    if (set.kind == 2) {
        if (image[1248 + first] == 1) return {in_row(image, 0, first), 1};
        if (image[1248 + first] != 2) return {kUnmapped, 1};
        return {left < 2 ? kUnmapped : in_row(image, first, text[1]), 2};
    }
    if (set.kind == 3) {
        const size_t size = image[1248 + first];
        if (size == 0 || size == 255) return {kUnmapped, 1};
        return {left < size ? kUnmapped : multibyte_value(image, text, size), size};
    }
    return {first, 1};
}

// ---- Unicode --------------------------------------------------------------------------------

static void append(Bytes& text, long value) {
    const auto byte = [&](long lead, unsigned shift, long mask) {
        text += static_cast<uint8_t>(lead | (value >> shift & mask));
    };
    if (value < 0x80) {
        byte(0, 0, 0x7F);
    } else if (value < 0x800) {
        byte(0xC0, 6, 0x1F), byte(0x80, 0, 0x3F);
    } else if (value < 0x10000) {
        byte(0xE0, 12, 0x0F), byte(0x80, 6, 0x3F), byte(0x80, 0, 0x3F);
    } else {
        byte(0xF0, 18, 0x07), byte(0x80, 12, 0x3F), byte(0x80, 6, 0x3F), byte(0x80, 0, 0x3F);
    }
}

static void append(Units& text, long value) {
    if (value < 0x10000) {
        text.push_back(static_cast<uint16_t>(value));
    } else {
        text.push_back(static_cast<uint16_t>(0xD800 | (value - 0x10000) >> 10));
        text.push_back(static_cast<uint16_t>(0xDC00 | (value & 0x3FF)));
    }
}

template <class Text>
static Outcome<Text> to_unicode(const CodeSet& set, const Bytes& text) {
    Outcome<Text> outcome;
    bool pairs = false;
    while (outcome.used < text.size()) {
        const size_t left = text.size() - outcome.used;
        const Character c = character(set, text.data() + outcome.used, left, pairs);
        if (c.size > left) {
            outcome.cut = true;
            break;
        }
        if (c.value != kShift) append(outcome.text, c.value < 0 ? '?' : c.value);
        outcome.replaced += c.value == kUnmapped;
        outcome.used += c.size;
    }
    return outcome;
}

Outcome<Bytes> to_utf8(const CodeSet& set, const Bytes& text) {
    if (set.kind == 9) return {text, text.size()};
    return to_unicode<Bytes>(set, text);
}
Outcome<Units> to_ucs2(const CodeSet& set, const Bytes& text) {
    return to_unicode<Units>(set, text);
}

// ---- Into a code set ------------------------------------------------------------------------

// The bytes of a value in the pages; none when it is unmapped.
static Bytes in_pages(const CodeSet& set, long value) {
    const unsigned width = set.kind == 1 || set.kind == 8   ? 1
                           : set.kind == 2 || set.kind == 4 ? 2
                                                            : 4;
    if (value < 0 || value >= 0xFFFF) return {};
    const uint64_t page = header(set.image, 224 + 2 * static_cast<uint64_t>(value >> 8), 2);
    const auto result =
        in_area(set.image, page * 4 + static_cast<uint64_t>(value & 0xFF) * width, width);
    if (!result) return {};
    if (width == 2 && *result == 0xFFFF) return {};
    if (width == 4 && *result == 0xFFFFFFFF) return {};
    if (*result == set.image[60] && value != static_cast<long>(header(set.image, 58, 2))) return {};
    Bytes bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto byte = static_cast<uint8_t>(*result >> shift);
        if (byte != 0 || !bytes.empty() || shift == 0) bytes += byte;
    }
    return bytes;
}

struct Encoder {
    const CodeSet& set;
    Outcome<Bytes>& outcome;
    bool pairs = false;

    void put(long value) {
        const bool ebcdic = set.kind == 4 || set.kind == 8;
        Bytes bytes;
        if (set.kind == 6) {
            if (value >= 0) append(bytes, value);
        } else if (ebcdic && value >= 0 && value < 256 &&
                   invar_ucs_to_eb[static_cast<size_t>(value)]) {
            bytes = Bytes(1, def_ucs_to_eb[static_cast<size_t>(value)]);
        } else if (set.kind == 9) {
            if (value < 256) bytes = Bytes(1, static_cast<uint8_t>(value));
        } else {
            bytes = in_pages(set, value);
        }
        outcome.replaced += bytes.empty();
        if (bytes.empty()) bytes = Bytes(1, ebcdic ? 0x6F : '?');
        if (set.kind == 4) shift(bytes.size() == 2);
        outcome.text += bytes;
        if (set.kind == 4 && bytes == Bytes(1, 0x0E)) pairs = true;
    }

    void shift(bool to_pairs) {
        if (pairs != to_pairs) outcome.text += static_cast<uint8_t>(to_pairs ? 0x0E : 0x0F);
        pairs = to_pairs;
    }
};

static Character coarse_utf8_character(const uint8_t* text, size_t left) {
    if (text[0] < 0x80) return {text[0], 1};
    if (text[0] < 0xC0) return {kUnmapped, 1};
    const size_t size = text[0] < 0xE0 ? 2 : 3;
    if (left < size) return {kUnmapped, size};
    if (size == 2) return {(text[0] & 0x1F) << 6 | (text[1] & 0x3F), 2};
    return {(text[0] & 0x0F) << 12 | (text[1] & 0x3F) << 6 | (text[2] & 0x3F), 3};
}

Outcome<Bytes> from_utf8(const CodeSet& set, const Bytes& text) {
    if (set.kind == 6) return to_utf8(set, text);
    if (set.kind == 9) return {text, text.size()};
    Outcome<Bytes> outcome;
    Encoder encoder{set, outcome};
    while (outcome.used < text.size()) {
        const size_t left = text.size() - outcome.used;
        const Character c = coarse_utf8_character(text.data() + outcome.used, left);
        if (c.size > left) {
            outcome.cut = true;
            break;
        }
        if (text[outcome.used] < 0x80 && set.kind != 4 && set.kind != 8) {
            outcome.text += text[outcome.used];
        } else {
            encoder.put(c.value);
        }
        outcome.used += c.size;
    }
    encoder.shift(false);
    return outcome;
}

Outcome<Bytes> from_ucs2(const CodeSet& set, const Units& text) {
    Outcome<Bytes> outcome;
    Encoder encoder{set, outcome};
    while (outcome.used < text.size()) {
        long value = text[outcome.used];
        size_t size = 1;
        if (set.kind == 6 && value >= 0xD800 && value < 0xDC00) {
            if (outcome.used + 1 == text.size()) {
                outcome.cut = true;
                break;
            }
            const long second = text[outcome.used + 1];
            if (second >= 0xDC00 && second < 0xE000) {
                value = 0x10000 + ((value - 0xD800) << 10) + (second - 0xDC00);
                size = 2;
            }
        }
        if (value < 0x80 && set.kind != 4 && set.kind != 8) {
            outcome.text += static_cast<uint8_t>(value);
        } else {
            encoder.put(value);
        }
        outcome.used += size;
    }
    encoder.shift(false);
    return outcome;
}

}  // namespace reference
