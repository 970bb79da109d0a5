// Locks and memory shared by processes. What a child finds is the code that it ends with.
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <thread>

#include "runtime/cx_shmem.h"
#include "runtime/status.h"

using namespace vel::runtime;

static std::vector<unsigned> slept;  // seconds
static std::function<void()> while_asleep;

extern "C" unsigned __wrap_sleep(unsigned seconds) {
    slept.push_back(seconds);
    if (while_asleep) while_asleep();
    return 0;
}

// Interrupted once each time, and then to go on to the same end.
extern "C" int __wrap_clock_nanosleep(clockid_t clock, int, const timespec* end, timespec*) {
    static timespec last;
    if (memcmp(&last, end, sizeof last) != 0) return last = *end, EINTR;
    timespec now{};
    clock_gettime(clock, &now);
    const bool begun = end->tv_nsec > now.tv_nsec;
    __wrap_sleep(static_cast<unsigned>(end->tv_sec - now.tv_sec + begun));
    return 0;
}

namespace {

// Opened by one process for another to pass.
struct Gate {
    Gate() { EXPECT_EQ(pipe(ends), 0); }
    bool open() { return write(ends[1], "", 1) == 1; }
    bool pass() {
        char byte = 0;
        return read(ends[0], &byte, 1) == 1;
    }
    int ends[2];
};

struct Child {
    explicit Child(const std::function<int()>& body) : id(fork()) {
        if (id == 0) prctl(PR_SET_PDEATHSIG, SIGKILL), _exit(body());
    }
    bool runs() {
        siginfo_t ended{};
        return waitid(P_PID, static_cast<id_t>(id), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               ended.si_pid == 0;
    }
    int result() {
        int state = 0;
        waitpid(id, &state, 0);
        return WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
    }
    pid_t id;
};

struct Lock {
    int set, when_free, not_held, waiters;  // waiters: what counts them
    std::function<int()> lock, unlock;

    bool is_awaited() const {
        for (int i = 0; i < 10'000 && semctl(set, 0, waiters) == 0; ++i) usleep(1000);
        return semctl(set, 0, waiters) > 0;
    }
    bool is_free() const { return semctl(set, 0, GETVAL) == when_free; }
    int lock_and_unlock() const { return lock() != 0 ? 1 : unlock() != 0 ? 2 : 0; }
};

struct Shared : testing::Test {
    Shared() {
        slept.clear();
        EXPECT_EQ(CxSemOpen(&semaphore, key), ok());
        EXPECT_EQ(CxShMemCreate(name, 100, &created), 0);
        locks.push_back({semaphore, 1, EPERM, GETNCNT,
                         [this] { return error_of(CxSemLock(semaphore)); },
                         [this] { return error_of(CxSemUnlock(semaphore)); }});
        locks.push_back({created.semaphores, 0, CX_SHMEM_NOT_UNLOCKED, GETZCNT,
                         [this] { return CxShMemLock(&created); },
                         [this] { return CxShMemUnlock(&created); }});
    }
    ~Shared() override {
        while_asleep = nullptr;
        semctl(semget(key, 0, 0), 0, IPC_RMID);
        semctl(semget(ftok(path.c_str(), 1), 0, 0), 0, IPC_RMID);
        shmctl(shmget(ftok(path.c_str(), 2), 0, 0), IPC_RMID, nullptr);
        std::filesystem::remove(path);
    }
    const std::string path = "/tmp/vel_test_" + std::to_string(getpid());
    const char* const name = path.c_str() + 5;
    const key_t key = 0x5E000000 | getpid();
    CxSem semaphore = -1;
    CxShMem created = {}, opened = {};
    std::vector<Lock> locks;
};
using SharedLock = Shared;
using SharedMemory = Shared;

TEST_F(SharedLock, ExcludesOtherProcessesUntilItsHolderUnlocksOrIsKilled) {
    for (const Lock& lock : locks) {
        for (const bool killed : {false, true}) {
            Gate held, unlock;
            Child holder([&] {
                return lock.lock() == 0 && held.open() && unlock.pass() ? lock.unlock() : 1;
            });
            ASSERT_TRUE(held.pass());
            Child other([&] { return lock.lock_and_unlock(); });
            EXPECT_TRUE(lock.is_awaited() && other.runs());
            killed ? kill(holder.id, SIGKILL) : unlock.open();
            EXPECT_EQ(other.result(), 0);
            EXPECT_EQ(holder.result(), killed ? -SIGKILL : 0);
            EXPECT_TRUE(lock.is_free());
        }
    }
}

TEST_F(SharedLock, IsUnlockedOnlyByTheProcessThatTookIt) {
    for (const Lock& lock : locks) {
        Gate locked;
        Child foreign([&] { return locked.pass() && lock.unlock() == lock.not_held ? 0 : 1; });
        ASSERT_EQ(lock.lock(), 0);
        locked.open();
        EXPECT_EQ(foreign.result(), 0);
        EXPECT_EQ(Child([&] { return lock.unlock() == lock.not_held ? 0 : 1; }).result(), 0);
        EXPECT_FALSE(lock.is_free());
        std::thread([&] { EXPECT_EQ(lock.unlock(), 0); }).join();  // any thread may
        EXPECT_EQ(lock.unlock(), lock.not_held);
        EXPECT_TRUE(lock.is_free());
        EXPECT_EQ(Child([&] { return lock.lock_and_unlock(); }).result(), 0);
    }
}

TEST_F(SharedLock, IsOneOf256ThatAProcessHolds) {
    std::vector<CxSem> sets(257, -1);
    for (CxSem& set : sets) ASSERT_EQ(CxSemOpen(&set, IPC_PRIVATE), ok());
    // Each thread's are told apart.
    std::vector<std::thread> threads;
    for (size_t i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (size_t at = 64 * i; at < 64 * (i + 1); ++at) EXPECT_EQ(CxSemLock(sets[at]), ok());
            for (int n = 0; n < 200; ++n)
                EXPECT_EQ(CxSemUnlock(sets[64 * i]) + CxSemLock(sets[64 * i]), 2 * ok());
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(CxSemLock(sets[256]), failed(ENOLCK));
    EXPECT_EQ(CxShMemLock(&created), CX_SHMEM_NOT_LOCKED);
    EXPECT_TRUE(locks[1].is_free());
    EXPECT_EQ(Child([&] { return error_of(CxSemLock(sets[256])); }).result(), 0);
    for (size_t i = 0; i < 256; ++i) EXPECT_EQ(CxSemUnlock(sets[i]), ok());
    for (const CxSem set : sets) semctl(set, 0, IPC_RMID);
}

TEST_F(SharedLock, FailsWhenItIsRemovedOrTooOftenInterrupted) {
    Gate asleep;
    while_asleep = [&] { asleep.open(); };
    for (const Lock& lock : locks) {
        const bool gives_up = lock.not_held == EPERM;
        ASSERT_EQ(lock.lock(), 0);
        Child interrupted([&] {
            signal(SIGUSR1, [](int) {});
            return lock.lock() == ETIME && slept == std::vector<unsigned>(10, 1) ? 0 : 1;
        });
        for (int i = 0; i < 11; ++i) {
            ASSERT_TRUE(lock.is_awaited());
            kill(interrupted.id, SIGUSR1);
            if (i == 10 || !gives_up) usleep(1000);  // a wrong end would show then
            ASSERT_TRUE(i == 10 || !gives_up || asleep.pass());
        }
        EXPECT_TRUE(gives_up || lock.is_awaited());
        if (!gives_up) kill(interrupted.id, SIGKILL);
        EXPECT_EQ(interrupted.result(), gives_up ? 0 : -SIGKILL);
        Child waiting(
            [&] { return lock.lock() == (gives_up ? EIDRM : CX_SHMEM_NOT_LOCKED) ? 0 : 1; });
        EXPECT_TRUE(lock.is_awaited());
        semctl(lock.set, 0, IPC_RMID);
        EXPECT_EQ(waiting.result(), 0);
        EXPECT_EQ(lock.unlock(), gives_up ? EINVAL : CX_SHMEM_NOT_UNLOCKED);
    }
}

TEST_F(SharedLock, IsOpenedOnceItsCreatorHasStampedIt) {
    CxSem again = -1;
    EXPECT_EQ(CxSemOpen(&again, key), ok());  // which nobody has locked yet
    EXPECT_TRUE(again == semaphore && slept.empty());
    semctl(semaphore, 0, IPC_RMID);
    const int set = semget(key, 1, IPC_CREAT | 0666);
    EXPECT_EQ(CxSemOpen(&semaphore, key), failed(ETIME));
    EXPECT_EQ(semaphore, -1);
    EXPECT_EQ(slept, std::vector<unsigned>(9, 1));
    while_asleep = [&] {
        sembuf stamp = {0, 1, 0};
        if (slept.size() == 12) semop(set, &stamp, 1);
    };
    EXPECT_EQ(CxSemOpen(&semaphore, key), ok());
    EXPECT_TRUE(semaphore == set && slept.size() == 12);
}

TEST(Thread, SleepsForRoundedSeconds) {
    slept.clear();
    for (const uint32_t milliseconds : {0U, 499U, 500U, 1499U, 1500U, 4294967295U})
        CxThreadSleep(milliseconds);
    std::erase(slept, 0U);
    EXPECT_EQ(slept, (std::vector<unsigned>{1, 1, 2, 4294967}));
}

bool is_none(const CxShMem& handle) {
    return handle.semaphores == -1 && handle.memory == -1 && !handle.address && handle.size == 0;
}

TEST_F(SharedMemory, IsAHeaderAndDataUnderTheKeysOfItsFile) {
    EXPECT_EQ(created.semaphores, semget(ftok(path.c_str(), 1), 2, 0));
    EXPECT_EQ(created.memory, shmget(ftok(path.c_str(), 2), 164, 0));
    CxShMemSetReadOffset(&created, 5);
    CxShMemSetWriteOffset(&created, -6);
    memcpy(CxShMemGetAddress(&created), "data", 4);
    std::string expected(164, '\0');
    const int32_t header[] = {100, 5, -6};
    expected.replace(0, 12, reinterpret_cast<const char*>(header), 12).replace(64, 4, "data");
    const void* const raw = shmat(created.memory, nullptr, SHM_RDONLY);
    EXPECT_EQ(std::string(static_cast<const char*>(raw), 164), expected);
    shmdt(raw);
    ASSERT_EQ(CxShMemOpen(name, &opened), 0);
    EXPECT_EQ(std::string(static_cast<char*>(opened.address), opened.size), expected.substr(64));
    EXPECT_EQ(CxShMemGetReadOffset(&opened) * 100 + CxShMemGetWriteOffset(&opened), 494);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(CxShMemClose(&opened), 0);
    CxShMemSetReadOffset(&opened, 7);
    CxShMemSetWriteOffset(&opened, 7);
    EXPECT_EQ(CxShMemGetReadOffset(&opened) + CxShMemGetWriteOffset(&opened), 0);
    shmid_ds memory = {};
    shmctl(created.memory, IPC_STAT, &memory);
    EXPECT_TRUE((memory.shm_perm.mode & 0777) == 0666 && memory.shm_segsz == 164 &&
                memory.shm_nattch == 1);
    EXPECT_EQ(CxShMemDestroy(&created), 0);
    EXPECT_EQ(CxShMemDestroy(&created), -1);
}

TEST_F(SharedMemory, ShowsWhetherItsCreatorLives) {
    Gate ready, end;
    CxShMemDestroy(&created);
    Child creator([&] {
        return CxShMemCreate(name, 8, &created) == 0 && ready.open() && end.pass() ? 0 : 1;
    });
    ASSERT_TRUE(ready.pass());
    ASSERT_EQ(CxShMemOpen(name, &opened), 0);
    EXPECT_EQ(CxShMemCreatorAlive(&opened), 1);
    end.open();
    EXPECT_EQ(creator.result(), 0);
    EXPECT_EQ(CxShMemCreatorAlive(&opened), 0);
    CxShMemSetReadOffset(&opened, 3);
    EXPECT_EQ(CxShMemCreate(name, 9, &created), CX_SHMEM_NOT_CREATED);  // it does not grow
    EXPECT_TRUE(is_none(created));
    ASSERT_EQ(CxShMemCreate(name, 8, &created), 0);
    EXPECT_EQ(CxShMemGetReadOffset(&opened), 0);
    EXPECT_EQ(CxShMemCreatorAlive(&created), 1);
    EXPECT_EQ(CxShMemCreatorAlive(&opened), 0);  // the semaphores that it knew are gone
}

TEST_F(SharedMemory, IsNotTakenFromWhatIsNotRight) {
    EXPECT_EQ(CxShMemCreate(name, 0xFFFFFFF0, &opened), CX_SHMEM_NOT_CREATED);
    ASSERT_EQ(CxShMemCreate(name, 100, &created), 0);
    static_cast<uint32_t*>(created.address)[-16] = 101;  // more than there is
    const auto attached = [&] {
        shmid_ds memory = {};
        shmctl(created.memory, IPC_STAT, &memory);
        return memory.shm_nattch;
    };
    const auto before = attached();
    EXPECT_EQ(CxShMemOpen(name, &opened), CX_SHMEM_NOT_OPENED);
    EXPECT_TRUE(is_none(opened) && attached() == before);
    EXPECT_EQ(CxShMemDestroy(&created), 0);
    EXPECT_EQ(CxShMemOpen(name, &opened), CX_SHMEM_NOT_OPENED);
    const std::function<void()> plant[] = {
        [] {}, [&] { EXPECT_EQ(symlink("/etc/passwd", path.c_str()), 0); },
        [&] { EXPECT_EQ(symlink("none", path.c_str()), 0); }, [&] { mkfifo(path.c_str(), 0666); },
        [&] { mkdir(path.c_str(), 0777); }};
    for (const char* bad :
         {"", ".", "..", "a/b", "../tmp/x", static_cast<const char*>(nullptr), name}) {
        for (const auto& plant_one : plant) {
            std::filesystem::remove(path);
            plant_one();
            EXPECT_EQ(CxShMemOpen(bad, &opened), CX_SHMEM_NO_KEY);
            if (bad == name && !std::filesystem::exists(std::filesystem::symlink_status(path)))
                continue;
            EXPECT_EQ(CxShMemCreate(bad, 8, &created), CX_SHMEM_NOT_CREATED);
            EXPECT_TRUE(is_none(opened) && is_none(created));
        }
    }
}

}  // namespace
