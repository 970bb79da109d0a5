#include "runtime/held_locks.h"

#include <pthread.h>

#include <atomic>

namespace vel::runtime {
namespace {

constexpr int32_t kFree = -1;
constexpr int kMaxHeld = 256;

struct HeldLocks {
    pthread_once_t once = PTHREAD_ONCE_INIT;
    std::atomic<int32_t> semaphores[kMaxHeld];
};
constinit HeldLocks held;

// A child holds none of its parent's locks.
void forget_all() {
    for (auto& place : held.semaphores) place.store(kFree, std::memory_order_relaxed);
}

void start() {
    forget_all();
    pthread_atfork(nullptr, nullptr, forget_all);
}

bool replace(int32_t old_value, int32_t new_value) {
    for (auto& place : held.semaphores) {
        int32_t expected = old_value;
        if (place.load(std::memory_order_relaxed) == expected &&
            place.compare_exchange_strong(expected, new_value, std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool note_held(int32_t semaphore) {
    pthread_once(&held.once, start);
    return replace(kFree, semaphore);
}

bool note_given_back(int32_t semaphore) {
    pthread_once(&held.once, start);
    return semaphore >= 0 && replace(semaphore, kFree);
}

}  // namespace vel::runtime
