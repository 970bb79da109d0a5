// The channel to an application server: packets in a ring in shared memory.
#pragma once

#include <cstdint>

#include "runtime/cx_shmem.h"

namespace vel::log {

// What sending answers, besides the states of shared memory.
enum : int32_t {
    kSent = 0,
    kNotWritable = -1,  // no channel, a packet that is too long, or offsets that cannot be
    kNoMemory = -20,
    kTimedOut = -30,
};

// So many bytes of the ring stay free, so that a full one is told from an empty one.
constexpr uint32_t kKeptFree = 1024;

// A text that need not end with a zero; null is as an empty one.
struct PacketText {
    const char* bytes = nullptr;
    uint32_t length = 0;
};

struct PacketFields {
    uint32_t version = 1;
    int32_t level = 0;
    PacketText logger{};
    int64_t time = 0;  // milliseconds since 1970
    PacketText message{};
    PacketText sequence{};  // behind the message, whatever is cut off of that
    PacketText function{};
    PacketText file{};
    uint32_t line = 0;
};

int32_t pmxIPCOpen(const char* name, CxShMem* channel);
int32_t pmxIPCClose(CxShMem* channel);

// The bytes of the longest packet that the ring takes; 0: none, or no channel.
uint32_t pmxIPCGetSize(const CxShMem* channel);

// Puts the bytes into the ring, waiting half a second at most for room.
int32_t pmxIPCWriteMessage(CxShMem* channel, const uint8_t* bytes, uint32_t length);

// Makes a packet, with a message that is cut to what the ring takes, and puts it into the ring.
int32_t pmxSendMessage(CxShMem* channel, const PacketFields& fields);

// Numbers of 32 and 64 bits, the highest byte first.
void pmxCopyIntWithSwap(uint8_t* out, uint32_t value);
uint32_t pmxReadInt(const uint8_t* bytes, uint32_t offset);
int64_t pmxReadLong(const uint8_t* bytes, uint32_t offset);

// Replaces a character from one place to another, both included.
void pmxReplaceString(char* text, int32_t from, int32_t to, char old_character, char new_character);

}  // namespace vel::log
