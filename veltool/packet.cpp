#include "veltool/packet.h"

#include <utility>

#include "log/hvn_packet.h"
#include "veltool/log_text.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

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
           formatted("%-*s", kLevelWidth, level_name(packet.level).c_str()) + ' ' +
           shown(packet.logger) + ": " + shown(packet.message) +
           (place.empty() ? "" : " [" + place + ']') + '\n';
}

std::string packet_json(const Packet& packet) {
    return "{\"time\":" + json_text(utc_date(packet.time)) +
           ",\"millis\":" + std::to_string(packet.time) +
           ",\"level\":" + std::to_string(packet.level) +
           ",\"levelName\":" + json_text(level_name(packet.level)) +
           ",\"logger\":" + json_text(packet.logger) + ",\"message\":" + json_text(packet.message) +
           ",\"function\":" + json_text(packet.function) + ",\"file\":" + json_text(packet.file) +
           ",\"line\":" + std::to_string(packet.line) + "}\n";
}

}  // namespace vel::tool
