// Capturing files: one by one into a directory, or by a zip program into an archive.
#include "log/file_copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "log/copy_blocks.h"
#include "log/message.h"
#include "log/pmx_toolkit.h"
#include "runtime/cx_text.h"
#include "runtime/local_path.h"
#include "runtime/open_file.h"
#include "runtime/owned.h"
#include "runtime/start_program.h"
#include "runtime/status.h"

namespace vel::log {
namespace {

using runtime::is_ok;
using runtime::LocalPath;
using runtime::OpenFile;
using runtime::Owned;
using runtime::OwnedText;

// Calls a function with each path of a list. An allocation that fails ends the walk.
template <class Visit>
void visit_files(const char* files, Visit visit) {
    CxStringTokIter token;
    CxStringTokIterator(&token, files, " ", CX_TOKEN_QUOTES);
    for (; CxStringTokIterHasNext(&token); CxStringTokIterNext(&token)) {
        const OwnedText path(CxStringTokIterGet(&token));
        if (path == nullptr) return;
        visit(path.get());
    }
}

// The size of a regular file by its path; false: there is none.
bool measure(const char* path, int64_t& size) {
    const LocalPath local(path);
    struct stat found {};
    if (local.get() == nullptr || stat(local.get(), &found) != 0) return false;
    size = found.st_size;
    return S_ISREG(found.st_mode);
}

// Opens a file to be captured, whose size is known then; -1: it cannot be. No device is opened, and
// nothing waits for the other end of a pipe.
CxFile open_source(const char* path, int64_t& size) {
    const LocalPath local(path);
    if (!pmxFileExists(path)) return -1;
    OpenFile file(runtime::open_file(local.get(), O_RDONLY | O_NONBLOCK));
    struct stat found {};
    if (!file || fstat(file.get(), &found) != 0 || !S_ISREG(found.st_mode)) return -1;
    size = found.st_size;
    return file.release();
}

bool can_capture(const char* path) {
    int64_t size = 0;
    return static_cast<bool>(OpenFile(open_source(path, size)));
}

void report_not_found(const char* path, const char* handler_name) {
    report(PMX_WARN, Msg::capture_file_not_found, path, handler_name);
}

// ---- The capture directory

// Opens a directory to reach what is in it; -1: it is none, or a link.
CxFile open_directory(const char* directory) {
    return runtime::open_file(directory, O_PATH | O_DIRECTORY | O_NOFOLLOW);
}

bool is_our_own_user(uid_t user) { return user == 0 || user == geteuid(); }

// Whether a file in the directory may be written: somebody may have planted a link, a device, or a
// file of his own there, or given another file a second name.
bool is_our_own(const struct stat& found) {
    return is_our_own_user(found.st_uid) && S_ISREG(found.st_mode) && found.st_nlink <= 1;
}

enum class Entry { missing, our_own, planted };

Entry look_at(const OpenFile& place, const char* name) {
    struct stat found {};
    if (fstatat(place.get(), name, &found, AT_SYMLINK_NOFOLLOW) != 0) return Entry::missing;
    return is_our_own(found) ? Entry::our_own : Entry::planted;
}

// ---- One by one

// Opens a file in a directory for writing, or makes it; -1: it cannot be, or must not.
CxFile open_target(const char* directory, const char* name) {
    const OpenFile place(open_directory(directory));
    if (!place || *name == '\0' || look_at(place, name) == Entry::planted) return -1;
    // Without O_TRUNC: a longer file of that name keeps its end, so that nothing captured is cut
    // off.
    constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    constexpr mode_t kOwnerOnly = 0600;
    OpenFile file(openat(place.get(), name, kFlags, kOwnerOnly));
    struct stat found {};
    if (!file || fstat(file.get(), &found) != 0 || !is_our_own(found)) return -1;
    return file.release();
}

// Copies an open file of a size into a directory. The name is empty when the path would be too
// long.
CopyOutcome copy_to(CxFile source, int64_t size, const char* directory, const char* name) {
    CxFile target = open_target(directory, name);
    if (target < 0) return {.read = true, .written = false};
    // What is appended meanwhile is left out: somebody may write faster than this copies. The files
    // of the kernel, of which some cannot tell their size, have 0.
    CopyOutcome outcome = copy_blocks(source, target, size > 0 ? size : INT64_MAX);
    (void)CxFileFlush(source);  // only read: that it cannot be flushed takes nothing from the copy
    const bool closed = is_ok(CxFileClose(&target));
    outcome.written = outcome.written && closed;
    return outcome;
}

// ---- Into an archive

constexpr size_t kArgumentBytes = 2 + CX_MAX_PATH;  // "./", a path, its zero

struct ZipArguments {
    Owned<char*, RakMemoryFree> words;  // ends with null; null: no memory
    size_t count = 0;
};

// A path as an argument: one that begins with "-" would be an option.
void put_path(char* argument, const char* path) {
    const char* const here = *path == '-' ? "./" : "";
    strcpy(stpcpy(argument, here), path);
}

// The words of the command, and behind them the texts of its paths.
ZipArguments zip_arguments(const char* archive, const char* files, size_t count) {
    static char program[] = " ", quiet[] = "-q", no_directories[] = "-j";
    constexpr size_t kOtherWords = 5;  // three, the archive and the end
    const size_t archive_bytes = strlen(archive) + sizeof "./";
    size_t words_bytes = 0, texts_bytes = 0, bytes = 0;
    if (__builtin_add_overflow(count, kOtherWords, &words_bytes) ||
        __builtin_mul_overflow(words_bytes, sizeof(char*), &words_bytes) ||
        __builtin_mul_overflow(count, kArgumentBytes, &texts_bytes) ||
        __builtin_add_overflow(texts_bytes, archive_bytes, &texts_bytes) ||
        __builtin_add_overflow(words_bytes, texts_bytes, &bytes)) {
        return {};
    }
    ZipArguments arguments{
        Owned<char*, RakMemoryFree>(static_cast<char**>(RakMemoryMalloc(bytes)))};
    char** const words = arguments.words.get();
    if (words == nullptr) return {};
    char* text = reinterpret_cast<char*>(words) + words_bytes;
    put_path(text, archive);
    for (char* const word : {program, quiet, no_directories, text}) {
        words[arguments.count++] = word;
    }
    text += archive_bytes;
    visit_files(files, [&](const char* path) {
        const LocalPath local(path);
        if (count == 0 || !can_capture(path)) return;
        --count;
        put_path(text, local.get());
        words[arguments.count++] = text;
        text += kArgumentBytes;
    });
    words[arguments.count] = nullptr;
    return arguments;
}

// The environment without what zip takes for options of its own; null: no memory.
Owned<char*, RakMemoryFree> zip_environment() {
    size_t count = 0;
    while (environ != nullptr && environ[count] != nullptr) ++count;
    Owned<char*, RakMemoryFree> copy(
        static_cast<char**>(RakMemoryMalloc((count + 1) * sizeof(char*))));
    if (copy == nullptr) return nullptr;
    char** const end = std::remove_copy_if(environ, environ + count, copy.get(), [](char* entry) {
        return strncmp(entry, "ZIPOPT=", 7) == 0 || strncmp(entry, "ZIP=", 4) == 0;
    });
    *end = nullptr;
    return copy;
}

// Makes the child a zip program's: it waits for no input, writes no message into a file that came
// to have the number of a closed standard stream, and makes an archive as private as a copy is.
void prepare_for_zip() {
    close(STDIN_FILENO);
    int file = -1;
    do {
        file = open("/dev/null", O_RDWR);
    } while (file >= 0 && file <= STDERR_FILENO);
    if (file > STDERR_FILENO) close(file);
    umask(S_IRWXG | S_IRWXO);
}

void run_zip(const char* zip_program, char* const arguments[], char* const environment[]) {
    CxProcess child = -1;
    CxStatus status =
        runtime::start_program(&child, zip_program, arguments, environment, prepare_for_zip);
    if (!is_ok(status)) return pmxIntlReportPlatformErr(status);
    constexpr int kNotStarted = 127;
    if (child < 0) _exit(kNotStarted);  // this is the child, and no second copy of us must go on
    CxProcessResult result;
    status = CxProcessWaitFor(child, &result, 1);
    if (!is_ok(status)) pmxIntlReportPlatformErr(status);
    status = CxProcessRelease(&child);
    if (!is_ok(status)) pmxIntlReportPlatformErr(status);
}

// Behind what is no directory, but a link to one, everything counts as planted, and so it does
// where somebody else can put a link before the zip program.
Entry look_at_archive(const char* directory, const char* name) {
    const OpenFile place(open_directory(directory));
    struct stat found {};
    const bool safe = place && fstat(place.get(), &found) == 0 && is_our_own_user(found.st_uid) &&
                      (found.st_mode & S_IWOTH) == 0;
    return safe ? look_at(place, name + strspn(name, "/")) : Entry::planted;
}

}  // namespace

ListedFiles look_at_files(const char* files) {
    ListedFiles listed;
    visit_files(files, [&listed](const char* path) {
        ++listed.count;
        int64_t size = 0;
        if (!measure(path, size)) return;
        if (__builtin_add_overflow(listed.bytes, size, &listed.bytes)) listed.bytes = INT64_MAX;
    });
    return listed;
}

int pmxFileExists(const char* path) {
    int64_t size = 0;
    return measure(path, size);
}

int pmxIsFilenameUnsafe(const char* text) {
    static constexpr const char* kSafe =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_ \"'%+,-./:=@\\~0123456789";
    return text != nullptr && text[strspn(text, kSafe)] != '\0';
}

int pmxFCHValidateFilesToCopy(const char* files, const char* handler_name) {
    bool any = false;
    visit_files(files, [&any, handler_name](const char* path) {
        if (can_capture(path)) {
            any = true;
        } else {
            report_not_found(path, handler_name);
        }
    });
    return any;
}

void pmxFCHDoFileCopy(const char* file, const char* directory, const char* handler_name) {
    if (file == nullptr || directory == nullptr || handler_name == nullptr) return;
    constexpr size_t kMaxTarget = CX_MAX_PATH - 1;
    const LocalPath local(file);
    if (local.get() == nullptr) return report_not_found(file, handler_name);
    const char* const slash = strrchr(local.get(), '/');
    const char* const name = slash == nullptr ? local.get() : slash + 1;
    if (*name == '\0') return report_not_found(file, handler_name);
    char target[CX_MAX_PATH] = "";  // stays empty when it is too long, and cannot be opened then
    const bool fits = strlen(directory) + strlen(name) + 1 <= kMaxTarget;
    if (fits) strcpy(stpcpy(stpcpy(target, directory), "/"), name);
    int64_t size = 0;
    const OpenFile source(open_source(file, size));
    if (!source) return report_not_found(file, handler_name);
    const CopyOutcome copied = copy_to(source.get(), size, directory, fits ? name : "");
    if (!copied.read) report_not_found(file, handler_name);
    // The message names the handler first; it has always been given the two in this order.
    if (!copied.written) report(PMX_WARN, Msg::capture_file_not_copied, target, handler_name);
}

void pmxFileCopyHandlerCopyToDir(const char* files, const char* directory,
                                 const char* handler_name) {
    if (!OpenFile(open_directory(directory))) return;
    if (!pmxFCHValidateFilesToCopy(files, handler_name)) return;
    // What is missing has been reported, once.
    visit_files(files, [directory, handler_name](const char* path) {
        if (can_capture(path)) pmxFCHDoFileCopy(path, directory, handler_name);
    });
}

void pmxFileCopyHandlerCopyToZip(const char* zip_program, const char* files, size_t count,
                                 const char* directory, const char* archive_name,
                                 const char* handler_name) {
    const char* const parts[] = {directory, archive_name};
    const OwnedText archive(pmxIntlStrACat(2, parts, "/"));
    if (archive == nullptr) return;
    const bool any = pmxFCHValidateFilesToCopy(files, handler_name) != 0;
    const bool planted = look_at_archive(directory, archive_name) == Entry::planted;
    if (any && !planted) {
        const ZipArguments arguments = zip_arguments(archive.get(), files, count);
        const Owned<char*, RakMemoryFree> environment = zip_environment();
        if (arguments.words == nullptr || environment == nullptr) return;
        run_zip(zip_program, arguments.words.get(), environment.get());
    }
    // Neither what the program answers nor how old the archive is counts.
    if (!planted && look_at_archive(directory, archive_name) != Entry::missing) return;
    if (pmxFileExists(zip_program)) {
        report(PMX_ERROR, Msg::zip_not_created, archive.get());
    } else {
        report(PMX_ERROR, Msg::zip_command_missing, zip_program == nullptr ? "NULL" : zip_program);
    }
}

}  // namespace vel::log
