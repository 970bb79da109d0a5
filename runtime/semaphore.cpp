// Locks between processes: one System V semaphore each, 1 while it is free.
#include <sys/ipc.h>
#include <sys/sem.h>
#include <time.h>

#include <cerrno>
#include <iterator>

#include "runtime/cx_os.h"
#include "runtime/held_locks.h"
#include "runtime/status.h"

namespace vel::runtime {
namespace {

union SemaphoreValue {
    int val;
    semid_ds* buf;
};

constexpr int kPermissions = 0666;
constexpr int kMaxChecks = 10, kMaxRetries = 10;

int operate(CxSem semaphore, short change, int flags) {
    sembuf operation{0, change, static_cast<short>(flags)};
    return semop(semaphore, &operation, 1);
}

// Signals do not cut it short: a timer's would use up all retries at once.
void wait_a_second() {
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    ++end.tv_sec;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

// Frees a new lock, and then takes it and gives it back at once, which shows others that it is
// ready: only an operation that succeeds sets the time of the last one. An errno.
int make_ready(CxSem semaphore) {
    SemaphoreValue one{};
    one.val = 1;
    if (semctl(semaphore, 0, SETVAL, one) < 0) return errno;
    sembuf stamp[] = {{0, -1, IPC_NOWAIT}, {0, 1, 0}};
    return semop(semaphore, stamp, std::size(stamp)) < 0 && errno != EAGAIN ? errno : 0;
}

// Waits until the creator of a lock has made it ready. An errno.
int await_ready(CxSem semaphore) {
    for (int check = 1;; ++check) {
        semid_ds state{};
        SemaphoreValue into{};
        into.buf = &state;
        if (semctl(semaphore, 0, IPC_STAT, into) < 0) return errno;
        if (state.sem_otime != 0) return 0;
        if (check == kMaxChecks) return ETIME;
        wait_a_second();
    }
}

// Takes the lock, waiting for it. An errno. Who queues is woken late and hands the lock from
// process to process; a holder is done in microseconds, so it is worth while to look again first.
int take(CxSem semaphore) {
    constexpr int kTries = 5;
    constexpr timespec kPause{0, 20'000};
    for (int i = 0; i < kTries; ++i) {
        if (operate(semaphore, -1, SEM_UNDO | IPC_NOWAIT) == 0) return 0;
        if (errno != EAGAIN) return errno;
        nanosleep(&kPause, nullptr);
    }
    return operate(semaphore, -1, SEM_UNDO) == 0 ? 0 : errno;
}

}  // namespace
}  // namespace vel::runtime

using namespace vel::runtime;

CxStatus CxSemOpen(CxSem* semaphore, int32_t key) {
    if (semaphore == nullptr) return failed(EINVAL);
    *semaphore = -1;
    int set = semget(key, 1, IPC_CREAT | IPC_EXCL | kPermissions);
    int error = 0;
    if (set >= 0) {
        error = make_ready(set);
    } else if (errno == EEXIST) {
        set = semget(key, 1, 0);
        error = set < 0 ? errno : await_ready(set);
    } else {
        error = errno;
    }
    if (error != 0) return failed(error);
    *semaphore = set;
    return ok();
}

CxStatus CxSemLock(CxSem semaphore) {
    int error = take(semaphore);
    for (int retry = 0; error == ENOSPC || error == EINTR; ++retry) {
        if (retry == kMaxRetries) return failed(ETIME);
        wait_a_second();
        error = take(semaphore);
    }
    if (error != 0) return failed(error);
    if (note_held(semaphore)) return ok();
    operate(semaphore, 1, SEM_UNDO);
    return failed(ENOLCK);
}

CxStatus CxSemUnlock(CxSem semaphore) {
    if (!note_given_back(semaphore)) return failed(semaphore < 0 ? EINVAL : EPERM);
    return status_of(operate(semaphore, 1, SEM_UNDO));
}

CxStatus CxSemClose(CxSem* semaphore) {
    if (semaphore == nullptr) return failed(EINVAL);
    *semaphore = -1;
    return ok();
}
