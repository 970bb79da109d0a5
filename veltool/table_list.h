// The list of the tables that are shipped.
#pragma once

#include <string>
#include <vector>

#include "veltool/kinds.h"
#include "veltool/mapping.h"

namespace vel::tool {

struct ListedTable {
    std::string name;  // of the file, and in it
    const KindRow* kind;
    Source source;
    std::vector<std::string> aliases;
};

// Reads a list: a line for each table with name, kind, source ("charset:NAME", or "mapping:FILE"
// beside the list) and aliases. Throws Failure, also when two of the names are the same.
std::vector<ListedTable> read_table_list(const std::string& path);

}  // namespace vel::tool
