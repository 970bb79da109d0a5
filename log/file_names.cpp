// The names of log files: their parts, and the numbers of the old ones.
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <functional>
#include <utility>

#include "log/file_log.h"
#include "log/message.h"
#include "runtime/cx_printf.h"
#include "runtime/format.h"
#include "runtime/owned.h"
#include "runtime/status.h"

namespace vel::log {
namespace {

using runtime::OwnedText;
using runtime::StringBuff;

constexpr const char* kFileName = "fileName";
constexpr int32_t kMaxNameLength = 256;  // bytes

void replace(char*& slot, char* fresh) { RakMemoryFree(std::exchange(slot, fresh)); }

// The text behind the separator, which is cut off with it; null: there is none.
char* cut_at_last(char* text, char separator) {
    char* const at = strrchr(text, separator);
    if (at == nullptr) return nullptr;
    *at = '\0';
    return at + 1;
}

// Takes the digits at the end off; 0 also for more than a number can have.
int32_t cut_number(char* text) {
    char* const end = text + strlen(text);
    char* digits = end;
    while (digits > text && CxIsLocalDigit(digits[-1])) --digits;
    int32_t number = 0;
    std::from_chars(digits, end, number);
    *digits = '\0';
    return number;
}

char* working_directory() {
    char path[CX_MAX_PATH];
    const CxStatus status = CxProcessGetCwd(path, sizeof path);
    if (!runtime::is_ok(status)) {
        pmxIntlReportPlatformErr(status);
        return nullptr;
    }
    char native[sizeof path];
    pmxGetNativePath(path, native, sizeof native);
    return RakStringDup(native);
}

// A file that is not there is no failure.
void note_unless_missing(CxStatus status, Failures& failures) {
    if (runtime::is_ok(status) || runtime::error_of(status) == ENOENT) return;
    if (CxStatus* const place = failures.add()) *place = status;
}

void rename_to_next(const FileVars& vars, int32_t number, Failures& failures) {
    const OwnedText from = numbered_name(vars, number), to = numbered_name(vars, number + 1);
    if (from != nullptr && to != nullptr) {
        note_unless_missing(CxFileNameRename(from.get(), to.get()), failures);
    }
}

// The number of an old file by its name, without directory; 0: it is none of them.
int32_t number_in(const FileVars& vars, const char* name) {
    const char* const base = vars.base_name[0] == '/' ? vars.base_name + 1 : vars.base_name;
    const size_t length = strlen(base);
    if (strncmp(name, base, length) != 0 || name[length] < '1' || name[length] > '9') return 0;
    int32_t number = 0;
    const auto [end, error] = std::from_chars(name + length, name + strlen(name), number);
    if (error != std::errc()) return 0;
    if (vars.extension == nullptr) return *end == '\0' ? number : 0;
    // Of an extension that goes on in a directory, its name has the beginning.
    const size_t extension = strcspn(vars.extension, "/");
    const bool ends = *end == '.' && strncmp(end + 1, vars.extension, extension) == 0 &&
                      end[1 + extension] == '\0';
    return ends ? number : 0;
}

using Numbers = runtime::GrowingList<int32_t, 64>;

// The numbers below the limit that old files have.
CxStatus list_numbers(const FileVars& vars, int32_t limit, Numbers& numbers) {
    CxDirectory directory = nullptr;
    CxStatus status = CxDirectoryOpen(&directory, vars.dir_part == nullptr ? "." : vars.dir_part);
    char name[CX_MAX_PATH] = "?";
    while (runtime::is_ok(status) && name[0] != '\0') {
        status = CxDirectoryGetNext(directory, name, sizeof name);
        const int32_t number = number_in(vars, name);
        if (number == 0 || number >= limit) continue;
        int32_t* const place = numbers.add();
        if (place == nullptr)
            status = runtime::failed(ENOMEM);
        else
            *place = number;
    }
    if (directory != nullptr) CxDirectoryClose(&directory);
    return status;
}

// Of very many numbers only those are tried that are in use. When these cannot be had nothing is
// renamed: that might put one file in the place of another.
void shift_existing(const FileVars& vars, int32_t lowest, int32_t limit, Failures& failures) {
    Numbers numbers;
    const CxStatus status = list_numbers(vars, limit, numbers);
    if (!runtime::is_ok(status)) return note_unless_missing(status, failures);
    std::sort(numbers.begin(), numbers.end(), std::greater<>());
    for (const int32_t number : numbers) rename_to_next(vars, number, failures);
    if (lowest == 0) rename_to_next(vars, 0, failures);
}

}  // namespace

int32_t pmxFHTrailingBaseDigit(const char* name) {
    if (name == nullptr) return -1;
    const char* const dot = strrchr(name, '.');
    const char* const end = dot == nullptr ? name + strlen(name) : dot;
    return end > name && CxIsLocalDigit(end[-1]) ? static_cast<int32_t>(end - 1 - name) : -1;
}

int pmxGetNativePath(const char* path, char* out, size_t size) {
    return CxFileNameGetNative(path, out, size);
}

void pmxFHGetFileNameParts(const char* name, FileVars* vars) {
    for (char** part : {&vars->dir_part, &vars->base_name, &vars->extension}) {
        replace(*part, nullptr);
    }
    vars->start_index = 0;
    if (name == nullptr) {
        if (vars->log_internal_errs) report(PMX_ERROR, Msg::value_missing, kFileName);
        return;
    }
    char path[kMaxNameLength + 1];
    if (!pmxGetNativePath(name, path, sizeof path)) {
        if (vars->log_internal_errs) {
            report(PMX_ERROR, Msg::value_too_long, kFileName, kMaxNameLength);
        }
        return;
    }
    // The last "." of all counts, be it in the name of a directory.
    const char* const extension = cut_at_last(path, '.');
    vars->extension = RakStringDup(extension);
    vars->start_index = cut_number(path);
    char* const slash = strrchr(path, '/');
    vars->base_name = RakStringDup(slash == nullptr ? path : slash);
    if (slash != nullptr) *slash = '\0';
    // A file right under "/" has an empty directory, too, and goes into the working directory.
    const bool no_directory = slash == nullptr || slash == path;
    vars->dir_part = no_directory ? working_directory() : RakStringDup(path);
    // Without memory there is no name, rather than that of another file.
    const bool complete = (vars->dir_part != nullptr || no_directory) &&
                          (vars->extension != nullptr || extension == nullptr);
    if (!complete) replace(vars->base_name, nullptr);
}

char* pmxSetFileNameParts(const char* directory, const char* base, int32_t number,
                          const char* extension) {
    if (base == nullptr) return nullptr;
    StringBuff name;
    bool complete = true;
    if (directory != nullptr) {
        complete = CxStringBuffAppendStr(&name, directory) && CxStringBuffAppendChar(&name, '/');
    }
    complete = complete && CxStringBuffAppendStr(&name, base) &&
               CxStringBuffAppendInt32(&name, number);  // which has no digits for 0
    if (extension != nullptr) {
        complete = complete && CxStringBuffAppendChar(&name, '.') &&
                   CxStringBuffAppendStr(&name, extension);
    }
    return complete ? name.take().release() : nullptr;
}

OwnedText numbered_name(const FileVars& vars, int32_t number) {
    return OwnedText(pmxSetFileNameParts(vars.dir_part, vars.base_name, number, vars.extension));
}

void shift_numbers(const FileVars& vars, int32_t lowest, Failures& failures) {
    constexpr int32_t kFewFiles = 1000;  // trying all names takes about a millisecond
    const int32_t last = vars.max_files - 1;
    const OwnedText oldest = numbered_name(vars, last);
    if (oldest == nullptr) return;
    note_unless_missing(CxFileNameRemove(oldest.get()), failures);
    if (last > kFewFiles) return shift_existing(vars, lowest, last, failures);
    for (int32_t number = last - 1; number >= lowest; --number) {
        rename_to_next(vars, number, failures);
    }
}

void pmxFileHandlerDoRollover(FileVars* vars) {
    Failures failures;
    shift_numbers(*vars, 0, failures);
    for (const CxStatus failure : failures) pmxIntlReportPlatformErr(failure);
}

}  // namespace vel::log
