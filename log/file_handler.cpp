// "pmx_filehandler": records go to a file; one that is full gets a number, and a new one begins.
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "log/classes.h"
#include "log/event.h"
#include "log/file_log.h"
#include "log/message.h"
#include "log/object.h"
#include "runtime/owned.h"
#include "runtime/status.h"

namespace vel::log {

constinit const ClassDefinition kFileHandlerClass{
    .name = "pmx_filehandler",
    .kind = PMX_HANDLER,
    .description = Msg::file_handler,
    .life = {PmxFileHandlerFAllocVars, PmxFileHandlerFFreeVars, PmxFileHandlerFCfgChange},
    .handler = {PmxFileHandlerFProcess, PmxFileHandlerFOpen, PmxFileHandlerFClose},
};

namespace {

using runtime::is_ok;
using runtime::OwnedText;

constexpr const char* kDefaultName = "default.log";
constexpr int32_t kDefaultFiles = 3;
constexpr int32_t kUnsetFileBytes = 1024;  // of a property that is set to nothing, or to nonsense

// ---- The active file

// Watches the directory, unless the name is a link, or its extension goes on into another
// directory: the file lies elsewhere then.
void watch_name(FileVars& vars) {
    if (vars.extension != nullptr && strchr(vars.extension, '/') != nullptr) return;
    watch_directory(&vars.watch, vars.dir_part);
    Look look;
    const bool in_place = is_ok(look_at(AT_FDCWD, vars.full_name, AT_SYMLINK_NOFOLLOW, look)) &&
                          look.regular && look.identity == vars.identity;
    if (!in_place) end_watch(&vars.watch);
}

// Whether the open file still has its name, as one does that is watched from now on.
bool is_still_there(FileVars& vars, int64_t second) {
    constexpr int32_t kLooksBeforeWatch = 16;  // a watch costs more than a few looks
    if (!is_in_place(vars)) return false;
    vars.looked_second = second;
    if (vars.looks < kLooksBeforeWatch && ++vars.looks == kLooksBeforeWatch) watch_name(vars);
    return true;
}

// Writes a text, which may be null, in one go. False: that has failed, and is reported.
bool write_text(FileVars& vars, const char* text) {
    if (text == nullptr) return true;
    const EncodedText encoded(vars, text);
    if (!encoded) return false;
    const CxStatus status = write_all(vars, encoded.bytes(), encoded.length());
    if (runtime::error_of(status) == EBADF) let_go(vars);
    return done(status);
}

// A file that processes share gets no trailer.
void close_log(PmxObject* handler, FileVars& vars) {
    check_descriptor(vars);
    if (!vars.is_open) return;
    const bool shared = vars.sem_initialised;
    const OwnedText trailer(shared ? nullptr : pmxIntlHandlerGetFmtTrailer(handler));
    write_text(vars, trailer.get());
    close_file(vars);
}

void roll_over(PmxObject* handler, FileVars& vars) {
    close_log(handler, vars);
    pmxFileHandlerDoRollover(&vars);
    vars.current_size = 0;
}

void open_anew(PmxObject* handler, FileVars& vars, int64_t second) {
    const int flags = vars.appending ? O_APPEND : O_TRUNC;
    make_directories(vars);
    if (!open_named(vars, flags)) return;
    vars.is_open = true;
    if (is_full(vars)) {
        roll_over(handler, vars);  // the trailer goes to the full file
        if (!open_named(vars, flags)) return;
        vars.is_open = true;
        vars.current_size = 0;
    }
    const OwnedText header(pmxIntlHandlerGetFmtHeader(handler));
    if (!write_text(vars, header.get())) return close_file(vars);
    vars.looked_second = second;
    vars.looks = 0;
}

// Whether the name of the open file need not be looked at: nothing has changed in its directory
// since that was done, in this second, and the file is not full.
bool can_go_on(FileVars& vars, int64_t second) {
    return vars.is_open && is_unchanged(&vars.watch) && second == vars.looked_second &&
           second != kNever && !is_full(vars);
}

// What every event passes: afterwards the file is open, or it has been reported why not.
void open_log(PmxObject* handler, FileVars& vars, int64_t second) {
    if (vars.full_name == nullptr || can_go_on(vars, second)) return;
    if (second != vars.looked_second) check_descriptor(vars);
    if (vars.is_open && is_still_there(vars, second)) {
        if (!is_full(vars)) return;
        roll_over(handler, vars);
    } else {
        close_log(handler, vars);
    }
    open_anew(handler, vars, second);
}

// ---- Properties

void set_max_file_size(PmxObject* handler, FileVars& vars, const char* key) {
    int found = 0;
    const int32_t value = pmxIntlGetObjPropInt(handler, key, &found);
    vars.max_file_bytes = found ? value : kUnsetFileBytes;  // whatever the value is
}

void set_max_file_bytes(PmxObject* handler, FileVars& vars, const char* key) {
    int found = 0;
    const int32_t value = pmxIntlGetObjPropInt(handler, key, &found);
    vars.max_file_bytes = found && value >= 1 ? value : kUnsetFileBytes;
    if (found && value < 1) {
        report(PMX_WARN, Msg::max_file_bytes_not_positive, handler->name, value);
    } else if (found && vars.max_files == 1) {
        report(PMX_WARN, Msg::max_file_bytes_without_backups, handler->name);
    }
}

void set_max_files(PmxObject* handler, FileVars& vars, const char* key) {
    int found = 0;
    const int32_t value = pmxIntlGetObjPropInt(handler, key, &found);
    vars.max_files = found && value >= 1 ? value : kDefaultFiles;
    if (found && value < 1) report(PMX_WARN, Msg::max_files_not_positive, handler->name, value);
}

// Keeps the numbers of old files apart from a digit at the end of the name: "_" goes between them.
OwnedText with_digit_apart(const char* name) {
    const int32_t digit = pmxFHTrailingBaseDigit(name);
    runtime::StringBuff apart;
    const bool made = CxStringBuffAppendStr(&apart, name) &&
                      (digit < 0 || CxStringBuffInsertStr(&apart, "_", digit + 1));
    return made ? apart.take() : nullptr;
}

void set_name(FileVars& vars, const char* name) {
    pmxFHGetFileNameParts(name, &vars);
    RakMemoryFree(std::exchange(
        vars.full_name,
        pmxSetFileNameParts(vars.dir_part, vars.base_name, vars.start_index, vars.extension)));
}

void set_file_name(PmxObject* handler, FileVars& vars, const char* key) {
    const char* const name = peek_object_property(handler, key);
    if (name == nullptr || *name == '\0') {
        report(PMX_WARN, Msg::property_empty, key, handler->name);
        return set_name(vars, kDefaultName);
    }
    const OwnedText apart = with_digit_apart(name);
    if (apart != nullptr) set_name(vars, apart.get());
}

void set_appending(PmxObject* handler, FileVars& vars, const char* key) {
    int found = 0;
    const int value = pmxIntlGetObjPropBool(handler, key, &found);
    vars.appending = !found || value;
}

// Reads one to four octal digits.
bool read_permission(const char* text, uint32_t& mode) {
    constexpr size_t kMaxDigits = 4;
    const size_t length = strspn(text, "01234567");
    if (length == 0 || length > kMaxDigits || text[length] != '\0') return false;
    mode = 0;
    for (; *text != '\0'; ++text) mode = mode * 8 + static_cast<uint32_t>(*text - '0');
    return true;
}

void set_permission(PmxObject* handler, FileVars& vars, const char* key, uint32_t& mode) {
    const char* const text = peek_object_property(handler, key);
    if (text == nullptr) return;
    close_log(handler, vars);
    if (!read_permission(text, mode) && vars.log_internal_errs) {
        report(PMX_WARN, Msg::bad_permission, text, handler->name);
    }
}

void pmxFileHandlerCfgPerms(PmxObject* handler, FileVars& vars, const char* key) {
    set_permission(handler, vars, key, vars.file_permission);
}

void pmxFileHandlerCfgDirPerms(PmxObject* handler, FileVars& vars, const char* key) {
    set_permission(handler, vars, key, vars.dir_permission);
}

void set_encoding(PmxObject* handler, FileVars& vars, const char* key) {
    const char* const name = peek_object_property(handler, key);
    mab_cs_free(std::exchange(vars.encoding, nullptr));
    if (name == nullptr) return;
    vars.encoding = mab_cs_new(name);
    if (vars.encoding == nullptr && vars.log_internal_errs) {
        report(PMX_WARN, Msg::code_set_not_loaded, name);
    }
}

void set_sem_key(PmxObject* handler, FileVars& vars, const char* key) {
    const int32_t value = pmxIntlGetObjPropInt(handler, key, nullptr);
    if (value != vars.sem_key) close_semaphore(vars);
    vars.sem_key = value;
}

void set_log_internal_errs(PmxObject* handler, FileVars& vars, const char*) {
    // Its own value does not count but that of "appending": files in use rely on it.
    int found = 0;
    const int value = pmxIntlGetObjPropBool(handler, "appending", &found);
    vars.log_internal_errs = !found || value;
}

enum class Closes { no, yes };  // the file, before the change takes effect

struct PropertyOfFile {
    const char* key;
    Closes closes;
    void (*apply)(PmxObject* handler, FileVars& vars, const char* key);
};
constexpr PropertyOfFile kProperties[] = {
    {"maxFileSize", Closes::yes, set_max_file_size},
    {"maxFileBytes", Closes::yes, set_max_file_bytes},
    {"maxFiles", Closes::yes, set_max_files},
    {"fileName", Closes::yes, set_file_name},
    {"appending", Closes::yes, set_appending},
    {"filePermission", Closes::no, pmxFileHandlerCfgPerms},  // closes it when it is there
    {"dirPermission", Closes::no, pmxFileHandlerCfgDirPerms},
    {"fileEncoding", Closes::yes, set_encoding},
    {"MPFileSemKey", Closes::yes, set_sem_key},
    {"logInternalErrs", Closes::no, set_log_internal_errs},
};

}  // namespace
}  // namespace vel::log

using namespace vel::log;

void* PmxFileHandlerFAllocVars(void) {
    auto* const vars = make_vars<FileVars>();
    if (vars != nullptr) set_name(*vars, kDefaultName);
    return vars;
}

void PmxFileHandlerFFreeVars(void* vars) {
    if (vars == nullptr) return;
    auto* const own = static_cast<FileVars*>(vars);
    check_descriptor(*own);
    close_file(*own);
    close_semaphore(*own);
    for (char* text : {own->full_name, own->dir_part, own->base_name, own->extension}) {
        RakMemoryFree(text);
    }
    mab_cs_free(own->encoding);
    RakMemoryFree(own);
}

void PmxFileHandlerFCfgChange(PmxObject* handler, const char* property) {
    FileVars* const vars = file_vars(handler);
    if (vars == nullptr || property == nullptr) return;
    const Busy busy(handler);
    for (const PropertyOfFile& row : kProperties) {
        if (strcmp(row.key, property) != 0) continue;
        if (row.closes == Closes::yes) close_log(handler, *vars);
        return row.apply(handler, *vars, property);
    }
    PmxBasicHandlerFCfgChange(handler, property);
}

void PmxFileHandlerFOpen(PmxObject* handler) {
    FileVars* const vars = file_vars(handler);
    if (vars == nullptr) return;
    const Busy busy(handler);
    open_log(handler, *vars, kNever);
}

void PmxFileHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t) {
    FileVars* const vars = file_vars(handler);
    if (vars == nullptr || event == nullptr || !handler->enabled) return;
    const Busy busy(handler);
    open_log(handler, *vars, event->time / kMillisPerSecond);
    const OwnedText record(pmxIntlHandlerDoFmt(handler, event));
    if (vars->is_open) write_text(*vars, record.get());
    PmxBasicObjectFLog(handler, event);
}

void PmxFileHandlerFClose(PmxObject* handler) {
    FileVars* const vars = file_vars(handler);
    if (vars == nullptr) return;
    const Busy busy(handler);
    close_log(handler, *vars);
}
