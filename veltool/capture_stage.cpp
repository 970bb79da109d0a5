#include "veltool/capture_stage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "log/copy_blocks.h"
#include "veltool/text.h"

namespace vel::tool {

namespace fs = std::filesystem;

namespace {

using runtime::OpenFile;

[[noreturn]] void fail(const std::string& name) {
    throw Failure(shown(name) + ": " + strerror(errno));
}

volatile std::sig_atomic_t is_to_stop = 0;

void stop_on_signals() {
    struct sigaction action {};
    action.sa_handler = [](int) { is_to_stop = 1; };
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        sigaction(number, nullptr, &before);
        if (before.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
    }
}

// Makes a directory the current one if it is ours alone, not one that was put in its place.
bool enter_own(const std::string& path) {
    const OpenFile directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    return directory && fstat(directory.get(), &status) == 0 && status.st_uid == geteuid() &&
           (status.st_mode & (S_IRWXG | S_IRWXO)) == 0 && fchdir(directory.get()) == 0;
}

// Opens a file below a directory for reading; no link on the way is followed. -1: errno.
int open_below(int base, const std::string& name) {
    constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    int directory = base;
    size_t begin = 0;
    for (size_t slash = 0; (slash = name.find('/', begin)) != name.npos; begin = slash + 1) {
        const OpenFile above(directory == base ? -1 : directory);
        directory =
            openat(directory, name.substr(begin, slash - begin).c_str(), kFlags | O_DIRECTORY);
        if (directory < 0) return -1;
    }
    const OpenFile parent(directory == base ? -1 : directory);
    return openat(directory, name.c_str() + begin, kFlags);
}

// Copies at most so many bytes, piece by piece so that a signal ends it soon. False: errno.
bool copy_content(int from, int to, int64_t size) {
    constexpr int64_t kPiece = 64 << 20;
    for (int64_t done = 0, before = -1; done < size && done > before;) {
        check_for_stop();
        const log::CopyOutcome outcome = log::copy_blocks(from, to, std::min(kPiece, size - done));
        if (!outcome.read || !outcome.written) return false;
        before = std::exchange(done, lseek(to, 0, SEEK_CUR));
    }
    return true;
}

bool is_same(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

}  // namespace

Stage::Stage(const std::string& archive)
    : archive_(archive),
      path_(archive + ".XXXXXX"),
      captures_(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    stop_on_signals();
    if (!captures_ || mkdtemp(path_.data()) == nullptr) fail(archive_);
    if (!enter_own(path_)) throw Failure(shown(path_) + ": somebody has put it elsewhere");
}

Stage::~Stage() {
    std::error_code ignored;
    fs::remove_all(".", ignored);  // but for the directory itself
    rmdir(path_.c_str());
}

StagedFile Stage::copy(const std::string& name) const {
    const OpenFile source(open_below(captures_.get(), name));
    struct stat before {
    }, after{};
    if (!source || fstat(source.get(), &before) != 0) fail(name);
    if (!S_ISREG(before.st_mode)) throw Failure(shown(name) + ": no regular file any more");
    // Somebody may have linked here what only root can read.
    if (before.st_nlink != 1) throw Failure(shown(name) + ": is elsewhere by another name, too");
    std::error_code error;
    fs::create_directories(fs::path(name).parent_path(), error);
    const OpenFile target(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    struct stat copy {};
    const timespec times[] = {before.st_atim, before.st_mtim};
    // What is appended meanwhile is left out: somebody may write faster than this copies.
    const bool done = target && copy_content(source.get(), target.get(), before.st_size) &&
                      fstat(source.get(), &after) == 0 && fstat(target.get(), &copy) == 0 &&
                      futimens(target.get(), times) == 0;
    if (!done) {
        const int error_number = errno;
        unlink(name.c_str());  // half of it would go into the archive
        errno = error_number;
        fail(name);
    }
    const bool has_changed =
        copy.st_size != before.st_size || !is_same(before.st_mtim, after.st_mtim);
    return {name, copy.st_size, before.st_mtim.tv_sec, has_changed};
}

void Stage::put_in_place(const std::string& name) const {
    const OpenFile file(open(name.c_str(), O_RDONLY | O_CLOEXEC));
    const bool done = file && fchmod(file.get(), S_IRUSR | S_IWUSR) == 0 &&
                      fsync(file.get()) == 0 && rename(name.c_str(), archive_.c_str()) == 0;
    if (!done) fail(archive_);
}

void check_for_stop() {
    if (is_to_stop) throw std::runtime_error("stopped; no archive has been made");
}

}  // namespace vel::tool
