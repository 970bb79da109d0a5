// The state of the GUID generator and what it asks the platform for.
#pragma once

#include <pthread.h>

#include <atomic>
#include <bit>
#include <cstdint>

#include "guid/clock.h"
#include "guid/guid.h"
#include "guid/vel_guid.h"

namespace vel::guid {

// Records are digested, hashed and printed by how they lie in memory.
static_assert(std::endian::native == std::endian::little);

using Status = unsigned long;  // 0, a guid_s_ code, or what the address search answered

// All process-wide state of the library. Each group stands under the mutex named beside it.
struct Generator {
    std::atomic<bool> uuid_init_done{false};

    pthread_mutex_t s_lock_true_random_init = PTHREAD_MUTEX_INITIALIZER;
    bool s_random_seeded = false;  // so that two threads that start together seed it once

    pthread_mutex_t s_lock_true_random = PTHREAD_MUTEX_INITIALIZER;
    uint64_t s_rand_m = 0;
    uint64_t s_rand_ia = 0;
    uint64_t s_rand_ib = 0;
    uint64_t s_rand_irand = 0;

    pthread_mutex_t s_lock_init = PTHREAD_MUTEX_INITIALIZER;
    bool s_clock_started = false;  // likewise for the clock state

    pthread_mutex_t s_lock_guid_create = PTHREAD_MUTEX_INITIALIZER;
    Timestamp s_time_now;
    Timestamp s_time_last;
    uint16_t s_time_adjust = 0;
    uint16_t s_clock_seq = 0;

    pthread_mutex_t s_lock_guid_get_address = PTHREAD_MUTEX_INITIALIZER;
    bool s_got_address = false;
    uint8_t s_saved_addr[6] = {};
    Status s_saved_st = 0;
};

extern Generator generator;

class MutexGuard {
  public:
    explicit MutexGuard(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
    ~MutexGuard() { pthread_mutex_unlock(&mutex_); }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;

  private:
    pthread_mutex_t& mutex_;
};

// Seeds the random numbers and starts the clock state, once in a process (a forked child is one).
void init(Status* status);

// Makes a time-based record: guid_create with the status as the answer. On a failure the record is
// left as it is.
Status create_record(guid_record& record);

Status run_init();  // init, with its status as the answer

// What every public operation begins with: 0, or why the library could not be initialised.
inline Status ensure_init() {
    return generator.uuid_init_done.load(std::memory_order_acquire) ? 0 : run_init();
}

// The next pseudo-random value. More than 14 bits may be set: users mask what they take.
uint16_t true_random();

// Answers a call: puts the status where the caller wants it, if anywhere.
inline void answer(Status* status, Status value) {
    if (status) *status = value;
}

// 0xxxxxxx, 10xxxxxx and 110xxxxx are variants that the library accepts.
constexpr bool variant_accepted(uint8_t clock_seq_hi_and_reserved) {
    return (clock_seq_hi_and_reserved & 0xE0) != 0xE0;
}

// The first eight bytes of the record in network order, as they lie in memory: the low 32 bits of
// time_low, time_mid and time_hi_and_version. The other fields are bytes already.
inline uint64_t network_order_time(const guid_record& record) {
    return __builtin_bswap64(uint64_t{record.time_low} << 32 | uint64_t{record.time_mid} << 16 |
                             record.time_hi_and_version);
}

// The platform, but for the clock (guid/clock.h).
unsigned long uuid__get_os_pid();
void uuid__get_os_address(uint8_t address[6], Status* status);
void dce_get_802_addr(uint8_t address[6], Status* status);

}  // namespace vel::guid
