#include "veltool/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "veltool/tool.h"

namespace vel::tool {

namespace {

// With an empty name: at an open file; errno tells why it cannot be done.
std::optional<LogLook> look_at(int descriptor, const char* name) {
    struct statx found {};
    constexpr unsigned kWanted = STATX_TYPE | STATX_INO | STATX_BTIME;
    if (statx(descriptor, name, AT_EMPTY_PATH, kWanted, &found) != 0) return std::nullopt;
    constexpr int kMajorBits = 32;
    const uint64_t device = uint64_t{found.stx_dev_major} << kMajorBits | found.stx_dev_minor;
    LogLook look{{device, found.stx_ino}, found.stx_mode};
    if ((found.stx_mask & STATX_BTIME) != 0) {
        look.identity.second = found.stx_btime.tv_sec;
        look.identity.nanosecond = found.stx_btime.tv_nsec;
    }
    return look;
}

}  // namespace

std::optional<LogLook> look_at(const std::string& name) {
    return name.empty() ? std::nullopt : look_at(AT_FDCWD, name.c_str());
}

LogFile open_log(const std::string& name) {
    LogFile file;
    const bool is_standard_input = name == "-";
    file.name = is_standard_input ? "standard input" : name;
    // Opening a pipe does not wait, and no terminal becomes that of this process.
    file.descriptor = Descriptor(
        is_standard_input ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                          : open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    const int descriptor = file.descriptor.number();
    const std::optional<LogLook> look = descriptor < 0 ? std::nullopt : look_at(descriptor, "");
    if (!look) throw Failure(strerror(errno));
    if (S_ISDIR(look->mode)) throw Failure("is a directory");
    file.is_stream = is_standard_input || S_ISFIFO(look->mode);
    file.blocks = is_standard_input;
    if (!file.is_stream && !S_ISREG(look->mode)) throw Failure("neither a file nor a pipe");
    file.identity = look->identity;
    if (!file.is_stream) {
        std::array<char, kTellingLogBytes> head{};
        const ssize_t got = pread(descriptor, head.data(), head.size(), 0);
        file.head.assign(head.data(), static_cast<size_t>(std::max<ssize_t>(got, 0)));
    }
    return file;
}

bool has_at(const LogFile& file, off_t place, std::string_view bytes) {
    std::string found(bytes.size(), '\0');
    const ssize_t got = pread(file.descriptor.number(), found.data(), found.size(), place);
    return got == static_cast<ssize_t>(bytes.size()) && found == bytes;
}

}  // namespace vel::tool
