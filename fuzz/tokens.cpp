// Any text, delimiters and quote mode: the tokens are those of a splitter that walks the text once
// and knows nothing of iterators.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/target.h"
#include "runtime/cx_text.h"
#include "runtime/rak.h"

struct Token {
    size_t start, end;
    std::string text;
};

static std::vector<Token> split(const std::string& text, const std::string& delimiters,
                                bool quotes) {
    std::vector<Token> tokens;
    bool open = false, quoted = false;
    for (size_t i = 0; i < text.size(); ++i) {
        if (!quoted && delimiters.find(text[i]) != std::string::npos) {
            open = false;
            continue;
        }
        if (!open) tokens.push_back({i, i, ""});
        open = true;
        tokens.back().end = i + 1;
        if (quotes && text[i] == '"') {
            quoted = !quoted;
        } else {
            tokens.back().text += text[i];
        }
    }
    return tokens;
}

// A copy of just that size, so that reading beyond it is seen.
static std::vector<char> exact(const std::string& text) {
    return std::vector<char>(text.c_str(), text.c_str() + text.size() + 1);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static constexpr int32_t kModes[] = {0, CX_TOKEN_QUOTES, 2, -1};
    if (size == 0) return 0;
    const int32_t mode = kModes[*data % 4];
    const size_t count = std::min<size_t>(*data / 4 % 8, size - 1);
    const auto* bytes = reinterpret_cast<const char*>(data + 1);
    const std::string delimiters(bytes, strnlen(bytes, count));
    const std::string text(bytes + count, strnlen(bytes + count, size - 1 - count));
    const auto text_copy = exact(text), delimiters_copy = exact(delimiters);

    CxStringTokIter it;
    require(CxStringTokIterator(&it, text_copy.data(), delimiters_copy.data(), mode) == 1,
            "a walk begins");
    for (const Token& token : split(text, delimiters, mode == CX_TOKEN_QUOTES)) {
        require(CxStringTokIterHasNext(&it) == 1, "there is a token");
        require(it.start == static_cast<int32_t>(token.start), "it starts there");
        require(it.end == static_cast<int32_t>(token.end), "it ends there");
        char* got = CxStringTokIterGet(&it);
        require(got != nullptr && got == token.text, "it has its text");
        RakMemoryFree(got);
        CxStringTokIterNext(&it);
    }
    for (int i = 0; i < 2; ++i) {
        require(CxStringTokIterHasNext(&it) == 0 && it.start == -9, "there are no more");
        require(CxStringTokIterGet(&it) == nullptr, "and none is got");
        CxStringTokIterNext(&it);
    }
    return 0;
}
