#include "runtime/open_file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

namespace vel::runtime {
namespace {

constexpr int kMaxLinks = 40;  // as many as Linux follows

class Descriptor {
  public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return descriptor_; }

  private:
    int descriptor_;
};

enum class Link {
    none,       // it is no link
    followed,   // the path is now its target's
    by_kernel,  // what it leads to only the kernel can tell, as for "/proc/self/fd/1"
    refused,    // errno tells why: ELOOP for somebody else's
};

// Replaces the path of a link by what it leads to. Owner and target are looked at in the same link,
// whatever is put in its place meanwhile.
Link follow(char (&path)[PATH_MAX]) {
    const Descriptor link(open(path, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (link.get() < 0 || fstat(link.get(), &status) != 0) return Link::refused;
    if (!S_ISLNK(status.st_mode)) return Link::none;
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
        errno = ELOOP;
        return Link::refused;
    }
    struct statfs system {};
    if (fstatfs(link.get(), &system) == 0 && system.f_type == PROC_SUPER_MAGIC) {
        return Link::by_kernel;
    }
    char target[PATH_MAX];
    const ssize_t length = readlinkat(link.get(), "", target, sizeof target - 1);
    if (length < 0) return Link::refused;
    target[length] = '\0';
    // A relative target starts out from the link's own directory.
    const char* const slash = strrchr(path, '/');
    const bool relative = slash != nullptr && target[0] != '/';
    const size_t kept = relative ? static_cast<size_t>(slash + 1 - path) : 0;
    if (kept + static_cast<size_t>(length) >= sizeof path) {
        errno = ENAMETOOLONG;
        return Link::refused;
    }
    strcpy(path + kept, target);
    return Link::followed;
}

// A "/" at the end would have the kernel follow a link there, whosever it is. (With O_CREAT it only
// fails.)
void cut_slashes(char* path, int& flags) {
    if ((flags & O_CREAT) != 0) return;
    for (size_t end = strlen(path); end > 1 && path[end - 1] == '/';) {
        path[--end] = '\0';
        flags |= O_DIRECTORY;
    }
}

}  // namespace

int open_file(const char* path, int flags, mode_t mode) {
    flags |= O_CLOEXEC | O_NOCTTY;
    char current[PATH_MAX];
    const size_t length = strlen(path);
    if (length >= sizeof current) {
        errno = ENAMETOOLONG;
        return -1;
    }
    memcpy(current, path, length + 1);
    for (int links = 0; links <= kMaxLinks; ++links) {
        cut_slashes(current, flags);
        const int file = open(current, flags | O_NOFOLLOW, mode);
        // A link is ELOOP, but where a directory is wanted, ENOTDIR.
        const bool may_be_link = file < 0 && (errno == ELOOP || errno == ENOTDIR);
        if (!may_be_link || (flags & O_NOFOLLOW) != 0) return file;
        const int error = errno;
        switch (follow(current)) {
            case Link::followed:
                break;
            case Link::by_kernel:
                return open(current, flags, mode);
            case Link::none:
                errno = error;
                return -1;
            case Link::refused:
                return -1;
        }
    }
    errno = ELOOP;
    return -1;
}

}  // namespace vel::runtime
