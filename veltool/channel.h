// The channel from which an application server takes the toolkit's messages: a segment of shared
// memory, and the reading side of the ring of packets in it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "runtime/cx_shmem.h"
#include "veltool/packet.h"
#include "veltool/tool.h"

namespace vel::tool {

// ---- Segments ----

struct CloseSegment {
    void operator()(CxShMem* segment) const {
        CxShMemClose(segment);
        delete segment;
    }
};
using Segment = std::unique_ptr<CxShMem, CloseSegment>;

// The one operand of a channel's verb. Throws UsageError.
std::string channel_name(const CommandLine& line);

// Each throws Failure. Creating takes over a segment that is there and large enough.
Segment open_channel(const std::string& name);
Segment create_channel(const std::string& name, uint32_t size);
void remove_channel(Segment segment, const std::string& name);

// Whether a segment is the one that others find by the name.
bool is_in_place(const CxShMem& segment, const std::string& name);

// ---- The ring ----

// A segment's size, and its offsets, which anybody may have set to anything.
struct RingState {
    uint32_t size;
    int32_t read;
    int32_t write;

    bool is_valid() const;     // both lie in the data
    uint32_t waiting() const;  // the bytes between them, when they do
};
RingState ring_state(const CxShMem& segment);

// What waits at the read offset.
struct Find {
    enum Kind {
        kNothing,
        kPacket,
        kBrokenPacket,  // of a length that can be, but with fields that are not of it
        kNoPacket,      // all that waits: there is no telling where the next packet begins
    };
    Kind kind = kNothing;
    int32_t offset = 0;
    uint32_t length = 0;
    Packet packet{};
};

// Nothing is locked: a writer keeps the lock while it waits for room. Throws Failure for offsets
// that are not valid.
Find look(const CxShMem& segment);

// Gives the place of what was found back to the writers. Throws Failure when somebody else has
// moved the offset since.
void pass(CxShMem& segment, const Find& find);

}  // namespace vel::tool
