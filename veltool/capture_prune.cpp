#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <ctime>
#include <iostream>
#include <limits>
#include <optional>

#include "log/file_tree.h"
#include "veltool/capture.h"
#include "veltool/report.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp = R"(Usage: veltool capture prune [OPTION...] DIRECTORY

Removes files from the captures below DIRECTORY, the oldest ones first by when they were changed, until
what is left has SIZE at most and none is older than AGE. Directories of days that are empty then go,
too, but for today's. Nothing else below DIRECTORY is touched, and no link followed.

  -s, --size SIZE    bytes, or with K, M, G or T behind the number 1024 of the smaller ones
  -a, --max-age AGE  with s, min, h, d or w behind the number
  -n, --dry-run      only show what would be removed
)";

constexpr Option kOptions[] = {
    {"size", 's', true}, {"max-age", 'a', true}, {"dry-run", 'n', false}};

// ---- Limits

struct Unit {
    std::string_view name;
    int64_t size;
};
constexpr Unit kSizeUnits[] = {{"", 1},        {"B", 1},       {"K", 1 << 10},
                               {"M", 1 << 20}, {"G", 1 << 30}, {"T", int64_t{1} << 40}};
constexpr Unit kAgeUnits[] = {{"s", 1}, {"min", 60}, {"h", 3'600}, {"d", 86'400}, {"w", 604'800}};

// The value of an option as a number with a unit; the most there is when it is not given.
int64_t limit_of(const CommandLine& line, const char* option, std::span<const Unit> units) {
    if (!line.has(option)) return std::numeric_limits<int64_t>::max();
    const std::string text = line.value(option);
    int64_t number = -1, limit = 0;
    const char* const end = text.data() + text.size();
    const auto [behind, error] = std::from_chars(text.data(), end, number);
    const auto unit = std::ranges::find(units, std::string_view(behind, end), &Unit::name);
    const bool is_valid = error == std::errc() && number >= 0 && unit != units.end() &&
                          !__builtin_mul_overflow(number, unit->size, &limit);
    if (!is_valid) throw UsageError(std::string("no ") + option + ": " + shown(text));
    return limit;
}

// ---- Removing

// The toolkit's own order has the latest ones first.
std::vector<CapturedFile> oldest_first(const std::vector<CaptureDay>& days) {
    std::vector<CapturedFile> files;
    for (const CaptureDay& day : days)
        files.insert(files.end(), day.files.begin(), day.files.end());
    std::ranges::stable_sort(files, [](const CapturedFile& a, const CapturedFile& b) {
        return log::pmxCompareFileAges(a, b) > 0;
    });
    return files;
}

// Where those begin that may stay.
std::vector<CapturedFile>::const_iterator first_to_stay(const std::vector<CapturedFile>& files,
                                                        int64_t most_bytes, int64_t most_seconds) {
    const int64_t now = time(nullptr);
    int64_t bytes = 0;
    auto stay = files.end();
    for (; stay != files.begin(); --stay) {
        const CapturedFile& file = *std::prev(stay);
        bytes = sum_of(bytes, file.size);
        if (bytes > most_bytes || now - file.change_time > most_seconds) break;
    }
    return stay;
}

class Pruning {
  public:
    explicit Pruning(bool is_dry_run) : is_dry_run_(is_dry_run) {}

    void remove(const CapturedFile& file) {
        // From above the day, which might be a link by now.
        if (!is_dry_run_ && !log::remove_from_tree(".", (std::string("./") + file.path).c_str())) {
            complain(shown(file.path) + ": cannot be removed");
            status_ = kFinding;
            return keep(file);
        }
        std::cout << verb() << shown(file.path) << '\n';
        removed_.add(file);
    }
    void keep(const CapturedFile& file) { kept_.add(file); }

    // A handler may be about to capture something into the directory of today.
    void remove_empty(const std::vector<CaptureDay>& days) const {
        const std::string today = name_of_today();
        for (const CaptureDay& day : days) {
            if (is_dry_run_ || day.name == today) continue;
            if (unlinkat(AT_FDCWD, day.name.c_str(), AT_REMOVEDIR) == 0)
                std::cout << "removed " << day.name << '\n';
        }
    }

    ExitStatus conclude() const {
        std::cout << verb() << with_commas(removed_.files) << " files of "
                  << with_commas(static_cast<size_t>(removed_.bytes)) << " bytes; "
                  << with_commas(kept_.files) << " of "
                  << with_commas(static_cast<size_t>(kept_.bytes)) << " bytes stay\n";
        return status_;
    }

  private:
    struct Count {
        size_t files = 0;
        int64_t bytes = 0;

        void add(const CapturedFile& file) {
            ++files;
            bytes = sum_of(bytes, file.size);
        }
    };

    const char* verb() const { return is_dry_run_ ? "would remove " : "removed "; }

    bool is_dry_run_;
    Count removed_, kept_;
    ExitStatus status_ = kDone;
};

ExitStatus run(const CommandLine& line) {
    if (line.operands().size() > 1) throw UsageError("one directory at a time");
    if (!line.has("size") && !line.has("max-age"))
        throw UsageError("a limit is missing: --size or --max-age");
    const int64_t most_bytes = limit_of(line, "size", kSizeUnits);
    const int64_t most_seconds = limit_of(line, "max-age", kAgeUnits);
    enter_captures(capture_directory(line));
    const std::vector<CaptureDay> days = find_captures();
    const std::vector<CapturedFile> files = oldest_first(days);
    const auto stay = first_to_stay(files, most_bytes, most_seconds);
    Pruning pruning(line.has("dry-run"));
    std::for_each(files.begin(), stay, [&](const CapturedFile& file) { pruning.remove(file); });
    std::for_each(stay, files.end(), [&](const CapturedFile& file) { pruning.keep(file); });
    pruning.remove_empty(days);
    const ExitStatus gaps = complain_of_gaps(days);
    const ExitStatus status = pruning.conclude();
    return gaps == kDone ? status : gaps;
}

}  // namespace

constinit const Verb kCapturePrune{"capture", "prune",  "remove the oldest captures",
                                   kHelp,     kOptions, run};

}  // namespace vel::tool
