// Message catalogs: what is in them, as source text and as files.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "veltool/code_set.h"
#include "veltool/tool.h"

namespace vel::tool {

struct CatalogMessage {
    std::string text;  // UTF-8, unless it is damaged
    size_t line;       // of the source that it comes from; 0: from a catalog file
};

// By the number of the set and of the message.
using CatalogMessages = std::map<int32_t, CatalogMessage>;
using CatalogSets = std::map<int32_t, CatalogMessages>;

inline constexpr int32_t kDefaultSet = 1;  // of messages before any "$set"

// What is wrong with sources, as "file:line: what"; and how it is told on standard error.
using SourceErrors = std::vector<std::string>;
ExitStatus complain(const SourceErrors& errors);  // kFinding when there are any

// Takes the messages of a source text into the sets, in the place of those of the same numbers, and
// deletes what it deletes. A null code set is UTF-8. A line that is wrong changes nothing, but one
// that is merely not UTF-8 does.
void take_catalog_source(std::string_view source, const std::string& name, const CodeSet* code_set,
                         CatalogSets& sets, SourceErrors& errors);

// The same with a file, which is a source text or a catalog. "-" is a source text from standard
// input. Throws Failure when it cannot be read, or is a damaged catalog.
void take_catalog_input(const std::string& path, const CodeSet* code_set, CatalogSets& sets,
                        SourceErrors& errors);

// A source text from which the same catalog can be compiled.
std::string catalog_source(const CatalogSets& sets);

// What the library finds in a catalog file. Throws Failure.
CatalogSets read_catalog_file(const std::string& path);

// The file for the sets. Throws Failure when it has no set or would be too large.
std::string lay_out_catalog(const CatalogSets& sets);

}  // namespace vel::tool
