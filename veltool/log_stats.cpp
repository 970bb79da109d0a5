#include "veltool/log_stats.h"

#include <algorithm>
#include <tuple>

#include "veltool/log_text.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

// What keeps the memory bounded, whatever a log has for identifiers.
constexpr size_t kMostIdentifiers = 10'000;
constexpr size_t kLongestIdentifier = 64;

std::string level_title(int32_t level) { return level == 0 ? "(none)" : level_name(level); }

// Down to the second, so that a row fits into a line.
std::string short_date(int64_t time) {
    constexpr size_t kLength = std::string_view("2024-01-02 14:03:09").size();
    return local_date(time).substr(0, kLength);
}
std::string date_or_dash(std::optional<int64_t> time) { return time ? short_date(*time) : "-"; }

std::string padded(std::string text, size_t width) {
    if (text.size() < width) text.append(width - text.size(), ' ');
    return text;
}

// At the right of a column.
constexpr size_t kCountWidth = 12;
std::string count_text(const std::string& text) {
    return std::string(kCountWidth - std::min(kCountWidth, text.size()), ' ') + text;
}
std::string count_text(uint64_t count) { return count_text(std::to_string(count)); }

struct PeriodUnit {
    int64_t millis;
    const char* name;
};
constexpr PeriodUnit kPeriodUnits[] = {
    {86'400'000, "day"}, {3'600'000, "hour"}, {60'000, "minute"}, {1000, "second"}};

std::string period_name(int64_t period) {
    const PeriodUnit* const unit = std::ranges::find_if(
        kPeriodUnits, [&](const PeriodUnit& row) { return period % row.millis == 0; });
    const int64_t number = period / unit->millis;
    return number == 1 ? unit->name : std::to_string(number) + ' ' + unit->name + 's';
}

// Commas between what a call makes of each element.
template <class Range, class Json>
std::string json_list(const Range& range, const Json& json) {
    std::string list;
    for (const auto& element : range) list.append(list.empty() ? "" : ",").append(json(element));
    return '[' + list + ']';
}

std::string json_time(const char* name, std::optional<int64_t> time) {
    return time ? std::string(",\"") + name + "\":" + json_text(utc_date(*time)) : "";
}

constexpr size_t kNameWidth = 20, kDateWidth = 21;

}  // namespace

void LogStats::Count::add(std::optional<int64_t> time) {
    ++count;
    if (!time) return;
    first = std::min(first.value_or(*time), *time);
    last = std::max(last.value_or(*time), *time);
}

void LogStats::add(LogEntry& entry) {
    if (entry.is_malformed()) {
        ++malformed_;
        return;
    }
    const std::optional<int64_t> time = entry.time();
    all_.add(time);
    ++levels_[entry.level()];
    if (time) histogram_.add(*time);
    add_identifier(entry.fields().message_id, time);
}

void LogStats::add_identifier(const std::string& identifier, std::optional<int64_t> time) {
    auto known = identifiers_.find(identifier);
    const bool has_room =
        identifiers_.size() < kMostIdentifiers && identifier.size() <= kLongestIdentifier;
    if (known == identifiers_.end() && has_room) known = identifiers_.try_emplace(identifier).first;
    (known == identifiers_.end() ? others_ : known->second).add(time);
}

std::vector<LogStats::Row> LogStats::identifiers() const {
    std::vector<Row> rows;
    for (const auto& [identifier, count] : identifiers_) {
        if (!identifier.empty()) rows.emplace_back(identifier, count);
    }
    std::ranges::sort(rows, [](const Row& a, const Row& b) {
        return std::tie(b.second.count, a.first) < std::tie(a.second.count, b.first);
    });
    return rows;
}

std::string LogStats::text(size_t columns) const {
    std::string text = std::to_string(all_.count) + " records";
    if (all_.first) text += ", " + local_date(*all_.first) + " to " + local_date(*all_.last);
    if (malformed_ > 0) text += ", and " + std::to_string(malformed_) + " malformed ones";
    text += '\n';
    if (all_.count > 0) text += level_lines() + identifier_lines() + histogram_lines(columns);
    return text;
}

std::string LogStats::level_lines() const {
    std::string lines = '\n' + padded("Level", kNameWidth) + count_text("Records") + '\n';
    for (const auto& [level, count] : levels_)
        lines += padded(level_title(level), kNameWidth) + count_text(count) + '\n';
    return lines;
}

std::string LogStats::identifier_lines() const {
    std::vector<Row> rows = identifiers();
    if (const auto none = identifiers_.find(""); none != identifiers_.end())
        rows.emplace_back("(none)", none->second);
    if (others_.count > 0) rows.emplace_back("(others)", others_);
    std::string lines = '\n' + padded("Identifier", kNameWidth) + count_text("Records") + "  " +
                        padded("First", kDateWidth) + "Last\n";
    for (const auto& [identifier, count] : rows)
        lines += padded(shown(identifier), kNameWidth) + count_text(count.count) + "  " +
                 padded(date_or_dash(count.first), kDateWidth) + date_or_dash(count.last) + '\n';
    return lines;
}

std::string LogStats::histogram_lines(size_t columns) const {
    const std::map<int64_t, uint64_t> counts = histogram_.counts();
    if (counts.empty()) return "";
    uint64_t most = 0;
    for (const auto& [begin, count] : counts) most = std::max(most, count);

    constexpr size_t kLeft = kDateWidth + kCountWidth, kShortestBar = 10;
    const size_t width = std::max(columns, kLeft + kShortestBar) - kLeft;
    const int64_t period = histogram_.period();
    std::string lines = "\nPer " + period_name(period) + '\n';
    for (int64_t begin = counts.begin()->first; begin <= counts.rbegin()->first; begin += period) {
        const auto found = counts.find(begin);
        const uint64_t count = found == counts.end() ? 0 : found->second;
        // What is there is seen.
        const auto bar = static_cast<size_t>(
            static_cast<double>(count) / static_cast<double>(most) * static_cast<double>(width));
        lines += short_date(begin) + count_text(count);
        if (count > 0) lines += "  " + std::string(std::max<size_t>(bar, 1), '#');
        lines += '\n';
    }
    return lines;
}

std::string LogStats::identifiers_json() const {
    return json_list(identifiers(), [](const Row& row) {
        return "{\"id\":" + json_text(row.first) +
               ",\"records\":" + std::to_string(row.second.count) +
               json_time("first", row.second.first) + json_time("last", row.second.last) + '}';
    });
}

std::string LogStats::json() const {
    const auto none = identifiers_.find("");
    const std::map<int64_t, uint64_t> counts = histogram_.counts();
    return "{\"records\":" + std::to_string(all_.count) +
           ",\"malformed\":" + std::to_string(malformed_) + json_time("first", all_.first) +
           json_time("last", all_.last) + ",\"levels\":" +
           json_list(levels_,
                     [](const auto& row) {
                         return "{\"level\":" + std::to_string(row.first) +
                                ",\"levelName\":" + json_text(level_title(row.first)) +
                                ",\"records\":" + std::to_string(row.second) + '}';
                     }) +
           ",\"ids\":" + identifiers_json() +
           ",\"withoutId\":" + std::to_string(none == identifiers_.end() ? 0 : none->second.count) +
           ",\"otherIds\":" + std::to_string(others_.count) +
           ",\"periodMillis\":" + std::to_string(histogram_.period()) + ",\"periods\":" +
           json_list(counts,
                     [](const auto& row) {
                         return "{\"begin\":" + json_text(utc_date(row.first)) +
                                ",\"records\":" + std::to_string(row.second) + '}';
                     }) +
           "}\n";
}

}  // namespace vel::tool
