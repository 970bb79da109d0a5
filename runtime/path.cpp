// Path records and directories.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "runtime/cx_os.h"
#include "runtime/open_file.h"
#include "runtime/owned.h"
#include "runtime/status.h"

namespace vel::runtime {
namespace {

bool is_usable(const CxFilePath* record) { return record != nullptr && record->length > 0; }

int32_t last_slash_of(const char* path) {
    const char* const slash = strrchr(path, '/');
    return slash == nullptr ? -1 : static_cast<int32_t>(slash - path);
}

// An errno.
int look_at(const CxFilePath* record, struct stat& found) {
    if (!is_usable(record)) return EINVAL;
    return stat(record->path, &found) == 0 ? 0 : errno;
}

// Gives a directory, and nothing that is planted in its place, its permissions. (A directory that
// its own owner cannot open takes the second way.)
void set_mode(const char* path, mode_t mode) {
    const OpenFile directory(open_file(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW));
    const int changed = directory ? fchmod(directory.get(), mode)
                                  : fchmodat(AT_FDCWD, path, mode, AT_SYMLINK_NOFOLLOW);
    (void)changed;  // what counts is whether the directory is there
}

}  // namespace
}  // namespace vel::runtime

using namespace vel::runtime;

int CxInitFilePath(CxFilePath* record, const char* text) {
    if (record == nullptr) return 0;
    const int fits = CxFileNameLocalize(text, record->path, sizeof record->path);
    if (text == nullptr) record->path[0] = '\0';
    record->length = fits ? static_cast<int32_t>(strlen(record->path)) : -1;
    record->last_slash = fits ? last_slash_of(record->path) : -1;
    return fits;
}

int CxFilePathIsDir(const CxFilePath* record) {
    struct stat found {};
    const int error = look_at(record, found);
    return error == 0 && !S_ISDIR(found.st_mode) ? ENOTDIR : error;
}

int CxFilePathExists(const CxFilePath* record) {
    struct stat found {};
    return look_at(record, found);
}

int CxFilePathParent(const CxFilePath* record, CxFilePath* out) {
    if (!is_usable(record) || out == nullptr || record->last_slash < 0) return 0;
    const int32_t length = record->last_slash;
    memmove(out->path, record->path, static_cast<size_t>(length));
    out->path[length] = '\0';
    out->length = length;
    out->last_slash = last_slash_of(out->path);
    return 1;
}

int CxFilePathMkdirs(const CxFilePath* record, uint32_t mode) {
    if (const int error = CxFilePathIsDir(record); error != ENOENT) return error;
    CxFilePath parent;
    if (CxFilePathParent(record, &parent)) {
        if (const int error = CxFilePathMkdirs(&parent, mode)) return error;
    }
    const int error = mkdir(record->path, 0777) == 0 ? 0 : errno;
    set_mode(record->path, mode);
    return error == EEXIST ? 0 : error;
}

CxStatus CxDirectoryOpen(CxDirectory* directory, const char* path) {
    if (directory == nullptr) return failed(EINVAL);
    *directory = nullptr;
    CxFilePath record;
    if (!CxInitFilePath(&record, path) || CxFilePathIsDir(&record) != 0) return failed(EINVAL);
    *directory = opendir(record.path);
    return *directory == nullptr ? failed(errno) : ok();
}

CxStatus CxDirectoryGetNext(CxDirectory directory, char* name, size_t size) {
    if (directory == nullptr || name == nullptr || size == 0) return failed(EINVAL);
    name[0] = '\0';
    // The end of a directory leaves errno alone, and is a success when errno says that there is no
    // more entry. So let it say that.
    errno = ENOENT;
    const dirent* const entry = readdir(directory);
    if (entry == nullptr) return errno == ENOENT ? ok() : failed(errno);
    strncat(name, entry->d_name, size - 1);
    return strlen(entry->d_name) < size ? ok() : failed(ENAMETOOLONG);
}

CxStatus CxDirectoryClose(CxDirectory* directory) {
    if (directory == nullptr || *directory == nullptr) return failed(EINVAL);
    const CxStatus status = status_of(closedir(*directory));
    *directory = nullptr;
    return status;
}
