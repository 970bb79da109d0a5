#include "veltool/config_check.h"

#include <langinfo.h>

#include <algorithm>
#include <clocale>
#include <cstring>
#include <iostream>
#include <utility>

#include "log/api_lock.h"
#include "log/config.h"
#include "veltool/config_findings.h"
#include "veltool/config_tree.h"
#include "veltool/files.h"
#include "veltool/report.h"
#include "veltool/text.h"
#include "veltool/tool.h"

namespace vel::tool::config {

namespace {

constexpr std::string_view kHelp =
    R"(Usage: veltool config check [--class NAME[:KIND]]... [--tree | --json] FILE...

Reads properties files as the logging toolkit does, and tells what it refuses or takes in another way
than one would expect: FILE:LINE:COLUMN: WHAT, where columns count bytes. A file "-" is standard input.

  -c, --class NAME[:KIND]  a class that the application registers; its kind is logger, filter, handler
                           or formatter. Its keys are not checked.
  -t, --tree               draw the objects, with all values that count and where they come from
  -j, --json               write findings and objects as one JSON object

The status is 1 when there is a finding. Notes alone are none.
)";

constexpr Option kOptions[] = {{"class", 'c', true}, {"tree", 't', false}, {"json", 'j', false}};

std::string text_of(const std::string& path) {
    return path == "-" ? read_standard_input(kMaxFileBytes) : read_file(path, kMaxFileBytes);
}

void show_findings(const std::string& path, const ConfigCheck& check) {
    for (const Finding& finding : check.findings()) {
        const Places::Place place = check.places().of(finding.at);
        std::cout << shown(path) << ':' << place.line << ':' << place.column << ": "
                  << (finding.is_note ? "note: " : "") << finding.what << '\n';
    }
}

void show_summary(const std::string& path, const ConfigCheck& check) {
    const size_t findings = check.faults(), notes = check.findings().size() - findings;
    std::cout << shown(path) << ": " << counted(check.entries(), "entry", "entries") << ", "
              << counted(check.model().objects(), "object") << ": "
              << (findings == 0 ? "no findings" : counted(findings, "finding"))
              << (notes == 0 ? "" : ", " + counted(notes, "note")) << '\n';
}

void show_json(const std::string& path, const ConfigCheck& check) {
    std::cout << "{\"file\":" << json_text(path) << ",\"entries\":" << check.entries()
              << ",\"whole\":" << (check.is_whole() ? "true" : "false") << ",\"findings\":[";
    const char* separator = "";
    for (const Finding& finding : check.findings()) {
        const Places::Place place = check.places().of(finding.at);
        std::cout << std::exchange(separator, ",") << "{\"line\":" << place.line
                  << ",\"column\":" << place.column
                  << ",\"note\":" << (finding.is_note ? "true" : "false")
                  << ",\"what\":" << json_text(finding.what) << '}';
    }
    std::cout << "],\"objects\":" << objects_as_json(check.model(), check.places()) << '}';
}

// Boxes are for terminals that show them.
Lines lines_of_locale() {
    setlocale(LC_CTYPE, "");
    return strcmp(nl_langinfo(CODESET), "UTF-8") == 0 ? Lines::boxes : Lines::ascii;
}

ExitStatus check_file(const std::string& path, const Classes& classes, const CommandLine& line,
                      const char*& separator) {
    const ConfigCheck check(text_of(path), classes);
    if (line.has("json")) {
        std::cout << std::exchange(separator, ",\n");
        show_json(path, check);
    } else {
        show_findings(path, check);
        if (line.has("tree")) std::cout << draw(check.model(), check.places(), lines_of_locale());
        show_summary(path, check);
    }
    return check.faults() == 0 ? kDone : kFinding;
}

ExitStatus run(const CommandLine& line) {
    const bool json = line.has("json");
    if (line.operands().empty() || (json && line.has("tree")))
        throw UsageError("config check takes files, and one of --tree and --json at most");
    const std::vector<std::string> names = line.values("class");
    const Classes classes(names);
    ExitStatus status = kDone;
    if (json) std::cout << "{\"files\":[";
    const char* separator = "";
    for (const std::string& path : line.operands()) {
        status = std::max(
            status, attempt(path, [&] { return check_file(path, classes, line, separator); }));
    }
    if (json) std::cout << "]}\n";
    return status;
}

// The toolkit's log manager for as long as it lasts, empty at first, with the toolkit's lock.
class LogManager {
  public:
    LogManager() {
        if (!lock_ || !log::open_log_manager()) throw Failure("no memory for the log manager");
    }
    ~LogManager() { log::close_log_manager(); }
    LogManager(const LogManager&) = delete;
    LogManager& operator=(const LogManager&) = delete;

  private:
    log::ApiLock lock_;
};

}  // namespace

ConfigCheck::ConfigCheck(std::string text, const Classes& classes)
    : text_(std::move(text)), places_(text_) {
    const LogManager manager;
    file_ = read_properties(text_, places_);
    model_.emplace(file_, classes);
    if (file_.is_whole) {  // else what seems to be missing may stand behind the fault
        find_in_entries(*model_, classes, places_, file_.findings);
        find_in_objects(*model_, file_.findings);
        find_cycles(*model_, file_.findings);
    }
    std::ranges::stable_sort(file_.findings, {}, &Finding::at);
}

size_t ConfigCheck::faults() const {
    return static_cast<size_t>(std::ranges::count(findings(), false, &Finding::is_note));
}

}  // namespace vel::tool::config

namespace vel::tool {

constinit const Verb kConfigCheck{"config",      "check",          "check properties files",
                                  config::kHelp, config::kOptions, config::run};

}  // namespace vel::tool
