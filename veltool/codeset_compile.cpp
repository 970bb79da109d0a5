#include <algorithm>
#include <filesystem>
#include <iostream>

#include "veltool/files.h"
#include "veltool/report.h"
#include "veltool/table.h"
#include "veltool/table_list.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kHelp =
    R"(Usage: veltool codeset compile --charset NAME | --mapping FILE [OPTION...] -o TABLE
       veltool codeset compile --list FILE --directory DIRECTORY [--verbose]

Makes a table of a charset of iconv(3) or of a mapping text, or all tables of a list and their aliases.

  -c, --charset NAME         the charset; CP and a number finds it by whatever other name
  -m, --mapping FILE         the mapping text; "-" is standard input
  -k, --kind KIND            single-byte, double-byte, multibyte, ebcdic, ebcdic-mixed or gb18030;
                             without it the bytes tell
  -n, --name NAME            the name in the table; without it, that of the file
  -o, --output TABLE         the file to write
  -l, --list FILE            the list
  -d, --directory DIRECTORY  where the tables of the list go
  -v, --verbose              name each character that the report counts
)";

constexpr Option kOptions[] = {
    {"charset", 'c', true},   {"mapping", 'm', true},  {"kind", 'k', true},
    {"name", 'n', true},      {"output", 'o', true},   {"list", 'l', true},
    {"directory", 'd', true}, {"verbose", 'v', false},
};

struct Order {
    std::string name;
    const KindRow* kind;  // null: the bytes tell
    Source source;
    std::string output;
};

void compile(const Order& order, bool verbose) {
    const Contents contents = fit(load_mapping(order.source), order.name, order.kind);
    const std::string table = lay_out_table(contents);
    write_file(order.output, table);
    std::cout << summary(contents, table.size());
    if (verbose) std::cout << details(contents);
}

ExitStatus compile_listed(const ListedTable& table, const fs::path& directory, bool verbose) {
    compile({table.name, table.kind, table.source, directory / table.name}, verbose);
    for (const std::string& alias : table.aliases) write_file(directory / alias, table.name + '\n');
    return kDone;
}

ExitStatus compile_list(const std::string& list, const std::string& directory, bool verbose) {
    ExitStatus status = kDone;
    for (const ListedTable& table : read_table_list(list)) {
        const auto step = [&] { return compile_listed(table, directory, verbose); };
        status = std::max(status, attempt(table.name, step));
    }
    return status;
}

ExitStatus run(const CommandLine& line) {
    if (!line.operands().empty()) throw UsageError("no operand expected: " + line.operands()[0]);
    const bool verbose = line.has("verbose");
    const bool single = line.has("charset") != line.has("mapping") && line.has("output");
    const bool listed = line.has("list") && line.has("directory");
    const bool any_single = line.has("charset") || line.has("mapping") || line.has("output") ||
                            line.has("kind") || line.has("name");
    if (listed && !any_single) {
        return compile_list(line.value("list"), line.value("directory"), verbose);
    }
    if (!single || line.has("list") || line.has("directory")) {
        throw UsageError(
            "compile takes --charset or --mapping with -o, or --list with --directory");
    }
    const KindRow* kind = find_kind(line.value("kind"));
    if (line.has("kind") && kind == nullptr)
        throw UsageError("no such kind: " + line.value("kind"));
    const Source source = line.has("charset")
                              ? Source{Source::Type::kCharset, line.value("charset")}
                              : Source{Source::Type::kText, line.value("mapping")};
    const std::string output = line.value("output");
    const std::string name = fs::path(output).filename();
    compile({line.has("name") ? line.value("name") : name, kind, source, output}, verbose);
    return kDone;
}

}  // namespace

constinit const Verb kCodesetCompile{
    "codeset", "compile", "make tables of charsets or mapping texts", kHelp, kOptions, run};

}  // namespace vel::tool
