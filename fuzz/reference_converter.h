// Conversions written down plainly, character by character and with every place checked, to compare
// the library's with. The format is the one of docs/formats.md.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace reference {

using Bytes = std::basic_string<uint8_t>;
using Units = std::vector<uint16_t>;

// What became of a text. `used` counts bytes or units of it; `cut` says that it ends in a
// character.
template <class Text>
struct Outcome {
    Text text;
    size_t used = 0;
    unsigned replaced = 0;
    bool cut = false;
};

// A code set: a table image, or for the kinds 6 and 9 none.
struct CodeSet {
    unsigned kind;
    Bytes image;
};

unsigned kind_of(const Bytes& image);

Outcome<Bytes> to_utf8(const CodeSet& set, const Bytes& text);
Outcome<Units> to_ucs2(const CodeSet& set, const Bytes& text);
Outcome<Bytes> from_utf8(const CodeSet& set, const Bytes& text);
Outcome<Bytes> from_ucs2(const CodeSet& set, const Units& text);

}  // namespace reference
