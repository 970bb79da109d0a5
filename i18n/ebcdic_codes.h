// EBCDIC code sets: of single bytes, and mixed of single bytes and pairs between shifts.
#pragma once

#include "i18n/ebcdic37.h"
#include "i18n/table_codes.h"

namespace vel::i18n {

// ---- Single bytes ---------------------------------------------------------------------------

struct EbcdicSbcsReader : SbcsReader {
    using SbcsReader::SbcsReader;
    static constexpr bool kAsciiBased = false;
};

template <bool kWhole>
struct EbcdicSbcsWriter : Replacing {
    using Unit = uint8_t;
    static constexpr size_t kMost = 1;
    static constexpr bool kAsciiBased = false;

    explicit EbcdicSbcsWriter(const uc_ch_t& cs)
        : ebcdic(cs.loaded->bytes.ebcdic.data()), pages(cs) {}

    size_t put(uint8_t* at, size_t, uint32_t value) {
        if (value < 256 && ebcdic[value] != kNoEbcdic) {
            *at = static_cast<uint8_t>(ebcdic[value]);
        } else if (!pages.find(value, *at)) {
            *at = kEbcdicSubstitute;
            ++replaced;
        }
        return 1;
    }

    const uint16_t* ebcdic;
    Pages<uint8_t, kWhole> pages;
};

// ---- Pairs ----------------------------------------------------------------------------------

template <bool kWhole>
struct EbcdicDbcsReader {
    using Unit = uint8_t;
    static constexpr size_t kMost = 2;
    static constexpr bool kAsciiBased = false;

    explicit EbcdicDbcsReader(const uc_ch_t& cs)
        : table(cs.table, cs.table_size),
          single(cs.loaded->bytes.single.data()),
          ready(cs.loaded->bytes.ready.data()),
          pairs(cs.to_state != 0) {}

    Char next(const uint8_t* at, size_t left) {
        if (!pairs) {
            if (*at == kShiftOut) return shift(true);
            return {mapped_or_none(single[*at]), 1};
        }
        if (*at == kShiftIn) return shift(false);
        if (*at < kFirstLead || *at > kLastLead) return {def_eb_to_ucs[*at], 1};
        if (left < 2) return {kNoValue, 0};
        return {mapped_or_none(table.row_value(at[0], at[1])), 2};
    }

    Char shift(bool to_pairs) {
        pairs = to_pairs;
        return {kNoText, 1};
    }

    void keep(uc_ch_t& cs) const { cs.to_state = pairs ? 1 : 0; }

    TableView<kWhole> table;
    const uint16_t* single;
    const ReadyText* ready;
    bool pairs;
};

template <bool kWhole>
struct EbcdicDbcsWriter : Replacing {
    using Unit = uint8_t;
    static constexpr size_t kMost = 3;
    static constexpr bool kAsciiBased = false;

    explicit EbcdicDbcsWriter(const uc_ch_t& cs)
        : ebcdic(cs.loaded->bytes.ebcdic.data()), pages(cs), in_pairs(cs.from_state != 0) {}

    size_t put(uint8_t* at, size_t room, uint32_t value) {
        if (value < 256 && ebcdic[value] != kNoEbcdic) return put_single(at, room, ebcdic[value]);
        uint16_t result = 0;
        if (pages.find(value, result)) {
            return result > 0xFF ? put_pair(at, room, result) : put_single(at, room, result);
        }
        const size_t written = put_single(at, room, kEbcdicSubstitute);
        if (written != 0) ++replaced;
        return written;
    }

    // A byte and what shift it needs, or nothing. The byte that is a shift-out itself leaves the
    // text among pairs, as whoever reads it will be.
    size_t put_single(uint8_t* at, size_t room, uint16_t byte) {
        const size_t shift = in_pairs ? 1 : 0;
        if (room < shift + 1) return 0;
        if (in_pairs) *at = kShiftIn;
        at[shift] = static_cast<uint8_t>(byte);
        in_pairs = byte == kShiftOut;
        return shift + 1;
    }

    size_t put_pair(uint8_t* at, size_t room, uint16_t pair) {
        const size_t shift = in_pairs ? 0 : 1;
        if (room < shift + 2) return 0;
        if (!in_pairs) *at = kShiftOut;
        store_bytes(at + shift, 2, pair);
        in_pairs = true;
        return shift + 2;
    }

    void keep(uc_ch_t& cs) const {
        Replacing::keep(cs);
        cs.from_state = in_pairs ? 1 : 0;
    }

    const uint16_t* ebcdic;
    Pages<uint16_t, kWhole> pages;
    bool in_pairs;
};

// ---- Quick ways -----------------------------------------------------------------------------

// Puts down a run of single bytes that are all ASCII. False: there is none, or the end is near.
inline bool put_ascii_of(const uint16_t* single, Span& s) {
    constexpr size_t kGroup = 8;
    const uint8_t* from = s.from;
    uint8_t* to = s.to;
    for (size_t groups = std::min(s.left(), s.room()) / kGroup; groups > 0; --groups) {
        unsigned any = 0;
        for (size_t i = 0; i < kGroup; ++i) {
            const unsigned value = single[from[i]];
            any |= value;
            to[i] = static_cast<uint8_t>(value);  // written again when it is not ASCII
        }
        if (any >= 0x80) break;
        from += kGroup;
        to += kGroup;
    }
    const bool moved = from != s.from;
    s.from = from;
    s.to = to;
    return moved;
}

inline bool advance(EbcdicSbcsReader& reader, Utf8Writer&, Span& s) {
    const bool ascii = put_ascii_of(reader.single, s);
    return put_ready(reader.ready, s) || ascii;
}

template <bool kWhole>
bool advance(EbcdicDbcsReader<kWhole>& reader, Utf8Writer&, Span& s) {
    return !reader.pairs && put_ready(reader.ready, s);
}

// Looks up a run of ASCII that has a single byte for each of its characters.
inline bool put_ebcdic(const uint16_t* ebcdic, Span& s) {
    constexpr size_t kGroup = 8;
    const uint8_t* from = s.from;
    uint8_t* to = s.to;
    for (size_t groups = std::min(s.left(), s.room()) / kGroup; groups > 0; --groups) {
        if (!all_ascii<uint8_t, kGroup>(from)) break;
        uint64_t bytes = 0;
        unsigned any = 0;
        for (unsigned i = 0; i < kGroup; ++i) {
            const unsigned byte = ebcdic[from[i]];
            any |= byte;
            bytes |= uint64_t{byte & 0xFF} << 8 * i;
        }
        if ((any & kNoEbcdic) != 0) break;
        store(to, bytes);
        from += kGroup;
        to += kGroup;
    }
    for (; from < s.from_end && to < s.to_end && *from < 0x80; ++from) {
        if (ebcdic[*from] == kNoEbcdic) break;
        *to++ = static_cast<uint8_t>(ebcdic[*from]);
    }
    const bool moved = from != s.from;
    s.from = from;
    s.to = to;
    return moved;
}

template <bool kWhole>
bool advance(CoarseUtf8Reader&, EbcdicSbcsWriter<kWhole>& writer, Span& s) {
    return put_ebcdic(writer.ebcdic, s);
}

template <bool kWhole>
bool advance(CoarseUtf8Reader&, EbcdicDbcsWriter<kWhole>& writer, Span& s) {
    return !writer.in_pairs && put_ebcdic(writer.ebcdic, s);
}

}  // namespace vel::i18n
