// Texts from elsewhere on a terminal, in JSON and in XML, and small ones put together.
#pragma once

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

namespace vel::tool {

// A text taken for UTF-8, in one line: what could steer a terminal, end the line or is no character
// is shown as its bytes.
void append_shown(std::string& to, std::string_view text);
std::string shown(std::string_view text);

// The text as a string of JSON, with its quotes. A byte that begins no character becomes U+FFFD.
void append_json(std::string& to, std::string_view text);
std::string json_text(std::string_view text);

// The text as the content of an element or the value of an attribute. What XML cannot have, and a
// byte that begins no character, becomes U+FFFD; what could steer a terminal is a reference.
void append_xml(std::string& to, std::string_view text);

// At most 31 bytes: for numbers and dates.
template <class... Arguments>
std::string formatted(const char* pattern, Arguments... arguments) {
    std::array<char, 32> text{};
    const int length = snprintf(text.data(), text.size(), pattern, arguments...);
    return {text.data(), static_cast<size_t>(length)};
}

}  // namespace vel::tool
