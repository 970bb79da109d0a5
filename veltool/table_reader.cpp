// Reads table files of any origin: whatever they point at is looked for in the file first.
#include <algorithm>
#include <array>
#include <cstring>

#include "veltool/files.h"
#include "veltool/table.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

using i18n::kUnmapped;

// What bounds the work on a table whose nodes lead to the same ones over and over.
constexpr size_t kMostEntries = 1'200'000;

class TableReader {
  public:
    explicit TableReader(std::string_view image) : image_(image) {}

    Contents read() {
        check_header();
        Contents contents{std::string(name_), kind_, {}};
        mapping_ = &contents.mapping;
        read_pages();
        read_to_unicode();
        std::ranges::sort(mapping_->to_unicode, {}, &Character::code);
        return contents;
    }

  private:
    template <class Number>
    Number at(size_t offset, const char* what) const {
        if (offset > image_.size() || image_.size() - offset < sizeof(Number)) {
            throw Failure(std::string(what) + " lies outside the file");
        }
        Number number;
        memcpy(&number, image_.data() + offset, sizeof number);
        return number;
    }

    uint16_t header(size_t offset) const { return at<uint16_t>(offset, "the header"); }
    uint8_t length(size_t byte) const {
        return at<uint8_t>(i18n::kLengthsOffset + byte, "the header");
    }
    uint16_t entry(size_t byte) const { return header(i18n::kToUnicodeOffset + 2 * byte); }
    size_t in_area(uint16_t unit) const { return area_ + size_t{unit} * i18n::kUnitSize; }

    // A unit that stands for nothing: no page, no row.
    bool is_nothing(uint16_t unit) const {
        return unit == kUnmapped && in_area(unit) >= image_.size();
    }

    void check_header() {
        if (!is_table(image_)) throw Failure("not a table: it is too short or has not the magic");
        if (image_.size() > i18n::kMaxTableSize) throw Failure("larger than a table may be");
        const bool single_ebcdic = header(i18n::kMarkOffset) == i18n::kEbcdicSbcsMark;
        const uint16_t number =
            single_ebcdic ? uint16_t{i18n::kEbcdicSbcs} : header(i18n::kKindOffset);
        kind_ = find_kind(std::to_string(number));
        if (kind_ == nullptr) throw Failure("no such kind: " + std::to_string(number));
        const std::string_view field = image_.substr(i18n::kNameOffset, longest_name(*kind_) + 1);
        if (field.find('\0') == field.npos) throw Failure("the name is not ended");
        name_ = field.substr(0, field.find('\0'));
        const bool visible =
            std::ranges::all_of(name_, [](char c) { return c >= ' ' && c <= '~'; });
        if (!visible) throw Failure("the name is not of visible ASCII characters");
        area_ = at<uint32_t>(i18n::kAreaOffset, "the header");
        if (area_ > image_.size()) throw Failure("the mapping area begins outside the file");
        substitute_ = at<uint8_t>(i18n::kSubsByteOffset, "the header");
        substitute_value_ = header(i18n::kSubsValueOffset);
    }

    // ---- From Unicode

    void read_pages() {
        for (char32_t value = 0; value < kUnmapped; ++value) {
            if (passes_ascii(*kind_) && value < kAsciiEnd) {
                mapping_->from_unicode[value] = {value, 1};
                continue;
            }
            const uint16_t page = header(i18n::kPagesOffset + 2 * size_t{value >> 8});
            if (is_nothing(page)) continue;
            const uint32_t bits = result(in_area(page) + size_t{value & 0xFF} * kind_->result_size);
            if (bits != substitute_ || value == substitute_value_) {
                mapping_->from_unicode[value] = code_with(bits);
            }
        }
    }

    // With all bits set it stands, but for single bytes, for the substitution.
    uint32_t result(size_t offset) const {
        constexpr char kWhat[] = "a page";
        if (kind_->result_size == 1) return at<uint8_t>(offset, kWhat);
        if (kind_->result_size == 2) {
            const uint16_t bits = at<uint16_t>(offset, kWhat);
            return bits == 0xFFFF ? substitute_ : bits;
        }
        const uint32_t bits = at<uint32_t>(offset, kWhat);
        return bits == 0xFFFF'FFFF ? substitute_ : bits;
    }

    static Code code_with(uint32_t bits) {
        uint32_t length = 1;
        while (length < kLongestCode && bits >> 8 * length != 0) ++length;
        return {bits, length};
    }

    // ---- To Unicode

    void read_to_unicode() {
        if (kind_->layout == Layout::kBlock) read_block();
        for (uint32_t byte = 0; byte < 256; ++byte) {
            if (passes_ascii(*kind_) && byte < kAsciiEnd) {
                add({byte, 1}, static_cast<uint16_t>(byte));
            } else if (kind_->layout == Layout::kValues) {
                add({byte, 1}, entry(byte));
            } else if (kind_->number == i18n::kEbcdicDbcs) {
                read_ebcdic_rows(byte);
            } else if (kind_->layout == Layout::kRows) {
                read_ascii_rows(byte);
            } else if (kind_->layout == Layout::kNodes) {
                read_nodes(byte);
            }
        }
    }

    void add(Code code, uint16_t value) {
        if (value != kUnmapped) mapping_->to_unicode.push_back({code, value});
    }

    uint16_t row_value(uint16_t row, size_t byte) const {
        return is_nothing(row) ? kUnmapped : at<uint16_t>(in_area(row) + 2 * byte, "a row");
    }

    void read_row(uint32_t first_byte) {
        for (uint32_t byte = 0; byte < 256; ++byte) {
            add(Code{first_byte, 1}.with(static_cast<uint8_t>(byte)),
                row_value(entry(first_byte), byte));
        }
    }

    void read_ascii_rows(uint32_t byte) {
        if (length(byte) == 1) add({byte, 1}, row_value(entry(0), byte));
        if (length(byte) == 2) read_row(byte);
    }

    void read_ebcdic_rows(uint32_t byte) {
        if (byte != kShiftOut && byte != kShiftIn) add({byte, 1}, row_value(entry(0), byte));
        if (byte >= kFirstPairLead && byte <= kLastPairLead) read_row(byte);
    }

    void read_nodes(uint32_t byte) {
        const uint8_t bytes = length(byte);
        if (bytes == 0 || bytes == i18n::kNoCharacter) return;
        if (bytes > kLongestCode) {
            throw Failure(in_hex(Code{byte, 1}) + " begins characters of more than four bytes");
        }
        if (bytes == 1) {
            add({byte, 1}, entry(byte));
        } else if (entry(byte) != kUnmapped) {
            read_node(entry(byte), {byte, 1}, bytes);
        }
    }

    void read_node(uint16_t node, Code code, uint32_t bytes) {
        constexpr char kWhat[] = "a node";
        const size_t count = at<uint16_t>(in_area(node), kWhat);
        const size_t lowest = at<uint16_t>(in_area(node) + 2, kWhat);
        if (lowest + count > 256) throw Failure("a node has entries for more than all bytes");
        entries_read_ += count;
        if (entries_read_ > kMostEntries) throw Failure("more nodes than any code set needs");
        for (size_t i = 0; i < count; ++i) {
            const uint16_t next = at<uint16_t>(in_area(node) + 4 + 2 * i, kWhat);
            const Code longer = code.with(static_cast<uint8_t>(lowest + i));
            if (longer.length == bytes) {
                add(longer, next);
            } else if (next != kUnmapped) {
                read_node(next, longer, bytes);
            }
        }
    }

    // ---- The GB 18030 block

    struct Range {
        uint16_t first;
        uint16_t last;
        uint16_t type;
        uint16_t datum;
    };

    uint16_t in_block(size_t unit) const {
        return at<uint16_t>(block_ + i18n::kGbData + 2 * unit, "the GB 18030 block");
    }

    size_t block_base(size_t offset) const {
        return at<uint32_t>(block_ + offset, "the GB 18030 block");
    }

    void read_block() {
        block_ = header(i18n::kGbBlockOffset);
        const size_t ranges = block_base(i18n::kGbRangesBase);
        std::array<uint16_t, i18n::kGbIndexStep> values;
        for (size_t first = 0; first < i18n::kGbIndexEnd; first += values.size()) {
            values.fill(kUnmapped);
            const size_t part = block_base(i18n::kGbIndexBase) + first / i18n::kGbIndexStep;
            walk_ranges(ranges + 4 * size_t{in_block(part)}, first, values);
            for (size_t i = 0; i < values.size(); ++i) add_place(first + i, values[i]);
        }
    }

    void walk_ranges(size_t unit, size_t begin, std::array<uint16_t, i18n::kGbIndexStep>& values) {
        for (int before = -1;; unit += 4) {
            const Range range{in_block(unit), in_block(unit + 1), in_block(unit + 2),
                              in_block(unit + 3)};
            if (range.first >= begin + values.size() || range.first == kUnmapped) return;
            if (range.first <= before) throw Failure("the ranges of GB 18030 are out of order");
            before = range.first;
            const size_t end = std::min(begin + values.size(), size_t{range.last} + 1);
            for (size_t i = std::max(begin, size_t{range.first}); i < end; ++i) {
                values[i - begin] = value_in(range, i - range.first);
            }
        }
    }

    uint16_t value_in(const Range& range, size_t distance) const {
        const size_t datum = range.datum + distance;
        if (range.type == i18n::kGbLinear) return static_cast<uint16_t>(datum);
        if (range.type != i18n::kGbListed) throw Failure("a range of GB 18030 has no known type");
        return in_block(block_base(i18n::kGbValuesBase) + datum);
    }

    void add_place(size_t index, uint16_t value) {
        if (index > 0 && index < i18n::kGbIndexEnd)
            add(gb_code(static_cast<int32_t>(index)), value);
    }

    std::string_view image_;
    const KindRow* kind_ = nullptr;
    std::string_view name_;
    size_t area_ = 0;
    size_t block_ = 0;
    uint8_t substitute_ = 0;
    uint16_t substitute_value_ = 0;
    size_t entries_read_ = 0;
    Mapping* mapping_ = nullptr;
};

}  // namespace

bool is_table(std::string_view content) {
    return content.size() >= i18n::kHeaderSize &&
           content.substr(i18n::kMagicOffset, sizeof i18n::kMagic) ==
               std::string_view(i18n::kMagic, sizeof i18n::kMagic);
}

Contents read_table(std::string_view image) { return TableReader(image).read(); }

Contents read_table_file(const std::string& path) {
    const std::string image = read_file(path, i18n::kMaxTableSize);
    try {
        return read_table(image);
    } catch (const Failure& failure) {
        throw Failure(path + ": " + failure.what());
    }
}

}  // namespace vel::tool
