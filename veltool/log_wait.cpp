#include "veltool/log_wait.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>

namespace vel::tool {

namespace {

constexpr int kLookMillis = 500;
constexpr int kDoubtMillis = 20;

volatile std::sig_atomic_t stopped = 0;
std::atomic<int> stop_event = -1;  // readable when it is so
static_assert(std::atomic<int>::is_always_lock_free);

void drain(int descriptor) {
    std::array<char, 4096> events{};
    while (read(descriptor, events.data(), events.size()) > 0) {
    }
}

}  // namespace

LogWait::LogWait() : watches_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    if (stop_event < 0) stop_event = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
}

bool LogWait::is_stopped() { return stopped != 0; }

void LogWait::stop() {
    stopped = 1;
    const uint64_t once = 1;
    [[maybe_unused]] const ssize_t put = write(stop_event, &once, sizeof once);
}

// False: the file is watched only since now, and may have changed just before.
bool LogWait::watch(const LogChain& chain) {
    constexpr uint32_t kChanges = IN_MODIFY | IN_ATTRIB | IN_MOVE_SELF | IN_DELETE_SELF;
    const int watch = inotify_add_watch(watches_.number(), chain.file().name.c_str(), kChanges);
    if (watch <= last_watch_) return true;
    last_watch_ = watch;
    return false;
}

void LogWait::wait(const std::vector<LogChain*>& chains, bool follows) {
    std::vector<pollfd> inputs{{stop_event, POLLIN, 0}, {watches_.number(), POLLIN, 0}};
    int patience = follows ? kLookMillis : -1;
    bool is_sure = true;
    for (const LogChain* chain : chains) {
        if (chain->is_in_doubt()) patience = kDoubtMillis;
        if (chain->file().is_stream) {
            inputs.push_back({chain->file().descriptor.number(), POLLIN, 0});
        } else if (!watch(*chain)) {
            is_sure = false;
        }
    }
    if (!is_sure) return;
    poll(inputs.data(), inputs.size(), patience);
    drain(watches_.number());
}

}  // namespace vel::tool
