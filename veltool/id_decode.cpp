#include <algorithm>
#include <iterator>

#include "veltool/id.h"
#include "veltool/log_text.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

// By the highest bits of byte 8.
struct VariantRow {
    uint8_t mask;
    uint8_t bits;
    const char* name;
};
constexpr VariantRow kVariants[] = {
    {0x80, 0x00, "NCS"},
    {0xC0, 0x80, "RFC 4122"},
    {0xE0, 0xC0, "Microsoft"},
    {0xE0, 0xE0, "reserved"},
};
constexpr const VariantRow& kRfc4122 = kVariants[1];

constexpr const char* kMadeOf[] = {
    "",
    "time and node",
    "time, node and a local number",
    "a name, by MD5",
    "random numbers",
    "a name, by SHA-1",
    "time and node",
    "time and random numbers",
    "",
};

uint64_t number_at(const Guid& guid, size_t from, size_t count) {
    uint64_t number = 0;
    for (size_t i = from; i < from + count; ++i) number = number << 8 | guid[i];
    return number;
}

// The date of a count of 100 ns since 15 October 1582.
std::string date_of(uint64_t count) {
    constexpr int64_t kFrom1582To1970 = 122'192'928'000'000'000, kMillisecond = 10'000;
    const int64_t since_1970 = static_cast<int64_t>(count) - kFrom1582To1970;
    const int64_t rest = (since_1970 % kMillisecond + kMillisecond) % kMillisecond;
    std::string date = utc_date((since_1970 - rest) / kMillisecond);
    return date.insert(date.size() - 1, formatted("%04d", static_cast<int>(rest)));
}

NodeKind kind_of(const Node& node) {
    constexpr uint8_t kMulticast = 0x01, kLocallyAdministered = 0x02;
    constexpr uint8_t kIpv4 = 2;  // the number of the address family, twice
    if (node[0] == kIpv4 && node[1] == kIpv4) return NodeKind::kIpAddress;
    if ((node[0] & kMulticast) != 0) return NodeKind::kRandom;
    if ((node[0] & kLocallyAdministered) != 0) return NodeKind::kLocal;
    return NodeKind::kCard;
}

}  // namespace

Decoded decode_guid(const Guid& guid) {
    constexpr size_t kTimeLow = 0, kTimeMid = 4, kTimeHigh = 6, kClockSequence = 8;
    constexpr uint64_t kTimeHighBits = 0x0FFF, kClockSequenceBits = 0x3FFF;
    constexpr int kTimeAndNode = 1;
    const uint8_t variant = guid[kClockSequence];
    const auto row = std::ranges::find_if(kVariants, [variant](const VariantRow& each) {
        return (variant & each.mask) == each.bits;
    });
    Decoded decoded;
    decoded.variant = row->name;
    if (row != &kRfc4122) return decoded;
    decoded.version = guid[kTimeHigh] >> 4;
    const auto known = static_cast<size_t>(decoded.version);
    decoded.made_of = known < std::size(kMadeOf) ? kMadeOf[known] : "";
    if (decoded.version != kTimeAndNode) return decoded;
    decoded.time = date_of((number_at(guid, kTimeHigh, 2) & kTimeHighBits) << 48 |
                           number_at(guid, kTimeMid, 2) << 32 | number_at(guid, kTimeLow, 4));
    decoded.clock_sequence =
        static_cast<int>(number_at(guid, kClockSequence, 2) & kClockSequenceBits);
    const Node node = node_of(guid);
    decoded.node = node_text(node);
    decoded.node_kind = kind_of(node);
    return decoded;
}

std::string phrase_of(NodeKind kind, const Node& node) {
    switch (kind) {
        case NodeKind::kNone:
            break;
        case NodeKind::kIpAddress:
            return formatted("IPv4 address %d.%d.%d.%d", node[2], node[3], node[4], node[5]);
        case NodeKind::kRandom:
            return "random number";
        case NodeKind::kLocal:
            return "locally administered address";
        case NodeKind::kCard:
            return "address of a network card";
    }
    return "";
}

}  // namespace vel::tool
