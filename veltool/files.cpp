#include "veltool/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "veltool/descriptor.h"

namespace vel::tool {

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& what) {
    throw Failure(path + ": " + what);
}
[[noreturn]] void fail(const std::string& path) { fail(path, strerror(errno)); }

std::string read_all(int descriptor, const std::string& path, size_t most) {
    std::string content;
    for (;;) {
        constexpr size_t kPiece = 1 << 16;
        const size_t size = content.size();
        content.resize(size + kPiece);
        const ssize_t got = read(descriptor, content.data() + size, kPiece);
        if (got < 0 && errno != EINTR) fail(path);
        content.resize(size + static_cast<size_t>(std::max<ssize_t>(got, 0)));
        if (content.size() > most) fail(path, "larger than " + std::to_string(most >> 20) + " MiB");
        if (got == 0) return content;
    }
}

void write_all(int descriptor, const std::string& path, std::string_view content) {
    while (!content.empty()) {
        const ssize_t put = write(descriptor, content.data(), content.size());
        if (put < 0 && errno != EINTR) fail(path);
        content.remove_prefix(static_cast<size_t>(std::max<ssize_t>(put, 0)));
    }
}

mode_t usual_mode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// Where a new file goes: what is there must be a file, and the one that a link leads to.
std::string place_of(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return path;
    if (!S_ISREG(status.st_mode)) fail(path, "not a regular file");
    return std::filesystem::canonical(path);
}

// A file beside the place of the one to be, gone again unless it is put there.
class Draft {
  public:
    explicit Draft(const std::string& path)
        : path_(path), name_(path + ".XXXXXX"), file_(mkostemp(name_.data(), O_CLOEXEC)) {
        if (file_.number() < 0) fail(path_);
    }
    ~Draft() {
        if (!done_) unlink(name_.c_str());
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    void write(std::string_view content) { write_all(file_.number(), path_, content); }

    void put_in_place() {
        const bool whole = fchmod(file_.number(), usual_mode()) == 0 &&
                           fsync(file_.number()) == 0 && file_.close() &&
                           rename(name_.c_str(), path_.c_str()) == 0;
        if (!whole) fail(path_);
        done_ = true;
    }

  private:
    std::string path_;
    std::string name_;
    Descriptor file_;
    bool done_ = false;
};

}  // namespace

std::string read_file(const std::string& path, size_t most) {
    // Opening a pipe does not wait, and what is no file is not read from.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (file.number() < 0) fail(path);
    struct stat status {};
    if (fstat(file.number(), &status) != 0) fail(path);
    if (!S_ISREG(status.st_mode)) fail(path, "not a regular file");
    return read_all(file.number(), path, most);
}

std::string read_standard_input(size_t most) {
    return read_all(STDIN_FILENO, "standard input", most);
}

void write_file(const std::string& path, std::string_view content) {
    Draft draft(place_of(path));
    draft.write(content);
    draft.put_in_place();
}

void write_result(const CommandLine& line, std::string_view content) {
    if (line.has("output")) {
        write_file(line.value("output"), content);
    } else {
        std::cout << content;
    }
}

}  // namespace vel::tool
