#include "veltool/log_rolled.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <limits>
#include <utility>

#include "veltool/text.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

// The numbers of the old files, the lowest, which is that of the newest, first.
std::vector<int32_t> old_numbers(const LogName& name) {
    const std::filesystem::path stem(name.stem);
    const std::string directory = stem.parent_path().string();
    const std::string own = stem.filename().string() + name.tail;
    std::vector<int32_t> numbers;
    std::error_code error;
    for (std::filesystem::directory_iterator it(directory.empty() ? "." : directory, error), end;
         !error && it != end; it.increment(error)) {
        const LogName other = take_apart(it->path().filename().string());
        if (other.number > 0 && other.with(0) == own) numbers.push_back(other.number);
    }
    std::ranges::sort(numbers);
    return numbers;
}

// Whether all bytes of a file are those that another begins with now.
bool is_beginning(const LogFile& file, const LogFile& other) {
    constexpr size_t kBlock = 1 << 16;
    std::string block(kTellingLogBytes, '\0');  // so many tell of most
    for (off_t place = 0;;) {
        const ssize_t got = pread(file.descriptor.number(), block.data(), block.size(), place);
        if (got <= 0) return got == 0;
        if (!has_at(other, place, {block.data(), static_cast<size_t>(got)})) return false;
        place += got;
        block.resize(kBlock);
    }
}

}  // namespace

std::string LogName::with(int32_t other) const {
    return stem + (other == 0 ? "" : std::to_string(other)) + tail;
}

LogName take_apart(const std::string& name) {
    const size_t slash = name.rfind('/'), dot = name.rfind('.');
    const size_t directory = slash == name.npos ? 0 : slash + 1;
    const size_t tail = dot == name.npos || dot < directory ? name.size() : dot;
    size_t digits = tail;
    while (digits > directory && name[digits - 1] >= '0' && name[digits - 1] <= '9') --digits;
    LogName parts{name.substr(0, tail), name.substr(tail)};
    if (digits == tail || name[digits] == '0') return parts;
    const auto [end, error] = std::from_chars(&name[digits], name.data() + tail, parts.number);
    if (error == std::errc()) parts.stem.resize(digits);
    return parts;
}

RolledLog::RolledLog(const std::string& name, bool has_old) : name_(name) {
    if (has_old) old_ = take_apart(name);
}

std::vector<LogFile> RolledLog::find(std::optional<LogFile> active) {
    std::vector<LogFile> files;
    seen_.clear();
    if (active) files.push_back(std::move(*active));
    if (old_) see_old(files);
    for (size_t at = 1; at < files.size();) {
        const bool is_copy = is_beginning(files[at], files[at - 1]);
        if (is_copy) files.erase(files.begin() + static_cast<ptrdiff_t>(at));
        at += is_copy ? 0 : 1;
    }
    // An active file that has been emptied meanwhile may be in the list as a copy, or it may not.
    LogFile* const newest = files.empty() ? nullptr : &files.front();
    if (newest != nullptr && !has_at(*newest, 0, newest->head)) newest->head.clear();
    std::ranges::reverse(files);
    std::erase_if(known_, [this](const LogIdentity& one) { return !seen_.contains(one); });
    for (const LogFile& file : files) {
        if (file.name != name_) known_.insert(file.identity);
    }
    return files;
}

// The log may roll over meanwhile, even many times. Who goes by growing numbers, up to where no
// more files are, misses none all the same; one that is met twice has the place where it was met
// last. What a directory lists while its files are renamed has gaps, however.
void RolledLog::see_old(std::vector<LogFile>& newest_first) {
    constexpr int32_t kWidestGap = 16;
    int32_t tried = 0, gap = 0;
    const auto try_up_to = [&](int32_t last) {
        for (; tried < last && gap < kWidestGap; ++tried) {
            gap = see(old_->with(tried + 1), newest_first) ? 0 : gap + 1;
        }
        gap = 0;
    };
    for (const int32_t number : old_numbers(*old_)) {
        try_up_to(number - 1);
        tried = std::max(tried, number - 1);
        try_up_to(number);
    }
    try_up_to(std::numeric_limits<int32_t>::max());
}

// False: there is no file of that name.
bool RolledLog::see(const std::string& name, std::vector<LogFile>& newest_first) {
    const std::optional<LogLook> look = look_at(name);
    if (!look) return false;
    seen_.insert(look->identity);
    if (known_.contains(look->identity) || !S_ISREG(look->mode)) return true;  // or is nobody's
    try {
        LogFile file = open_log(name);
        seen_.insert(file.identity);
        if (file.is_stream || known_.contains(file.identity)) return true;
        std::erase_if(newest_first,
                      [&](const LogFile& other) { return other.identity == file.identity; });
        newest_first.push_back(std::move(file));
    } catch (const Failure& failure) {
        const std::optional<LogLook> again = look_at(name);
        if (!again || again->identity != look->identity) return true;  // it has moved on
        complain(shown(name) + ": " + failure.what());
        has_failed_ = true;
        known_.insert(look->identity);
    }
    return true;
}

}  // namespace vel::tool
