// How tables are reported on.
#pragma once

#include <string>

#include "veltool/contents.h"

namespace vel::tool {

std::string with_commas(size_t number);  // "12,345"
// "1 line", "2 lines"; null: the plural has an "s".
std::string counted(size_t number, const char* one, const char* many = nullptr);

// One line about a table: its kind and size, and by count what is told about its characters.
std::string summary(const Contents& contents, size_t table_size);

// A line for each character that the summary counts.
std::string details(const Contents& contents);

}  // namespace vel::tool
