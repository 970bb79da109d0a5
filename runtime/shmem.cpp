// Named shared memory segments.
#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>

#include "runtime/cx_shmem.h"
#include "runtime/held_locks.h"
#include "runtime/open_file.h"
#include "runtime/owned.h"

namespace vel::runtime {
namespace {

// What the segment starts with, in front of the data. Other processes share it, and may write into
// it at any time.
struct Header {
    uint32_t size;  // of the data
    int32_t read_offset;
    int32_t write_offset;
    uint8_t reserved[52];
};
static_assert(sizeof(Header) == 64);
static_assert(offsetof(Header, read_offset) == 4 && offsetof(Header, write_offset) == 8);

// The two semaphores of the set.
constexpr unsigned short kLock = 0;     // 0: free, 1: held
constexpr unsigned short kCreator = 1;  // 0: new, 2: the creator lives, 1: it has gone
constexpr int kSemaphores = 2;

constexpr int kSemaphoreProject = 1, kMemoryProject = 2;
constexpr int kPermissions = 0666;

constexpr CxShMem kNoSegment{-1, -1, nullptr, 0};

// ---- Keys ----

// The path of a key file.
class KeyPath {
  public:
    explicit KeyPath(const char* name) {
        constexpr char kDirectory[] = "/tmp/";
        constexpr size_t kDirectoryLength = sizeof kDirectory - 1;
        const size_t length = RakStringLen(name);
        if (length == 0 || length > kMaxName || strchr(name, '/') != nullptr) return;
        if (strcmp(name, ".") == 0 || strcmp(name, "..") == 0) return;
        memcpy(path_, kDirectory, kDirectoryLength);
        memcpy(path_ + kDirectoryLength, name, length + 1);
    }

    // Null: the name is not one of a file.
    const char* get() const { return path_[0] == '\0' ? nullptr : path_; }

  private:
    static constexpr size_t kMaxName = 255;
    char path_[kMaxName + sizeof "/tmp/"] = "";
};

// Makes sure that the key file is there; nothing that is planted in its place is followed, waited
// for or taken.
bool ensure_key_file(const char* path) {
    constexpr mode_t kReadable = 0644;
    constexpr int kTries = 2;  // the second one finds what somebody created after the first look
    for (int i = 0; i < kTries; ++i) {
        if (OpenFile(open_file(path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW))) return true;
        constexpr int kNew = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
        if (OpenFile(open_file(path, kNew, kReadable))) return true;
    }
    return false;
}

// What keys are made of; none: it is no regular file.
std::optional<struct stat> key_file(const char* path) {
    struct stat status {};
    if (lstat(path, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return status;
}

// As ftok(3) makes it, but from what is known of the file: ftok would look for the file once more,
// and follow a link.
key_t key_of(const struct stat& file, int project) {
    return static_cast<key_t>((static_cast<unsigned>(project) & 0xFF) << 24 |
                              (static_cast<unsigned>(file.st_dev) & 0xFF) << 16 |
                              (static_cast<unsigned>(file.st_ino) & 0xFFFF));
}

// ---- Semaphores and memory ----

int value_of(int semaphores, int which) { return semctl(semaphores, which, GETVAL); }

// Makes a fresh set for a key, and marks that its creator lives; what an earlier creator left is
// removed. -1: it cannot be done, or others create as fast.
int create_semaphores(key_t key) {
    constexpr int kMaxRounds = 100;
    for (int round = 0; round < kMaxRounds; ++round) {
        const int set = semget(key, kSemaphores, IPC_CREAT | kPermissions);
        if (set < 0) return -1;
        // Only if it is fresh still: so two creators at the same moment do not share one.
        sembuf marks[] = {{kCreator, 0, IPC_NOWAIT}, {kCreator, 1, 0}, {kCreator, 1, SEM_UNDO}};
        if (semop(set, marks, std::size(marks)) == 0) return set;
        const bool removed_by_other = errno == EIDRM || errno == EINVAL;
        if (errno != EAGAIN && !removed_by_other) return -1;
        if (!removed_by_other && semctl(set, 0, IPC_RMID) != 0 && errno != EIDRM &&
            errno != EINVAL) {
            return -1;
        }
    }
    return -1;
}

Header* attach(int memory) {
    void* const address = shmat(memory, nullptr, 0);
    return address == reinterpret_cast<void*>(-1) ? nullptr : static_cast<Header*>(address);
}

// The header in front of a handle's data; null: detached.
Header* header_of(const CxShMem* handle) {
    if (handle == nullptr || handle->address == nullptr) return nullptr;
    return static_cast<Header*>(handle->address) - 1;
}

void detach(CxShMem& handle) {
    if (Header* const header = header_of(&handle)) shmdt(header);
    handle.address = nullptr;
}

// Whoever sees an offset also sees the data that was read or written before it was set, without
// the lock.
int32_t get_offset(const CxShMem* handle, int32_t Header::*offset) {
    Header* const header = header_of(handle);
    if (header == nullptr) return 0;
    return std::atomic_ref(header->*offset).load(std::memory_order_acquire);
}

void set_offset(CxShMem* handle, int32_t Header::*offset, int32_t value) {
    if (Header* const header = header_of(handle)) {
        std::atomic_ref(header->*offset).store(value, std::memory_order_release);
    }
}

// ---- The operations ----

int32_t implCreate(const char* name, uint32_t size, CxShMem& handle) {
    uint32_t total = 0;
    const KeyPath path(name);
    if (path.get() == nullptr || __builtin_add_overflow(size, sizeof(Header), &total) ||
        !ensure_key_file(path.get())) {
        return CX_SHMEM_NOT_CREATED;
    }
    const auto file = key_file(path.get());
    if (!file) return CX_SHMEM_NOT_CREATED;
    const int semaphores = create_semaphores(key_of(*file, kSemaphoreProject));
    if (semaphores < 0) return CX_SHMEM_NOT_CREATED;
    const int memory = shmget(key_of(*file, kMemoryProject), total, IPC_CREAT | kPermissions);
    Header* const header = memory < 0 ? nullptr : attach(memory);
    if (header == nullptr) return CX_SHMEM_NOT_CREATED;
    memset(header, 0, total);
    std::atomic_ref(header->size).store(size, std::memory_order_release);
    handle = {semaphores, memory, header + 1, size};
    return 0;
}

int32_t implOpen(const char* name, CxShMem& handle) {
    const KeyPath path(name);
    const auto file = path.get() == nullptr ? std::nullopt : key_file(path.get());
    if (!file) return CX_SHMEM_NO_KEY;
    const int semaphores = semget(key_of(*file, kSemaphoreProject), kSemaphores, 0);
    const int memory = semaphores < 0 ? -1 : shmget(key_of(*file, kMemoryProject), 0, 0);
    Header* const header = memory < 0 ? nullptr : attach(memory);
    if (header == nullptr) return CX_SHMEM_NOT_OPENED;
    CxShMem opened{semaphores, memory, header + 1, 0};
    // What the header says is held against what there is; the size of a segment never changes.
    shmid_ds state{};
    if (shmctl(memory, IPC_STAT, &state) == 0 && state.shm_segsz >= sizeof(Header) &&
        value_of(semaphores, kCreator) >= 0) {
        opened.size = std::atomic_ref(header->size).load(std::memory_order_acquire);
        if (opened.size <= state.shm_segsz - sizeof(Header)) {
            handle = opened;
            return 0;
        }
    }
    detach(opened);
    return CX_SHMEM_NOT_OPENED;
}

int32_t implClose(CxShMem& handle) {
    detach(handle);
    return 0;
}

int32_t implDestroy(CxShMem& handle) {
    detach(handle);
    note_given_back(handle.semaphores);
    const bool semaphores_removed = semctl(handle.semaphores, 0, IPC_RMID) == 0;
    const bool memory_removed = shmctl(handle.memory, IPC_RMID, nullptr) == 0;
    return semaphores_removed && memory_removed ? 0 : -1;
}

int32_t implLock(const CxShMem& handle) {
    sembuf wait_and_take[] = {{kLock, 0, 0}, {kLock, 1, SEM_UNDO}};
    while (semop(handle.semaphores, wait_and_take, std::size(wait_and_take)) != 0) {
        if (errno != EINTR) return CX_SHMEM_NOT_LOCKED;
    }
    if (note_held(handle.semaphores)) return 0;
    sembuf give_back{kLock, -1, SEM_UNDO | IPC_NOWAIT};
    semop(handle.semaphores, &give_back, 1);
    return CX_SHMEM_NOT_LOCKED;
}

int32_t implUnlock(const CxShMem& handle) {
    if (!note_given_back(handle.semaphores)) return CX_SHMEM_NOT_UNLOCKED;
    sembuf give_back{kLock, -1, SEM_UNDO | IPC_NOWAIT};
    return semop(handle.semaphores, &give_back, 1) == 0 ? 0 : CX_SHMEM_NOT_UNLOCKED;
}

int implCreatorAlive(const CxShMem& handle) {
    constexpr int kGone = 1;
    const int value = value_of(handle.semaphores, kCreator);
    return value >= 0 && value != kGone;
}

}  // namespace
}  // namespace vel::runtime

using namespace vel::runtime;

int32_t CxShMemCreate(const char* name, uint32_t size, CxShMem* handle) {
    if (handle == nullptr) return CX_SHMEM_NOT_CREATED;
    *handle = kNoSegment;
    return implCreate(name, size, *handle);
}

int32_t CxShMemOpen(const char* name, CxShMem* handle) {
    if (handle == nullptr) return CX_SHMEM_NULL;
    *handle = kNoSegment;
    return implOpen(name, *handle);
}

int32_t CxShMemClose(CxShMem* handle) {
    return handle == nullptr ? CX_SHMEM_NULL : implClose(*handle);
}

int32_t CxShMemDestroy(CxShMem* handle) {
    return handle == nullptr ? CX_SHMEM_NULL : implDestroy(*handle);
}

int32_t CxShMemLock(CxShMem* handle) {
    return handle == nullptr ? CX_SHMEM_NOT_LOCKED : implLock(*handle);
}

int32_t CxShMemUnlock(CxShMem* handle) {
    return handle == nullptr ? CX_SHMEM_NOT_UNLOCKED : implUnlock(*handle);
}

int CxShMemCreatorAlive(const CxShMem* handle) {
    return handle == nullptr ? 0 : implCreatorAlive(*handle);
}

void* CxShMemGetAddress(const CxShMem* handle) {
    return handle == nullptr ? nullptr : handle->address;
}

uint32_t CxShMemGetSize(const CxShMem* handle) { return handle == nullptr ? 0 : handle->size; }

int32_t CxShMemGetReadOffset(const CxShMem* handle) {
    return get_offset(handle, &Header::read_offset);
}

void CxShMemSetReadOffset(CxShMem* handle, int32_t offset) {
    set_offset(handle, &Header::read_offset, offset);
}

int32_t CxShMemGetWriteOffset(const CxShMem* handle) {
    return get_offset(handle, &Header::write_offset);
}

void CxShMemSetWriteOffset(CxShMem* handle, int32_t offset) {
    set_offset(handle, &Header::write_offset, offset);
}
