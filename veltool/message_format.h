// What a message promises those who fill it in and those who look it up.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vel::tool {

// By the number of each parameter how it is written: "%2$d". Which flags, width or precision it has
// makes no difference.
using Parameters = std::map<int32_t, std::string>;

// The parameters of a text as the formatted printing takes them; nothing when it is no format.
std::optional<Parameters> parameters_of(const std::string& text);

// For each byte of a text whether it is shown as it stands, and is no part of a parameter.
std::vector<bool> literal_bytes(const std::string& text);

// The identifier that a text begins with, as "HQXGD0007E"; empty: none.
std::string identifier_of(const std::string& text);

}  // namespace vel::tool
