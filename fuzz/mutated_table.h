// Shipped tables, with bytes changed as a fuzzer's input says.
#pragma once

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/target.h"
#include "i18n/table_image.h"

// One table of each kind.
inline const std::vector<std::string>& shipped_tables() {
    static const std::vector<std::string> tables = [] {
        std::vector<std::string> images;
        for (const char* name : {"ISO88591", "943", "EUCJP", "939", "1047", "GB18030"}) {
            std::ifstream in(std::string(VEL_CODESET_DIR "/") + name, std::ios::binary);
            images.emplace_back(std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>());
            require(images.back().size() > vel::i18n::kHeaderSize, "the table is there");
        }
        return images;
    }();
    return tables;
}

// Changes some bytes: four of five in the header, where the offsets are. Most often the end is cut
// off, too.
inline void mutate(std::string& image, Input& input) {
    using vel::i18n::kHeaderSize;
    using vel::i18n::kMagicOffset;
    for (unsigned changes = input.byte() & 15; changes > 0; --changes) {
        size_t at = input.number(3);
        at %= at % 5 == 0 ? image.size() : kHeaderSize;
        const auto byte = static_cast<char>(input.byte());
        if (at < kMagicOffset || at > kMagicOffset + 2) image[at] = byte;  // it stays a table
    }
    const uint8_t cut = input.byte();
    if (cut != 0) image.resize(kHeaderSize + (image.size() - kHeaderSize) * cut / 255);
}
