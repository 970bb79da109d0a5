// The layout of a code-set table file, and checked access to what it points at. All numbers are in
// the byte order of the machine; docs/formats.md has the whole story.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vel::i18n {

// The converter family of a code set. Any other number behaves as `os`.
enum Kind : uint16_t {
    kSbcs = 1,
    kDbcs = 2,
    kMbcs = 3,
    kEbcdicDbcs = 4,
    kUtf8 = 6,
    kEbcdicSbcs = 8,
    kOs = 9,
    kGb18030 = 10,
};

inline constexpr size_t kAreaOffset = 0;         // u32: where the mapping area begins
inline constexpr size_t kMagicOffset = 8;        // "ucv"
inline constexpr size_t kNameOffset = 16;        // 32 bytes
inline constexpr size_t kGbBlockOffset = 38;     // u16: where the GB 18030 block begins
inline constexpr size_t kKindOffset = 48;        // u16
inline constexpr size_t kMarkOffset = 50;        // u16: kEbcdicSbcsMark or 0
inline constexpr size_t kAttrBOffset = 56;       // u16
inline constexpr size_t kSubsValueOffset = 58;   // u16: the value that is the substitution byte
inline constexpr size_t kSubsByteOffset = 60;    // u8
inline constexpr size_t kAttrAOffset = 62;       // u16
inline constexpr size_t kAttrCOffset = 64;       // 16 bytes
inline constexpr size_t kPagesOffset = 224;      // u16[256]: pages of the from-Unicode direction
inline constexpr size_t kToUnicodeOffset = 736;  // u16[256]: values, rows or nodes by first byte
inline constexpr size_t kLengthsOffset = 1248;   // u8[256]: how many bytes a first byte begins
inline constexpr size_t kHeaderSize = 1760;

inline constexpr char kMagic[] = {'u', 'c', 'v'};
inline constexpr size_t kNameSize = 32;
inline constexpr uint16_t kEbcdicSbcsMark = 0x1100;
inline constexpr size_t kUnitSize = 4;  // pages, rows and nodes are counted in these
inline constexpr uint16_t kUnmapped = 0xFFFF;
inline constexpr uint8_t kNoCharacter = 255;  // in the lengths: begins no character

// The GB 18030 block: three bases, counted like all in it in 16-bit units from its data.
inline constexpr size_t kGbIndexBase = 16;
inline constexpr size_t kGbRangesBase = 20;
inline constexpr size_t kGbValuesBase = 24;
inline constexpr size_t kGbData = 32;
inline constexpr uint32_t kGbIndexStep = 512;  // linear indices that share an entry of the index
inline constexpr uint16_t kGbListed = 1;       // type of a range: its values are listed
inline constexpr uint16_t kGbLinear = 2;       // type of a range: its values run on from the datum
inline constexpr int32_t kGbIndexEnd = 65535;  // what the block covers
inline constexpr int32_t kGbPlanesBegin = 213067;  // the linear index of U+10000
inline constexpr int32_t kGbPlanesEnd = 1261642;   // the last that is computed

inline constexpr size_t kMaxTableSize = 16 << 20;

template <class Number>
Number load(const uint8_t* at) {
    Number number;
    memcpy(&number, at, sizeof number);
    return number;
}

// Reads what a table names in its mapping area. What lies outside the image is not there; a table
// known to be whole has nothing outside, and needs no check.
template <bool kWhole>
class TableView {
  public:
    TableView(const uint8_t* image, uint32_t size)
        : image_(image), area_(load<uint32_t>(image + kAreaOffset)), size_(size) {}

    // The result for a value below 0x10000 in the pages, a Number wide.
    template <class Number>
    bool page_result(uint32_t value, Number& result) const {
        const uint64_t page = load<uint16_t>(image_ + kPagesOffset + size_t{2} * (value >> 8));
        return read(page * kUnitSize + (value & 0xFF) * sizeof(Number), result);
    }

    // The value of the second byte in the row of the first.
    uint16_t row_value(uint8_t first, uint8_t second) const {
        uint16_t value = kUnmapped;
        return read(uint64_t{entry(first)} * kUnitSize + second * sizeof value, value) ? value
                                                                                       : kUnmapped;
    }

    uint16_t entry(uint8_t first) const {
        return load<uint16_t>(image_ + kToUnicodeOffset + 2 * size_t{first});
    }
    uint8_t length(uint8_t first) const { return image_[kLengthsOffset + first]; }

    // A number at an offset from the mapping area.
    template <class Number>
    bool read(uint64_t offset, Number& number) const {
        offset += area_;
        if constexpr (!kWhole) {
            if (offset + sizeof number > size_) return false;
        }
        number = load<Number>(image_ + offset);
        return true;
    }

  private:
    const uint8_t* image_;
    uint64_t area_;
    uint64_t size_;
};

// A node of a multibyte table, cut down to what lies in the image: which bytes it knows, and where
// it has what they choose.
struct Node {
    uint32_t entries;  // offset in the image
    uint16_t lowest;
    uint16_t count;

    static Node at(const uint8_t* image, uint64_t size, uint16_t number) {
        const uint64_t begin = load<uint32_t>(image + kAreaOffset) + uint64_t{number} * kUnitSize;
        const uint64_t entries = begin + 4;
        if (entries > size) return {};
        const auto count = load<uint16_t>(image + begin);
        return {static_cast<uint32_t>(entries), load<uint16_t>(image + begin + 2),
                static_cast<uint16_t>(std::min<uint64_t>(count, (size - entries) / 2))};
    }

    // The next node, or the value behind the last byte. False: the byte chooses nothing.
    bool choose(const uint8_t* image, uint8_t byte, uint16_t& chosen) const {
        const uint32_t place = uint32_t{byte} - lowest;  // below the lowest: beyond any count
        if (place >= count) return false;
        chosen = load<uint16_t>(image + entries + size_t{2} * place);
        return true;
    }
};

// What 512 linear indices of GB 18030 have in common, if so: all are listed, or run on.
struct GbRun {
    enum Type : uint16_t { kMixed, kListed, kLinear };
    Type type;
    uint16_t value;   // kLinear: of the first one
    uint32_t values;  // kListed: offset in the image of the first one's
};
inline constexpr size_t kGbRuns = 128;

}  // namespace vel::i18n
