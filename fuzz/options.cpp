// Option words and the value of -Guid, against what the words mean and what sscanf reads.
#include <cstring>
#include <string>

#include "common/tool.h"
#include "fuzz/target.h"

namespace {

std::string upper(std::string word) {
    for (char& letter : word) {
        if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 32);
    }
    return word;
}

void check_word(const std::string& word) {
    const OptionRow* row = find_option(word.c_str()[0]);
    if (!row) return;
    const std::string keyword = row->keyword, expected = upper(word);
    std::string token = word;
    const bool accepted = abbreviates(token.data(), row->keyword, 1);
    require(token == expected, "the token is upper-cased");
    require(accepted == (!word.empty() && keyword.compare(0, word.size(), expected) == 0),
            "the leading parts of a keyword, and nothing else, are accepted");
}

// sscanf has no defined result for numbers that do not fit.
bool has_long_number(const std::string& text) {
    size_t digits = 0;
    for (const char c : text) {
        digits = isxdigit(static_cast<unsigned char>(c)) ? digits + 1 : 0;
        if (digits > 8) return true;
    }
    return false;
}

void check_value(const std::string& text) {
    std::array<uint8_t, 16> guid{};
    const bool accepted = parse_guid_value(text.c_str(), guid);
    if (has_long_number(text)) return;
    unsigned n[16];
    const int scanned = sscanf(text.c_str(), "%x.%x.%x.%x.%x.%x.%x.%x.%x.%x.%x.%x.%x.%x.%x.%x", n,
                               n + 1, n + 2, n + 3, n + 4, n + 5, n + 6, n + 7, n + 8, n + 9,
                               n + 10, n + 11, n + 12, n + 13, n + 14, n + 15);
    require(accepted == (scanned == 16), "a value is accepted when the scanner reads sixteen");
    for (size_t i = 0; accepted && i < guid.size(); ++i) {
        require(guid[i] == (n[i] & 0xFF), "each number's low 8 bits are kept");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // An argument ends at its NUL.
    const std::string text(reinterpret_cast<const char*>(data),
                           strnlen(reinterpret_cast<const char*>(data), size));
    check_word(text);
    check_value(text);
    return 0;
}
