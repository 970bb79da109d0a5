// Any text as a message identifier, against a regular expression and the list of formats. Bytes
// are read as they are, and as characters that identifiers are made of.
#include <algorithm>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include "fuzz/target.h"
#include "runtime/cx_text.h"

// What is expected of a text: all is empty where it has no identifier.
struct Expected {
    std::string format, identifier;
    unsigned code = 0;
};

static Expected expected_of(const std::string& text) {
    static const std::regex pattern("([A-Za-z]+)([0-9]+)[IWE]");
    static constexpr unsigned kCodes[] = {331, 341, 351, 361, 431, 441, 451, 521, 531, 541, 631};
    std::smatch match;
    const std::string head = text.substr(0, 12);  // longer than any
    if (!std::regex_search(head, match, pattern, std::regex_constants::match_continuous)) return {};
    const auto letters = static_cast<unsigned>(match.length(1));
    const auto digits = static_cast<unsigned>(match.length(2));
    const unsigned code = letters * 100 + digits * 10 + 1;
    if (digits > 9 || std::count(std::begin(kCodes), std::end(kCodes), code) == 0) return {};
    const std::string format =
        "ORX" + std::to_string(letters) + "." + std::to_string(digits) + ".1";
    return {format, match.str(), code};
}

static void check(const std::string& text) {
    // A copy of just that size, so that reading beyond it is seen.
    const std::vector<char> copy(text.c_str(), text.c_str() + text.size() + 1);
    const CxMessageID id = CxParseQRAID(copy.data());
    const Expected expected = expected_of(text);
    require(id.format == expected.format, "the format is the one");
    require(id.code == expected.code, "the code is the format's");
    require(id.length == expected.identifier.size(), "it is as long");
    require(strncmp(id.identifier, expected.identifier.c_str(), sizeof id.identifier) == 0,
            "it is what the text starts with");
    const bool shown = id.length > 0 && id.length < sizeof id.identifier;
    require(id.severity == (shown ? expected.identifier.back() : 0), "the severity is its last");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static constexpr char kAlphabet[] = "AZazIWE0359 @[`{/:i\xC1\xFF";
    const std::string text(reinterpret_cast<const char*>(data), size);
    check(text.c_str());
    std::string spelled;
    for (const char c : text) {
        spelled += kAlphabet[static_cast<unsigned char>(c) % (sizeof kAlphabet - 1)];
    }
    check(spelled);
    return 0;
}
