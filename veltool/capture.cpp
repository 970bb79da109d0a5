#include "veltool/capture.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <iterator>
#include <new>
#include <numeric>

#include "log/file_tree.h"
#include "runtime/open_file.h"
#include "runtime/owned.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

bool is_day(std::string_view name) {
    constexpr std::string_view kForm = "dddd.dd.dd";
    return std::ranges::equal(name, kForm, [](char c, char expected) {
        return expected == 'd' ? c >= '0' && c <= '9' : c == expected;
    });
}

CaptureDay look_at_day(const std::string& name) {
    CaptureDay day{.name = name, .files = {}};
    log::FileDataList list;
    if (!log::pmxFindAllFileData(name.c_str(), list)) throw std::bad_alloc();
    day.files.assign(list.begin(), list.end());
    log::FileTreeWalk walk(name.c_str());
    while (walk.next()) day.beyond_reach += walk.path() == nullptr ? 1 : 0;
    day.is_readable = !walk.was_denied();
    std::ranges::sort(day.files, [](const CapturedFile& a, const CapturedFile& b) {
        return strcmp(a.path, b.path) < 0;
    });
    return day;
}

}  // namespace

int64_t CaptureDay::bytes() const {
    return std::accumulate(
        files.begin(), files.end(), int64_t{0},
        [](int64_t sum, const CapturedFile& file) { return sum_of(sum, file.size); });
}

int64_t CaptureDay::latest_change() const {
    return std::ranges::max_element(files, {}, &CapturedFile::change_time)->change_time;
}

int64_t sum_of(int64_t bytes, int64_t more_bytes) {
    int64_t sum = 0;
    return __builtin_add_overflow(bytes, more_bytes, &sum) ? INT64_MAX : sum;
}

int64_t millis_of(int64_t seconds) {
    constexpr int64_t kMillis = 1000, kMost = INT64_MAX / kMillis;
    return std::clamp(seconds, -kMost, kMost) * kMillis;
}

std::string capture_directory(const CommandLine& line) {
    if (line.operands().empty()) throw UsageError("the directory of the captures is missing");
    return line.operands()[0];
}

void enter_captures(const std::string& directory) {
    const runtime::OpenFile base(runtime::open_file(directory.c_str(), O_RDONLY | O_DIRECTORY));
    if (!base || fchdir(base.get()) != 0) throw Failure(shown(directory) + ": " + strerror(errno));
}

std::vector<CaptureDay> find_captures() {
    const runtime::Owned<DIR, closedir> listing(opendir("."));
    if (listing == nullptr) throw Failure(std::string(".: ") + strerror(errno));
    std::vector<std::string> names;
    while (const dirent* const entry = readdir(listing.get())) {
        struct stat status {};
        if (is_day(entry->d_name) && lstat(entry->d_name, &status) == 0 && S_ISDIR(status.st_mode))
            names.emplace_back(entry->d_name);
    }
    std::ranges::sort(names);
    std::vector<CaptureDay> days;
    std::ranges::transform(names, std::back_inserter(days), look_at_day);
    return days;
}

ExitStatus complain_of_gaps(const std::vector<CaptureDay>& days) {
    ExitStatus status = kDone;
    for (const CaptureDay& day : days) {
        if (!day.is_readable) complain(day.name + ": not all of it can be read by this user");
        if (day.beyond_reach > 0) {
            complain(day.name + ": " + std::to_string(day.beyond_reach) +
                     " files left out: their paths have more than 255 bytes");
        }
        if (!day.is_readable || day.beyond_reach > 0) status = kFinding;
    }
    return status;
}

std::string name_of_today() {
    const time_t now = time(nullptr);
    struct tm parts {};
    localtime_r(&now, &parts);
    char name[32];
    const size_t length = strftime(name, sizeof name, "%Y.%m.%d", &parts);
    return {name, length};
}

}  // namespace vel::tool
