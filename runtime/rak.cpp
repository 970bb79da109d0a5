#include "runtime/rak.h"

#include <strings.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

void* RakMemoryMalloc(size_t size) { return size == 0 ? nullptr : malloc(size); }

void* RakMemoryRealloc(void* block, size_t size) {
    return size == 0 ? nullptr : realloc(block, size);
}

void* RakMemoryCalloc(size_t count, size_t size) {
    return count == 0 || size == 0 ? nullptr : calloc(count, size);
}

void RakMemoryFree(void* block) { free(block); }

// Compares two texts that are there.
template <class Compare, class... Limit>
static int compare(Compare compare, const char* left, const char* right, Limit... limit) {
    if (left == nullptr) return 1;
    return right == nullptr ? -1 : compare(left, right, limit...);
}

int RakStringCmp(const char* left, const char* right) { return compare(strcmp, left, right); }

int RakStringNCmp(const char* left, const char* right, size_t n) {
    return compare(strncmp, left, right, n);
}

int RakStringICmp(const char* left, const char* right) { return compare(strcasecmp, left, right); }

int RakStringNICmp(const char* left, const char* right, size_t n) {
    return compare(strncasecmp, left, right, n);
}

char* RakStringCat(char* dest, const char* src) {
    return dest == nullptr || src == nullptr ? dest : strcat(dest, src);
}

char* RakStringNCat(char* dest, const char* src, size_t n) {
    return dest == nullptr || src == nullptr ? dest : strncat(dest, src, n);
}

char* RakStringCpy(char* dest, const char* src) {
    return dest == nullptr ? nullptr : strcpy(dest, src == nullptr ? "" : src);
}

char* RakStringNCpy(char* dest, const char* src, size_t n) {
    return dest == nullptr ? nullptr : strncpy(dest, src == nullptr ? "" : src, n);
}

char* RakStringDup(const char* text) {
    if (text == nullptr) return nullptr;
    const size_t size = strlen(text) + 1;
    auto* copy = static_cast<char*>(RakMemoryMalloc(size));
    return copy == nullptr ? nullptr : static_cast<char*>(memcpy(copy, text, size));
}

size_t RakStringLen(const char* text) { return text == nullptr ? 0 : strlen(text); }

// What is found in a text is its own, which C hands out as writable.
char* RakStringChr(const char* text, int byte) {
    return text == nullptr ? nullptr : const_cast<char*>(strchr(text, byte));
}

char* RakStringRChr(const char* text, int byte) {
    return text == nullptr ? nullptr : const_cast<char*>(strrchr(text, byte));
}

char* RakStringStr(const char* text, const char* part) {
    return text == nullptr || part == nullptr ? nullptr : const_cast<char*>(strstr(text, part));
}

char* RakStringStrpbrk(const char* text, const char* accept) {
    return text == nullptr || accept == nullptr ? nullptr
                                                : const_cast<char*>(strpbrk(text, accept));
}

ptrdiff_t RakStringStrcspn(const char* text, const char* reject) {
    if (text == nullptr) return -1;
    return static_cast<ptrdiff_t>(strcspn(text, reject == nullptr ? "" : reject));
}

ptrdiff_t RakStringStrspn(const char* text, const char* accept) {
    if (text == nullptr) return -1;
    return static_cast<ptrdiff_t>(strspn(text, accept == nullptr ? "" : accept));
}

int RakStringSprintf(char* dest, const char* format, ...) {
    if (dest == nullptr || format == nullptr) return -1;
    va_list arguments;
    va_start(arguments, format);
    const int length = vsprintf(dest, format, arguments);
    va_end(arguments);
    return length;
}
