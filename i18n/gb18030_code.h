// GB 18030 to Unicode: one, two and four bytes, by way of a linear index.
#pragma once

#include "i18n/convert.h"
#include "i18n/table_codes.h"

namespace vel::i18n {

inline constexpr int kMostGbRanges = 4096;  // looked at for a character, of however many there are

// The block of a table, which may lie and point anywhere.
class GbBlock {
  public:
    GbBlock(const uint8_t* image, uint64_t size) {
        const uint64_t begin = load<uint16_t>(image + kGbBlockOffset);
        if (begin + kGbData > size) return;  // nothing is mapped
        data_offset_ = begin + kGbData;
        data_ = image + data_offset_;
        units_ = (size - data_offset_) / 2;
        index_ = load<uint32_t>(image + begin + kGbIndexBase);
        ranges_ = load<uint32_t>(image + begin + kGbRangesBase);
        values_ = load<uint32_t>(image + begin + kGbValuesBase);
    }

    uint32_t value_of(uint32_t index) const {
        const Search found = search(index);
        if (found.winner == kNone) return kUnmapped;
        const uint32_t datum = at(found.winner + 3) + (index - at(found.winner));
        if (at(found.winner + 2) == kGbLinear) return datum & 0xFFFF;
        return values_ + datum < units_ ? at(values_ + datum) : kUnmapped;
    }

    // What the indices of an entry of the index share: the range that wins for the first and the
    // last of them, when the search sees the same ranges for both.
    GbRun run_of(uint32_t entry) const {
        const uint32_t first = entry * kGbIndexStep;
        const uint32_t last = first + kGbIndexStep - 1;
        const Search found = search(first);
        const Search end = search(last);
        if (found.winner == kNone || found.winner != end.winner || found.stop != end.stop)
            return {};
        const uint64_t datum = at(found.winner + 3) + (first - at(found.winner));
        if (at(found.winner + 2) == kGbLinear) {
            return {GbRun::kLinear, static_cast<uint16_t>(datum), 0};
        }
        if (values_ + datum + kGbIndexStep > units_) return {};
        return {GbRun::kListed, 0, static_cast<uint32_t>(data_offset_ + 2 * (values_ + datum))};
    }

  private:
    static constexpr uint64_t kNone = UINT64_MAX;

    // The last range that covers an index, and where the search for it ended; in units.
    struct Search {
        uint64_t winner = kNone;
        uint64_t stop = 0;
    };

    Search search(uint32_t index) const {
        Search found;
        const uint64_t entry = index_ + index / kGbIndexStep;
        if (entry >= units_) return found;
        found.stop = ranges_ + uint64_t{at(entry)} * 4;
        for (int seen = 0; seen < kMostGbRanges && found.stop + 4 <= units_;
             ++seen, found.stop += 4) {
            if (at(found.stop) > index) break;
            const uint16_t type = at(found.stop + 2);
            const bool covers = index <= at(found.stop + 1);
            if (covers && (type == kGbListed || type == kGbLinear)) found.winner = found.stop;
        }
        return found;
    }

    uint16_t at(uint64_t unit) const { return load<uint16_t>(data_ + 2 * unit); }

    const uint8_t* data_ = nullptr;
    uint64_t data_offset_ = 0;
    uint64_t units_ = 0;  // of 16 bits, in the data; below they are counted from its beginning
    uint64_t index_ = 0;
    uint64_t ranges_ = 0;
    uint64_t values_ = 0;
};

struct Gb18030Reader : Stateless {
    using Unit = uint8_t;
    static constexpr size_t kMost = 4;
    static constexpr bool kAsciiBased = true;

    explicit Gb18030Reader(const uc_ch_t& cs)
        : image(cs.table), runs(cs.loaded->gb_runs.data()), block(cs.table, cs.table_size) {}

    Char next(const uint8_t* at, size_t left) const {
        const int32_t b0 = at[0];
        if (b0 == 0x80 || b0 == 0xFF) [[unlikely]]
            return {kNoValue, 1};
        if (left < 2) return {kNoValue, 0};
        const int32_t b1 = at[1];
        if (b1 < '0' || b1 > '9') return {value_of(b0 * 191 + b1 - 24702), 2};
        if (left < 4) return {kNoValue, 0};
        return {value_of((((b0 - 0x80) * 10 + b1) * 126 + at[2]) * 10 + at[3] - 50351), 4};
    }

    uint32_t value_of(int32_t index) const {
        if (const auto place = static_cast<uint32_t>(index); place < kGbIndexEnd) {
            const uint32_t value = value_in_block(place);
            if (value == kSubstitute || value == kUnmapped) [[unlikely]]
                return kNoValue;
            return value;
        }
        if (index < kGbPlanesBegin || index > kGbPlanesEnd) return kNoValue;
        return static_cast<uint32_t>(index - kGbPlanesBegin) + kPlanes;
    }

    uint32_t value_in_block(uint32_t index) const {
        const GbRun& run = runs[index / kGbIndexStep];
        const uint32_t within = index % kGbIndexStep;
        switch (run.type) {
            case GbRun::kListed:
                return load<uint16_t>(image + run.values + size_t{2} * within);
            case GbRun::kLinear:
                return (run.value + within) & 0xFFFF;
            default:
                return block.value_of(index);
        }
    }

    const uint8_t* image;
    const GbRun* runs;
    GbBlock block;
};

}  // namespace vel::i18n
