#include <ctime>
#include <iostream>

#include "veltool/capture.h"
#include "veltool/json_object.h"
#include "veltool/log_text.h"
#include "veltool/report.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp = R"(Usage: veltool capture list [OPTION...] DIRECTORY

Shows what handlers of first-failure captures have put below DIRECTORY, their baseDir: a line for each
day with the number of files, their bytes, and when the last one was changed.

  -l, --long  also each file
  -j, --json  show each day, or each file, as a JSON object
)";

constexpr Option kOptions[] = {{"long", 'l', false}, {"json", 'j', false}};

// In the largest unit that there is a whole one of.
std::string age_text(int64_t seconds) {
    struct Unit {
        int64_t seconds;
        const char* name;
    };
    constexpr Unit kUnits[] = {{86'400, "d"}, {3'600, "h"}, {60, "min"}};
    for (const auto& [length, name] : kUnits) {
        if (seconds >= length) return std::to_string(seconds / length) + ' ' + name;
    }
    return std::to_string(std::max<int64_t>(seconds, 0)) + " s";
}

// The date without its milliseconds, which are not known.
std::string changed_text(int64_t time) {
    constexpr size_t kPoint = sizeof "2026-11-22 10:11:12" - 1, kMilliseconds = 4;
    return local_date(millis_of(time)).erase(kPoint, kMilliseconds);
}

void show_line(std::string_view name, std::string_view files, int64_t bytes,
               const std::string& changed, const std::string& age) {
    constexpr size_t kNameColumn = 10, kFilesColumn = 8, kBytesColumn = 15, kAgeColumn = 8;
    const auto right = [](std::string_view text, size_t width) {
        return std::string(width - std::min(width, text.size()), ' ').append(text);
    };
    std::cout << name << std::string(kNameColumn - std::min(kNameColumn, name.size()), ' ')
              << right(files, kFilesColumn) << ' '
              << right(with_commas(static_cast<size_t>(bytes)), kBytesColumn);
    if (!changed.empty()) std::cout << "  " << changed << right(age, kAgeColumn);
}

void show_text(const std::vector<CaptureDay>& days, bool is_long) {
    const int64_t now = time(nullptr);
    size_t files = 0;
    int64_t bytes = 0;
    for (const CaptureDay& day : days) {
        files += day.files.size();
        bytes = sum_of(bytes, day.bytes());
        const bool any = !day.files.empty();
        const int64_t latest = any ? day.latest_change() : 0;
        show_line(day.name, with_commas(day.files.size()), day.bytes(),
                  any ? changed_text(latest) : "", age_text(now - latest));
        std::cout << '\n';
        if (!is_long) continue;
        for (const CapturedFile& file : day.files) {
            show_line("", "", file.size, changed_text(file.change_time),
                      age_text(now - file.change_time));
            std::cout << "  " << shown(file.path) << '\n';
        }
    }
    show_line("total", with_commas(files), bytes, "", "");
    std::cout << '\n';
}

void show_json(const std::vector<CaptureDay>& days, bool is_long) {
    for (const CaptureDay& day : days) {
        if (!is_long) {
            JsonObject object;
            object.text("day", day.name).number("files", day.files.size());
            object.number("bytes", day.bytes());
            if (!day.files.empty())
                object.text("changed", utc_date(millis_of(day.latest_change())));
            std::cout << object.str() << '\n';
            continue;
        }
        for (const CapturedFile& file : day.files) {
            std::cout << JsonObject()
                             .text("day", day.name)
                             .text("name", file.path)
                             .number("bytes", file.size)
                             .text("changed", utc_date(millis_of(file.change_time)))
                             .str()
                      << '\n';
        }
    }
}

ExitStatus run(const CommandLine& line) {
    if (line.operands().size() > 1) throw UsageError("one directory at a time");
    enter_captures(capture_directory(line));
    const std::vector<CaptureDay> days = find_captures();
    (line.has("json") ? show_json : show_text)(days, line.has("long"));
    return complain_of_gaps(days);
}

}  // namespace

constinit const Verb kCaptureList{"capture", "list",   "show what has been captured, by day",
                                  kHelp,     kOptions, run};

}  // namespace vel::tool
