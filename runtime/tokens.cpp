// The tokenizer.
#include <algorithm>
#include <climits>
#include <cstring>

#include "runtime/cx_text.h"
#include "runtime/rak.h"

namespace {

constexpr int32_t kBeforeFirst = -1;
constexpr int32_t kNoMore = -9;
constexpr char kQuote = '"';

// Whether a byte of the text, which holds no zero, is one of the delimiters.
bool is_delimiter(const CxStringTokIter* it, int32_t at) {
    return strchr(it->delimiters, it->text[at]) != nullptr;
}

}  // namespace

int CxStringTokIterator(CxStringTokIter* it, const char* text, const char* delimiters,
                        int32_t quote_mode) {
    if (it == nullptr) return 0;
    const size_t length = RakStringLen(text);
    if (text == nullptr || delimiters == nullptr || length >= INT32_MAX) {
        *it = {nullptr, 0, nullptr, quote_mode, kNoMore, kNoMore};
        return 0;
    }
    *it = {text, static_cast<int32_t>(length), delimiters, quote_mode, kBeforeFirst, kBeforeFirst};
    CxStringTokIterNext(it);
    return 1;
}

int CxStringTokIterHasNext(const CxStringTokIter* it) {
    return it != nullptr && it->start != kNoMore;
}

char* CxStringTokIterGet(const CxStringTokIter* it) {
    if (!CxStringTokIterHasNext(it)) return nullptr;
    const char* const begin = it->text + it->start;
    const char* const end = it->text + it->end;
    auto* const token = static_cast<char*>(RakMemoryMalloc(static_cast<size_t>(end - begin) + 1));
    if (token == nullptr) return nullptr;
    char* const token_end = it->quote_mode == CX_TOKEN_QUOTES
                                ? std::remove_copy(begin, end, token, kQuote)
                                : std::copy(begin, end, token);
    *token_end = '\0';
    return token;
}

void CxStringTokIterNext(CxStringTokIter* it) {
    if (!CxStringTokIterHasNext(it)) return;
    int32_t at = it->end + 1;
    while (at < it->length && is_delimiter(it, at)) ++at;
    if (at >= it->length) {
        it->start = it->end = kNoMore;
        return;
    }
    it->start = at;
    bool quoted = false;
    for (; at < it->length && (quoted || !is_delimiter(it, at)); ++at) {
        if (it->quote_mode == CX_TOKEN_QUOTES && it->text[at] == kQuote) quoted = !quoted;
    }
    it->end = at;
}
