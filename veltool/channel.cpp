#include "veltool/channel.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "log/hvn_packet.h"

namespace vel::tool {

namespace {

std::string reason(int error, const char* without) {
    return error == 0 ? without : strerror(error);
}

// Appends bytes of the ring from an offset in it, round its end.
void append_bytes(const CxShMem& segment, uint64_t offset, size_t count, std::string& bytes) {
    const char* const data = static_cast<const char*>(CxShMemGetAddress(&segment));
    const size_t size = CxShMemGetSize(&segment), from = offset % size;
    const size_t before_end = std::min(count, size - from);
    bytes.append(data + from, before_end).append(data, count - before_end);
}

}  // namespace

std::string channel_name(const CommandLine& line) {
    constexpr size_t kMostBytes = 255;
    if (line.operands().size() != 1) throw UsageError("a channel's verb takes one name");
    const std::string& name = line.operands()[0];
    if (name.empty() || name.size() > kMostBytes || name == "." || name == ".." ||
        name.find('/') != std::string::npos) {
        throw UsageError("no name of a file in /tmp: " + name);
    }
    return name;
}

Segment open_channel(const std::string& name) {
    Segment segment(new CxShMem{});
    errno = 0;
    const int32_t status = CxShMemOpen(name.c_str(), segment.get());
    const int error = errno;
    if (status == 0) return segment;
    if (error == ENOENT) throw Failure(name + ": there is no such channel");
    throw Failure(name + ": " +
                  reason(error, status == CX_SHMEM_NO_KEY ? "its file in /tmp is no regular one"
                                                          : "it is no channel"));
}

Segment create_channel(const std::string& name, uint32_t size) {
    Segment segment(new CxShMem{});
    errno = 0;
    if (CxShMemCreate(name.c_str(), size, segment.get()) == 0) return segment;
    const int error = errno == EEXIST ? 0 : errno;  // as a link does, which is not followed
    throw Failure(name + ": cannot be created: " +
                  reason(error, "its file in /tmp is no regular one that can be read"));
}

void remove_channel(Segment segment, const std::string& name) {
    if (CxShMemDestroy(segment.get()) != 0)
        throw Failure(name + ": cannot be removed: " + strerror(errno));
}

bool is_in_place(const CxShMem& segment, const std::string& name) {
    CxShMem found{};
    if (CxShMemOpen(name.c_str(), &found) != 0) return false;
    CxShMemClose(&found);
    return found.memory == segment.memory;
}

bool RingState::is_valid() const {
    const auto lies_within = [&](int64_t offset) { return offset >= 0 && offset < size; };
    return lies_within(read) && lies_within(write);
}

uint32_t RingState::waiting() const {
    const int64_t distance = static_cast<int64_t>(write) - read;
    return static_cast<uint32_t>(distance < 0 ? distance + size : distance);
}

RingState ring_state(const CxShMem& segment) {
    // The write offset last: what comes later is not missed.
    const int32_t read = CxShMemGetReadOffset(&segment);
    return {CxShMemGetSize(&segment), read, CxShMemGetWriteOffset(&segment)};
}

Find look(const CxShMem& segment) {
    const RingState state = ring_state(segment);
    if (!state.is_valid()) {
        throw Failure("the offsets " + std::to_string(state.read) + " and " +
                      std::to_string(state.write) + " are not within the " +
                      std::to_string(state.size) + " bytes of data");
    }
    const uint32_t waiting = state.waiting();
    Find find{Find::kNoPacket, state.read, waiting};
    if (waiting == 0) find.kind = Find::kNothing;
    if (waiting < kLeastPacket) return find;
    // Each byte is read once: what is checked is what is used, whoever goes on writing.
    std::string bytes;
    append_bytes(segment, static_cast<uint64_t>(state.read), sizeof(uint32_t), bytes);
    const uint32_t length = log::pmxReadInt(reinterpret_cast<const uint8_t*>(bytes.data()), 0);
    if (length < kLeastPacket || length > waiting) return find;
    find.length = length;
    append_bytes(segment, static_cast<uint64_t>(state.read) + bytes.size(), length - bytes.size(),
                 bytes);
    std::optional<Packet> packet = parse_packet(bytes);
    find.kind = packet ? Find::kPacket : Find::kBrokenPacket;
    if (packet) find.packet = std::move(*packet);
    return find;
}

void pass(CxShMem& segment, const Find& find) {
    if (CxShMemGetReadOffset(&segment) != find.offset)
        throw Failure("another process has moved the read offset, or has made the channel anew");
    const uint64_t next = (static_cast<uint64_t>(find.offset) + find.length) % segment.size;
    CxShMemSetReadOffset(&segment, static_cast<int32_t>(next));
}

}  // namespace vel::tool
