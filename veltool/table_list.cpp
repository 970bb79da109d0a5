#include "veltool/table_list.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>

#include "veltool/files.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

constexpr size_t kMaxListSize = 1 << 20;
constexpr size_t kLongestName = 21;  // a name is the content of its aliases and fits any kind

class ListParser {
  public:
    explicit ListParser(const std::string& path) : path_(path) {}

    std::vector<ListedTable> parse() {
        std::istringstream lines(read_file(path_, kMaxListSize));
        std::vector<ListedTable> tables;
        for (std::string line; std::getline(lines, line);) {
            ++line_;
            std::istringstream words(line.substr(0, line.find('#')));
            std::string name;
            if (words >> name) tables.push_back(parse_line(name, words));
        }
        return tables;
    }

  private:
    ListedTable parse_line(const std::string& name, std::istringstream& words) {
        std::string kind;
        std::string source;
        words >> kind >> source;
        ListedTable table{check_name(name), find_kind(kind), parse_source(source), {}};
        if (table.kind == nullptr) fail("no such kind", kind);
        for (std::string alias; words >> alias;) table.aliases.push_back(check_name(alias));
        return table;
    }

    Source parse_source(const std::string& word) const {
        const size_t colon = word.find(':');
        const std::string type = word.substr(0, colon);
        const std::string name = colon == word.npos ? "" : word.substr(colon + 1);
        if (name.empty() || (type != "charset" && type != "mapping")) {
            fail("neither charset:NAME nor mapping:FILE", word);
        }
        if (type == "charset") return {Source::Type::kCharset, name};
        return {Source::Type::kText, std::filesystem::path(path_).replace_filename(name)};
    }

    // Names are looked up with letters and digits only, so only such are of use.
    const std::string& check_name(const std::string& name) {
        const bool normalised = std::ranges::all_of(
            name, [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); });
        if (!normalised || name.size() > kLongestName) fail("no name of a code set", name);
        if (!names_.insert(name).second) fail("listed before", name);
        return name;
    }

    [[noreturn]] void fail(const std::string& what, const std::string& word) const {
        throw Failure(path_ + ":" + std::to_string(line_) + ": " + what + ": " + word);
    }

    const std::string& path_;
    size_t line_ = 0;
    std::set<std::string> names_;
};

}  // namespace

std::vector<ListedTable> read_table_list(const std::string& path) {
    return ListParser(path).parse();
}

}  // namespace vel::tool
