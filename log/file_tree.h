// The files below a directory, whatever lies there and whoever changes it meanwhile.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>

#include "runtime/cx_os.h"
#include "runtime/format.h"

namespace vel::log {

// A walk over all regular files below a directory. No link is followed below it, and nothing is
// entered but from above. A tree may have any depth: one directory is open at a time.
class FileTreeWalk {
  public:
    explicit FileTreeWalk(const char* base);
    ~FileTreeWalk();
    FileTreeWalk(const FileTreeWalk&) = delete;
    FileTreeWalk& operator=(const FileTreeWalk&) = delete;

    // Goes on to the next file; false: there is none.
    bool next();

    const struct stat& status() const { return status_; }

    // The path of the file, the base in front; null: it has more than 255 bytes.
    const char* path() const { return path_fits_ ? path_ : nullptr; }

    // Directories had to be left out.
    bool lacked_memory() const { return lacked_memory_; }

    // Directories had to be left out, as this user may not look into them.
    bool was_denied() const { return was_denied_; }

  private:
    // A directory on the way down.
    struct Level {
        dev_t device = 0;
        ino_t inode = 0;
        int32_t first_name = 0;  // of its subdirectories that are still to be entered
        size_t path_length = 0;  // kTooLong: the path does not fit
    };
    static constexpr size_t kTooLong = SIZE_MAX;

    bool next_file();
    void go_down();
    void go_up();
    void enter(int directory, size_t path_length);
    void move_to(int directory);
    void end_listing();
    void keep_name(const char* name);
    size_t append_to_path(const char* name);
    Level& level() { return levels_[depth_ - 1]; }

    CxFile directory_ = -1;          // which the walk is in
    CxDirectory listing_ = nullptr;  // of it; null: it has been read
    runtime::GrowingList<Level, 16> levels_;
    int32_t depth_ = 0;                      // how many of these count
    runtime::GrowingList<char, 256> names_;  // of subdirectories to be entered, each with its zero
    int32_t names_end_ = 0;                  // how many bytes of these count
    struct stat status_ {};
    char path_[CX_MAX_PATH];
    bool path_fits_ = false;
    bool lacked_memory_ = false;
    bool was_denied_ = false;
};

// Removes a file that a walk from the same base has found, by its path. False: it cannot be
// removed, or is no regular file that is reached without a link any more.
bool remove_from_tree(const char* base, const char* path);

}  // namespace vel::log
