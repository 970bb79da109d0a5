// The files below a directory, whatever lies there and whoever changes it meanwhile.
#include "log/file_tree.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "runtime/open_file.h"
#include "runtime/owned.h"

namespace vel::log {
namespace {

constexpr int kBelow = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY;

bool look_at(int directory, const char* name, struct stat& status) {
    return fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

}  // namespace

FileTreeWalk::FileTreeWalk(const char* base) {
    const size_t length = strlen(base);
    const bool fits = length < sizeof path_;
    if (fits) std::copy_n(base, length, path_);
    enter(runtime::open_file(base, O_RDONLY | O_DIRECTORY), fits ? length : kTooLong);
}

FileTreeWalk::~FileTreeWalk() {
    end_listing();
    move_to(-1);
}

bool FileTreeWalk::next() {
    while (depth_ > 0) {
        if (next_file()) return true;
        names_end_ > level().first_name ? go_down() : go_up();
    }
    return false;
}

// Reads on in the listing, and keeps the directories for later.
bool FileTreeWalk::next_file() {
    const dirent* entry = nullptr;
    while (listing_ != nullptr && (entry = readdir(listing_)) != nullptr) {
        const char* const name = entry->d_name;
        if (strcmp(name, ".") == 0 || strcmp(name, "..") == 0) continue;
        if (!look_at(directory_, name, status_)) continue;
        if (S_ISDIR(status_.st_mode)) keep_name(name);
        if (!S_ISREG(status_.st_mode)) continue;
        path_fits_ = append_to_path(name) != kTooLong;
        return true;
    }
    end_listing();
    return false;
}

// Into the directory whose name was kept last.
void FileTreeWalk::go_down() {
    int32_t name = names_end_ - 1;  // its zero
    while (name > level().first_name && names_[name - 1] != '\0') --name;
    names_end_ = name;
    enter(openat(directory_, &names_[name], O_RDONLY | kBelow), append_to_path(&names_[name]));
}

// Into the directory above, which must be the one that was left for this one: somebody may have
// moved it, out of the tree even. The walk is over then.
void FileTreeWalk::go_up() {
    if (--depth_ == 0) return;
    move_to(openat(directory_, "..", O_PATH | kBelow));
    struct stat above {};
    const bool is_back = fstat(directory_, &above) == 0 && above.st_dev == level().device &&
                         above.st_ino == level().inode;
    if (!is_back) depth_ = 0;
}

// Goes on in a directory that has been opened; -1: it could not be, and the walk stays.
void FileTreeWalk::enter(int directory, size_t path_length) {
    if (directory < 0) {
        was_denied_ |= errno == EACCES;
        return;
    }
    struct stat status {};
    const int listed = fcntl(directory, F_DUPFD_CLOEXEC, 0);
    const bool known = listed >= 0 && fstat(directory, &status) == 0;
    if (known) listing_ = fdopendir(listed);
    if (listing_ == nullptr && listed >= 0) close(listed);
    if (listing_ == nullptr || !levels_.reach(depth_ + 1)) {
        lacked_memory_ = true;
        end_listing();
        close(directory);
        return;
    }
    ++depth_;
    level() = {status.st_dev, status.st_ino, names_end_, path_length};
    move_to(directory);
}

void FileTreeWalk::move_to(int directory) {
    if (directory_ >= 0) close(directory_);
    directory_ = directory;
}

void FileTreeWalk::end_listing() {
    if (listing_ != nullptr) closedir(listing_);
    listing_ = nullptr;
}

void FileTreeWalk::keep_name(const char* name) {
    constexpr size_t kMaxNames = 1U << 30;  // bytes
    const size_t end = static_cast<size_t>(names_end_) + strlen(name) + 1;
    if (end > kMaxNames || !names_.reach(static_cast<int32_t>(end))) {
        lacked_memory_ = true;
        return;
    }
    strcpy(&names_[names_end_], name);
    names_end_ = static_cast<int32_t>(end);
}

// Makes the path that of a name in the current directory; its length.
size_t FileTreeWalk::append_to_path(const char* name) {
    const size_t begin = level().path_length;
    if (begin == kTooLong || begin + 1 + strlen(name) >= sizeof path_) return kTooLong;
    path_[begin] = '/';
    return static_cast<size_t>(stpcpy(path_ + begin + 1, name) - path_);
}

bool remove_from_tree(const char* base, const char* path) {
    const char* rest = path + strlen(base) + 1;
    int directory = runtime::open_file(base, O_RDONLY | O_DIRECTORY);
    while (const char* const slash = strchr(rest, '/')) {
        char name[CX_MAX_PATH];
        *std::copy(rest, slash, name) = '\0';
        const runtime::OpenFile above(directory);
        directory = openat(directory, name, O_RDONLY | kBelow);
        rest = slash + 1;
    }
    const runtime::OpenFile parent(directory);
    struct stat status {};
    return look_at(directory, rest, status) && S_ISREG(status.st_mode) &&
           unlinkat(directory, rest, 0) == 0;
}

}  // namespace vel::log
