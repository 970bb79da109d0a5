// Time-based GUIDs: the random numbers, the clock state, the address cache and guid_create.
#include <cstring>
#include <new>

#include "guid/generator.h"

namespace vel::guid {

constinit Generator generator;

namespace {

constexpr uint64_t rand_m_init = 971;
constexpr uint64_t rand_ia_init = 11113;
constexpr uint64_t rand_ib_init = 104322;
constexpr uint64_t rand_irand_init = 4181;

constexpr uint16_t kMaxAdjust = 0x7FFF;
constexpr uint16_t kClockSeqMask = 0x3FFF;

// A reading has a microsecond and an adjustment is 100 ns: the eleventh GUID of one reading would be
// the first of the next.
constexpr uint16_t kLastDistinctAdjust = 9;
constexpr int kMaxWaitReadings = 1000;

// A child that went on with its parent's clock state would make its parent's GUIDs. Nothing of that
// state is worth keeping, so that a mutex held by another thread at the fork does no harm either.
void start_afresh() { new (&generator) Generator; }

void register_fork_handler() { pthread_atfork(nullptr, nullptr, start_afresh); }

void seed_random(Generator& g) {
    g.s_rand_m = rand_m_init;
    g.s_rand_ia = rand_ia_init;
    g.s_rand_ib = rand_ib_init;
    g.s_rand_irand = rand_irand_init;
    Timestamp now;
    uuid__get_os_time(&now);
    const uint64_t seed = (now.lo & 0xFFFF) ^ ((now.lo >> 16) & 0xFFFF) ^
                          ((now.lo >> 32) & 0xFFFF) ^ ((now.lo >> 48) & 0xFFFF);
    g.s_rand_irand += seed + uuid__get_os_pid();
}

bool earlier(const Timestamp& a, const Timestamp& b) {
    return a.hi != b.hi ? a.hi < b.hi : a.lo < b.lo;
}

void renew_clock_seq(Generator& g) {
    if (g.s_clock_seq == 0) g.s_clock_seq = true_random();
    g.s_clock_seq = static_cast<uint16_t>((g.s_clock_seq + 1) & kClockSeqMask);
    if (g.s_clock_seq == 0) g.s_clock_seq = 1;
}

// Brings the clock state to the reading in s_time_now, and to further ones when that is used up.
void advance_clock(Generator& g) {
    bool spin = false;
    for (;; uuid__get_os_time(&g.s_time_now)) {
        if (g.s_time_now == g.s_time_last) {
            if (g.s_time_adjust == kMaxAdjust) {
                spin = true;
            } else {
                ++g.s_time_adjust;
            }
        } else {
            if (earlier(g.s_time_now, g.s_time_last)) renew_clock_seq(g);
            g.s_time_adjust = 0;
        }
        // The flag is never cleared: after 32,767 GUIDs in one reading the call does not return.
        if (!spin) return;
    }
}

// Takes the timestamp and clock sequence of one GUID. The caller holds s_lock_guid_create.
void take_timestamp(Generator& g, guid_record& made) {
    advance_clock(g);
    g.s_time_last = g.s_time_now;
    if (g.s_time_adjust != 0) {
        const bool had_bit31 = (g.s_time_now.lo & 0x80000000U) != 0;
        g.s_time_now.lo += g.s_time_adjust;
        if (had_bit31 && (g.s_time_now.lo & 0x80000000U) == 0) ++g.s_time_now.hi;
    }
    made.time_low = g.s_time_now.lo;  // with its 33rd bit, if it has one
    made.time_mid = static_cast<uint16_t>(g.s_time_now.hi & 0xFFFF);
    made.time_hi_and_version =
        static_cast<uint16_t>(((g.s_time_now.hi & 0x0FFF0000U) >> 16) | 0x1000);
    made.clock_seq_low = static_cast<uint8_t>(g.s_clock_seq & 0xFF);
    made.clock_seq_hi_and_reserved = static_cast<uint8_t>((g.s_clock_seq & 0x3F00) >> 8);
}

// One try under the lock; false when the reading has given its ten and the caller may wait.
bool try_take_timestamp(Generator& g, guid_record& made, bool may_wait) {
    const MutexGuard lock(g.s_lock_guid_create);
    uuid__get_os_time(&g.s_time_now);
    if (may_wait && g.s_time_adjust >= kLastDistinctAdjust && g.s_time_now == g.s_time_last) {
        return false;
    }
    take_timestamp(g, made);
    return true;
}

}  // namespace

void init(Status* status) {
    static pthread_once_t fork_handler = PTHREAD_ONCE_INIT;
    pthread_once(&fork_handler, register_fork_handler);
    Generator& g = generator;
    {
        const MutexGuard lock(g.s_lock_true_random_init);
        if (!g.s_random_seeded) seed_random(g);
        g.s_random_seeded = true;
    }
    {
        const MutexGuard lock(g.s_lock_init);
        if (!g.s_clock_started) {
            uuid__get_os_time(&g.s_time_last);
            g.s_clock_seq = true_random();
        }
        g.s_clock_started = true;
    }
    g.uuid_init_done.store(true, std::memory_order_release);
    *status = 0;
}

uint16_t true_random() {
    Generator& g = generator;
    const MutexGuard lock(g.s_lock_true_random);
    g.s_rand_m += 7;
    g.s_rand_ia += 1907;
    g.s_rand_ib += 73939;
    if (g.s_rand_m > 9972) g.s_rand_m -= 9871;
    if (g.s_rand_ia > 99990) g.s_rand_ia -= 89989;
    if (g.s_rand_ib > 224728) g.s_rand_ib -= 96233;
    g.s_rand_irand = g.s_rand_m * g.s_rand_irand + g.s_rand_ia + g.s_rand_ib;
    // Not masked to 14 bits after the exclusive or: the values go up to 0xFFFF.
    return static_cast<uint16_t>((g.s_rand_irand & 0x3FFF) ^ (g.s_rand_irand >> 16));
}

}  // namespace vel::guid

using namespace vel::guid;

void guid_get_address(uint8_t address[6], Status* status) {
    if (!address) return answer(status, guid_s_no_memory);
    memset(address, 0, 6);
    Status found = guid_s_no_address;
    Generator& g = generator;
    {
        const MutexGuard lock(g.s_lock_guid_get_address);
        if (g.s_got_address) {
            memcpy(address, g.s_saved_addr, 6);
            found = g.s_saved_st;
        } else {
            uuid__get_os_address(address, &found);
            if (found == 0) {
                memcpy(g.s_saved_addr, address, 6);
                g.s_saved_st = found;
                g.s_got_address = true;
            }
        }
    }
    answer(status, found);
}

void guid_create(guid_record* record, Status* status) {
    if (!record) return answer(status, guid_s_no_memory);
    Status result = ensure_init();
    if (result != 0) return answer(status, result);
    guid_record made{};
    guid_get_address(made.node, &result);
    if (result != 0) return answer(status, result);
    for (int readings = 0; !try_take_timestamp(generator, made, readings < kMaxWaitReadings);
         ++readings) {
    }
    made.clock_seq_hi_and_reserved |= 0x80;
    *record = made;
    answer(status, 0);
}

void guid_create_nil(guid_record* record, Status* status) {
    if (!record) return answer(status, guid_s_no_memory);
    if (const Status failure = ensure_init()) return answer(status, failure);
    *record = guid_record{};
    answer(status, 0);
}
