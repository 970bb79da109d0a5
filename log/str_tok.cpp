// The stateless tokenizer.
#include <cstring>

#include "log/pmx_collections.h"
#include "runtime/rak.h"

namespace vel::log {
namespace {

struct Token {
    const char* begin;
    const char* end;
};

bool is_empty(const char* text) { return text == nullptr || *text == '\0'; }

// The first token of a text that is not null; empty at the text's end.
Token first_token(const char* text, const char* delimiters) {
    if (is_empty(delimiters)) return {text, *text == '\0' ? text : text + 1};
    const char* const begin = text + strspn(text, delimiters);
    return {begin, begin + strcspn(begin, delimiters)};
}

}  // namespace
}  // namespace vel::log

using vel::log::first_token;
using vel::log::Token;

PmxStrTokIter PmxStrTokIterator(const char* text, const char* delimiters) {
    return {text, delimiters};
}

int PmxStrTokIterHasNext(const char* text, const char* delimiters) {
    if (text == nullptr) return 0;
    const Token token = first_token(text, delimiters);
    return token.begin != token.end;
}

char* PmxStrTokIterGet(const char* text, const char* delimiters) {
    if (text == nullptr) return nullptr;
    const Token token = first_token(text, delimiters);
    const auto length = static_cast<size_t>(token.end - token.begin);
    auto* const copy = length == 0 ? nullptr : static_cast<char*>(RakMemoryMalloc(length + 1));
    if (copy == nullptr) return nullptr;
    memcpy(copy, token.begin, length);
    copy[length] = '\0';
    return copy;
}

const char* PmxStrTokIterNext(const char* text, const char* delimiters) {
    return text == nullptr ? nullptr : first_token(text, delimiters).end;
}
