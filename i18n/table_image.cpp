// What is worked out of a table when it is loaded, so that the converters' loops need not.
#include <algorithm>

#include "i18n/code_set.h"
#include "i18n/ebcdic37.h"
#include "i18n/gb18030_code.h"
#include "i18n/table_codes.h"

namespace vel::i18n {

uint16_t kind_of(const uint8_t* image) {
    if (load<uint16_t>(image + kMarkOffset) == kEbcdicSbcsMark) return kEbcdicSbcs;
    return load<uint16_t>(image + kKindOffset);
}

static uint64_t largest(const uint8_t* numbers) {
    uint16_t most = 0;
    for (size_t i = 0; i < 256; ++i) most = std::max(most, load<uint16_t>(numbers + 2 * i));
    return most;
}

// Whether everything that the 256 entries at `offset` name, of that many bytes, lies in the image.
static bool all_inside(const uint8_t* image, uint64_t size, size_t offset, size_t bytes) {
    const uint64_t last = largest(image + offset) * kUnitSize + bytes;
    return load<uint32_t>(image + kAreaOffset) + last <= size;
}

static bool is_whole(const uint8_t* image, uint64_t size, uint16_t kind) {
    switch (kind) {
        case kSbcs:
        case kEbcdicSbcs:
            return all_inside(image, size, kPagesOffset, 256 * sizeof(uint8_t));
        case kDbcs:
        case kEbcdicDbcs:
            return all_inside(image, size, kPagesOffset, 256 * sizeof(uint16_t)) &&
                   all_inside(image, size, kToUnicodeOffset, 256 * sizeof(uint16_t));
        default:
            return all_inside(image, size, kPagesOffset, 256 * sizeof(uint32_t));
    }
}

static ReadyText ready_text(uint16_t value) {
    if (value == kUnmapped) return kReadyUnusual;
    const size_t size = Utf8Writer::size_of(value);
    return Utf8Writer::bytes_of(value, size) | static_cast<ReadyText>(size << kReadyLengthShift);
}

// The value of a byte that is a character by itself.
static uint16_t single_value(const TableView<false>& table, uint16_t kind, uint8_t byte) {
    if (kind == kSbcs) return byte < 0x80 ? byte : table.entry(byte);
    if (invar_eb_to_ucs[byte]) return def_eb_to_ucs[byte];
    return kind == kEbcdicSbcs ? table.entry(byte) : table.row_value(0, byte);
}

// The byte of a value, or kNoEbcdic when it has none, has a pair, or is a shift.
template <class Number>
static uint16_t ebcdic_byte(const Pages<Number, false>& pages, uint8_t value) {
    if (invar_ucs_to_eb[value]) return def_ucs_to_eb[value];
    Number result = 0;
    if (!pages.find(value, result) || result > 0xFF) return kNoEbcdic;
    return sizeof(Number) > 1 && result == kShiftOut ? kNoEbcdic : result;
}

static void prepare_singles(LoadedTable& table, uint16_t kind) {
    const TableView<false> view(table.image(), table.size);
    for (unsigned byte = 0; byte < 256; ++byte) {
        table.bytes.single[byte] = single_value(view, kind, static_cast<uint8_t>(byte));
        table.bytes.ready[byte] = ready_text(table.bytes.single[byte]);
    }
}

template <class Number>
static void prepare_ebcdic(LoadedTable& table, uint16_t kind) {
    prepare_singles(table, kind);
    const Pages<Number, false> pages(table.image(), table.size);
    for (unsigned value = 0; value < 256; ++value) {
        table.bytes.ebcdic[value] = ebcdic_byte(pages, static_cast<uint8_t>(value));
    }
}

static void prepare_rows(LoadedTable& table) {
    const TableView<false> view(table.image(), table.size);
    const auto area = load<uint32_t>(table.image() + kAreaOffset);
    for (unsigned i = 0; i < 256; ++i) {
        const auto byte = static_cast<uint8_t>(i);
        const uint32_t row = area + view.entry(byte) * uint32_t{kUnitSize};
        table.rows[byte] = view.length(byte) == 2 ? row : kNoRow;
    }
}

static void prepare_nodes(LoadedTable& table) {
    const TableView<false> view(table.image(), table.size);
    for (unsigned byte = 0; byte < 256; ++byte) {
        const uint16_t number = view.entry(static_cast<uint8_t>(byte));
        table.first_nodes[byte] = Node::at(table.image(), table.size, number);
    }
}

static void prepare_gb18030(LoadedTable& table) {
    const GbBlock block(table.image(), table.size);
    for (uint32_t entry = 0; entry < kGbRuns; ++entry) table.gb_runs[entry] = block.run_of(entry);
}

void prepare(LoadedTable& table) {
    const uint16_t kind = kind_of(table.image());
    table.whole = is_whole(table.image(), table.size, kind);
    switch (kind) {
        case kSbcs:
            return prepare_singles(table, kind);
        case kDbcs:
            return prepare_rows(table);
        case kMbcs:
            return prepare_nodes(table);
        case kEbcdicSbcs:
            return prepare_ebcdic<uint8_t>(table, kind);
        case kEbcdicDbcs:
            prepare_ebcdic<uint16_t>(table, kind);
            table.bytes.ready[kShiftOut] = kReadyUnusual;
            return;
        case kGb18030:
            return prepare_gb18030(table);
        default:
            return;
    }
}

}  // namespace vel::i18n
