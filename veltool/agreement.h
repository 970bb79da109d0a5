// The library's conversions with a table, held against a mapping.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "veltool/code_set.h"
#include "veltool/contents.h"

namespace vel::tool {

struct Agreement {
    size_t to_unicode = 0;    // codes that give the value
    size_t from_unicode = 0;  // values that give the code
    size_t substituted = 0;   // values without a code
    size_t exceptions = 0;  // where a kind goes its own way: ASCII passed through, EBCDIC line ends
    std::vector<std::string> differences;

    std::string summary() const;
};

Agreement compare(const Contents& contents, const Mapping& source, const CodeSet& code_set);

}  // namespace vel::tool
