// The kinds of code sets that a table can hold, and where GB 18030 keeps its characters.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "i18n/table_image.h"
#include "veltool/mapping.h"

namespace vel::tool {

// How the to-Unicode direction of a table is laid out.
enum class Layout { kValues, kRows, kNodes, kBlock };

struct KindRow {
    i18n::Kind number;
    std::string_view word;
    bool ebcdic;
    uint32_t longest;    // bytes of a character
    size_t result_size;  // of a value in the pages
    Layout layout;

    uint8_t substitute() const { return ebcdic ? 0x6F : 0x3F; }
};

inline constexpr KindRow kKinds[] = {
    {i18n::kSbcs, "single-byte", false, 1, 1, Layout::kValues},
    {i18n::kDbcs, "double-byte", false, 2, 2, Layout::kRows},
    {i18n::kMbcs, "multibyte", false, 4, 4, Layout::kNodes},
    {i18n::kEbcdicDbcs, "ebcdic-mixed", true, 2, 2, Layout::kRows},
    {i18n::kEbcdicSbcs, "ebcdic", true, 1, 1, Layout::kValues},
    {i18n::kGb18030, "gb18030", false, 4, 4, Layout::kBlock},
};

inline constexpr char32_t kSubstituteValue = 0x3F;
inline constexpr char32_t kAsciiEnd = 0x80;
inline constexpr uint8_t kShiftOut = 0x0E;
inline constexpr uint8_t kShiftIn = 0x0F;
inline constexpr uint8_t kFirstPairLead = 0x40;  // of EBCDIC
inline constexpr uint8_t kLastPairLead = 0xFE;

const KindRow& kind_row(i18n::Kind number);
const KindRow* find_kind(std::string_view word_or_number);  // null: no such kind

// The longest name that a table of the kind has room for.
size_t longest_name(const KindRow& kind);

// The place of a code of two or four bytes on the line of all of GB 18030, and the code of a place.
std::optional<int32_t> gb_index(Code code);
Code gb_code(int32_t index);

}  // namespace vel::tool
