// The lock between processes beside bare semop calls: alone, and wanted by four processes at once.
// Prints nanoseconds as JSON; only ratios within one run mean anything, and bench/report.py makes
// them.
#include <pthread.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <new>
#include <vector>

#include "runtime/cx_os.h"

namespace {

constexpr int kProcesses = 4;
constexpr int kRounds = 10000;  // of each process: several turns of the scheduler
constexpr int kRuns = 11;       // with each lock, in turn
constexpr int kRoundsAlone = 1000, kRunsAlone = 201;

CxSem lock_set = -1;
int bare_set = -1;

void remove_sets() {
    if (lock_set != -1) semctl(lock_set, 0, IPC_RMID);
    if (bare_set != -1) semctl(bare_set, 0, IPC_RMID);
}

[[noreturn]] void fail(const char* what) {
    fprintf(stderr, "semaphore: %s failed\n", what);
    exit(1);  // removes the sets
}

bool bare(short change) {
    sembuf operation = {0, change, SEM_UNDO};
    return semop(bare_set, &operation, 1) == 0;
}

struct Lock {
    const char* name;
    bool (*take)();
    bool (*give)();
};

constexpr Lock kLocks[] = {
    {"cx", [] { return CxSemLock(lock_set) == CX_SUCCESS; },
     [] { return CxSemUnlock(lock_set) == CX_SUCCESS; }},
    {"semop", [] { return bare(-1); }, [] { return bare(1); }},
};

void open_sets() {
    key_t key = getpid();
    while (semget(key, 0, 0) != -1 || errno != ENOENT) key += 1 << 22;  // more than any process id
    atexit(remove_sets);
    if (CxSemOpen(&lock_set, key) != CX_SUCCESS) fail("CxSemOpen");
    bare_set = semget(IPC_PRIVATE, 1, 0600);
    if (bare_set == -1 || semctl(bare_set, 0, SETVAL, 1)) fail("semget");
}

int64_t now() {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// What the processes share. The count is what the lock guards.
struct Shared {
    pthread_barrier_t start;
    int64_t begun[kProcesses], ended[kProcesses];
    volatile int count;
};

bool contend(const Lock& lock, Shared& shared, int self) {
    pthread_barrier_wait(&shared.start);
    shared.begun[self] = now();
    for (int round = 0; round < kRounds; ++round) {
        if (!lock.take()) return false;
        shared.count = shared.count + 1;
        if (!lock.give()) return false;
    }
    shared.ended[self] = now();
    return true;
}

// From the first start to the last end, for each round.
double contended(const Lock& lock, Shared& shared) {
    shared.count = 0;
    for (int self = 0; self < kProcesses; ++self) {
        const pid_t child = fork();
        if (child == -1) fail("fork");
        if (!child) _exit(contend(lock, shared, self) ? 0 : 1);
    }
    bool good = true;
    for (int status; wait(&status) != -1;) good = good && status == 0;
    if (!good || shared.count != kProcesses * kRounds) fail(lock.name);
    return double(*std::max_element(shared.ended, shared.ended + kProcesses) -
                  *std::min_element(shared.begun, shared.begun + kProcesses)) /
           (kProcesses * kRounds);
}

double alone(const Lock& lock) {
    const int64_t begun = now();
    for (int round = 0; round < kRoundsAlone; ++round)
        if (!lock.take() || !lock.give()) fail(lock.name);
    return double(now() - begun) / kRoundsAlone;
}

// Prints the median of several runs with each lock, in turn.
template <class Run>
void measure(const char* name, const char* before, int runs, Run run) {
    std::vector<double> times[std::size(kLocks)];
    for (int i = 0; i < runs; ++i)
        for (size_t which = 0; which < std::size(kLocks); ++which)
            times[which].push_back(run(kLocks[which]));
    for (size_t which = 0; which < std::size(kLocks); ++which) {
        std::sort(times[which].begin(), times[which].end());
        printf("%s\"%s:%s\": %.1f", before, name, kLocks[which].name,
               times[which][size_t(runs / 2)]);
        before = ", ";
    }
}

Shared& new_shared() {
    void* const place =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (place == MAP_FAILED) fail("mmap");
    Shared* const shared = new (place) Shared;
    pthread_barrierattr_t attributes;
    pthread_barrierattr_init(&attributes);
    pthread_barrierattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_barrier_init(&shared->start, &attributes, kProcesses);
    return *shared;
}

}  // namespace

int main() {
    open_sets();
    Shared& shared = new_shared();
    measure("free semaphore", "{", kRunsAlone, alone);
    measure("semaphore of four processes", ", ", kRuns,
            [&](const Lock& lock) { return contended(lock, shared); });
    puts("}");
}
