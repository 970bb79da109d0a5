#include "log/file_watch.h"

#include <linux/magic.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace vel::log {
namespace {

// One descriptor for all directories: a user can have few of these. It stays when nothing is
// watched any more, as closing it takes the kernel ten milliseconds.
struct Watches {
    int descriptor = -1;
    dev_t device = 0;      // by which the descriptor is known again: a program may close what it
    ino_t inode = 0;       // has not opened, and its number then goes to another file
    uint64_t changes = 0;  // how often there has been news
    FileWatch* first = nullptr;
};
constinit Watches watches;

// All that can take its name from a file.
constexpr uint32_t kEvents =
    IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

constexpr decltype(statfs::f_type) kXfs = 0x58465342;
constexpr decltype(statfs::f_type) kZfs = 0x2fc12fc1;

// File systems that only this host changes.
bool is_local(const char* directory) {
    constexpr decltype(statfs::f_type) kLocal[] = {
        EXT4_SUPER_MAGIC, BTRFS_SUPER_MAGIC,     kXfs, kZfs, F2FS_SUPER_MAGIC,
        TMPFS_MAGIC,      OVERLAYFS_SUPER_MAGIC,
    };
    struct statfs system {};
    return statfs(directory, &system) == 0 &&
           std::find(std::begin(kLocal), std::end(kLocal), system.f_type) != std::end(kLocal);
}

bool is_watched_by_others(const FileWatch* watch) {
    for (const FileWatch* other = watches.first; other != nullptr; other = other->next) {
        if (other != watch && other->directory == watch->directory) return true;
    }
    return false;
}

// The kernel has ended a watch: its directory is gone.
void lose_directory(int32_t directory) {
    for (FileWatch* watch = watches.first; watch != nullptr; watch = watch->next) {
        if (watch->directory == directory) watch->directory = -1;
    }
}

// What the news are does not matter, but for watches that have ended. Whoever makes more of them
// than are read at a time only has the files looked at.
void read_news() {
    alignas(inotify_event) char news[4096];
    const ssize_t length = read(watches.descriptor, news, sizeof news);
    for (ssize_t at = 0; at < length;) {
        inotify_event event;
        memcpy(&event, news + at, sizeof event);
        if ((event.mask & IN_IGNORED) != 0) lose_directory(event.wd);
        at += static_cast<ssize_t>(sizeof event + event.len);
    }
    ++watches.changes;
}

bool is_own_descriptor() {
    struct stat found {};
    return fstat(watches.descriptor, &found) == 0 && found.st_dev == watches.device &&
           found.st_ino == watches.inode;
}

bool open_descriptor() {
    if (watches.descriptor >= 0) return true;
    const int descriptor = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    struct stat found {};
    if (fstat(descriptor, &found) != 0) return false;
    watches.descriptor = descriptor;
    watches.device = found.st_dev;
    watches.inode = found.st_ino;
    return true;
}

}  // namespace

void watch_directory(FileWatch* watch, const char* directory) {
    end_watch(watch);
    if (directory == nullptr || !is_local(directory) || !open_descriptor()) return;
    watch->directory = inotify_add_watch(watches.descriptor, directory, kEvents);
    if (watch->directory < 0) return;
    watch->seen_changes = watches.changes;
    watch->next = std::exchange(watches.first, watch);
}

void end_watch(FileWatch* watch) {
    FileWatch** place = &watches.first;
    while (*place != nullptr && *place != watch) place = &(*place)->next;
    if (*place == nullptr) return;
    *place = std::exchange(watch->next, nullptr);
    if (watch->directory >= 0 && !is_watched_by_others(watch)) {
        inotify_rm_watch(watches.descriptor, watch->directory);
    }
    watch->directory = -1;
}

bool is_unchanged(FileWatch* watch) {
    if (watch->directory < 0) return false;
    int waiting = 0;  // bytes
    if (ioctl(watches.descriptor, FIONREAD, &waiting) != 0) return false;
    if (waiting > 0 && !is_own_descriptor()) forget_watches();
    if (waiting > 0 && watches.descriptor >= 0) read_news();
    return std::exchange(watch->seen_changes, watches.changes) == watches.changes &&
           watch->directory >= 0;
}

void forget_watches() {
    while (watches.first != nullptr) {
        FileWatch* const watch = watches.first;
        watches.first = std::exchange(watch->next, nullptr);
        watch->directory = -1;
    }
    if (watches.descriptor >= 0 && is_own_descriptor()) close(watches.descriptor);
    watches.descriptor = -1;
}

}  // namespace vel::log
