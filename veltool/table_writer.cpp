// Lays out a table file: header, GB 18030 block, and the mapping area with pages, rows and nodes.
#include <algorithm>
#include <cstring>
#include <map>
#include <span>

#include "veltool/table.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

using i18n::kUnmapped;

constexpr char kAllSet = '\xFF';  // fills what is unmapped

template <class Number>
void put(std::string& bytes, size_t offset, Number number) {
    memcpy(bytes.data() + offset, &number, sizeof number);
}

template <class Number>
void append(std::string& bytes, Number number) {
    bytes.resize(bytes.size() + sizeof number);
    put(bytes, bytes.size() - sizeof number, number);
}

// ---- The GB 18030 block ---------------------------------------------------------------------

class GbBlock {
  public:
    explicit GbBlock(const Mapping& mapping) : values_(i18n::kGbIndexEnd, kUnmapped) {
        for (const auto& [code, value] : mapping.to_unicode) {
            const auto index = gb_index(code);
            if (index) values_[static_cast<size_t>(*index)] = static_cast<uint16_t>(value);
        }
        make_ranges();
    }

    std::string text() const {
        std::string data;
        for (size_t first = 0; first < values_.size(); first += i18n::kGbIndexStep) {
            append(data, first_range_for(first));
        }
        const size_t ranges_base = data.size() / 2;
        for (const Range& range : ranges_) {
            for (const uint16_t number : {range.first, range.last, range.type, range.datum}) {
                append(data, number);
            }
        }
        const size_t values_base = data.size() / 2;
        for (const uint16_t value : listed_) append(data, value);

        std::string head(i18n::kGbData, '\0');
        put(head, i18n::kGbRangesBase, static_cast<uint32_t>(ranges_base));
        put(head, i18n::kGbValuesBase, static_cast<uint32_t>(values_base));
        return head + data;
    }

  private:
    struct Range {
        uint16_t first;
        uint16_t last;
        uint16_t type;
        uint16_t datum;
    };

    // Shorter stretches are listed: half of what shares an entry of the index, so that few ranges
    // have to be walked for any character.
    static constexpr size_t kLongStretch = i18n::kGbIndexStep / 2;

    // How far unmapped places, or values that run on, reach from here.
    size_t stretch_end(size_t at) const {
        const bool mapped = values_[at] != kUnmapped;
        size_t end = at + 1;
        while (end < values_.size() && (values_[end] != kUnmapped) == mapped &&
               (!mapped || values_[end] == values_[end - 1] + 1)) {
            ++end;
        }
        return end;
    }

    void make_ranges() {
        for (size_t at = 0; at < values_.size();) {
            const size_t end = stretch_end(at);
            const bool is_long = end - at >= kLongStretch;
            const bool mapped = values_[at] != kUnmapped;
            if (is_long && mapped) {
                add_range(at, end, i18n::kGbLinear, values_[at]);
            } else if (!is_long && (mapped || can_go_on(at))) {
                list(at, end);
            }
            at = end;
        }
        ranges_.push_back({kUnmapped, kUnmapped, 0, 0});
    }

    bool can_go_on(size_t at) const {
        return !ranges_.empty() && ranges_.back().type == i18n::kGbListed &&
               ranges_.back().last + size_t{1} == at;
    }

    void list(size_t at, size_t end) {
        if (can_go_on(at)) {
            ranges_.back().last = static_cast<uint16_t>(end - 1);
        } else {
            add_range(at, end, i18n::kGbListed, listed_.size());
        }
        for (; at < end; ++at) listed_.push_back(values_[at]);
    }

    void add_range(size_t at, size_t end, uint16_t type, size_t datum) {
        ranges_.push_back({static_cast<uint16_t>(at), static_cast<uint16_t>(end - 1), type,
                           static_cast<uint16_t>(datum)});
    }

    uint16_t first_range_for(size_t index) const {
        const auto found = std::ranges::find_if(
            ranges_, [index](const Range& range) { return range.last >= index; });
        return static_cast<uint16_t>(found - ranges_.begin());
    }

    std::vector<uint16_t> values_;  // by index
    std::vector<Range> ranges_;
    std::vector<uint16_t> listed_;
};

// ---- The table ------------------------------------------------------------------------------

class TableWriter {
  public:
    explicit TableWriter(const Contents& contents)
        : kind_(*contents.kind),
          mapping_(contents.mapping),
          header_(i18n::kHeaderSize, '\0'),
          lengths_(256, static_cast<char>(i18n::kNoCharacter)) {
        put_description(contents.name);
        put_lengths();
    }

    std::string write() {
        std::string block;
        if (kind_.layout == Layout::kBlock) block = GbBlock(mapping_).text();
        block.resize((block.size() + i18n::kUnitSize - 1) / i18n::kUnitSize * i18n::kUnitSize);
        put(header_, i18n::kAreaOffset, static_cast<uint32_t>(header_.size() + block.size()));
        put_pages();
        put_to_unicode();
        return header_ + block + area_;
    }

  private:
    void put_description(const std::string& name) {
        const bool single_ebcdic = kind_.number == i18n::kEbcdicSbcs;
        memcpy(header_.data() + i18n::kMagicOffset, i18n::kMagic, sizeof i18n::kMagic);
        memcpy(header_.data() + i18n::kNameOffset, name.data(), name.size());
        put(header_, i18n::kKindOffset, single_ebcdic ? i18n::kSbcs : kind_.number);
        if (single_ebcdic) put(header_, i18n::kMarkOffset, i18n::kEbcdicSbcsMark);
        if (kind_.layout == Layout::kBlock) {
            put(header_, i18n::kGbBlockOffset, static_cast<uint16_t>(i18n::kHeaderSize));
        }
        put(header_, i18n::kSubsValueOffset, static_cast<uint16_t>(kSubstituteValue));
        put(header_, i18n::kSubsByteOffset, kind_.substitute());
    }

    // Where shifts or the second byte tell characters apart, a first byte has no single length.
    bool lengths_tell_apart() const {
        return kind_.layout != Layout::kBlock && kind_.number != i18n::kEbcdicDbcs;
    }

    void put_lengths() {
        for (const Character& character : mapping_.to_unicode) {
            char& length = lengths_[character.code.byte(0)];
            const char own = static_cast<char>(character.code.length);
            const bool is_first = length == static_cast<char>(i18n::kNoCharacter);
            if (!is_first && length != own && lengths_tell_apart()) {
                throw Failure(in_hex(character.code) +
                              ": its first byte also begins characters of another length");
            }
            if (is_first) length = own;
        }
        header_.replace(i18n::kLengthsOffset, lengths_.size(), lengths_);
    }

    void put_pages() {
        const size_t size = kind_.result_size;
        const char fill = size == 1 ? static_cast<char>(kind_.substitute()) : kAllSet;
        for (size_t high = 0; high < 256; ++high) {
            std::string page(256 * size, fill);
            for (size_t low = 0; low < 256; ++low) {
                const Code code = mapping_.code_of(static_cast<char32_t>(high << 8 | low));
                if (code) put_result(page, low * size, code.bits);
            }
            put(header_, i18n::kPagesOffset + 2 * high, place(page));
        }
    }

    void put_result(std::string& page, size_t offset, uint32_t bits) const {
        if (kind_.result_size == 1) put(page, offset, static_cast<uint8_t>(bits));
        if (kind_.result_size == 2) put(page, offset, static_cast<uint16_t>(bits));
        if (kind_.result_size == 4) put(page, offset, bits);
    }

    void put_to_unicode() {
        switch (kind_.layout) {
            case Layout::kValues:
                put_values();
                break;
            case Layout::kRows:
                put_rows();
                break;
            case Layout::kNodes:
                put_nodes();
                break;
            case Layout::kBlock:
                break;
        }
    }

    void put_entry(size_t first_byte, char32_t entry) {
        put(header_, i18n::kToUnicodeOffset + 2 * first_byte, static_cast<uint16_t>(entry));
    }

    void put_values() {
        for (size_t byte = 0; byte < 256; ++byte) put_entry(byte, kUnmapped);
        for (const auto& [code, value] : mapping_.to_unicode) put_entry(code.byte(0), value);
    }

    void put_rows() {
        std::map<size_t, std::string> rows;
        const auto row_of = [&rows](size_t first_byte) -> std::string& {
            return rows.try_emplace(first_byte, 256 * sizeof(uint16_t), kAllSet).first->second;
        };
        row_of(0);
        if (kind_.ebcdic) {
            for (size_t lead = kFirstPairLead; lead <= kLastPairLead; ++lead) row_of(lead);
        }
        for (const auto& [code, value] : mapping_.to_unicode) {
            std::string& row = row_of(code.length == 1 ? 0 : code.byte(0));
            put(row, 2 * size_t{code.byte(code.length - 1)}, static_cast<uint16_t>(value));
        }
        for (const auto& [first_byte, row] : rows) put_entry(first_byte, place(row));
    }

    void put_nodes() {
        for (size_t byte = 0; byte < 256; ++byte) put_entry(byte, kUnmapped);
        for_each_byte(mapping_.to_unicode, 0,
                      [this](uint8_t byte, std::span<const Character> part) {
                          put_entry(byte, entry_for(part, 0));
                      });
    }

    // Calls for each part of the characters that has the same byte at this place.
    template <class Call>
    static void for_each_byte(std::span<const Character> characters, size_t at, const Call& call) {
        while (!characters.empty()) {
            const uint8_t byte = characters.front().code.byte(at);
            const auto end = std::ranges::find_if(
                characters, [=](const Character& other) { return other.code.byte(at) != byte; });
            const size_t count = static_cast<size_t>(end - characters.begin());
            call(byte, characters.first(count));
            characters = characters.subspan(count);
        }
    }

    // What leads on from the byte at this place: the value after the last one, else a node.
    uint16_t entry_for(std::span<const Character> characters, size_t at) {
        const Character& first = characters.front();
        if (first.code.length == at + 1) return static_cast<uint16_t>(first.value);
        const uint8_t lowest = first.code.byte(at + 1);
        const size_t count = characters.back().code.byte(at + 1) - size_t{lowest} + 1;
        std::string node(4 + 2 * count, kAllSet);
        put(node, 0, static_cast<uint16_t>(count));
        put(node, 2, uint16_t{lowest});
        for_each_byte(characters, at + 1, [&](uint8_t byte, std::span<const Character> part) {
            put(node, 4 + 2 * size_t(byte - lowest), entry_for(part, at + 1));
        });
        return place(node);
    }

    // The unit at which a page, row or node stands in the area; equal ones share it.
    uint16_t place(const std::string& piece) {
        const size_t unit = area_.size() / i18n::kUnitSize;
        const auto [found, is_new] = placed_.try_emplace(piece, static_cast<uint16_t>(unit));
        if (is_new) {
            if (unit >= kUnmapped) throw Failure("more than a table's 16-bit numbers can address");
            area_ += piece;
            area_.resize((area_.size() + i18n::kUnitSize - 1) / i18n::kUnitSize * i18n::kUnitSize);
        }
        return found->second;
    }

    const KindRow& kind_;
    const Mapping& mapping_;
    std::string header_;
    std::string lengths_;
    std::string area_;
    std::map<std::string, uint16_t> placed_;
};

}  // namespace

std::string lay_out_table(const Contents& contents) { return TableWriter(contents).write(); }

}  // namespace vel::tool
