#include "veltool/log_text.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <iterator>

#include "log/pmx_types.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

struct LevelName {
    int32_t level;
    const char* name;
};
constexpr LevelName kLevelNames[] = {
    {PMX_FATAL, "FATAL"},         {PMX_ERROR, "ERROR"},         {PMX_WARN, "WARN"},
    {PMX_INFO, "INFO"},           {PMX_DEBUG_MIN, "DEBUG_MIN"}, {PMX_DEBUG_MID, "DEBUG_MID"},
    {PMX_DEBUG_MAX, "DEBUG_MAX"},
};

// With zeros before it, as "%0*ld" prints it, of which there are too many in a log for printf.
void append_digits(std::string& to, int64_t number, size_t width) {
    const std::string digits = std::to_string(std::abs(number));
    if (number < 0) to += '-';
    const size_t length = digits.size() + (number < 0 ? 1 : 0);
    if (length < width) to.append(width - length, '0');
    to += digits;
}

// Down to the millisecond, and without a zone.
using TimeParts = struct tm;
std::string date_text(int64_t time, char separator,
                      TimeParts* (*parts_of)(const time_t*, TimeParts*), TimeParts& parts) {
    constexpr int64_t kMillis = 1000;  // of a second
    const int64_t millis = (time % kMillis + kMillis) % kMillis;
    const time_t seconds = time / kMillis - (time % kMillis < 0 ? 1 : 0);
    parts_of(&seconds, &parts);
    constexpr long kFirstYear = 1900;
    std::string text;
    append_digits(text, kFirstYear + parts.tm_year, 4);
    append_digits(text += '-', parts.tm_mon + 1, 2);
    append_digits(text += '-', parts.tm_mday, 2);
    append_digits(text += separator, parts.tm_hour, 2);
    append_digits(text += ':', parts.tm_min, 2);
    append_digits(text += ':', parts.tm_sec, 2);
    append_digits(text += '.', millis, 3);
    return text;
}

}  // namespace

std::string level_name(int32_t level) {
    const auto row = std::ranges::find(kLevelNames, level, &LevelName::level);
    return row == std::end(kLevelNames) ? std::to_string(level) : row->name;
}

int32_t level_of_identifier(std::string_view identifier) {
    const auto is_digit = [](char byte) { return byte >= '0' && byte <= '9'; };
    if (identifier.size() < 2 || !is_digit(identifier[identifier.size() - 2])) return 0;
    switch (identifier.back()) {
        case 'E':
            return PMX_ERROR;
        case 'W':
            return PMX_WARN;
        case 'I':
            return PMX_INFO;
        default:
            return 0;
    }
}

std::string local_date(int64_t time) {
    TimeParts parts{};
    const std::string date = date_text(time, ' ', localtime_r, parts);
    constexpr long kMinute = 60;
    const long minutes = parts.tm_gmtoff / kMinute, size = std::abs(minutes);
    return date + (minutes < 0 ? '-' : '+') +
           formatted("%02ld:%02ld", size / kMinute, size % kMinute);
}

std::string utc_date(int64_t time) {
    TimeParts parts{};
    return date_text(time, 'T', gmtime_r, parts) + 'Z';
}

}  // namespace vel::tool
