#include "veltool/log_record.h"

#include <algorithm>
#include <array>

#include "runtime/cx_text.h"
#include "veltool/log_judge.h"
#include "veltool/log_shape.h"
#include "veltool/log_xml.h"
#include "veltool/utf8.h"

namespace vel::tool {

namespace {

// Without the end of its last line.
std::string_view without_line_end(std::string_view text) {
    if (text.ends_with('\n')) text.remove_suffix(1);
    return text;
}

bool is_text(std::string_view line) {
    const bool steers = std::ranges::any_of(line, [](char byte) {
        const auto value = static_cast<unsigned char>(byte);
        return (value < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') || value == 0x7F;
    });
    return !steers && utf8_end(line) == line.size();
}

void judge_trace(LogRecord& record) {
    const std::optional<int32_t> level = level_of_trace(record.bytes);
    record.level = level.value_or(0);
    if (!level) record.fault = "not all fields of a trace";
}

void judge_xml(LogRecord& record, LogProducts& products) {
    const std::string_view element = record.bytes.substr(record.tag);
    const std::string_view line = element.substr(0, element.find('\n') + 1);
    record.level = level_of_tag(line);
    if (record.tag > 0) products = read_products(record.bytes.substr(0, record.tag));
}

std::string id_in(std::string_view text) {
    constexpr size_t kEnough = 64;  // for any identifier
    const CxMessageID id = CxParseQRAID(std::string(text.substr(0, kEnough)).c_str());
    return {id.identifier, static_cast<size_t>(id.length)};
}

// What stands between the fields of a summary record: what is behind its date, up to the next that
// a field may begin with.
std::string_view separator_behind(std::string_view rest) {
    constexpr std::string_view kSeparating = " \t|;,:#~-";
    return rest.substr(0, std::min(rest.find_first_not_of(kSeparating), rest.size()));
}

using Words = std::array<std::string_view, 6>;  // five properties may stand before a message

Words first_words(std::string_view text, std::string_view separator) {
    Words words;
    for (std::string_view& word : words) {
        const size_t end = text.find(separator);
        word = text.substr(0, end);
        if (end == text.npos) break;
        text.remove_prefix(end + separator.size());
    }
    return words;
}

bool is_number(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

// The fields have no names, and any may be missing: only a place in the source shows as one.
void parse_summary(std::string_view bytes, LogFields& fields) {
    const size_t length = date_length(bytes);
    fields.date = bytes.substr(0, length);
    std::string_view rest = without_line_end(bytes.substr(length));
    const std::string_view separator = length == 0 ? "" : separator_behind(rest);
    rest.remove_prefix(separator.size());
    fields.message = rest;
    fields.message_id = id_in(rest);
    if (separator.empty()) return;
    Words words = first_words(rest, separator);
    if (words[0].find_first_of("./") != rest.npos && is_number(words[2]) && !words[1].empty()) {
        fields.file = words[0];
        fields.function = words[1];
        fields.line = words[2];
        const auto end = static_cast<size_t>(words[2].data() + words[2].size() - rest.data());
        rest.remove_prefix(std::min(end + separator.size(), rest.size()));
        fields.message = rest;
        words = first_words(rest, separator);
    }
    for (const std::string_view word : words) {
        if (fields.message_id.empty()) fields.message_id = id_in(word);
    }
}

// "p4711:t140245", or one of them.
void parse_process(std::string_view text, LogFields& fields) {
    const size_t colon = text.find(':');
    for (const std::string_view part :
         {text.substr(0, colon), colon == text.npos ? "" : text.substr(colon + 1)}) {
        if (part.starts_with('p')) fields.process = part.substr(1);
        if (part.starts_with('t')) fields.thread = part.substr(1);
    }
}

// "main.c:open_file(42)", or a part of that.
void parse_source(std::string_view text, LogFields& fields) {
    const size_t bracket = text.rfind('(');
    if (bracket != text.npos && text.ends_with(')')) {
        const std::string_view line = text.substr(bracket + 1, text.size() - bracket - 2);
        if (is_number(line)) {
            fields.line = line;
            text = text.substr(0, bracket);
        }
    }
    size_t colon = text.find(':');
    if (text.substr(std::min(colon, text.size())).starts_with("::")) colon = text.npos;
    if (colon != text.npos) {
        fields.file = text.substr(0, colon);
        fields.function = text.substr(colon + 1);
    } else {
        const bool is_file = text.find_first_of("./") != text.npos;
        (is_file ? fields.file : fields.function) = text;
    }
}

void parse_trace(std::string_view bytes, LogFields& fields) {
    TraceParts parts;
    split_trace(bytes, parts);
    fields.date = parts.date;
    fields.host = parts.host;
    parse_process(parts.process, fields);
    parse_source(parts.source, fields);
    fields.message_id = parts.message_id;
    fields.message = without_line_end(parts.message);
}

}  // namespace

void judge(LogRecord& record, LogProducts& products) {
    if (!record.fault.empty() && record.form != LogForm::kXML) return;
    switch (record.form) {
        case LogForm::kTrace:
            return judge_trace(record);
        case LogForm::kXML:
            if (record.fault.empty()) judge_xml(record, products);
            return;
        case LogForm::kSummary:
            if (date_length(record.bytes) == 0 && !is_text(record.bytes)) {
                record.fault = "no record";
            }
    }
}

std::optional<int64_t> time_of(const LogRecord& record) {
    if (record.form == LogForm::kXML) return time_of_xml(record.bytes.substr(record.tag));
    constexpr size_t kBeforeDate = 2;  // in a trace record
    const bool is_trace = record.form == LogForm::kTrace;
    const std::string_view text = record.bytes.substr(0, 2 * kTellingBytes);
    return time_of_date(is_trace ? text.substr(std::min(kBeforeDate, text.size())) : text);
}

void LogFields::clear() {
    for (std::string* const text :
         {&date, &host, &process, &thread, &file, &function, &line, &message_id, &message, &product,
          &component, &product_instance, &server_format, &correlation_id, &client, &catalog}) {
        text->clear();
    }
    is_message = false;
    attributes.clear();
    parameters.clear();
    set = key = 0;
}

void parse(const LogRecord& record, LogFields& fields) {
    fields.clear();
    if (!record.fault.empty()) {
        fields.message = without_line_end(record.bytes);
        return;
    }
    switch (record.form) {
        case LogForm::kSummary:
            parse_summary(record.bytes, fields);
            break;
        case LogForm::kTrace:
            parse_trace(record.bytes, fields);
            break;
        case LogForm::kXML:
            if (record.products != nullptr) set_products(*record.products, fields);
            parse_xml(record.bytes.substr(record.tag), fields);
    }
}

}  // namespace vel::tool
