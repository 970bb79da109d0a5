// The code sets whose tables give a value for bytes, and bytes for a value: single-byte,
// double-byte and multibyte, all of them based on ASCII.
#pragma once

#include "i18n/convert.h"
#include "i18n/unicode_text.h"

namespace vel::i18n {

inline uint32_t mapped_or_none(uint16_t value) { return value == kUnmapped ? kNoValue : value; }

// ---- To Unicode -----------------------------------------------------------------------------

struct SbcsReader : Stateless {
    using Unit = uint8_t;
    static constexpr size_t kMost = 1;
    static constexpr bool kAsciiBased = true;

    explicit SbcsReader(const uc_ch_t& cs)
        : single(cs.loaded->bytes.single.data()), ready(cs.loaded->bytes.ready.data()) {}

    Char next(const uint8_t* at, size_t) const { return {mapped_or_none(single[*at]), 1}; }

    const uint16_t* single;
    const ReadyText* ready;
};

template <bool kWhole>
struct DbcsReader : Stateless {
    using Unit = uint8_t;
    static constexpr size_t kMost = 2;
    static constexpr bool kAsciiBased = true;

    explicit DbcsReader(const uc_ch_t& cs)
        : table(cs.table, cs.table_size), image(cs.table), rows(cs.loaded->rows.data()) {}

    Char next(const uint8_t* at, size_t left) const {
        if (const uint32_t row = rows[*at]; kWhole && row != kNoRow && left >= 2) {
            return {mapped_or_none(load<uint16_t>(image + row + 2 * size_t{at[1]})), 2};
        }
        const uint8_t length = table.length(*at);
        if (length == 2) {
            if (left < 2) return {kNoValue, 0};
            return {mapped_or_none(table.row_value(at[0], at[1])), 2};
        }
        return {length == 1 ? mapped_or_none(table.row_value(0, *at)) : kNoValue, 1};
    }

    TableView<kWhole> table;
    const uint8_t* image;
    const uint32_t* rows;
};

struct MbcsReader : Stateless {
    using Unit = uint8_t;
    static constexpr size_t kMost = 4;
    static constexpr bool kAsciiBased = true;

    explicit MbcsReader(const uc_ch_t& cs)
        : image(cs.table),
          size(cs.table_size),
          table(image, cs.table_size),
          first(cs.loaded->first_nodes.data()) {}

    Char next(const uint8_t* at, size_t left) const {
        const uint8_t length = table.length(*at);
        uint16_t chosen = 0;
        if (length == 2 && left >= 2) {
            const bool found = first[*at].choose(image, at[1], chosen);
            return {found ? mapped_or_none(chosen) : kNoValue, 2};
        }
        if (length == 0 || length == kNoCharacter) return {kNoValue, 1};  // 0 would never end
        if (left < length) return {kNoValue, 0};
        if (length == 1) return {mapped_or_none(table.entry(*at)), 1};
        if (!first[*at].choose(image, at[1], chosen)) return {kNoValue, length};
        for (size_t i = 2; i < length; ++i) {
            if (!Node::at(image, size, chosen).choose(image, at[i], chosen)) {
                return {kNoValue, length};
            }
        }
        return {mapped_or_none(chosen), length};
    }

    const uint8_t* image;
    uint32_t size;
    TableView<false> table;
    const Node* first;
};

// ---- From Unicode ---------------------------------------------------------------------------

// The results of a table's pages, each a Number wide.
template <class Number, bool kWhole>
struct Pages {
    Pages(const uint8_t* image, uint32_t size)
        : table(image, size),
          substitute_value(load<uint16_t>(image + kSubsValueOffset)),
          substitute_byte(image[kSubsByteOffset]) {}
    explicit Pages(const uc_ch_t& cs) : Pages(cs.table, cs.table_size) {}

    // False: unmapped. Whatever is above U+FFFF is.
    bool find(uint32_t value, Number& result) const {
        if (value >= kUnmapped || !table.page_result(value, result)) return false;
        if constexpr (sizeof(Number) > 1) {
            if (result == static_cast<Number>(-1)) return false;
        }
        return result != substitute_byte || value == substitute_value;
    }

    TableView<kWhole> table;
    uint16_t substitute_value;
    uint8_t substitute_byte;
};

// How many bytes a result has.
template <class Number>
size_t bytes_of(Number result) {
    if constexpr (sizeof(Number) == 1) return 1;
    if constexpr (sizeof(Number) == 2) return result > 0xFF ? 2 : 1;
    return result > 0xFF'FFFF ? 4 : result > 0xFFFF ? 3 : result > 0xFF ? 2 : 1;
}

inline void store_bytes(uint8_t* at, size_t bytes, uint32_t result) {
    for (; bytes > 0; result >>= 8) at[--bytes] = static_cast<uint8_t>(result);
}

// Writes results as their bytes: of one byte for single-byte sets, up to two for double-byte sets,
// up to four for the others.
template <class Number, bool kWhole>
struct TableWriter : Replacing {
    using Unit = uint8_t;
    static constexpr size_t kMost = 4;
    static constexpr bool kAsciiBased = true;

    explicit TableWriter(const uc_ch_t& cs) : pages(cs) {}

    size_t put(uint8_t* at, size_t room, uint32_t value) {
        Number result = 0;
        if (!pages.find(value, result)) [[unlikely]] {
            *at = kSubstitute;
            ++replaced;
            return 1;
        }
        const size_t bytes = bytes_of(result);
        if (bytes > room) return 0;
        store_bytes(at, bytes, result);
        return bytes;
    }

    Pages<Number, kWhole> pages;
};

// ---- Quick ways -----------------------------------------------------------------------------

// Puts down a ready text and returns where the next one goes.
inline uint8_t* put_text(uint8_t* to, ReadyText text) {
    store(to, text);
    return to + (text >> kReadyLengthShift);
}

// Puts down the ready texts of single bytes, four by four as long as they have ample room. False
// when nothing was done: something unusual stands in the way, or the end is near.
inline bool put_ready(const ReadyText* ready, Span& span) {
    constexpr size_t kGroup = 4;
    Span s = span;
    for (; s.left() >= kGroup && s.room() >= 4 * kGroup; s.from += kGroup) {
        const ReadyText a = ready[s.from[0]], b = ready[s.from[1]];
        const ReadyText c = ready[s.from[2]], d = ready[s.from[3]];
        const unsigned lengths = (a | b | c | d) >> kReadyLengthShift;
        if (lengths == 1) {
            store(s.to, (a & 0xFF) | b << 8 | c << 16 | d << 24);
            s.to += kGroup;
            continue;
        }
        if (lengths >= kReadyUnusual >> kReadyLengthShift) break;
        s.to = put_text(put_text(put_text(put_text(s.to, a), b), c), d);
    }
    const bool moved = s.from != span.from;
    span = s;
    return moved;
}

inline bool advance(SbcsReader& reader, Utf8Writer&, Span& s) {
    if (s.left() >= kRun && all_ascii<uint8_t, kRun>(s.from)) {
        pass_ascii<uint8_t, uint8_t>(s);
        return true;
    }
    return put_ready(reader.ready, s);
}

}  // namespace vel::i18n
