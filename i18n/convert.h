// The loop of all conversions between a code set and Unicode.
//
// A reader tells what the next character is, a writer puts it down:
//   Char Reader::next(at, left)          left > 0 bytes; a length of 0: the character is cut off
//   size_t Writer::put(at, room, value)  how many bytes that took; 0: no room, nothing written
// Both are made from the handle, keep what they need in themselves while the loop runs, and give it
// back in keep(). Unit is what they step by, kMost how many bytes they take for a character (a
// longer one is read as cut off when it is offered no more). Where both are ASCII-based, units
// below 0x80 pass through, and next() sees none of them.
#pragma once

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstring>

#include "i18n/code_set.h"

namespace vel::i18n {

inline constexpr int kDone = 0;
inline constexpr int kFull = 1;  // the output
inline constexpr int kCut = 2;   // the input, within a character

struct Char {
    uint32_t value;
    uint32_t length;  // in bytes; 0: cut off
};
inline constexpr uint32_t kNoValue = 0xFFFF'FFFF;  // no character: to be replaced
inline constexpr uint32_t kNoText = 0xFFFF'FFFE;   // a shift: nothing to write
inline constexpr uint8_t kSubstitute = '?';

// What moves through a conversion.
struct Span {
    const uint8_t* from;
    const uint8_t* from_end;
    uint8_t* to;
    uint8_t* to_end;

    size_t left() const { return static_cast<size_t>(from_end - from); }
    size_t room() const { return static_cast<size_t>(to_end - to); }
};

template <class Number>
void store(uint8_t* at, Number number) {
    memcpy(at, &number, sizeof number);
}

inline constexpr uint64_t every_byte(uint64_t byte) { return byte * 0x0101'0101'0101'0101; }

inline constexpr size_t kRun = 16;  // units that are looked at together

// Whether none of the units at `at`, one machine word after the other, is 0x80 or above.
template <class Unit, size_t kUnits>
bool all_ascii(const uint8_t* at) {
    constexpr uint64_t kAbove = sizeof(Unit) == 1 ? 0x8080'8080'8080'8080 : 0xFF80'FF80'FF80'FF80;
    uint64_t seen = 0;
    for (size_t i = 0; i < kUnits * sizeof(Unit); i += 8) seen |= load<uint64_t>(at + i);
    return (seen & kAbove) == 0;
}

// Copies a run of units from one width to another.
template <class In, class Out>
void copy_run(const uint8_t* from, uint8_t* to) {
    using InRun [[gnu::vector_size(kRun * sizeof(In))]] = In;
    using OutRun [[gnu::vector_size(kRun * sizeof(Out))]] = Out;
    InRun units;
    memcpy(&units, from, sizeof units);
    const OutRun copies = __builtin_convertvector(units, OutRun);
    memcpy(to, &copies, sizeof copies);
}

// Copies ASCII to the first unit that is none, and returns how many units those were.
template <class In, class Out>
size_t copy_ascii(const uint8_t* from, uint8_t* to, size_t units) {
    size_t i = 0;
    for (; units - i >= kRun && all_ascii<In, kRun>(from + i * sizeof(In)); i += kRun) {
        copy_run<In, Out>(from + i * sizeof(In), to + i * sizeof(Out));
    }
    if constexpr (sizeof(In) == 1 && sizeof(Out) == 1) {
        while (units - i >= sizeof(uint64_t)) {
            const auto bytes = load<uint64_t>(from + i);
            store(to + i, bytes);
            const uint64_t others = bytes & every_byte(0x80);
            if (others != 0) return i + static_cast<size_t>(std::countr_zero(others)) / 8;
            i += sizeof bytes;
        }
    }
    for (; i < units && load<In>(from + i * sizeof(In)) < 0x80; ++i) {
        store(to + i * sizeof(Out), static_cast<Out>(load<In>(from + i * sizeof(In))));
    }
    return i;
}

// Passes ASCII through, as far as text and room go.
template <class In, class Out>
void pass_ascii(Span& s) {
    const size_t units = std::min(s.left() / sizeof(In), s.room() / sizeof(Out));
    const size_t passed = copy_ascii<In, Out>(s.from, s.to, units);
    s.from += passed * sizeof(In);
    s.to += passed * sizeof(Out);
}

// Takes as much as it can at a stroke; the tail and what is unusual are left to next() and put().
// False: nothing taken. The quick ways of certain pairs are overloads of this.
template <class Reader, class Writer>
bool advance(Reader&, Writer&, Span& s) {
    using In = typename Reader::Unit;
    if constexpr (Reader::kAsciiBased && Writer::kAsciiBased) {
        if (load<In>(s.from) >= 0x80) return false;
        pass_ascii<In, typename Writer::Unit>(s);
        return true;
    }
    return false;
}

// Converts one character after the other, as many as surely are whole and fit. False: none. Here as
// in every hot loop what moves is in a local: behind a reference each byte that is written might
// change it.
// (Measured: taken apart, or with fewer levels, it is a fifth slower for some code sets.)
template <class Reader, class Writer>
// NOLINTNEXTLINE(readability-function-size)
bool convert_amply(Reader& reader, Writer& writer, Span& span) {
    using In = typename Reader::Unit;
    Span s = span;
    size_t sure = 0;
    while ((sure = std::min(s.left() / Reader::kMost, s.room() / Writer::kMost)) > 0) {
        for (; sure > 0; --sure) {
            const bool ascii_based = Reader::kAsciiBased && Writer::kAsciiBased;
            if (const auto unit = load<In>(s.from); ascii_based && unit < 0x80) [[unlikely]] {
                if (s.left() >= 8 * sizeof(In) && all_ascii<In, 8>(s.from)) break;  // a longer run
                store(s.to, static_cast<typename Writer::Unit>(unit));
                s.from += sizeof(In);
                s.to += sizeof(typename Writer::Unit);
                continue;
            }
            const Char c = reader.next(s.from, Reader::kMost);
            if (c.length == 0) [[unlikely]]
                break;
            if (c.value != kNoText) [[likely]]
                s.to += writer.put(s.to, Writer::kMost, c.value);
            s.from += c.length;
        }
        if (sure > 0) break;
    }
    const bool moved = s.from != span.from;
    span = s;
    return moved;
}

template <class Reader, class Writer>
int convert_span(Reader& reader, Writer& writer, Span& s) {
    while (s.from < s.from_end) {
        if (s.to >= s.to_end) return kFull;
        if (advance(reader, writer, s)) continue;
        if (convert_amply(reader, writer, s)) continue;
        const Char c = reader.next(s.from, s.left());
        if (c.length == 0) return kCut;
        if (c.value != kNoText) {
            const size_t written = writer.put(s.to, s.room(), c.value);
            if (written == 0) return kFull;
            s.to += written;
        }
        s.from += c.length;
    }
    return kDone;
}

// One of the named conversions.
template <class Reader, class Writer>
int convert(uc_ch_t& cs, Span& s) {
    Reader reader(cs);
    Writer writer(cs);
    const int result = convert_span(reader, writer, s);
    reader.keep(cs);
    writer.keep(cs);
    return result;
}

struct Stateless {
    void keep(uc_ch_t&) const {}
};

// Counts what it replaces.
struct Replacing {
    uint16_t replaced = 0;

    void keep(uc_ch_t& cs) const {
        cs.subs_count = static_cast<uint16_t>(cs.subs_count + replaced);
    }
};

}  // namespace vel::i18n
