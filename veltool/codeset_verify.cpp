#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>

#include "veltool/agreement.h"
#include "veltool/files.h"
#include "veltool/report.h"
#include "veltool/table.h"
#include "veltool/table_list.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kHelp =
    R"(Usage: veltool codeset verify [--charset NAME | --mapping FILE] [--verbose] TABLE...
       veltool codeset verify --list FILE --directory DIRECTORY [--verbose]

Checks the structure of tables, and holds the conversions of the library against a charset of iconv(3)
or a mapping text; without either against what the tables themselves say. With a list: every table of
it against its source, and that every alias leads to its table.

  -c, --charset NAME         the charset
  -m, --mapping FILE         the mapping text; "-" is standard input
  -l, --list FILE            the list
  -d, --directory DIRECTORY  where the tables of the list are
  -v, --verbose              name every difference, and each character that the report counts
)";

constexpr Option kOptions[] = {
    {"charset", 'c', true},   {"mapping", 'm', true},  {"list", 'l', true},
    {"directory", 'd', true}, {"verbose", 'v', false},
};

constexpr size_t kMostShown = 10;  // of the differences of a table

void show(const std::vector<std::string>& differences, bool verbose) {
    size_t shown = 0;
    for (const std::string& difference : differences) {
        if (shown++ == kMostShown && !verbose) {
            std::cout << "  and " << with_commas(differences.size() - kMostShown) << " more\n";
            return;
        }
        std::cout << "  " << difference << '\n';
    }
}

// Throws Failure for a table that is not sound. A null source: the table itself.
ExitStatus verify(const std::string& path, const Mapping* source, bool verbose) {
    const std::string image = read_file(path, i18n::kMaxTableSize);
    const Contents contents = read_table(image);
    const CodeSet code_set("/", fs::absolute(path));
    if (code_set.image() != image) throw Failure("the library does not load this file");
    const Agreement agreement =
        compare(contents, source == nullptr ? contents.mapping : *source, code_set);
    std::cout << summary(contents, image.size());
    if (verbose) std::cout << details(contents);
    std::cout << "  " << agreement.summary() << '\n';
    show(agreement.differences, verbose);
    return agreement.differences.empty() ? kDone : kFinding;
}

ExitStatus verify_alias(const std::string& alias, const std::string& table,
                        const fs::path& directory) {
    const CodeSet code_set(directory, alias);
    if (code_set.image() == read_file(directory / table, i18n::kMaxTableSize)) return kDone;
    throw Failure("does not lead to " + table);
}

ExitStatus verify_listed(const ListedTable& table, const fs::path& directory, bool verbose) {
    ExitStatus status = attempt(table.name, [&] {
        const Mapping source = load_mapping(table.source);
        return verify(directory / table.name, &source, verbose);
    });
    for (const std::string& alias : table.aliases) {
        const auto step = [&] { return verify_alias(alias, table.name, directory); };
        status = std::max(status, attempt(alias, step));
    }
    return status;
}

ExitStatus verify_list(const std::string& list, const std::string& directory, bool verbose) {
    ExitStatus status = kDone;
    for (const ListedTable& table : read_table_list(list)) {
        status = std::max(status, verify_listed(table, directory, verbose));
    }
    return status;
}

std::optional<Mapping> named_source(const CommandLine& line) {
    if (line.has("charset")) return extract_mapping(line.value("charset"));
    if (line.has("mapping")) return read_mapping_text(line.value("mapping"));
    return std::nullopt;
}

ExitStatus verify_tables(const CommandLine& line, bool verbose) {
    const std::optional<Mapping> source = named_source(line);
    ExitStatus status = kDone;
    for (const std::string& path : line.operands()) {
        const auto step = [&] { return verify(path, source ? &*source : nullptr, verbose); };
        status = std::max(status, attempt(path, step));
    }
    return status;
}

ExitStatus run(const CommandLine& line) {
    const bool verbose = line.has("verbose");
    const bool sourced = line.has("charset") || line.has("mapping");
    if (line.has("list") && line.has("directory") && !sourced && line.operands().empty()) {
        return verify_list(line.value("list"), line.value("directory"), verbose);
    }
    if (line.has("list") || line.has("directory") || line.operands().empty() ||
        (line.has("charset") && line.has("mapping"))) {
        throw UsageError("verify takes tables and at most one source, or --list with --directory");
    }
    return verify_tables(line, verbose);
}

}  // namespace

constinit const Verb kCodesetVerify{
    "codeset", "verify", "hold tables against charsets or mapping texts", kHelp, kOptions, run};

}  // namespace vel::tool
