// The open file of a handler of log files.
#include "log/file_log.h"

#include <fcntl.h>
#include <sys/sem.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "log/message.h"
#include "runtime/status.h"

namespace vel::log {

using runtime::is_ok;

FileVars* file_vars(const PmxObject* handler) {
    return vars<FileVars>(handler, PmxFileHandlerFFreeVars);
}

// No times are asked for: that would make the next write dearer.
CxStatus look_at(CxFile file, const char* name, int flags, Look& look) {
    struct statx found {};
    const int result = statx(file, name, flags, STATX_TYPE | STATX_INO | STATX_SIZE, &found);
    if (result != 0) return runtime::status_of(result);
    look = {.regular = S_ISREG(found.stx_mode),
            .identity = {found.stx_dev_major, found.stx_dev_minor, found.stx_ino},
            .size = static_cast<int64_t>(found.stx_size)};
    return runtime::ok();
}

bool done(CxStatus status) {
    if (!is_ok(status)) pmxIntlReportPlatformErr(status);
    return is_ok(status);
}

bool is_full(const FileVars& vars) {
    return vars.max_files >= 2 && vars.current_size >= vars.max_file_bytes;
}

void make_directories(const FileVars& vars) {
    CxFilePath path{};
    CxInitFilePath(&path, vars.dir_part);
    if (CxFilePathMkdirs(&path, vars.dir_permission) == 0 || !vars.log_internal_errs) return;
    report(PMX_ERROR, Msg::bad_file_path, "fileName",
           vars.dir_part == nullptr ? "NULL" : static_cast<const char*>(vars.dir_part));
}

bool open_named(FileVars& vars, int flags) {
    // A pipe in the file's place must not make anybody wait.
    const int all_flags = O_RDWR | O_CREAT | O_NONBLOCK | flags;
    if (!done(CxFileOpenMode(&vars.file, vars.full_name, all_flags, vars.file_permission))) {
        return false;
    }
    Look look;
    if (!done(look_at(vars.file, "", AT_EMPTY_PATH, look))) {
        done(CxFileClose(&vars.file));
        return false;
    }
    if (look.identity != vars.identity) vars.own_end = -1;
    vars.identity = look.identity;
    vars.current_size = look.size;
    return true;
}

bool is_in_place(FileVars& vars) {
    Look look;
    if (!is_ok(look_at(AT_FDCWD, vars.full_name, 0, look))) return false;
    if (!look.regular || look.identity != vars.identity) return false;
    vars.current_size = look.size;
    return true;
}

void let_go(FileVars& vars) {
    end_watch(&vars.watch);
    vars.file = -1;
    vars.is_open = false;
}

void close_file(FileVars& vars) {
    if (!vars.is_open) return;
    done(CxFileClose(&vars.file));
    let_go(vars);
}

void check_descriptor(FileVars& vars) {
    if (!vars.is_open) return;
    Look look;
    const bool measured = done(look_at(vars.file, "", AT_EMPTY_PATH, look));
    if (!measured || look.identity != vars.identity) let_go(vars);
}

void close_semaphore(FileVars& vars) {
    if (!vars.sem_initialised) return;
    if (vars.sem_creator == CxProcessGetCurrentID()) semctl(vars.semaphore, 0, IPC_RMID);
    CxSemClose(&vars.semaphore);
    vars.sem_initialised = false;
    vars.sem_creator = 0;
}

EncodedText::EncodedText(const FileVars& vars, const char* text) {
    const size_t length = strlen(text);
    if (vars.encoding == nullptr) {
        bytes_ = text;
        length_ = length;
        return;
    }
    int32_t written = 0;
    const auto size = static_cast<int32_t>(std::min<size_t>(length, INT32_MAX));
    encoded_.reset(mab_fromu_alloc(vars.encoding, text, size, &written));
    bytes_ = encoded_.get();
    length_ = static_cast<size_t>(written);
    if (bytes_ == nullptr) report(PMX_ERROR, Msg::out_of_memory);
}

CxStatus write_all(FileVars& vars, const char* bytes, size_t length) {
    while (length > 0) {
        int64_t count = 0;
        const CxStatus status = CxFileWrite(vars.file, bytes, static_cast<int64_t>(length), &count);
        if (!is_ok(status) && runtime::error_of(status) == EINTR) continue;
        if (!is_ok(status)) return status;
        if (count == 0) return runtime::failed(EIO);
        vars.current_size += count;
        bytes += count;
        length -= static_cast<size_t>(count);
    }
    return runtime::ok();
}

}  // namespace vel::log
