// GUIDs: where they are read from, how they are written, what is in them.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "veltool/tool.h"

namespace vel::tool {

using Guid = std::array<uint8_t, 16>;  // in network byte order
using Node = std::array<uint8_t, 6>;

inline constexpr size_t kNodeOffset = 10;
Node node_of(const Guid& guid);

// ---- Where they come from ----

// The GUID in a host GUID file. Throws Failure, which tells what to do about it.
Guid read_guid_file(const std::string& path);

// A GUID in one of its forms: dotted, with "Guid:" before it or without, canonical, or as a URN.
// Throws UsageError.
Guid parse_guid(std::string_view text);

// The GUID of a name in the name space of another GUID, as guid_create_from_name makes it. Throws
// Failure for a name space whose variant the library does not take.
Guid derive_guid(const Guid& name_space, std::string_view name);

// ---- As text ----

std::string canonical_text(const Guid& guid);
std::string dotted_text(const Guid& guid);
std::string urn_text(const Guid& guid);
std::string node_text(const Node& node);

// ---- What is in one ----

enum class NodeKind { kNone, kIpAddress, kRandom, kLocal, kCard };

struct Decoded {
    std::string variant;
    int version = 0;  // 0, and the rest empty: the variant has none
    std::string made_of;
    std::string time;  // in UTC, to 100 ns; empty, as all below, unless it is made of time and node
    int clock_sequence = 0;
    std::string node;
    NodeKind node_kind = NodeKind::kNone;  // kNone: it is not made of time and node
};
Decoded decode_guid(const Guid& guid);
std::string phrase_of(NodeKind kind, const Node& node);

// Whether the node of a GUID is an address of this host.
struct Origin {
    enum Verdict { kHere, kElsewhere, kUnknown };
    Verdict verdict;
    std::string why;
};
Origin origin_of(const Guid& guid);

}  // namespace vel::tool
