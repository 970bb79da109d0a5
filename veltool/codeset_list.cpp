#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>

#include "veltool/files.h"
#include "veltool/report.h"
#include "veltool/table.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kHelp = R"(Usage: veltool codeset list [DIRECTORY...]

Shows the tables of code sets in each directory, and the aliases that lead to them. Without one:
$MABDIR/codeset, $MABDIR, $BINDIR/../generic/codeset and the current directory, where the library
looks for them, and when neither variable is set also where they are installed.
)";

constexpr char kInstalled[] = VEL_INSTALL_DIRECTORY "/codeset";
constexpr size_t kMostAliasBytes = 32;

struct Column {
    const char* heading;
    bool is_number;
};

constexpr Column kColumns[] = {
    {"NAME", false}, {"KIND", false}, {"BYTES", true}, {"CHARACTERS", true}, {"ALIASES", false},
};

using Row = std::array<std::string, std::size(kColumns)>;

struct Fault {
    std::string file;
    std::string what;
};

// What is found in one directory.
struct Listing {
    std::map<std::string, Row> tables;
    std::map<std::string, std::string> aliases;  // to the names in them
    std::vector<Fault> faults;
};

// The name in an alias file; empty when the file is something else.
std::string alias_target(const std::string& content) {
    if (content.size() > kMostAliasBytes) return "";
    const std::string name = content.substr(0, content.find_last_not_of(" \r\n\t") + 1);
    const bool is_name = std::ranges::all_of(
        name, [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); });
    return is_name ? name : "";
}

void take_table(const std::string& name, const std::string& image, Listing& listing) {
    try {
        const Contents contents = read_table(image);
        listing.tables[name] = {name, std::string(contents.kind->word), with_commas(image.size()),
                                with_commas(contents.mapping.to_unicode.size()), ""};
    } catch (const Failure& failure) {
        listing.faults.push_back({name, failure.what()});
    }
}

void take_file(const fs::path& path, Listing& listing) {
    std::string content;
    try {
        content = read_file(path, i18n::kMaxTableSize);
    } catch (const Failure&) {
        return;  // no table for the library, either
    }
    const std::string name = path.filename();
    if (is_table(content)) {
        take_table(name, content, listing);
    } else if (const std::string target = alias_target(content); !target.empty()) {
        listing.aliases[name] = target;
    }
}

// Puts each alias beside its table, by way of other aliases if need be.
void resolve_aliases(Listing& listing) {
    constexpr int kMostAliases = 4;  // that the library follows
    for (const auto& [alias, first_target] : listing.aliases) {
        std::string target = first_target;
        for (int followed = 1; followed < kMostAliases && listing.aliases.contains(target);
             ++followed) {
            target = listing.aliases[target];
        }
        const auto table = listing.tables.find(target);
        if (table != listing.tables.end()) {
            std::string& aliases = table->second.back();
            if (!aliases.empty()) aliases += ' ';
            aliases += alias;
        } else {
            listing.faults.push_back({alias, "leads to no table: " + first_target});
        }
    }
}

void show(const Listing& listing) {
    std::vector<Row> rows(1);
    std::ranges::transform(kColumns, rows[0].begin(), &Column::heading);
    for (const auto& [name, row] : listing.tables) rows.push_back(row);
    std::array<size_t, std::size(kColumns)> widths{};
    for (const Row& row : rows) {
        for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    for (const Row& row : rows) {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) {
            const std::string blanks(widths[i] - row[i].size(), ' ');
            const bool is_number = kColumns[i].is_number;
            line.append(is_number ? blanks : row[i]).append(is_number ? row[i] : blanks);
            line.append("  ");
        }
        std::cout << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    }
}

ExitStatus list_directory(const fs::path& directory) {
    Listing listing;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
        take_file(entry.path(), listing);
    }
    if (error) throw Failure(directory.string() + ": " + error.message());
    resolve_aliases(listing);
    std::cout << directory.string() << ":\n";
    if (listing.tables.empty()) {
        std::cout << "no tables\n";
    } else {
        show(listing);
    }
    for (const auto& [file, what] : listing.faults) {
        complain((directory / file).string() + ": " + what);
    }
    return listing.faults.empty() ? kDone : kFinding;
}

// Where the library looks, as far as that is there.
std::vector<std::string> searched_directories() {
    const auto variable = [](const char* name) {
        const char* value = getenv(name);
        return std::string(value == nullptr ? "" : value);
    };
    const std::string mabdir = variable("MABDIR");
    const std::string bindir = variable("BINDIR");
    std::vector<std::string> directories;
    if (!mabdir.empty()) directories = {mabdir + "/codeset", mabdir};
    if (!bindir.empty()) directories.push_back(bindir + "/../generic/codeset");
    directories.push_back(".");
    if (mabdir.empty() && bindir.empty()) directories.push_back(kInstalled);
    std::erase_if(directories, [](const std::string& name) { return !fs::is_directory(name); });
    return directories;
}

ExitStatus run(const CommandLine& line) {
    std::vector<std::string> directories = line.operands();
    if (directories.empty()) directories = searched_directories();
    ExitStatus status = kDone;
    for (const std::string& directory : directories) {
        if (list_directory(directory) != kDone) status = kFinding;
    }
    return status;
}

}  // namespace

constinit const Verb kCodesetList{"codeset", "list", "show the tables in directories",
                                  kHelp,     {},     run};

}  // namespace vel::tool
