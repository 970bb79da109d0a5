#include "veltool/config_values.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <limits>
#include <map>
#include <memory>

#include "log/ascii_text.h"
#include "log/collections.h"
#include "log/pmx_log.h"
#include "veltool/code_set.h"
#include "veltool/log_text.h"
#include "veltool/tool.h"

namespace vel::tool::config::judge {

namespace {

constexpr size_t kMaxName = 255;

// Reads a text by the toolkit's own typed reading of properties; none: it is not of the type.
template <auto Get>
auto read(const std::string& value) {
    using Map = std::unique_ptr<PmxStringToStringMap, decltype(pmxIntlFreeStringToStringMap)>;
    constexpr const char* kKey = "key";
    const Map map(pmxIntlAllocStringToStringMap(), pmxIntlFreeStringToStringMap);
    pmxIntlSetMapProp(map.get(), kKey, value.c_str());
    int found = 0;
    const auto result = Get(map.get(), kKey, &found);
    return found != 0 ? std::optional(result) : std::nullopt;
}

std::string consequence(const Rule& rule) {
    if (rule.otherwise == nullptr) return ", so it changes nothing";
    return ", so it counts as " + std::string(rule.otherwise);
}

// Whether something but blanks stands behind the number that a text begins with; a number has its
// sign at most, not blanks, before its digits.
bool goes_on_behind_number(const std::string& value) {
    size_t at = value.find_first_not_of(log::kBlanks);
    if (at < value.size() && (value[at] == '+' || value[at] == '-')) ++at;
    at = value.find_first_not_of("0123456789", at);
    return value.find_first_not_of(log::kBlanks, at) != std::string::npos;
}

template <class Number>
Verdict number(const Rule& rule, const std::string& value, std::optional<Number> found) {
    if (!found) return refused(rule, in_quotes(value) + " is no number");
    const std::string text = std::to_string(*found);
    const bool beyond = *found == std::numeric_limits<Number>::max() ||
                        *found == std::numeric_limits<Number>::min();
    if (*found < rule.least) {
        const std::string least = std::to_string(rule.least);
        return refused(rule, text + " is out of range: the least is " + least);
    }
    Verdict verdict{.effective = text, .finding = ""};
    if (goes_on_behind_number(value))
        verdict.finding = in_quotes(value) + " is read as " + text +
                          ": only the digits that it begins with count";
    else if (beyond && value.find(text) == std::string::npos)
        verdict.finding = in_quotes(value) + " is out of range and is read as " + text;
    return verdict;
}

// A long date in a format; empty: it has more than 127 bytes, too.
std::string date_by(const std::string& format) {
    constexpr size_t kDateBytes = 128;
    constexpr tm kLongDate{.tm_sec = 59,
                           .tm_min = 59,
                           .tm_hour = 23,
                           .tm_mday = 30,
                           .tm_mon = 8,
                           .tm_year = 126,
                           .tm_wday = 3,
                           .tm_yday = 272,
                           .tm_isdst = 0,
                           .tm_gmtoff = 0,
                           .tm_zone = "UTC"};
    char date[kDateBytes];
    return {date, mab_strftime(date, sizeof date, format.c_str(), &kLongDate)};
}

}  // namespace

Verdict refused(const Rule& rule, const std::string& why) {
    Verdict verdict{std::nullopt, why + consequence(rule)};
    if (rule.otherwise != nullptr) verdict.effective = rule.otherwise;
    return verdict;
}

Verdict text(const Rule&, const std::string& value) { return {value, ""}; }

Verdict names(const Rule&, const std::string& value) {
    if (value.find(',') == std::string::npos) return {value, ""};
    return {value, "a comma belongs to the name: blanks alone stand between names"};
}

Verdict on_or_off(const Rule& rule, const std::string& value) {
    const auto is = [&](const char* word) { return log::same_ignoring_case(value.c_str(), word); };
    if (is("on") || is("true")) return {"on", ""};
    if (is("off") || is("false")) return {"off", ""};
    return refused(rule, in_quotes(value) + " is none of on, true, off and false");
}

Verdict flag(const Rule& rule, const std::string& value) {
    const auto found = read<pmxIntlGetMapPropBool>(value);
    if (!found) return refused(rule, in_quotes(value) + " is neither true nor false");
    return {*found != 0 ? "true" : "false", ""};
}

Verdict level(const Rule&, const std::string& value) {
    if (value.empty()) return {"INFO", "an empty level counts as INFO"};
    const int32_t level = PmxGetLevelFromString(value.c_str());
    if (level == PMX_NO_LEVEL)
        return {"none", in_quotes(value) +
                            " is no level, so everything comes through: levels are FATAL, "
                            "ERROR, WARN, INFO, DEBUG_MIN, DEBUG_MID, DEBUG_MAX, ALL and OFF"};
    const std::string name = level == PMX_ALL   ? "ALL"
                             : level == PMX_OFF ? "OFF"
                                                : level_name(level);
    if (level < PMX_ALL || level > PMX_OFF)
        return {name, in_quotes(value) + " is out of range: levels are 0 to 9999"};
    // A word may go on, as "warning" does, but by letters only.
    const bool is_number = value.find_first_of("0123456789") == value.find_first_not_of("+- \t");
    const auto is_letter = [](char c) {
        return c == '_' || (log::ascii_lower(c) >= 'a' && log::ascii_lower(c) <= 'z');
    };
    const size_t end = value.find_last_not_of(log::kBlanks) + 1;
    const bool strange = is_number ? goes_on_behind_number(value)
                                   : !std::ranges::all_of(value.substr(0, end), is_letter);
    return {name, strange ? in_quotes(value) + " is read as " + name + ": only its beginning counts"
                          : ""};
}

Verdict number32(const Rule& rule, const std::string& value) {
    return number(rule, value, read<pmxIntlGetMapPropInt>(value));
}

Verdict number64(const Rule& rule, const std::string& value) {
    return number(rule, value, read<pmxIntlGetMapPropLong>(value));
}

Verdict file_size(const Rule& rule, const std::string& value) {
    Verdict verdict = number32(rule, value);
    if (read<pmxIntlGetMapPropInt>(value).value_or(1) < 1)
        verdict.finding =
            *verdict.effective + " makes a file full at once: each record gets its own";
    return verdict;
}

Verdict fraction(const Rule& rule, const std::string& value) {
    const auto found = read<pmxIntlGetMapPropDouble>(value);
    if (!found) return refused(rule, in_quotes(value) + " is no number");
    if (!(*found > 0 && *found < 1))
        return refused(rule, in_quotes(value) + " is not between 0 and 1");
    char* end = nullptr;
    strtod(value.c_str(), &end);
    const std::string rest(end);
    const bool goes_on = rest.find_first_not_of(log::kBlanks) != std::string::npos;
    const std::string begin(value, 0, value.size() - rest.size());
    return {begin, goes_on ? in_quotes(value) + " is read as " + begin : ""};
}

Verdict one(const Rule& rule, const std::string& value) {
    const auto found = read<pmxIntlGetMapPropDouble>(value);
    if (!found) return refused(rule, in_quotes(value) + " is no number: 1 switches it on, 0 off");
    if (*found != 0 && *found != 1)
        return {*found >= 1 && *found < 2 ? "1" : "0",
                in_quotes(value) + " is neither 1, which switches it on, nor 0"};
    return {*found == 1 ? "1" : "0", ""};
}

Verdict channel(const Rule&, const std::string& value) {
    const bool can_be = !value.empty() && value.size() <= kMaxName && value.find('/') == value.npos;
    return {value,
            can_be ? "" : in_quotes(value) + " is no name of a file in /tmp: no channel is found"};
}

Verdict mode(const Rule& rule, const std::string& value) {
    for (const char* const word : {"BLOCK", "PASSTHRU"}) {
        if (log::same_ignoring_case(value.c_str(), word)) return {word, ""};
    }
    return refused(rule, in_quotes(value) + " is neither BLOCK nor PASSTHRU");
}

Verdict policy(const Rule& rule, const std::string& value) {
    constexpr const char* kPolicies[] = {"QUOTA_IGNORE", "QUOTA_AUTODELETE", "QUOTA_SUSPEND"};
    if (std::ranges::find(kPolicies, value) != std::end(kPolicies)) return {value, ""};
    return refused(
        rule, in_quotes(value) + " is none of QUOTA_IGNORE, QUOTA_AUTODELETE and QUOTA_SUSPEND");
}

Verdict patterns(const Rule&, const std::string& value) {
    if (value.find(',') != std::string::npos)
        return {value, "a comma belongs to the pattern: blanks alone stand between patterns"};
    for (size_t at = 0; (at = value.find_first_not_of(" \t\r\n", at)) != std::string::npos;) {
        const size_t end = std::min(value.find_first_of(" \t\r\n", at), value.size());
        const std::string pattern = value.substr(at, end - at);
        const size_t star = pattern.find('*'), last = pattern.find_last_not_of('*');
        const bool in_vain = pattern.back() == '*' && last != std::string::npos && star < last;
        if (in_vain)
            return {value, in_quotes(pattern) + " matches no more than " +
                               in_quotes(pattern.substr(0, last + 1)) +
                               ": what is behind its first '*' has to end the identifier"};
        at = end;
    }
    return {value, ""};
}

Verdict code_set(const Rule& rule, const std::string& value) {
    static std::map<std::string, bool> known;  // looking one up reads a table
    auto found = known.find(value);
    if (found == known.end()) {
        bool is_there = true;
        try {
            const CodeSet code_set(value);
        } catch (const Failure&) {
            is_there = false;
        }
        found = known.emplace(value, is_there).first;
    }
    if (found->second) return {value, ""};
    return refused(rule, "there is no table of the code set " + in_quotes(value));
}

Verdict locale(const Rule&, const std::string& value) {
    constexpr size_t kMostBytes = 31;
    std::string canonical(kMostBytes + 1, '\0');
    mab_canonical_loc(value.c_str(), canonical.data(), canonical.size());
    canonical.resize(canonical.find('\0'));
    const bool odd = value.size() > kMostBytes || value.find_first_of(" \t/") != std::string::npos;
    return {canonical, odd ? in_quotes(value) + " is no name of a locale" : ""};
}

Verdict date_format(const Rule&, const std::string& value) {
    for (size_t at = 0; (at = value.find('%', at)) != std::string::npos;) {
        const size_t letter = value.find_first_not_of("_-0^#EO123456789", at + 1);
        const std::string conversion = value.substr(at, letter - at + 1);
        // What it does not know it leaves as it is.
        if (date_by(conversion) == conversion)
            return {value, in_quotes(conversion) + " is no conversion of strftime"};
        at += conversion.size();
    }
    if (!value.empty() && date_by(value).empty())
        return {value, "a date of this format has more than 127 bytes, or none"};
    return {value, ""};
}

Verdict lock_key(const Rule& rule, const std::string& value) {
    Verdict verdict = number32(rule, value);
    if (verdict.effective == "0" && verdict.finding.empty())
        verdict.finding =
            "the key 0 is a lock of this handler alone: processes do not wait for each other";
    return verdict;
}

}  // namespace vel::tool::config::judge
