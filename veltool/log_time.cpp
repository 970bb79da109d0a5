#include "veltool/log_time.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <iterator>
#include <optional>
#include <string_view>

#include "veltool/text.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

constexpr int64_t kMillis = 1000;  // of a second
constexpr int64_t kMinute = 60, kHour = 60 * kMinute, kDay = 24 * kHour;

using TimeParts = struct tm;

TimeParts local_parts(time_t seconds) {
    TimeParts parts{};
    localtime_r(&seconds, &parts);
    return parts;
}

// The midnight with which a day began.
time_t day_before(time_t now, int days) {
    TimeParts parts = local_parts(now);
    parts.tm_mday -= days;
    parts.tm_hour = parts.tm_min = parts.tm_sec = 0;
    parts.tm_isdst = -1;
    return mktime(&parts);
}

std::optional<time_t> named_time(const std::string& text, time_t now) {
    if (text == "now") return now;
    if (text == "today") return day_before(now, 0);
    if (text == "yesterday") return day_before(now, 1);
    return {};
}

// What is left of a text that is taken apart from its beginning.
class Rest {
  public:
    explicit Rest(std::string_view text) : text_(text) {}

    bool is_empty() const { return text_.empty(); }
    bool has_at(size_t place, char byte) const {
        return place < text_.size() && text_[place] == byte;
    }
    bool take(char byte) {
        if (!has_at(0, byte)) return false;
        text_.remove_prefix(1);
        return true;
    }
    // Exactly so many digits.
    bool take_number(size_t length, int& number) {
        const std::string_view digits = text_.substr(0, length);
        if (digits.size() < length || digits.find_first_not_of(kDigits) != digits.npos)
            return false;
        std::from_chars(digits.data(), digits.data() + length, number);
        text_.remove_prefix(length);
        return true;
    }
    // All digits that there are.
    std::string_view take_digits() {
        const std::string_view digits = text_.substr(0, text_.find_first_not_of(kDigits));
        text_.remove_prefix(digits.size());
        return digits;
    }

  private:
    static constexpr std::string_view kDigits = "0123456789";
    std::string_view text_;
};

std::optional<time_t> relative_time(std::string_view text, time_t now) {
    struct Unit {
        char letter;
        int64_t seconds;
    };
    constexpr Unit kUnits[] = {
        {'s', 1}, {'m', kMinute}, {'h', kHour}, {'d', kDay}, {'w', 7 * kDay}};
    constexpr size_t kMostDigits = 7;
    Rest rest(text);
    const std::string_view digits = rest.take_digits();
    if (digits.empty() || digits.size() > kMostDigits) return {};
    const auto unit =
        std::ranges::find_if(kUnits, [&](const Unit& row) { return rest.take(row.letter); });
    if (unit == std::end(kUnits) || !rest.is_empty()) return {};
    int64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return now - number * unit->seconds;
}

// Whether the calendar and the clock have such a time.
bool exists(const TimeParts& parts) {
    TimeParts found = parts;
    timegm(&found);
    return found.tm_year == parts.tm_year && found.tm_mon == parts.tm_mon &&
           found.tm_mday == parts.tm_mday && found.tm_hour == parts.tm_hour &&
           found.tm_min == parts.tm_min && found.tm_sec == parts.tm_sec;
}

// "2026-11-22"
bool take_date(Rest& rest, TimeParts& parts) {
    constexpr int kFirstYear = 1900;
    const bool is_date = rest.take_number(4, parts.tm_year) && rest.take('-') &&
                         rest.take_number(2, parts.tm_mon) && rest.take('-') &&
                         rest.take_number(2, parts.tm_mday);
    parts.tm_year -= kFirstYear;
    --parts.tm_mon;
    return is_date;
}

// "10:00", with seconds and a fraction of one behind it when wanted: ".1" is 100 milliseconds.
bool take_clock(Rest& rest, TimeParts& parts, int& millis) {
    if (!rest.take_number(2, parts.tm_hour) || !rest.take(':') ||
        !rest.take_number(2, parts.tm_min))
        return false;
    if (!rest.take(':')) return true;
    if (!rest.take_number(2, parts.tm_sec)) return false;
    if (!rest.take('.') && !rest.take(',')) return true;
    std::string fraction(rest.take_digits());
    if (fraction.empty()) return false;
    fraction.resize(3, '0');
    return Rest(fraction).take_number(3, millis);
}

// A zone as its offset in seconds: "Z", or a sign, hours, perhaps a colon, and minutes; or none.
bool take_zone(Rest& rest, std::optional<int64_t>& offset) {
    constexpr int kMostHours = 15, kMostMinutes = 59;
    rest.take(' ');
    if (rest.is_empty()) return true;
    if (rest.take('Z')) {
        offset = 0;
        return true;
    }
    const bool is_west = rest.take('-');
    int hours = 0, minutes = 0;
    if ((!is_west && !rest.take('+')) || !rest.take_number(2, hours)) return false;
    if ((rest.take(':') || !rest.is_empty()) && !rest.take_number(2, minutes)) return false;
    const int64_t size = hours * kHour + minutes * kMinute;
    offset = is_west ? -size : size;
    return hours <= kMostHours && minutes <= kMostMinutes;
}

std::optional<int64_t> absolute_time(std::string_view text, time_t now) {
    constexpr size_t kYearLength = 4;
    Rest rest(text);
    TimeParts parts = local_parts(now);
    const bool has_date = rest.has_at(kYearLength, '-');
    if (has_date && !take_date(rest, parts)) return {};
    parts.tm_hour = parts.tm_min = parts.tm_sec = 0;
    parts.tm_isdst = -1;
    int millis = 0;
    std::optional<int64_t> offset;
    const bool is_day = has_date && rest.is_empty();
    if (!is_day && has_date && !rest.take(' ') && !rest.take('T')) return {};
    if (!is_day && (!take_clock(rest, parts, millis) || !take_zone(rest, offset))) return {};
    if (!rest.is_empty() || !exists(parts)) return {};
    const time_t seconds = offset ? timegm(&parts) - *offset : mktime(&parts);
    return seconds * kMillis + millis;
}

}  // namespace

int64_t parse_time(const std::string& text) {
    const time_t now = time(nullptr);
    if (const auto named = named_time(text, now)) return *named * kMillis;
    if (const auto relative = relative_time(text, now)) return *relative * kMillis;
    if (const auto absolute = absolute_time(text, now)) return *absolute;
    throw UsageError("neither a time as \"2026-11-22 10:00\" nor one ago as \"2h\": " +
                     shown(text));
}

}  // namespace vel::tool
