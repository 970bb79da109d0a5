// The clock as the generator reads it, in the 100 ns intervals of a GUID. Inline: every GUID made
// reads it, under a lock that others wait for.
#pragma once

#include <sys/time.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace vel::guid {

// 100 ns intervals since 15 October 1582. The halves are added up in whole words: `lo` may hold
// more than 32 bits, and does while `hi` has the carry already.
struct Timestamp {
    uint64_t lo = 0;
    uint64_t hi = 0;
    friend constexpr bool operator==(const Timestamp&, const Timestamp&) = default;
};

inline constexpr Timestamp kUnixEpoch{.lo = 0x13814000, .hi = 0x01B21DD2};

// The whole product of two 32-bit numbers, in halves.
constexpr void uuid__uemul(uint32_t u, uint32_t v, Timestamp* product) {
    const uint64_t whole = uint64_t{u} * v;
    *product = {.lo = whole & 0xFFFFFFFF, .hi = whole >> 32};
}

// Adds the halves. The sum in `lo` is not cut to 32 bits, so the carry is told by bit 31 alone:
// both addends have it, or one has it and the sum has lost it.
constexpr Timestamp add(Timestamp a, Timestamp b) {
    const uint64_t lo = a.lo + b.lo;
    const uint64_t carry = (a.lo & b.lo) | ((a.lo ^ b.lo) & ~lo);
    return {.lo = lo, .hi = a.hi + b.hi + (carry >> 31 & 1)};
}

// A clock that cannot be read ends the process.
inline void uuid__get_os_time(Timestamp* timestamp) {
    timeval now;
    if (gettimeofday(&now, nullptr) != 0) {
        perror("uuid__get_os_time");
        exit(-1);
    }
    Timestamp seconds, micros;
    uuid__uemul(static_cast<uint32_t>(now.tv_sec), 10'000'000, &seconds);
    uuid__uemul(static_cast<uint32_t>(now.tv_usec), 10, &micros);
    *timestamp = add(add(seconds, micros), kUnixEpoch);
}

}  // namespace vel::guid
