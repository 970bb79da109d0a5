// Files that may be anything, and files that are whole or not there.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "veltool/tool.h"

namespace vel::tool {

// The content of a regular file, or of standard input. Throws Failure, also for what is larger.
std::string read_file(const std::string& path, size_t most);
std::string read_standard_input(size_t most);

// Puts a file in place: whoever looks finds the old content or all of the new. Throws Failure.
void write_file(const std::string& path, std::string_view content);

// Puts a result into the file of the option "output", or on standard output. Throws Failure.
void write_result(const CommandLine& line, std::string_view content);

}  // namespace vel::tool
