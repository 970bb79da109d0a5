#include "log/record.h"
#include "veltool/log_output.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

void append_attribute(std::string& to, std::string_view name, std::string_view value) {
    append_xml(to.append(" ").append(name).append("=\""), value);
    to += '"';
}

void append_element(std::string& to, std::string_view name, std::string_view text) {
    append_xml(to.append("<").append(name).append(">"), text);
    to.append("</").append(name).append(">");
}

struct ElementName {
    std::string_view name;
    std::string LogFields::*text;
};
constexpr ElementName kBeforeText[] = {{"ProductId", &LogFields::product},
                                       {"Component", &LogFields::component},
                                       {"ProductInstance", &LogFields::product_instance}};
constexpr ElementName kAtEnd[] = {{"Thread", &LogFields::thread},
                                  {"Process", &LogFields::process},
                                  {"CorrelationId", &LogFields::correlation_id},
                                  {"Principal", &LogFields::client}};

template <size_t kCount>
void append_elements(std::string& to, const LogFields& fields, const ElementName (&rows)[kCount]) {
    for (const ElementName& row : rows) {
        if ((fields.*row.text).empty()) continue;
        to += ' ';
        append_element(to, row.name, fields.*row.text);
        to += '\n';
    }
}

void append_time(std::string& to, LogEntry& entry) {
    const std::optional<int64_t> time = entry.time();
    const std::string& date = entry.fields().date;
    if (!time && date.empty()) return;
    to += " <Time";
    if (time) append_attribute(to, "Millis", std::to_string(*time));
    append_xml(to += '>', date);
    to += "</Time>\n";
}

void append_server(std::string& to, const LogFields& fields) {
    if (fields.host.empty()) return;
    to += " <Server";
    if (!fields.server_format.empty()) append_attribute(to, "Format", fields.server_format);
    append_xml(to += '>', fields.host);
    to += "</Server>\n";
}

void append_properties(std::string& to, const LogFields& fields) {
    if (fields.attributes.empty()) return;
    to += " <LogAttribs>";
    for (const auto& [name, value] : fields.attributes) {
        append_element(to, "Key", name);
        append_element(to, "Value", value);
    }
    to += "</LogAttribs>\n";
}

void append_source(std::string& to, const LogFields& fields) {
    if (fields.file.empty() && fields.function.empty()) return;
    to += " <Source";
    append_attribute(to, "FileName", fields.file);
    if (!fields.function.empty()) append_attribute(to, "Method", fields.function);
    if (!fields.line.empty()) append_attribute(to, "Line", fields.line);
    to += "/>\n";
}

void append_translation(std::string& to, const LogFields& fields) {
    if (fields.catalog.empty()) return;
    to += " <TranslationInfo Type=\"XPG4\"";
    append_attribute(to, "Catalog", fields.catalog);
    append_attribute(to, "MsgKey", std::to_string(fields.key));
    append_attribute(to, "SetId", std::to_string(fields.set));
    to += '>';
    for (const std::string& parameter : fields.parameters) append_element(to, "Param", parameter);
    to += "</TranslationInfo>\n";
}

void append_malformed(std::string& to, const LogRecord& record) {
    to += "<Malformed";
    append_attribute(to, "Reason", record.fault);
    if (record.file != nullptr) append_attribute(to, "File", *record.file);
    append_attribute(to, "Line", std::to_string(record.line));
    append_xml(to += '>', record.bytes);
    to += "</Malformed>\n";
}

// A record of another form is a message when it has an identifier: a trace has no place for it.
void append_record(std::string& to, LogEntry& entry) {
    const LogFields& fields = entry.fields();
    const bool is_message =
        fields.is_message || (entry.record().form != LogForm::kXML && !fields.message_id.empty());
    const std::string_view tag = is_message ? "Message" : "Trace";
    to.append("<").append(tag);
    if (is_message)
        append_attribute(to, "Id", fields.message_id.empty() ? "None" : fields.message_id);
    if (const int32_t level = entry.level(); level != 0)
        append_attribute(to, is_message ? "Severity" : "Level", log::level_word(level));
    to += ">\n";
    append_time(to, entry);
    append_server(to, fields);
    append_elements(to, fields, kBeforeText);
    to += ' ';
    append_element(to, "LogText", fields.message);
    to += '\n';
    append_properties(to, fields);
    append_source(to, fields);
    append_translation(to, fields);
    append_elements(to, fields, kAtEnd);
    to.append("</").append(tag).append(">\n");
}

class XmlOutput : public LogOutput {
  public:
    void begin(std::string& to) const override {
        to += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Log>\n";
    }
    void append(std::string& to, LogEntry& entry) const override {
        if (entry.is_malformed()) {
            append_malformed(to, entry.record());
        } else {
            append_record(to, entry);
        }
    }
    void end(std::string& to) const override { to += "</Log>\n"; }
};

}  // namespace

std::unique_ptr<LogOutput> make_xml_output() { return std::make_unique<XmlOutput>(); }

}  // namespace vel::tool
