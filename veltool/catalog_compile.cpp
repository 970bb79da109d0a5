#include <optional>

#include "veltool/catalog.h"
#include "veltool/files.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp =
    R"(Usage: veltool catalog compile [--codeset NAME] -o CATALOG INPUT...

Makes a message catalog of source texts, as gencat takes them, and of other catalogs. What comes later
takes the place of what came before. Nothing is written when something is wrong.

  -c, --codeset NAME    the code set of the source texts; without it they are UTF-8
  -o, --output CATALOG  the file to write; it may be one of the inputs, and "-" among these is a source
                        text from standard input
)";

constexpr Option kOptions[] = {{"codeset", 'c', true}, {"output", 'o', true}};

ExitStatus run(const CommandLine& line) {
    if (line.operands().empty() || !line.has("output"))
        throw UsageError("compile takes an input or more, and -o");
    std::optional<CodeSet> code_set;
    if (line.has("codeset")) code_set.emplace(line.value("codeset"));
    CatalogSets sets;
    SourceErrors errors;
    for (const std::string& input : line.operands())
        take_catalog_input(input, code_set ? &*code_set : nullptr, sets, errors);
    if (complain(errors) != kDone) return kFinding;
    write_file(line.value("output"), lay_out_catalog(sets));
    return kDone;
}

}  // namespace

constinit const Verb kCatalogCompile{"catalog", "compile", "make a catalog of source texts",
                                     kHelp,     kOptions,  run};

}  // namespace vel::tool
