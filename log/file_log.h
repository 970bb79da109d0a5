// What the handlers of log files share: what they carry, and the names of the files.
#pragma once

#include <cstdint>

#include "i18n/mab.h"
#include "log/file_watch.h"
#include "runtime/cx_os.h"

namespace vel::log {

// Which file it is, whatever its name.
struct FileIdentity {
    uint32_t device_major = 0;
    uint32_t device_minor = 0;
    uint64_t inode = 0;
    bool operator==(const FileIdentity&) const = default;
};

struct FileVars {
    CxFile file = -1;  // of the active file
    bool is_open = false;
    int64_t current_size = 0;  // bytes in it, when it was last looked at and since
    int32_t max_file_bytes = 1'048'576;
    int32_t max_files = 3;  // the active one included
    char* full_name = nullptr;
    char* dir_part = nullptr;
    char* base_name = nullptr;    // with the separator before it
    char* extension = nullptr;    // null: none
    int32_t start_index = 0;      // the number in the name of the active file; 0: none
    uc_ch_t* encoding = nullptr;  // null: UTF-8 as it is
    uint32_t file_permission = 0744;
    uint32_t dir_permission = 0771;
    bool appending = true;
    bool sem_initialised = false;
    int32_t sem_key = 31821;
    bool log_internal_errs = true;
    // Of the open file
    FileIdentity identity;
    FileWatch watch;
    int64_t looked_second = -1;  // when its name was last looked at
    int32_t looks = 0;           // how often it was, up to when it is watched
};

// Where in a name the digit is that stands before the last "." or, without one, at the end; -1:
// there is none.
int32_t pmxFHTrailingBaseDigit(const char* name);

// Splits a name into directory, base, number and extension; reports what cannot be one.
void pmxFHGetFileNameParts(const char* name, FileVars* vars);

// The name of these parts, for RakMemoryFree. The separator stands twice in it, which does not
// matter. Null: no base, or no memory.
char* pmxSetFileNameParts(const char* directory, const char* base, int32_t number,
                          const char* extension);

// Copies a path with "/" for every "\"; 0 and cut when it does not fit.
int pmxGetNativePath(const char* path, char* out, size_t size);

// Gives every file the next number, and makes room for that by removing the last one.
void pmxFileHandlerDoRollover(FileVars* vars);

}  // namespace vel::log
