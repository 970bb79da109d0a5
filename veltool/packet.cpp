#include "veltool/packet.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "log/hvn_packet.h"
#include "log/pmx_types.h"
#include "veltool/utf8.h"

namespace vel::tool {

namespace {

// ---- Reading ----

// The fields of a packet from its front. Behind the first one that is not all there, all are empty.
class Fields {
  public:
    explicit Fields(std::string_view bytes) : bytes_(bytes) {}

    uint32_t number() {
        const uint8_t* const field = take(sizeof(uint32_t));
        return field == nullptr ? 0 : log::pmxReadInt(field, 0);
    }
    int64_t time() {
        const uint8_t* const field = take(sizeof(int64_t));
        return field == nullptr ? 0 : log::pmxReadLong(field, 0);
    }
    std::string text() {
        const uint32_t length = number();
        const uint8_t* const field = take(length);
        return field == nullptr ? "" : std::string(field, field + length);
    }
    bool are_whole() const { return are_whole_; }
    bool are_at_end() const { return are_whole_ && at_ == bytes_.size(); }

  private:
    const uint8_t* take(size_t length) {
        are_whole_ = are_whole_ && length <= bytes_.size() - at_;
        if (!are_whole_) return nullptr;
        at_ += length;
        return reinterpret_cast<const uint8_t*>(bytes_.data()) + at_ - length;
    }

    std::string_view bytes_;
    size_t at_ = 0;
    bool are_whole_ = true;
};

// ---- Texts ----

constexpr char32_t kReplacement = 0xFFFD;

// What begins a text: a character, or a byte that begins none.
struct Piece {
    std::string_view bytes;
    char32_t value;
};

Piece first_piece(std::string_view text) {
    const size_t length = utf8_length(text);
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    if (length == 0) return {text.substr(0, 1), kReplacement};
    if (length == 1) return {text.substr(0, 1), byte(0)};
    constexpr unsigned kPayloadBits = 6, kPayload = 0x3F;
    char32_t value = byte(0) & (0x7FU >> length);
    for (size_t i = 1; i < length; ++i) value = value << kPayloadBits | (byte(i) & kPayload);
    return {text.substr(0, length), value};
}

// Control characters, separators of lines, and what turns the direction of writing round.
bool steers(char32_t value) {
    struct Range {
        char32_t first, last;
    };
    constexpr Range kSteering[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x61C, 0x61C},
                                   {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
    return std::ranges::any_of(
        kSteering, [&](Range range) { return value >= range.first && value <= range.last; });
}

template <class... Arguments>
std::string format(const char* pattern, Arguments... arguments) {
    std::array<char, 32> text{};
    const int length = snprintf(text.data(), text.size(), pattern, arguments...);
    return {text.data(), static_cast<size_t>(length)};
}

std::string shown(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const auto [bytes, value] = first_piece(text);
        const bool is_byte = bytes.size() == 1 && value == kReplacement;
        if (value == '\n') {
            result += "\\n";
        } else if (is_byte || steers(value)) {
            for (const char byte : bytes)
                result +=
                    format("\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        } else {
            result += bytes;
        }
        text.remove_prefix(bytes.size());
    }
    return result;
}

std::string quoted(std::string_view text) {
    std::string result = "\"";
    while (!text.empty()) {
        const auto [bytes, value] = first_piece(text);
        if (value == '"' || value == '\\') {
            result.append("\\").append(bytes);
        } else if (value == kReplacement || steers(value)) {
            result += format("\\u%04x", static_cast<unsigned>(value));
        } else {
            result += bytes;
        }
        text.remove_prefix(bytes.size());
    }
    return result + '"';
}

// ---- Levels and dates ----

struct LevelName {
    int32_t level;
    const char* name;
};
constexpr LevelName kLevelNames[] = {
    {PMX_FATAL, "FATAL"},         {PMX_ERROR, "ERROR"},         {PMX_WARN, "WARN"},
    {PMX_INFO, "INFO"},           {PMX_DEBUG_MIN, "DEBUG_MIN"}, {PMX_DEBUG_MID, "DEBUG_MID"},
    {PMX_DEBUG_MAX, "DEBUG_MAX"},
};

std::string level_name(int32_t level) {
    const auto row = std::ranges::find(kLevelNames, level, &LevelName::level);
    return row == std::end(kLevelNames) ? std::to_string(level) : row->name;
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
    const long year = kFirstYear + parts.tm_year;
    return format("%04ld-%02d-%02d", year, parts.tm_mon + 1, parts.tm_mday) + separator +
           format("%02d:%02d:%02d.%03d", parts.tm_hour, parts.tm_min, parts.tm_sec,
                  static_cast<int>(millis));
}

std::string local_date(int64_t time) {
    TimeParts parts{};
    const std::string date = date_text(time, ' ', localtime_r, parts);
    constexpr long kMinute = 60;
    const long minutes = parts.tm_gmtoff / kMinute, size = std::abs(minutes);
    return date + (minutes < 0 ? '-' : '+') + format("%02ld:%02ld", size / kMinute, size % kMinute);
}

std::string utc_date(int64_t time) {
    TimeParts parts{};
    return date_text(time, 'T', gmtime_r, parts) + 'Z';
}

}  // namespace

std::optional<Packet> parse_packet(std::string_view bytes) {
    constexpr uint32_t kVersion = 1;
    Fields fields(bytes);
    Packet packet;
    fields.number();  // its length, by which the bytes were found
    const uint32_t version = fields.number();
    packet.level = static_cast<int32_t>(fields.number());
    packet.logger = fields.text();
    packet.time = fields.time();
    packet.message = fields.text();
    packet.function = fields.text();
    packet.file = fields.text();
    if (!packet.file.empty()) packet.line = fields.number();
    // What another version has behind these fields is not known here.
    const bool is_whole = version == kVersion ? fields.are_at_end() : fields.are_whole();
    return is_whole ? std::optional(std::move(packet)) : std::nullopt;
}

std::string packet_line(const Packet& packet) {
    constexpr int kLevelWidth = 9;
    std::string place = shown(packet.function);
    if (!packet.file.empty()) {
        if (!place.empty()) place += ' ';
        place += shown(packet.file) + ':' + std::to_string(packet.line);
    }
    return local_date(packet.time) + ' ' +
           format("%-*s", kLevelWidth, level_name(packet.level).c_str()) + ' ' +
           shown(packet.logger) + ": " + shown(packet.message) +
           (place.empty() ? "" : " [" + place + ']') + '\n';
}

std::string packet_json(const Packet& packet) {
    return "{\"time\":" + quoted(utc_date(packet.time)) +
           ",\"millis\":" + std::to_string(packet.time) +
           ",\"level\":" + std::to_string(packet.level) +
           ",\"levelName\":" + quoted(level_name(packet.level)) +
           ",\"logger\":" + quoted(packet.logger) + ",\"message\":" + quoted(packet.message) +
           ",\"function\":" + quoted(packet.function) + ",\"file\":" + quoted(packet.file) +
           ",\"line\":" + std::to_string(packet.line) + "}\n";
}

}  // namespace vel::tool
