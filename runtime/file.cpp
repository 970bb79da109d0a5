// Files and file names.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "runtime/cx_os.h"
#include "runtime/local_path.h"
#include "runtime/open_file.h"
#include "runtime/status.h"

namespace vel::runtime {
namespace {

constexpr mode_t kOwnerOnly = 0600;

// One transfer of bytes, by read or write.
template <class Call, class Buffer>
CxStatus transfer(Call call, CxFile file, Buffer* buffer, int64_t length, int64_t* count) {
    if (buffer == nullptr || count == nullptr || length < 0) return failed(EINVAL);
    *count = call(file, buffer, static_cast<size_t>(length));
    return status_of(*count);
}

CxStatus look_at(const char* path, struct stat& found) {
    const LocalPath local(path);
    return local.get() == nullptr ? failed(EINVAL) : status_of(stat(local.get(), &found));
}

}  // namespace
}  // namespace vel::runtime

using namespace vel::runtime;

CxStatus CxFileOpen(CxFile* file, const char* path, int flags) {
    return CxFileOpenMode(file, path, flags, kOwnerOnly);
}

CxStatus CxFileOpenMode(CxFile* file, const char* path, int flags, uint32_t mode) {
    if (file == nullptr) return failed(EINVAL);
    *file = -1;
    const LocalPath local(path);
    if (local.get() == nullptr) return failed(EINVAL);
    *file = open_file(local.get(), flags, mode);
    return status_of(*file);
}

CxStatus CxFileRead(CxFile file, void* buffer, int64_t length, int64_t* count) {
    return transfer(read, file, buffer, length, count);
}

CxStatus CxFileWrite(CxFile file, const void* buffer, int64_t length, int64_t* count) {
    return transfer(write, file, buffer, length, count);
}

CxStatus CxFileSeek(CxFile file, int64_t offset, int origin) {
    // Any other place than the start is a failure, although it is reached: callers only rewind, and
    // take success to mean that.
    return lseek(file, offset, origin) == 0 ? ok() : failed(errno);
}

CxStatus CxFileTrunc(CxFile file) {
    CxStatus status = CxFileSeek(file, 0, SEEK_SET);
    if (is_ok(status)) status = status_of(ftruncate(file, 0));
    int64_t size = 0;
    if (is_ok(status)) status = CxFileGetSize(file, &size);
    return is_ok(status) && size != 0 ? failed(EINVAL) : status;
}

CxStatus CxFileGetSize(CxFile file, int64_t* size) {
    if (size == nullptr) return failed(EINVAL);
    struct stat found {};
    const CxStatus status = status_of(fstat(file, &found));
    if (is_ok(status)) *size = found.st_size;
    return status;
}

CxStatus CxFileFlush(CxFile file) { return status_of(fsync(file)); }

CxStatus CxFileClose(CxFile* file) {
    if (file == nullptr) return failed(EINVAL);
    const CxStatus status = status_of(close(*file));
    *file = -1;
    return status;
}

CxStatus CxFileNameGetSize(const char* path, int64_t* size) {
    if (size == nullptr) return failed(EINVAL);
    struct stat found {};
    const CxStatus status = look_at(path, found);
    if (is_ok(status)) *size = found.st_size;
    return status;
}

CxStatus CxFileNameGetInfo(CxFileInfo* info, const char* path) {
    if (info == nullptr || path == nullptr || *path == '\0') return failed(EINVAL);
    struct stat found {};
    const CxStatus status = look_at(path, found);
    if (is_ok(status)) {
        *info = {found.st_size, found.st_ctim.tv_sec, found.st_mtim.tv_sec, found.st_atim.tv_sec};
    }
    return status;
}

CxStatus CxFileNameRename(const char* old_path, const char* new_path) {
    const LocalPath from(old_path), to(new_path);
    if (from.get() == nullptr || to.get() == nullptr) return failed(EINVAL);
    return status_of(rename(from.get(), to.get()));
}

CxStatus CxFileNameRemove(const char* path) {
    const LocalPath local(path);
    return local.get() == nullptr ? failed(EINVAL) : status_of(remove(local.get()));
}

int CxFileNameLocalize(const char* path, char* out, size_t size) {
    if (path == nullptr || out == nullptr || size == 0) return 0;
    const size_t length = strnlen(path, size);
    const size_t kept = std::min(length, size - 1);
    std::replace_copy(path, path + kept, out, '\\', '/');
    out[kept] = '\0';
    return length < size;
}

int CxFileNameGetNative(const char* path, char* out, size_t size) {
    if (path == nullptr || out == nullptr || size == 0) return 0;
    const int fits = CxFileNameLocalize(path, out, size);
    const size_t length = strlen(out);
    memset(out + length, 0, size - length);
    return fits;
}
