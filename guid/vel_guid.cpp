// The host GUID: made, kept in its file and read back; and the environment for the tool's messages.
#include "guid/vel_guid.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "guid/generator.h"
#include "guid/host_guid.h"

namespace vel::guid {

char header[] = "This is the Velmar GUID file do not change or delete.\n";
char langEnv[256];
char* nlsPath;

namespace {

constexpr mode_t kDefaultMode = 0666;  // less the umask

constexpr size_t kGuidBytes = 16;
constexpr size_t kHeaderBytes = sizeof header - 1;
constexpr size_t kFileBytes = kHeaderBytes + kGuidBytes;
static_assert(kHeaderBytes == 54 && kFileBytes == 70);
constexpr size_t kMaxLineBytes = 255;

// The file, opened; never waits for the other end of a pipe that somebody put there.
class GuidFile {
  public:
    explicit GuidFile(int flags, const char* path = kHostGuidFile)
        : fd_(open(path, flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, kDefaultMode)) {}
    ~GuidFile() {
        if (fd_ >= 0) close(fd_);
    }
    GuidFile(const GuidFile&) = delete;
    GuidFile& operator=(const GuidFile&) = delete;

    bool is_open() const { return fd_ >= 0; }
    int fd() const { return fd_; }

    // Reads from the start until the buffer is full or no more comes; the number of bytes.
    size_t read_start(char* buffer, size_t size) const {
        size_t have = 0;
        while (have < size) {
            const ssize_t got = read(fd_, buffer + have, size - have);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) break;
            have += static_cast<size_t>(got);
        }
        return have;
    }

  private:
    int fd_;
};

using Image = std::array<char, kFileBytes>;

// Replaces the content in one write, so that at no moment the old GUID is gone and the new one not
// there. A write that was cut short (by a limit on the file's size) puts back what it had replaced.
void replace_content(const GuidFile& file, const Image& image) {
    Image old{};
    const auto old_bytes = static_cast<ssize_t>(file.read_start(old.data(), old.size()));
    const ssize_t written = pwrite(file.fd(), image.data(), image.size(), 0);
    if (written == static_cast<ssize_t>(image.size())) {
        (void)!ftruncate(file.fd(), written);
    } else if (written > 0) {
        (void)!pwrite(file.fd(), old.data(), static_cast<size_t>(std::min(written, old_bytes)), 0);
        if (written > old_bytes) (void)!ftruncate(file.fd(), old_bytes);
    }
    (void)fsync(file.fd());
}

bool all_zero(const uint8_t guid[16]) {
    return std::all_of(guid, guid + kGuidBytes, [](uint8_t byte) { return byte == 0; });
}

}  // namespace

int32_t psGenerateGuid(uint8_t guid[16]) {
    if (!guid) return guid_s_no_memory;
    memset(guid, 0, kGuidBytes);
    guid_record record;
    if (const Status failure = create_record(record)) return static_cast<int32_t>(failure);
    const uint64_t time = network_order_time(record);
    memcpy(guid, &time, 8);
    guid[8] = record.clock_seq_hi_and_reserved;
    guid[9] = record.clock_seq_low;
    memcpy(guid + 10, record.node, sizeof record.node);
    return 0;
}

int32_t psWriteGuid(const uint8_t guid[16]) {
    struct stat directory;
    if (!guid || stat(kHostGuidDirectory, &directory) != 0) return guid_s_write_failed;
    const GuidFile file(O_RDWR | O_CREAT);
    if (!file.is_open()) return guid_s_write_failed;
    Image image;
    memcpy(image.data(), header, kHeaderBytes);
    memcpy(image.data() + kHeaderBytes, guid, kGuidBytes);
    // What fails from here on is not reported: it is the reader who tells whether the GUID is
    // there.
    replace_content(file, image);
    return 0;
}

int32_t psReadGuid(uint8_t guid[16]) { return psReadGuidFile(kHostGuidFile, guid); }

int32_t psReadGuidFile(const char* path, uint8_t guid[16]) {
    if (!guid) return guid_s_not_found;
    const GuidFile file(O_RDONLY, path);
    if (!file.is_open()) return guid_s_not_found;
    char content[kMaxLineBytes + kGuidBytes];
    const size_t have = file.read_start(content, sizeof content);

    const size_t window = std::min(have, kMaxLineBytes);
    const auto* line_feed = static_cast<const char*>(memchr(content, '\n', window));
    const size_t line = line_feed ? static_cast<size_t>(line_feed - content) + 1 : window;
    // A line that goes on behind the header's text is accepted; the GUID follows the whole line.
    constexpr size_t kCompared = kHeaderBytes - 1;
    if (line < kCompared || memcmp(content, header, kCompared) != 0) return guid_s_not_found;

    const size_t arrived = std::min(have - line, kGuidBytes);
    memcpy(guid, content + line, arrived);
    return arrived < kGuidBytes || all_zero(guid) ? guid_s_not_found : 0;
}

int32_t psGetInstallPath(char (&path)[sizeof kInstallPath]) {
    memcpy(path, kInstallPath, sizeof path);
    return 0;
}

int32_t psSetNlsPath() {
    // The name is asked for before langEnv changes: it may stand in the environment already.
    const char* locale = setlocale(LC_MESSAGES, "");
    if (!locale || strcmp(locale, "C") == 0) locale = "en_US";
    snprintf(langEnv, sizeof langEnv, "LANG=%s", locale);  // cut, should the name be that long
    if (putenv(langEnv) != 0) return -1;

    const char* before = getenv("NLSPATH");
    static constexpr char kFormat[] = "NLSPATH=%s%%L/%%N.cat%s%s";
    const size_t size = sizeof kFormat + sizeof kInstallPath + (before ? strlen(before) : 0);
    char* made = static_cast<char*>(malloc(size));
    if (!made) return -1;
    snprintf(made, size, kFormat, kInstallPath, before ? ":" : "", before ? before : "");
    if (putenv(made) != 0) {
        free(made);
        return -1;
    }
    free(nlsPath);  // stands in the environment no more
    nlsPath = made;
    return 0;
}

}  // namespace vel::guid

using namespace vel::guid;

int32_t vel_guid_init() { return 0; }
int32_t vel_guid_terminate() { return 0; }
int32_t vel_guid_generate(uint8_t guid[16]) { return psGenerateGuid(guid); }
int32_t vel_guid_write(const uint8_t guid[16]) { return psWriteGuid(guid); }
int32_t vel_guid_read(uint8_t guid[16]) { return psReadGuid(guid); }
