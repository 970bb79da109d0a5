// A packet of a channel as its format has it, made without the code that is tested.
#pragma once

#include <string>

#include "veltool/packet.h"

inline std::string number_bytes(uint64_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
    return bytes;
}

inline std::string packet_bytes(const vel::tool::Packet& packet) {
    const auto text = [](const std::string& of) { return number_bytes(of.size()) + of; };
    const auto time = static_cast<uint64_t>(packet.time);
    const std::string bytes = number_bytes(1) + number_bytes(static_cast<uint32_t>(packet.level)) +
                              text(packet.logger) + number_bytes(time >> 32) + number_bytes(time) +
                              text(packet.message) + text(packet.function) + text(packet.file) +
                              (packet.file.empty() ? "" : number_bytes(packet.line));
    return number_bytes(bytes.size() + 4) + bytes;
}
