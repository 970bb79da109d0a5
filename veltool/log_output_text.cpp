#include <algorithm>
#include <iterator>

#include "log/pmx_types.h"
#include "veltool/log_output.h"
#include "veltool/log_shape.h"
#include "veltool/log_text.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

// From which level on a record has a colour; of the rows the first one that fits counts.
struct Colour {
    int32_t level;
    std::string_view begin;
};
constexpr Colour kColours[] = {
    {PMX_ERROR, "\033[31m"},  // red
    {PMX_WARN, "\033[33m"},   // yellow
    {PMX_INFO, "\033[32m"},   // green
    {1, "\033[2m"},           // dim
    {0, ""},
};
constexpr std::string_view kMalformedColour = "\033[35m";  // magenta
constexpr std::string_view kColourEnd = "\033[0m";

constexpr std::string_view kIndent = "    ";

// The lines of a text, each but the first one indented, without the line end behind the last one.
void append_lines(std::string& to, std::string_view text) {
    for (;;) {
        const size_t end = std::min(text.find('\n'), text.size());
        append_shown(to, text.substr(0, end));
        if (end == text.size()) return;
        text.remove_prefix(end + 1);
        to.append("\n").append(kIndent);
    }
}

void append_field(std::string& to, const std::string& text) {
    if (!text.empty()) append_shown(to += ' ', text);
}

class TextOutput : public LogOutput {
  public:
    explicit TextOutput(bool is_coloured) : is_coloured_(is_coloured) {}

    void append(std::string& to, LogEntry& entry) const override {
        if (entry.is_malformed()) {
            append_malformed(to, entry.record());
        } else {
            append_date(to, entry);
            append_level(to, entry.level());
            append_fields(to, entry.fields());
        }
        to += '\n';
    }

  private:
    void append_coloured(std::string& to, std::string_view text, std::string_view colour) const {
        const bool has_colour = is_coloured_ && !colour.empty();
        if (has_colour) to += colour;
        to += text;
        if (has_colour) to += kColourEnd;
    }

    void append_malformed(std::string& to, const LogRecord& record) const {
        append_coloured(to, "malformed", kMalformedColour);
        append_shown(to += " (", record.fault);
        to += ") ";
        if (record.file != nullptr) append_shown(to, *record.file);
        to.append(":").append(std::to_string(record.line)).append("\n").append(kIndent);
        std::string_view text = record.bytes;
        if (text.ends_with('\n')) text.remove_suffix(1);
        append_lines(to, text);
    }

    // One in a format of its own gives way to the time, when the record tells that, too.
    static void append_date(std::string& to, LogEntry& entry) {
        const std::string& date = entry.fields().date;
        const bool is_usual = date_length(date) > 0;
        if (const auto time = is_usual ? std::nullopt : entry.time()) {
            to += local_date(*time);
        } else {
            append_shown(to, date.empty() ? "-" : date);
        }
        to += ' ';
    }

    void append_level(std::string& to, int32_t level) const {
        constexpr size_t kWidth = 9;  // of the longest name
        const std::string name = level == 0 ? "-" : level_name(level);
        const auto* colour =
            std::ranges::find_if(kColours, [&](const Colour& row) { return level >= row.level; });
        append_coloured(to, name, colour == std::end(kColours) ? "" : colour->begin);
        if (name.size() < kWidth) to.append(kWidth - name.size(), ' ');
    }

    static void append_fields(std::string& to, const LogFields& fields) {
        append_field(to, fields.host);
        if (!fields.process.empty()) append_shown(to += " p", fields.process);
        if (!fields.thread.empty())
            append_shown(to += fields.process.empty() ? " t" : ":t", fields.thread);
        // Most texts begin with the identifier themselves; those of summaries always have it.
        if (fields.message.find(fields.message_id) == std::string::npos)
            append_field(to, fields.message_id);
        to += ' ';
        append_lines(to, fields.message);
        append_source(to, fields);
    }

    static void append_source(std::string& to, const LogFields& fields) {
        if (fields.file.empty() && fields.function.empty()) return;
        append_shown(to += " [", fields.file);
        if (!fields.file.empty() && !fields.function.empty()) to += ':';
        append_shown(to, fields.function);
        if (!fields.line.empty()) {
            append_shown(to += '(', fields.line);
            to += ')';
        }
        to += ']';
    }

    bool is_coloured_;
};

}  // namespace

std::unique_ptr<LogOutput> make_text_output(bool is_coloured) {
    return std::make_unique<TextOutput>(is_coloured);
}

}  // namespace vel::tool
