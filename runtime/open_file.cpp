#include "runtime/open_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace vel::runtime {
namespace {

bool is_trusted_link(const char* path) {
    struct stat status {};
    return lstat(path, &status) == 0 && S_ISLNK(status.st_mode) &&
           (status.st_uid == 0 || status.st_uid == geteuid());
}

}  // namespace

int open_file(const char* path, int flags, mode_t mode) {
    flags |= O_CLOEXEC | O_NOCTTY;
    const int file = open(path, flags | O_NOFOLLOW, mode);
    if (file >= 0 || errno != ELOOP) return file;
    if ((flags & O_NOFOLLOW) == 0 && is_trusted_link(path)) return open(path, flags, mode);
    errno = ELOOP;
    return -1;
}

}  // namespace vel::runtime
