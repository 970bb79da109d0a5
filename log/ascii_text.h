// Letters as ASCII has them, whatever the locale of the process.
#pragma once

#include <cstddef>
#include <cstring>

namespace vel::log {

constexpr const char* kBlanks = " \t\r\n\f\v";

constexpr char ascii_lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

inline bool same_start_ignoring_case(const char* text, const char* start) {
    for (; *start != '\0'; ++text, ++start) {
        if (ascii_lower(*text) != ascii_lower(*start)) return false;
    }
    return true;
}

inline bool same_ignoring_case(const char* a, const char* b) {
    return same_start_ignoring_case(a, b) && strlen(a) == strlen(b);
}

}  // namespace vel::log
