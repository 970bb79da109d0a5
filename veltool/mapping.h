// What a code set maps: bytes to Unicode and Unicode to bytes, wherever that comes from.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vel::tool {

inline constexpr size_t kLongestCode = 4;
inline constexpr char32_t kBmpEnd = 0x10000;
inline constexpr char32_t kUnicodeEnd = 0x110000;

inline bool is_surrogate(char32_t value) { return value >= 0xD800 && value <= 0xDFFF; }

// The one to four bytes of a character, in the order of their bytes. Length 0: none.
struct Code {
    uint32_t bits = 0;  // the last byte lowest
    uint32_t length = 0;

    uint8_t byte(size_t i) const { return static_cast<uint8_t>(bits >> 8 * (length - 1 - i)); }
    Code with(uint8_t next) const { return {bits << 8 | next, length + 1}; }
    explicit operator bool() const { return length > 0; }
    bool operator==(const Code&) const = default;
    std::strong_ordering operator<=>(const Code& other) const;
};

Code code_of(std::string_view bytes);  // at most kLongestCode of them
std::string bytes_of(Code code);
std::string in_hex(Code code);           // "0x8140"
std::string in_hex(char32_t value);      // "0x3000"
std::string in_unicode(char32_t value);  // "U+3000"

struct Character {
    Code code;
    char32_t value;
};

// What is told about a character of a mapping.
enum class Remark {
    kAboveBmp,
    kSequence,
    kNoncharacter,
    kUnholdable,
    kSubstitution,
    kShift,
    kOneWayToUnicode,
    kOneWayFromUnicode,
    kPassedThrough,
};

struct Note {
    Remark remark;
    Code code;
    char32_t value;

    auto operator<=>(const Note&) const = default;
};

struct Mapping {
    std::vector<Character> to_unicode;                            // ordered by code, each once
    std::vector<Code> from_unicode = std::vector<Code>(kBmpEnd);  // by value; none above U+FFFF
    std::vector<Note> notes;  // what is no mapping of one code and one value

    std::optional<char32_t> value_of(Code code) const;
    Code code_of(char32_t value) const;
};

// Where a mapping is to be had.
struct Source {
    enum class Type { kCharset, kText } type;
    std::string name;  // of the charset or the file
};

// All of these throw Failure.
Mapping load_mapping(const Source& source);
Mapping extract_mapping(const std::string& charset);  // tries everything that iconv can convert
Mapping read_mapping_text(const std::string& path);   // "-": standard input
Mapping parse_mapping_text(std::string_view text, const std::string& name);

}  // namespace vel::tool
