#include "veltool/files.h"
#include "veltool/table.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp = R"(Usage: veltool codeset dump TABLE [-o FILE]

Writes the mapping of a table as a text, which can be compiled to the same table again.

  -o, --output FILE  the file to write instead of standard output
)";

constexpr Option kOptions[] = {{"output", 'o', true}};

ExitStatus run(const CommandLine& line) {
    if (line.operands().size() != 1) throw UsageError("dump takes one table");
    write_result(line, mapping_text(read_table_file(line.operands()[0])));
    return kDone;
}

}  // namespace

constinit const Verb kCodesetDump{"codeset", "dump",   "write the mapping of a table as a text",
                                  kHelp,     kOptions, run};

}  // namespace vel::tool
