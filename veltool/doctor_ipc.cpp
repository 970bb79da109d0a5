#include <dirent.h>
#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cerrno>
#include <cstring>
#include <set>

#include "runtime/owned.h"
#include "veltool/channel.h"
#include "veltool/doctor.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

// The fourth argument of semctl.
union SemaphoreValue {
    int number;
    semid_ds* state;
    seminfo* info;
};

// ---- Limits

void look_at_limit(const char* what, const char* setting, uint64_t used, uint64_t most,
                   Findings& findings) {
    constexpr uint64_t kTenths = 9;  // from here on it is nearly reached
    const std::string text =
        std::to_string(used) + " of " + std::to_string(most) + ' ' + what + " are in use";
    if (used >= most / 10 * kTenths) {
        findings.push_back({Finding::kFix, text,
                            std::string("ipcs -ts shows whose they are; raise ") + setting +
                                " by sysctl, or remove what is left over by ipcrm"});
    } else {
        findings.push_back({Finding::kOk, text, ""});
    }
}

// ---- Locks of files that processes share

constexpr int32_t kDefaultKey = 31821;

std::set<int32_t> lock_keys(const Host& host) {
    std::set<int32_t> keys = {kDefaultKey};
    for (const Properties& file : host.properties) {
        for (const auto& [name, value] : file.values_of("MPFileSemKey"))
            keys.insert(std::stoi(value));
    }
    keys.erase(IPC_PRIVATE);  // locks of single handlers
    return keys;
}

Finding look_at_lock(int32_t key, int set) {
    constexpr mode_t kEveryone = 0666;
    const std::string lock = "semaphore " + std::to_string(set) + " of key " + std::to_string(key);
    const std::string removal =
        "when no program has such a log open: ipcrm -s " + std::to_string(set);
    semid_ds state{};
    SemaphoreValue into{};
    into.state = &state;
    if (semctl(set, 0, IPC_STAT, into) != 0)
        return {Finding::kSkip, lock + ": " + strerror(errno), ""};
    if (state.sem_nsems != 1) {
        return {Finding::kFix, lock + " is another program's",
                "give the shared log files another MPFileSemKey"};
    }
    if ((state.sem_perm.mode & kEveryone) != kEveryone)
        return {Finding::kFix, lock + " is closed to other users", removal};
    if (state.sem_otime == 0)
        return {Finding::kFix, lock + " was never made ready: its creator has died", removal};
    const int value = semctl(set, 0, GETVAL);
    if (value > 1) return {Finding::kFix, lock + " lets several in at once", removal};
    if (value == 1) return {Finding::kOk, lock + " is free", ""};
    return {
        Finding::kNote,
        lock + " is held; the last to use it was process " + std::to_string(semctl(set, 0, GETPID)),
        "when it stays so, look what that process does"};
}

// ---- Channels

// Nothing: the file is no key of a channel.
Findings look_at_channel(const std::string& name, const struct stat& file) {
    Segment segment;
    try {
        segment = open_channel(name);
    } catch (const Failure&) {
        return {};
    }
    shmid_ds state{};
    if (shmctl(segment->memory, IPC_STAT, &state) != 0)
        return {{Finding::kSkip, name + ": " + strerror(errno), ""}};
    const RingState ring = ring_state(*segment);
    if (!ring.is_valid()) {
        return {{Finding::kFix, name + ": its offsets are not within the data",
                 "veltool channel create --force " + shell_word(name)}};
    }
    if (file.st_uid != 0 && file.st_uid != state.shm_perm.cuid) {
        return {{Finding::kFix,
                 name + " is memory of user " + std::to_string(state.shm_perm.cuid) +
                     ", but its key /tmp/" + name + " belongs to user " +
                     std::to_string(file.st_uid),
                 "veltool channel remove " + shell_word(name) +
                     ", remove the file, and create it again"}};
    }
    constexpr shmatt_t kOnlyHere = 1;
    const std::string waiting = std::to_string(ring.waiting()) + " bytes wait in it";
    if (!CxShMemCreatorAlive(segment.get()) && state.shm_nattch <= kOnlyHere) {
        return {{Finding::kNote, name + ": nobody has it open, " + waiting,
                 "when no program uses it any more: veltool channel remove " + shell_word(name)}};
    }
    return {{Finding::kOk, name + ": " + waiting, ""}};
}

}  // namespace

void check_ipc_limits(const Host&, Findings& findings) {
    seminfo semaphores{}, used{};
    SemaphoreValue into{}, into_used{};
    into.info = &semaphores;
    into_used.info = &used;
    if (semctl(0, 0, IPC_INFO, into) >= 0 && semctl(0, 0, SEM_INFO, into_used) >= 0) {
        look_at_limit("sets of semaphores", "kernel.sem", static_cast<uint64_t>(used.semusz),
                      static_cast<uint64_t>(semaphores.semmni), findings);
    } else {
        findings.push_back({Finding::kSkip, std::string("semaphores: ") + strerror(errno), ""});
    }
    shminfo limits{};
    shm_info memory{};
    if (shmctl(0, IPC_INFO, reinterpret_cast<shmid_ds*>(&limits)) >= 0 &&
        shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds*>(&memory)) >= 0) {
        look_at_limit("segments of shared memory", "kernel.shmmni",
                      static_cast<uint64_t>(memory.used_ids), limits.shmmni, findings);
    } else {
        findings.push_back({Finding::kSkip, std::string("shared memory: ") + strerror(errno), ""});
    }
}

void check_locks(const Host& host, Findings& findings) {
    for (const int32_t key : lock_keys(host)) {
        const int set = semget(key, 0, 0);
        if (set >= 0) findings.push_back(look_at_lock(key, set));
    }
}

void check_channels(const Host&, Findings& findings) {
    constexpr size_t kMostNames = 100'000;
    const runtime::Owned<DIR, closedir> listing(opendir("/tmp"));
    if (listing == nullptr) {
        findings.push_back({Finding::kSkip, std::string("/tmp: ") + strerror(errno), ""});
        return;
    }
    size_t names = 0;
    while (const dirent* const entry = readdir(listing.get())) {
        if (++names > kMostNames) {
            findings.push_back({Finding::kSkip, "/tmp has more files than are looked at", ""});
            return;
        }
        // Their files are empty ones.
        struct stat file {};
        const bool may_be_key =
            fstatat(dirfd(listing.get()), entry->d_name, &file, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(file.st_mode) && file.st_size == 0;
        if (!may_be_key) continue;
        for (Finding& finding : look_at_channel(entry->d_name, file))
            findings.push_back(std::move(finding));
    }
}

}  // namespace vel::tool
