// The words of the command line: options, abbreviations and the value of -Guid.
#include <cstring>

#include "common/tool.h"
#include "guid/hex_scan.h"

namespace {

constexpr OptionRow kOptions[] = {
    {Option::kCreate, "Cc", "CREATE"},
    {Option::kDecimal, "Dd", "DECIMAL"},
    {Option::kGuid, "Gg", "GUID"},
    {Option::kHelp, "Hh?", "HELP"},  // "?" leads here and is then refused: it is no part of "HELP"
    {Option::kNew, "Nn", "NEW"},
    {Option::kQuiet, "Qq", "QUIET"},
    {Option::kShow, "Ss", "SHOW"},
    {Option::kWrite, "Ww", "WRITE"},
};

char ascii_upper(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

}  // namespace

const OptionRow* find_option(char first) {
    for (const OptionRow& row : kOptions) {
        if (row.letters.find(first) != row.letters.npos) return &row;
    }
    return nullptr;
}

bool abbreviates(char* token, const char* keyword, size_t minimum_length) {
    size_t length = 0;
    for (; token[length]; ++length) token[length] = ascii_upper(token[length]);
    if (length == 0 || length > strlen(keyword)) return false;
    return strncmp(token, keyword, length < minimum_length ? minimum_length : length) == 0;
}

bool parse_guid_value(const char* text, std::array<uint8_t, 16>& guid) {
    bool first = true;
    for (uint8_t& byte : guid) {
        if (!first && *text++ != '.') return false;
        first = false;
        uint64_t number = 0;
        if (!vel::guid::scan_hex(text, vel::guid::kNoWidth, number)) return false;
        byte = static_cast<uint8_t>(number);
    }
    return true;
}
