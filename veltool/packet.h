// The packets in which the toolkit hands messages to an application server, and how they are shown.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vel::tool {

struct Packet {
    int32_t level = 0;
    std::string logger;
    int64_t time = 0;  // milliseconds since 1970
    std::string message;
    std::string function;  // empty: not known
    std::string file;      // likewise, and then without a line
    uint32_t line = 0;
};

// A packet with empty texts.
constexpr uint32_t kLeastPacket = 36;

// Nothing: the fields are not those of so many bytes.
std::optional<Packet> parse_packet(std::string_view bytes);

// A line of text with a local date, or a JSON object with one in UTC. The texts are taken for
// UTF-8; what could steer a terminal or end the line is shown as its code.
std::string packet_line(const Packet& packet);
std::string packet_json(const Packet& packet);

}  // namespace vel::tool
