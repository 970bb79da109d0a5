// Any pattern list and identifier: the pieces are those of a splitter that knows nothing of tokens,
// and a pattern matches as it does step by step on strings.
#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/target.h"
#include "log/pmx.h"
#include "runtime/rak.h"

static std::vector<std::string> split(const std::string& text, const std::string& between) {
    std::vector<std::string> pieces(1);
    for (const char c : text) {
        if (between.find(c) != std::string::npos) {
            pieces.emplace_back();
        } else {
            pieces.back() += c;
        }
    }
    std::erase(pieces, "");
    return pieces;
}

static bool matches(const std::string& pattern, const std::string& text) {
    const std::vector<std::string> pieces = split(pattern, "*");
    size_t position = 0;
    for (size_t i = 0; i < pieces.size(); ++i) {
        const std::string& piece = pieces[i];
        if (i == 0 && pattern[0] != '*') {
            const bool goes_on = pieces.size() > 1 || pattern.size() > piece.size();
            if (!goes_on && (text != piece || pattern != piece)) return false;
            if (text.compare(0, piece.size(), piece) != 0) return false;
            position = piece.size();
            continue;
        }
        const size_t found = text.find(piece, position);
        if (found == std::string::npos) return false;
        position = found + piece.size();
        if (i + 1 == pieces.size() && position != text.size()) return false;
    }
    return true;
}

// A copy of just that size, so that reading beyond it is seen.
static std::vector<char> exact(const std::string& text) {
    return std::vector<char>(text.c_str(), text.c_str() + text.size() + 1);
}

static void check_list(const std::string& patterns, const std::string& id) {
    const auto patterns_copy = exact(patterns), id_copy = exact(id);
    PmxStringList* const list = PmxMsgIdFilterGetStringList(patterns_copy.data());
    PmxStringListLink* it = PmxStringListIterator(list);
    bool any = false;
    for (const std::string& pattern : split(patterns, " \t\n\r")) {
        char* const got = PmxStringListIterGet(it);
        require(got != nullptr && got == pattern, "it is the next of the patterns");
        const bool expected = matches(pattern, id);
        require(PmxPatternMatch(got, id_copy.data()) == (expected ? 1 : 0), "it matches or not");
        any = any || expected;
        RakMemoryFree(got);
        it = PmxStringListIterNext(it);
    }
    require(PmxStringListIterHasNext(it) == 0, "there are no more");
    require(PmxMsgIdFilterMatchMsgId(list, id_copy.data()) == (any ? 1 : 0), "one of them matches");
    PmxFreeStringList(list);
}

// The text up to the next zero; of few different letters, so that patterns match, when told so.
static std::string text_of(Input& in, bool few) {
    std::string text;
    while (const uint8_t byte = in.byte()) {
        text += few ? "**AB W\t"[byte % 7] : static_cast<char>(byte);
    }
    return text;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in{data, size};
    const bool few = in.byte() % 2 != 0;
    const std::string patterns = text_of(in, few);
    const std::string id = text_of(in, few);
    check_list(patterns, id);
    require(PmxPatternMatch(patterns.c_str(), id.c_str()) == (matches(patterns, id) ? 1 : 0),
            "blanks are letters of a pattern");
    return 0;
}
