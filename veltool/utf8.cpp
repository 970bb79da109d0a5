#include "veltool/utf8.h"

#include <algorithm>

namespace vel::tool {

namespace {

// The lead bytes up to some value: how long their characters are, and which second bytes they take.
// Over-long forms, surrogates and what lies above U+10FFFF are no characters.
struct Lead {
    unsigned char last;
    size_t length;
    unsigned char least, most;
};
constexpr Lead kLeads[] = {
    {0x7F, 1, 0, 0},       {0xC1, 0, 0, 0},       {0xDF, 2, 0x80, 0xBF}, {0xE0, 3, 0xA0, 0xBF},
    {0xEC, 3, 0x80, 0xBF}, {0xED, 3, 0x80, 0x9F}, {0xEF, 3, 0x80, 0xBF}, {0xF0, 4, 0x90, 0xBF},
    {0xF3, 4, 0x80, 0xBF}, {0xF4, 4, 0x80, 0x8F}, {0xFF, 0, 0, 0},
};

unsigned char byte_at(std::string_view text, size_t i) {
    return static_cast<unsigned char>(text[i]);
}

}  // namespace

size_t utf8_length(std::string_view text) {
    if (text.empty()) return 0;
    const Lead& lead = *std::ranges::lower_bound(kLeads, byte_at(text, 0), {}, &Lead::last);
    if (lead.length > text.size()) return 0;
    if (lead.length < 2) return lead.length;
    if (byte_at(text, 1) < lead.least || byte_at(text, 1) > lead.most) return 0;
    const auto follows = [](char c) { return (c & 0xC0) == 0x80; };
    return std::ranges::all_of(text.substr(2, lead.length - 2), follows) ? lead.length : 0;
}

size_t utf8_end(std::string_view text) {
    size_t end = 0;
    while (const size_t length = utf8_length(text.substr(end))) end += length;
    return end;
}

}  // namespace vel::tool
