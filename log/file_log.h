// What the handlers of log files share: what they carry, the open file, and the names of the files.
#pragma once

#include <cstddef>
#include <cstdint>

#include "i18n/mab.h"
#include "log/file_watch.h"
#include "log/object.h"
#include "runtime/cx_os.h"
#include "runtime/format.h"
#include "runtime/owned.h"

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
    // Of a file that processes share
    CxSem semaphore = -1;
    int32_t sem_creator = 0;  // the process whose own the semaphore is; 0: it is everybody's
    int64_t own_end = -1;     // where the last record of this process ends; -1: there is none
};

// The variables of a handler of log files; null: it is none.
FileVars* file_vars(const PmxObject* handler);

// ---- The open file

constexpr int64_t kMillisPerSecond = 1000;
constexpr int64_t kNever = -1;  // no second of an event

// What a look at a file tells.
struct Look {
    bool regular = false;
    FileIdentity identity;
    int64_t size = 0;
};

// Looks at a file by its name or, with AT_EMPTY_PATH and no name, at an open one.
CxStatus look_at(CxFile file, const char* name, int flags, Look& look);

// False: it has failed, and that is reported.
bool done(CxStatus status);

bool is_full(const FileVars& vars);

// Makes the directories that lead to the file; reports when that cannot be.
void make_directories(const FileVars& vars);

// Opens the file, whose identity and size are known then; reports when that cannot be.
bool open_named(FileVars& vars, int flags);

// Whether the name still leads to the open file; its size is known then.
bool is_in_place(FileVars& vars);

// Leaves an open file to itself, and closes it.
void let_go(FileVars& vars);
void close_file(FileVars& vars);

// Lets go of a descriptor that is another file's by now: a program may have closed all of them, as
// daemons do. Asked once a second, and before it is closed.
void check_descriptor(FileVars& vars);

// Gives the semaphore back, and removes one that is of no use to others.
void close_semaphore(FileVars& vars);

// A text as it is to stand in the file. False: no memory, and that is reported.
class EncodedText {
  public:
    EncodedText(const FileVars& vars, const char* text);
    explicit operator bool() const { return bytes_ != nullptr; }
    const char* bytes() const { return bytes_; }
    size_t length() const { return length_; }

  private:
    runtime::Owned<char, mab_free> encoded_;
    const char* bytes_ = nullptr;
    size_t length_ = 0;
};

// Writes all of a text at the end of the file, in one go but for what the kernel splits.
CxStatus write_all(FileVars& vars, const char* bytes, size_t length);

// ---- Names

// Where in a name the digit is that stands before the last "." or, without one, at the end; -1:
// there is none.
int32_t pmxFHTrailingBaseDigit(const char* name);

// Splits a name into directory, base, number and extension; reports what cannot be one.
void pmxFHGetFileNameParts(const char* name, FileVars* vars);

// The name of these parts, for RakMemoryFree. The separator stands twice in it, which does not
// matter. Null: no base, or no memory.
char* pmxSetFileNameParts(const char* directory, const char* base, int32_t number,
                          const char* extension);

// The name that the file has with another number.
runtime::OwnedText numbered_name(const FileVars& vars, int32_t number);

// Copies a path with "/" for every "\"; 0 and cut when it does not fit.
int pmxGetNativePath(const char* path, char* out, size_t size);

// Gives every file the next number, and makes room for that by removing the last one.
void pmxFileHandlerDoRollover(FileVars* vars);

// The same from a number on, without a report: what has failed is added to the list.
using Failures = runtime::GrowingList<CxStatus, 16>;
void shift_numbers(const FileVars& vars, int32_t lowest, Failures& failures);

}  // namespace vel::log
