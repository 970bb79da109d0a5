#include <algorithm>

#include "veltool/log_output.h"
#include "veltool/log_text.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

// An object in the making: its members, with commas between them.
class JsonObject {
  public:
    explicit JsonObject(std::string& to) : to_(to) { to_ += '{'; }

    // Returns where its value goes, which has to be JSON. The name is none from outside.
    std::string& member(std::string_view name) {
        begin_member();
        return to_.append("\"").append(name).append("\":");
    }
    void add(std::string_view name, std::string_view text) { append_json(member(name), text); }
    void add_unless_empty(std::string_view name, std::string_view text) {
        if (!text.empty()) add(name, text);
    }
    void add_from_outside(std::string_view name, std::string_view text) {
        begin_member();
        append_json(to_, name);
        append_json(to_ += ':', text);
    }
    void end() { to_ += '}'; }

  private:
    void begin_member() {
        if (!is_first_) to_ += ',';
        is_first_ = false;
    }

    std::string& to_;
    bool is_first_ = true;
};

// Whether digits are a number that JSON has and that every reader keeps exactly.
bool is_exact_number(std::string_view digits) {
    constexpr size_t kExactDigits = 15;  // of a double
    return !digits.empty() && digits.size() <= kExactDigits &&
           digits.find_first_not_of("0123456789") == std::string_view::npos &&
           (digits[0] != '0' || digits.size() == 1);
}

void add_log_place(JsonObject& object, const LogRecord& record) {
    JsonObject place(object.member("log"));
    if (record.file != nullptr) place.add("file", *record.file);
    place.member("line") += std::to_string(record.line);
    place.end();
}

void add_malformed(JsonObject& object, const LogRecord& record) {
    object.add("malformed", record.fault);
    object.add("text", record.bytes);
}

void add_time_and_level(JsonObject& object, LogEntry& entry) {
    if (const std::optional<int64_t> time = entry.time()) {
        object.add("time", utc_date(*time));
        object.member("millis") += std::to_string(*time);
    }
    object.add_unless_empty("date", entry.fields().date);
    const int32_t level = entry.level();
    if (level == 0) return;
    object.member("level") += std::to_string(level);
    object.add("levelName", level_name(level));
}

void add_translation(JsonObject& object, const LogFields& fields) {
    if (fields.catalog.empty()) return;
    object.add("catalog", fields.catalog);
    object.member("set") += std::to_string(fields.set);
    object.member("key") += std::to_string(fields.key);
    std::string& to = object.member("parameters");
    to += '[';
    for (const std::string& parameter : fields.parameters) {
        if (&parameter != &fields.parameters.front()) to += ',';
        append_json(to, parameter);
    }
    to += ']';
}

void add_fields(JsonObject& object, const LogFields& fields) {
    object.add_unless_empty("messageId", fields.message_id);
    object.add("message", fields.message);
    for (const LogFieldName& row : kLogFieldNames) {
        const std::string& text = fields.*row.text;
        if (row.is_number && is_exact_number(text)) {
            object.member(row.name) += text;
        } else {
            object.add_unless_empty(row.name, text);
        }
    }
    if (!fields.attributes.empty()) {
        JsonObject attributes(object.member("attributes"));
        for (const auto& [name, value] : fields.attributes)
            attributes.add_from_outside(name, value);
        attributes.end();
    }
    add_translation(object, fields);
}

class JsonOutput : public LogOutput {
  public:
    void append(std::string& to, LogEntry& entry) const override {
        JsonObject object(to);
        if (entry.is_malformed()) {
            add_malformed(object, entry.record());
        } else {
            add_time_and_level(object, entry);
            add_fields(object, entry.fields());
        }
        add_log_place(object, entry.record());
        object.end();
        to += '\n';
    }
};

}  // namespace

std::unique_ptr<LogOutput> make_json_output() { return std::make_unique<JsonOutput>(); }

}  // namespace vel::tool
