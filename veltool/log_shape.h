// How the lines look that the formatters of the toolkit write.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vel::tool {

inline constexpr char kTraceMark = 0x1E;

// What a line begins: a record, or nothing that is known.
enum class LineStart : uint8_t { kOther, kZeros, kTrace, kDate, kTag, kProduct };

// So many bytes of a line tell, or all that there are.
inline constexpr size_t kTellingBytes = 32;
LineStart start_of(std::string_view line);

// Whether the first byte tells that a line begins no record.
inline bool is_plain_start(char first) {
    return first != kTraceMark && first != '<' && first != ' ' && first != '\0' &&
           (first < '0' || first > '9');
}

inline constexpr std::string_view kMessageTag = "<Message Id=\"", kMessageEnd = "</Message>\n";
inline constexpr std::string_view kTraceTag = "<Trace Level=\"", kBareTraceTag = "<Trace>\n";
inline constexpr std::string_view kTraceEnd = "</Trace>\n";
inline constexpr std::string_view kTimeBegin = " <Time Millis=\"";
inline constexpr std::string_view kTextBegin = " <LogText><![CDATA[", kTextEnd = "]]></LogText>\n";
inline constexpr std::string_view kTranslationBegin = " <TranslationInfo ";
inline constexpr std::string_view kTranslationEnd = "</TranslationInfo>\n";

// The length of the date that a text begins with: "2024-01-02 14:03:09", with milliseconds and a
// zone or without; 0: there is none.
size_t date_length(std::string_view text);

// The time of such a date in milliseconds since 1970; of one without a zone it is the local one.
std::optional<int64_t> time_of_date(std::string_view date);

// The fields of a trace record, without the separators between them.
struct TraceParts {
    std::string_view date, level, host, process, source, message_id;
    std::string_view message;  // with the line end
};

// False: these are not all fields of a trace record; what is found is set.
bool split_trace(std::string_view record, TraceParts& parts);

// The level of a trace record; 0: none that has a word. Empty: these are not all fields of one.
std::optional<int32_t> level_of_trace(std::string_view record);

// The level that the tag of an XML record tells; 0: none.
int32_t level_of_tag(std::string_view tag_line);

}  // namespace vel::tool
