#include "veltool/mapping.h"

#include <algorithm>
#include <cstdio>

namespace vel::tool {

std::strong_ordering Code::operator<=>(const Code& other) const {
    const auto aligned = [](const Code& code) {
        return uint64_t{code.bits} << 8 * (kLongestCode - code.length);
    };
    const auto order = aligned(*this) <=> aligned(other);
    return order != 0 ? order : length <=> other.length;
}

Code code_of(std::string_view bytes) {
    Code code;
    for (const char byte : bytes) code = code.with(static_cast<uint8_t>(byte));
    return code;
}

std::string bytes_of(Code code) {
    std::string bytes;
    for (size_t i = 0; i < code.length; ++i) bytes += static_cast<char>(code.byte(i));
    return bytes;
}

static std::string formatted(const char* prefix, int digits, uint32_t number) {
    char text[16];
    snprintf(text, sizeof text, "%s%0*X", prefix, digits, number);
    return text;
}

std::string in_hex(Code code) {
    return formatted("0x", static_cast<int>(2 * code.length), code.bits);
}
std::string in_hex(char32_t value) { return formatted("0x", 4, value); }
std::string in_unicode(char32_t value) { return formatted("U+", 4, value); }

std::optional<char32_t> Mapping::value_of(Code code) const {
    const auto found = std::ranges::lower_bound(to_unicode, code, {}, &Character::code);
    if (found == to_unicode.end() || found->code != code) return std::nullopt;
    return found->value;
}

Code Mapping::code_of(char32_t value) const {
    return value < from_unicode.size() ? from_unicode[value] : Code{};
}

Mapping load_mapping(const Source& source) {
    return source.type == Source::Type::kCharset ? extract_mapping(source.name)
                                                 : read_mapping_text(source.name);
}

}  // namespace vel::tool
