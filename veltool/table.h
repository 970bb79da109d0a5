// Table files.
#pragma once

#include <string>
#include <string_view>

#include "veltool/contents.h"

namespace vel::tool {

// The file for a table. Throws Failure when the format has no room for what it holds.
std::string lay_out_table(const Contents& contents);

// What a file holds, whatever its author had in mind. Both throw Failure when it is no sound table.
Contents read_table(std::string_view image);
Contents read_table_file(const std::string& path);

bool is_table(std::string_view content);

// The text of a table's mapping, from which the same table can be compiled.
std::string mapping_text(const Contents& contents);

}  // namespace vel::tool
