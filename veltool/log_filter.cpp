#include "veltool/log_filter.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "log/pmx_classes.h"
#include "log/pmx_log.h"
#include "veltool/log_time.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

// Records of fatal errors have the word of errors.
int32_t level_of(const CommandLine& line) {
    if (!line.has("level")) return PMX_ALL;
    const std::string text = line.value("level");
    const int32_t level = PmxGetLevelFromString(text.c_str());
    if (level == PMX_NO_LEVEL)
        throw UsageError("neither a level as WARN nor a number: " + shown(text));
    return level <= PMX_FATAL ? std::min<int32_t>(level, PMX_ERROR) : level;
}

std::optional<int64_t> time_of_option(const CommandLine& line, const char* option) {
    return line.has(option) ? std::optional(parse_time(line.value(option))) : std::nullopt;
}

PmxStringList* patterns_of(const CommandLine& line) {
    if (!line.has("id")) return nullptr;
    std::string patterns;
    for (const std::string& some : line.values("id")) patterns += some + ' ';
    PmxStringList* const list = PmxMsgIdFilterGetStringList(patterns.c_str());
    if (list == nullptr) throw std::bad_alloc();
    return list;
}

std::string digits_of(const CommandLine& line, const char* option) {
    std::string text = line.value(option);
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos)
        throw UsageError("no number: " + shown(text));
    return text;
}

using Patterns = std::map<std::string, std::vector<std::string>>;

Patterns properties_of(const CommandLine& line) {
    Patterns patterns;
    for (const std::string& text : line.values("property")) {
        const size_t equals = text.find('=');
        if (equals == 0 || equals == std::string::npos)
            throw UsageError("no KEY=PATTERN: " + shown(text));
        patterns[text.substr(0, equals)].push_back(text.substr(equals + 1));
    }
    if (line.has("process")) patterns["processId"] = {digits_of(line, "process")};
    if (line.has("thread")) patterns["threadId"] = {digits_of(line, "thread")};
    return patterns;
}

// Null: the record does not have the property.
const std::string* property_of(const LogFields& fields, const std::string& name) {
    const auto row = std::ranges::find(kLogFieldNames, name, &LogFieldName::name);
    if (row != std::end(kLogFieldNames))
        return (fields.*row->text).empty() ? nullptr : &(fields.*row->text);
    const auto attribute =
        std::ranges::find(fields.attributes, name, &std::pair<std::string, std::string>::first);
    return attribute == fields.attributes.end() ? nullptr : &attribute->second;
}

}  // namespace

LogFilter::LogFilter(const CommandLine& line)
    : level_(level_of(line)),
      since_(time_of_option(line, "since")),
      until_(time_of_option(line, "until")),
      identifiers_(patterns_of(line)),
      properties_(properties_of(line)),
      looks_into_fields_(identifiers_ != nullptr || !properties_.empty()) {}

bool LogFilter::passes(LogEntry& entry) {
    return is_in_time(entry) && has_level(entry) &&
           (!looks_into_fields_ || matches(entry.fields()));
}

// As the toolkit's filter has it: what has no level passes.
bool LogFilter::has_level(LogEntry& entry) const {
    if (level_ == PMX_ALL) return true;
    const int32_t level = entry.level();
    return level == 0 || level_ <= level;
}

// A record without a time has come when the one before it came.
bool LogFilter::is_in_time(const LogEntry& entry) {
    if (!since_ && !until_) return true;
    if (const std::optional<int64_t> time = entry.time())
        was_in_time_ = (!since_ || *since_ <= *time) && (!until_ || *time <= *until_);
    return was_in_time_;
}

bool LogFilter::matches(const LogFields& fields) const {
    if (identifiers_ != nullptr &&
        (fields.message_id.empty() ||
         !PmxMsgIdFilterMatchMsgId(identifiers_.get(), fields.message_id.c_str())))
        return false;
    return std::ranges::all_of(properties_, [&](const auto& property) {
        const std::string* const text = property_of(fields, property.first);
        return text != nullptr && std::ranges::any_of(property.second, [&](const auto& pattern) {
                   return PmxPatternMatch(pattern.c_str(), text->c_str()) != 0;
               });
    });
}

}  // namespace vel::tool
