#include "veltool/log_shape.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>
#include <span>

#include "log/pmx_types.h"

namespace vel::tool {

namespace {

// The lines that a formatter writes once, before the records that they are to hold for.
constexpr std::string_view kProductBegins[] = {" <Server Format=\"", " <ProductId>", " <Component>",
                                               " <ProductInstance>"};
constexpr std::string_view kTagBegins[] = {kMessageTag, kTraceTag, kBareTraceTag};

struct LevelWord {
    std::string_view word;
    int32_t level;
};
constexpr LevelWord kLevelWords[] = {
    {"MIN", PMX_DEBUG_MIN}, {"MID", PMX_DEBUG_MID}, {"MAX", PMX_DEBUG_MAX},
    {"INFO", PMX_INFO},     {"WARN", PMX_WARN},     {"ERROR", PMX_ERROR},
};

// In a trace all have the same width.
constexpr LevelWord kPaddedWords[] = {
    {" MIN ", PMX_DEBUG_MIN},
    {" MID ", PMX_DEBUG_MID},
    {" MAX ", PMX_DEBUG_MAX},
    {"INFO ", PMX_INFO},
    {"ERROR", PMX_ERROR},
    {"WARN ", PMX_WARN},
    {"OTHER", 0},
};

constexpr std::string_view kDate = "0000-00-00 00:00:00";
constexpr std::string_view kMillis = ".000";
constexpr std::string_view kEarlyMillis = ".-000";  // before 1970
constexpr std::string_view kZone = "+00:00";

constexpr std::string_view kTraceBegin = "\x1E[", kDateSeparator = "] - ";
constexpr size_t kLevelWidth = 5;

bool is_digit(char byte) { return byte >= '0' && byte <= '9'; }

// Whether a text begins with a pattern, where 0 is any digit and + is either sign.
bool begins_as(std::string_view text, std::string_view pattern) {
    if (text.size() < pattern.size()) return false;
    for (size_t at = 0; at < pattern.size(); ++at) {
        const char byte = text[at], sign = pattern[at];
        if (sign == '0' ? !is_digit(byte) : byte != sign && !(sign == '+' && byte == '-')) {
            return false;
        }
    }
    return true;
}

bool begins_with_one(std::string_view text, std::span<const std::string_view> beginnings) {
    return std::ranges::any_of(beginnings, [text](auto one) { return text.starts_with(one); });
}

size_t millis_length(std::string_view text) {
    if (begins_as(text, kMillis)) return kMillis.size();
    return begins_as(text, kEarlyMillis) ? kEarlyMillis.size() : 0;
}

int number_at(std::string_view text, size_t at, size_t digits) {
    int number = 0;
    for (const char digit : text.substr(at, digits)) number = number * 10 + (digit - '0');
    return number;
}

// What the clock shows, as if the zone were UTC.
std::optional<int64_t> shown_seconds(std::string_view date) {
    using namespace std::chrono;
    const year_month_day day(year(number_at(date, 0, 4)),
                             month(static_cast<unsigned>(number_at(date, 5, 2))),
                             std::chrono::day(static_cast<unsigned>(number_at(date, 8, 2))));
    if (!day.ok()) return std::nullopt;
    constexpr int64_t kDay = 86400, kHour = 3600, kMinute = 60;
    return sys_days(day).time_since_epoch().count() * kDay + number_at(date, 11, 2) * kHour +
           number_at(date, 14, 2) * kMinute + number_at(date, 17, 2);
}

std::optional<int64_t> local_seconds(std::string_view date) {
    struct tm parts {};
    constexpr int kFirstYear = 1900;
    parts.tm_year = number_at(date, 0, 4) - kFirstYear;
    parts.tm_mon = number_at(date, 5, 2) - 1;
    parts.tm_mday = number_at(date, 8, 2);
    parts.tm_hour = number_at(date, 11, 2);
    parts.tm_min = number_at(date, 14, 2);
    parts.tm_sec = number_at(date, 17, 2);
    parts.tm_isdst = -1;
    const time_t time = mktime(&parts);
    if (time == -1) return std::nullopt;
    return time;
}

// Seconds east of UTC.
int64_t zone_seconds(std::string_view zone) {
    constexpr int64_t kMinute = 60;
    const int64_t minutes = number_at(zone, 1, 2) * kMinute + number_at(zone, 4, 2);
    return (zone[0] == '-' ? -minutes : minutes) * kMinute;
}

// Takes a field off, and the separator behind it. False: there is none.
bool take_field(std::string_view& rest, std::string_view& field) {
    // Most hyphens in fields are separators: looking for them is faster than for all three bytes.
    for (size_t at = rest.find('-', 1); at != rest.npos && at + 1 < rest.size();
         at = rest.find('-', at + 1)) {
        if (rest[at - 1] != ' ' || rest[at + 1] != ' ') continue;
        field = rest.substr(0, at - 1);
        rest.remove_prefix(at + 2);
        return true;
    }
    return false;
}

// Whether a text has at least so many separators: those in most of its beginning are counted
// several at a time.
bool has_separators(std::string_view text, unsigned least) {
    constexpr size_t kStep = 16, kMost = 96;
    if (text.size() <= kStep + 1) return false;
    const size_t count = std::min(text.size() - 2, kMost) / kStep * kStep;
    const char* const at = text.data();
    uint8_t found = 0;
    for (size_t index = 0; index < count; ++index) {
        const bool is_one = (at[index] == ' ') & (at[index + 1] == '-') & (at[index + 2] == ' ');
        found = static_cast<uint8_t>(found + is_one);
    }
    return found >= least;
}

// Takes "[date]" and the separator off.
bool take_date(std::string_view& rest, std::string_view& date) {
    constexpr size_t kMost = 64;  // bytes of a date
    if (!rest.starts_with(kTraceBegin)) return false;
    rest.remove_prefix(kTraceBegin.size());
    const size_t end = rest.substr(0, kMost).find(kDateSeparator);
    if (end == rest.npos) return false;
    date = rest.substr(0, end);
    rest.remove_prefix(end + kDateSeparator.size());
    return true;
}

std::optional<int32_t> level_of_field(std::string_view word) {
    for (const LevelWord& row : kPaddedWords) {
        if (memcmp(word.data(), row.word.data(), kLevelWidth) == 0) return row.level;
    }
    return std::nullopt;
}

std::optional<int32_t> unusual_level(std::string_view record) {
    TraceParts parts;
    if (!split_trace(record, parts)) return std::nullopt;
    return level_of_field(parts.level);
}

}  // namespace

LineStart start_of(std::string_view line) {
    if (line.empty()) return LineStart::kOther;
    switch (line.front()) {
        case kTraceMark:
            return LineStart::kTrace;
        case '\0':
            return LineStart::kZeros;
        case '<':
            return begins_with_one(line, kTagBegins) ? LineStart::kTag : LineStart::kOther;
        case ' ':
            return begins_with_one(line, kProductBegins) ? LineStart::kProduct : LineStart::kOther;
        default:
            return begins_as(line, kDate) ? LineStart::kDate : LineStart::kOther;
    }
}

size_t date_length(std::string_view text) {
    if (!begins_as(text, kDate)) return 0;
    const size_t length = kDate.size() + millis_length(text.substr(kDate.size()));
    return begins_as(text.substr(length), kZone) ? length + kZone.size() : length;
}

std::optional<int64_t> time_of_date(std::string_view date) {
    if (!begins_as(date, kDate)) return std::nullopt;
    std::string_view rest = date.substr(kDate.size());
    const size_t length = millis_length(rest);
    int64_t millis = 0;
    if (length > 0) millis = number_at(rest, length - 3, 3);
    if (length > kMillis.size()) millis = -millis;
    rest.remove_prefix(length);
    const bool has_zone = begins_as(rest, kZone);
    const std::optional<int64_t> seconds = has_zone ? shown_seconds(date) : local_seconds(date);
    if (!seconds) return std::nullopt;
    constexpr int64_t kSecond = 1000;
    return (*seconds - (has_zone ? zone_seconds(rest) : 0)) * kSecond + millis;
}

std::optional<int32_t> level_of_trace(std::string_view record) {
    constexpr unsigned kSeparators = 5;  // behind the level
    // Where these stand behind a date of the usual length.
    constexpr size_t kDateEnd = 31, kLevel = 35, kRest = 40;
    const bool is_usual = record.size() > kRest && record.starts_with(kTraceBegin) &&
                          record.compare(kDateEnd, kDateSeparator.size(), kDateSeparator) == 0 &&
                          has_separators(record.substr(kRest), kSeparators);
    if (is_usual) return level_of_field(record.substr(kLevel, kLevelWidth));
    return unusual_level(record);
}

bool split_trace(std::string_view record, TraceParts& parts) {
    std::string_view rest = record;
    if (!take_date(rest, parts.date) || rest.size() < kLevelWidth) return false;
    parts.level = rest.substr(0, kLevelWidth);
    rest.remove_prefix(kLevelWidth);
    std::string_view nothing;
    const bool is_whole = take_field(rest, nothing) && nothing.empty() &&
                          take_field(rest, parts.host) && take_field(rest, parts.process) &&
                          take_field(rest, parts.source) && take_field(rest, parts.message_id);
    parts.message = rest;
    return is_whole;
}

int32_t level_of_tag(std::string_view tag_line) {
    constexpr std::string_view kEnd = "\">\n", kSeverity = "\" Severity=";
    if (!tag_line.ends_with(kEnd)) return 0;
    tag_line.remove_suffix(kEnd.size());
    const size_t quote = tag_line.rfind('"');
    const bool tells = quote + 1 == kTraceTag.size() ||
                       (quote != tag_line.npos && tag_line.substr(0, quote).ends_with(kSeverity));
    if (!tells) return 0;
    const auto row = std::ranges::find(kLevelWords, tag_line.substr(quote + 1), &LevelWord::word);
    return row == std::end(kLevelWords) ? 0 : row->level;
}

}  // namespace vel::tool
