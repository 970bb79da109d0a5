// Semaphores and shared memory between processes. What a child finds is the code that it ends with.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "runtime/cx_os.h"
#include "runtime/cx_shmem.h"
#include "runtime/status.h"

using vel::runtime::failed, vel::runtime::ok;

static std::vector<unsigned> slept;  // what sleep was asked for
static std::function<void()> while_asleep;

extern "C" unsigned __wrap_sleep(unsigned seconds) {
    slept.push_back(seconds);
    if (while_asleep) while_asleep();
    return 0;
}

namespace {

// Opened by one process for another to pass.
struct Gate {
    Gate() { EXPECT_EQ(pipe(ends), 0); }
    ~Gate() { close(ends[0]), close(ends[1]); }
    void open() { EXPECT_EQ(write(ends[1], "", 1), 1); }
    bool pass() {
        pollfd wait = {ends[0], POLLIN, 0};
        char byte;
        return poll(&wait, 1, 20'000) == 1 && read(ends[0], &byte, 1) == 1;
    }
    int ends[2];
};

struct Child {
    explicit Child(const std::function<int()>& body) : id(fork()) {
        if (id == 0) _exit(body());
    }
    ~Child() {
        if (id > 0) kill(id, SIGKILL), waitpid(id, nullptr, 0);
    }
    bool runs() { return waitpid(id, &state, WNOHANG) == 0; }
    int result() {
        if (!WIFEXITED(state) || waitpid(id, &state, 0) != id) return -1;
        id = -1;
        return WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
    }
    pid_t id;
    int state = 0;
};

// Whether somebody comes to wait for the first semaphore of a set, for more (GETNCNT) or zero.
bool is_awaited(int set, int what) {
    for (int i = 0; i < 20'000 && semctl(set, 0, what) == 0; ++i) usleep(1000);
    return semctl(set, 0, what) > 0;
}

class Semaphores : public testing::Test {
  protected:
    Semaphores() { slept.clear(); }
    ~Semaphores() override {
        semctl(semget(key, 0, 0), 0, IPC_RMID);
        while_asleep = nullptr;
    }
    const key_t key = 0x5E000000 | getpid();
    CxSem semaphore = -1;
};
