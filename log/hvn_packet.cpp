// The channel to an application server: packets, and the ring that they are written into.
#include "log/hvn_packet.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "runtime/owned.h"

namespace vel::log {
namespace {

constexpr char kCutMark[] = " (truncated)...";
constexpr uint32_t kCutMarkLength = sizeof kCutMark - 1;

// The numbers of a packet without a file, and the one more of a packet with one.
constexpr uint32_t kNumbersLength = 36;
constexpr uint32_t kLineLength = 4;

// How a message is put into a packet.
struct Cut {
    uint32_t kept = 0;  // bytes of its text
    bool marked = false;
};

// Besides a message, its sequence and the mark, this leaves 92 bytes for the names. Where there is
// not even so much the room wraps round to a huge one: the message fits as it is, or is refused.
Cut cut_of(const CxShMem* channel, const PacketFields& fields) {
    constexpr uint32_t kReserved = 143;
    const uint32_t room = pmxIPCGetSize(channel) - fields.sequence.length - kReserved;
    if (room >= fields.message.length) return {fields.message.length, false};
    return {room, true};
}

uint64_t message_length(const PacketFields& fields, const Cut& cut) {
    return uint64_t{cut.kept} + (cut.marked ? kCutMarkLength : 0) + fields.sequence.length;
}

uint64_t packet_length(const PacketFields& fields, const Cut& cut) {
    const uint64_t file = fields.file.length == 0 ? 0 : uint64_t{fields.file.length} + kLineLength;
    return kNumbersLength + fields.logger.length + message_length(fields, cut) +
           fields.function.length + file;
}

// Puts the fields of a packet one behind the other.
class Filler {
  public:
    explicit Filler(uint8_t* packet) : at_(packet) {}

    void number(uint32_t value) {
        pmxCopyIntWithSwap(at_, value);
        at_ += sizeof value;
    }
    char* bytes(const char* from, uint32_t length) {
        char* const place = reinterpret_cast<char*>(at_);
        std::copy_n(from, length, place);
        at_ += length;
        return place;
    }
    void text(const PacketText& text) {
        number(text.length);
        bytes(text.bytes, text.length);
    }

  private:
    uint8_t* at_;
};

// In an identifier between two "#" the server does not take "_". The second one may be behind what
// is kept of the message.
void replace_in_identifier(char* kept_text, uint32_t kept, const PacketText& message) {
    if (message.length < 2 || *message.bytes != '#') return;
    const void* const end = memchr(message.bytes + 1, '#', message.length - 1);
    if (end == nullptr) return;
    const int64_t last = static_cast<const char*>(end) - message.bytes;
    const int64_t to = std::min<int64_t>({last, int64_t{kept} - 1, INT32_MAX});
    pmxReplaceString(kept_text, 0, static_cast<int32_t>(to), '_', '-');
}

void fill_message(Filler& filler, const PacketFields& fields, const Cut& cut) {
    filler.number(static_cast<uint32_t>(message_length(fields, cut)));
    char* const text = filler.bytes(fields.message.bytes, cut.kept);
    replace_in_identifier(text, cut.kept, fields.message);
    if (cut.marked) filler.bytes(kCutMark, kCutMarkLength);
    filler.bytes(fields.sequence.bytes, fields.sequence.length);
}

void fill(uint8_t* packet, uint32_t length, const PacketFields& fields, const Cut& cut) {
    constexpr int kHalf = 32;
    const auto time = static_cast<uint64_t>(fields.time);
    Filler filler(packet);
    filler.number(length);
    filler.number(fields.version);
    filler.number(static_cast<uint32_t>(fields.level));
    filler.text(fields.logger);
    filler.number(static_cast<uint32_t>(time >> kHalf));
    filler.number(static_cast<uint32_t>(time));
    fill_message(filler, fields, cut);
    filler.text(fields.function);
    filler.text(fields.file);
    if (fields.file.length != 0) filler.number(fields.line);
}

// How many bytes may be written from the one place on before the other is reached.
int64_t room_between(uint32_t write, uint32_t read, uint32_t size) {
    const int64_t distance = int64_t{read} - write;
    return (write < read ? distance : distance + size) - kKeptFree;
}

// There is room for the bytes: they go around the end of the ring, if need be.
void put(CxShMem* channel, uint32_t write, const uint8_t* bytes, uint32_t length) {
    auto* const data = static_cast<uint8_t*>(channel->address);
    const uint32_t tail = channel->size - write;
    const uint32_t first = std::min(tail, length);
    std::copy_n(bytes, first, data + write);
    std::copy_n(bytes + first, length - first, data);
    const uint32_t next = length < tail ? write + length : length - tail;
    CxShMemSetWriteOffset(channel, static_cast<int32_t>(next));
}

// All of it, whatever signals come.
void wait_for_reader() {
    timespec left{.tv_sec = 0, .tv_nsec = 5'000'000};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

// The lock is held all the while: the reader moves on without it. The other side may write anything
// into the header at any time, so what was found there and looked at is what counts.
int32_t write_locked(CxShMem* channel, const uint8_t* bytes, uint32_t length) {
    constexpr int kTries = 100;
    const auto write = static_cast<uint32_t>(CxShMemGetWriteOffset(channel));
    if (write >= channel->size) return kNotWritable;
    for (int i = 0; i < kTries; ++i) {
        const auto read = static_cast<uint32_t>(CxShMemGetReadOffset(channel));
        if (read >= channel->size) return kNotWritable;
        if (length <= room_between(write, read, channel->size)) {
            put(channel, write, bytes, length);
            return kSent;
        }
        wait_for_reader();
        // A server that was started again has cleared the ring, and removed the lock.
        if (static_cast<uint32_t>(CxShMemGetWriteOffset(channel)) != write)
            return CX_SHMEM_NOT_LOCKED;
    }
    return kTimedOut;
}

}  // namespace

int32_t pmxIPCOpen(const char* name, CxShMem* channel) { return CxShMemOpen(name, channel); }

int32_t pmxIPCClose(CxShMem* channel) { return CxShMemClose(channel); }

uint32_t pmxIPCGetSize(const CxShMem* channel) {
    const bool any = CxShMemGetAddress(channel) != nullptr && channel->size > kKeptFree;
    return any ? channel->size - kKeptFree : 0;
}

int32_t pmxIPCWriteMessage(CxShMem* channel, const uint8_t* bytes, uint32_t length) {
    if (CxShMemGetAddress(channel) == nullptr) return kNotWritable;
    if (length > int64_t{channel->size} - kKeptFree) return kNotWritable;
    if (const int32_t failure = CxShMemLock(channel); failure != 0) return failure;
    const int32_t result = write_locked(channel, bytes, length);
    const bool replaced = CxShMemUnlock(channel) != 0;
    // What has been put into the ring is not sent twice, though it may have gone to nobody.
    return replaced && result == kTimedOut ? CX_SHMEM_NOT_LOCKED : result;
}

int32_t pmxSendMessage(CxShMem* channel, const PacketFields& fields) {
    constexpr size_t kUsual = 1024;  // so many bytes are on the stack
    const Cut cut = cut_of(channel, fields);
    const uint64_t total = packet_length(fields, cut);
    if (total > pmxIPCGetSize(channel)) return kNotWritable;
    const auto length = static_cast<uint32_t>(total);

    uint8_t usual[kUsual];
    runtime::Owned<uint8_t, RakMemoryFree> large;
    if (length > kUsual) {
        large.reset(static_cast<uint8_t*>(RakMemoryMalloc(length)));
        if (large == nullptr) return kNoMemory;
    }
    uint8_t* const packet = large == nullptr ? usual : large.get();
    fill(packet, length, fields, cut);
    return pmxIPCWriteMessage(channel, packet, length);
}

void pmxCopyIntWithSwap(uint8_t* out, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) *out++ = static_cast<uint8_t>(value >> shift);
}

uint32_t pmxReadInt(const uint8_t* bytes, uint32_t offset) {
    uint32_t value = 0;
    for (size_t i = 0; i < sizeof value; ++i) value = value << 8 | bytes[size_t{offset} + i];
    return value;
}

int64_t pmxReadLong(const uint8_t* bytes, uint32_t offset) {
    const uint64_t high = pmxReadInt(bytes, offset);
    return static_cast<int64_t>(high << 32 | pmxReadInt(bytes + sizeof(uint32_t), offset));
}

void pmxReplaceString(char* text, int32_t from, int32_t to, char old_character,
                      char new_character) {
    if (text == nullptr || from > to) return;
    std::replace(text + from, text + to + 1, old_character, new_character);
}

}  // namespace vel::log
