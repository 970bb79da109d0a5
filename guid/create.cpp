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

// A reading has a microsecond and an adjustment is 100 ns: the eleventh GUID of one reading would
// be the first of the next.
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

// Brings the clock state to a reading; false when that has given all it can.
bool use_reading(Generator& g, Timestamp reading) {
    if (reading == g.s_time_last) {
        if (g.s_time_adjust == kMaxAdjust) return false;
        ++g.s_time_adjust;
        return true;
    }
    if (earlier(reading, g.s_time_last)) renew_clock_seq(g);
    g.s_time_adjust = 0;
    return true;
}

// After 32,767 GUIDs in one reading a call does not return: it goes on reading, whatever the clock
// shows by then. Kept so: a clock that moves never gets there.
[[noreturn]] void spin(Generator& g) {
    for (Timestamp reading;;) {
        uuid__get_os_time(&reading);
        (void)use_reading(g, reading);
    }
}

// The reading with the adjustment added to its low half.
Timestamp adjusted(Timestamp reading, uint16_t adjust) {
    const bool had_bit31 = (reading.lo & 0x80000000U) != 0;
    reading.lo += adjust;
    if (had_bit31 && (reading.lo & 0x80000000U) == 0) ++reading.hi;
    return reading;
}

// Takes the timestamp and clock sequence of one GUID. The caller holds s_lock_guid_create.
void take_timestamp(Generator& g, Timestamp reading, guid_record& record) {
    if (!use_reading(g, reading)) spin(g);
    g.s_time_last = reading;
    const Timestamp now = adjusted(reading, g.s_time_adjust);
    g.s_time_now = now;
    record.time_low = now.lo;  // with its 33rd bit, if it has one
    record.time_mid = static_cast<uint16_t>(now.hi & 0xFFFF);
    record.time_hi_and_version = static_cast<uint16_t>(((now.hi & 0x0FFF0000U) >> 16) | 0x1000);
    record.clock_seq_low = static_cast<uint8_t>(g.s_clock_seq & 0xFF);
    record.clock_seq_hi_and_reserved = static_cast<uint8_t>((g.s_clock_seq & 0x3F00) >> 8);
}

// One try under the lock; false when the reading has given its ten and the caller may wait.
bool try_take_timestamp(Generator& g, guid_record& record, bool may_wait) {
    const MutexGuard lock(g.s_lock_guid_create);
    Timestamp reading;
    uuid__get_os_time(&reading);
    if (may_wait && g.s_time_adjust >= kLastDistinctAdjust && reading == g.s_time_last) {
        return false;
    }
    take_timestamp(g, reading, record);
    return true;
}

// Copies the node address out: the cached one, or else what a search finds. On a failure the
// address is left as it is and nothing is kept.
Status node_address(Generator& g, uint8_t address[6]) {
    const MutexGuard lock(g.s_lock_guid_get_address);
    if (!g.s_got_address) {
        // Never seen by a caller: the search always puts a status of its own in its place.
        Status status = guid_s_no_address;
        uuid__get_os_address(g.s_saved_addr, &status);
        if (status != 0) return status;
        g.s_saved_st = status;
        g.s_got_address = true;
    }
    memcpy(address, g.s_saved_addr, sizeof g.s_saved_addr);
    return g.s_saved_st;
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

Status run_init() {
    Status status = 0;
    init(&status);
    return status;
}

Status create_record(guid_record& record) {
    if (const Status failure = ensure_init()) return failure;
    Generator& g = generator;
    if (const Status failure = node_address(g, record.node)) return failure;
    int readings = 0;
    while (!try_take_timestamp(g, record, readings < kMaxWaitReadings)) ++readings;
    record.clock_seq_hi_and_reserved |= 0x80;
    memset(record.padding, 0, sizeof record.padding);
    return 0;
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
    // Not masked to 14 bits after the exclusive or, as every user masks what it takes.
    return static_cast<uint16_t>((g.s_rand_irand & 0x3FFF) ^ (g.s_rand_irand >> 16));
}

}  // namespace vel::guid

using namespace vel::guid;

void guid_get_address(uint8_t address[6], Status* status) {
    if (!address) return answer(status, guid_s_no_memory);
    memset(address, 0, 6);
    answer(status, node_address(generator, address));
}

void guid_create(guid_record* record, Status* status) {
    answer(status, record ? create_record(*record) : static_cast<Status>(guid_s_no_memory));
}

void guid_create_nil(guid_record* record, Status* status) {
    if (!record) return answer(status, guid_s_no_memory);
    if (const Status failure = ensure_init()) return answer(status, failure);
    *record = guid_record{};
    answer(status, 0);
}
