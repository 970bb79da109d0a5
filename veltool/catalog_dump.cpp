#include "veltool/catalog.h"
#include "veltool/files.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp = R"(Usage: veltool catalog dump CATALOG [-o FILE]

Writes the messages of a catalog as a source text in UTF-8, which compiles to the same catalog again.

  -o, --output FILE  the file to write instead of standard output
)";

constexpr Option kOptions[] = {{"output", 'o', true}};

ExitStatus run(const CommandLine& line) {
    if (line.operands().size() != 1) throw UsageError("dump takes one catalog");
    write_result(line, catalog_source(read_catalog_file(line.operands()[0])));
    return kDone;
}

}  // namespace

constinit const Verb kCatalogDump{"catalog", "dump",   "write a catalog as a source text",
                                  kHelp,     kOptions, run};

}  // namespace vel::tool
