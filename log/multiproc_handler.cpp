// "pmx_multiproc_filehandler": several processes write one file, each record under a lock that they
// share. The others keep the file open, so a full one is not renamed but copied and emptied.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "log/classes.h"
#include "log/copy_blocks.h"
#include "log/event.h"
#include "log/file_log.h"
#include "log/message.h"
#include "log/object.h"
#include "runtime/owned.h"
#include "runtime/status.h"

namespace vel::log {

constinit const ClassDefinition kMultiProcFileHandlerClass{
    .name = "pmx_multiproc_filehandler",
    .kind = PMX_HANDLER,
    .life = {PmxFileHandlerFAllocVars, PmxFileHandlerFFreeVars, PmxFileHandlerFCfgChange},
    .handler = {PmxMultiProcFileHandlerFProcess, PmxMultiProcFileHandlerFOpen,
                PmxMultiProcFileHandlerFClose},
};

namespace {

using runtime::error_of;
using runtime::is_ok;
using runtime::OwnedText;

// What fails while the lock is held. It is reported when it is no longer: a report may lead to
// another handler that waits for the same lock.
struct Findings {
    Failures of_old_files;
    bool backup_not_opened = false;
    bool active_not_read = false;
    bool backup_not_written = false;
    Failures of_active_file;

    bool note(CxStatus status) {
        if (is_ok(status)) return true;
        if (CxStatus* const place = of_active_file.add()) *place = status;
        return false;
    }
};

void report_rollover(const FileVars& vars, const Findings& findings) {
    const OwnedText active = numbered_name(vars, 0), backup = numbered_name(vars, 1);
    if (active == nullptr || backup == nullptr) return;
    // Not through the error logger, as installations know it.
    if (findings.backup_not_opened) printf("ERR opening %s pre rollover\n", backup.get());
    if (!vars.log_internal_errs) return;
    if (findings.active_not_read) report(PMX_WARN, Msg::active_log_not_read, active.get());
    if (findings.backup_not_written) report(PMX_WARN, Msg::backup_log_not_written, backup.get());
}

void report_findings(const FileVars& vars, const Findings& findings) {
    for (const CxStatus failure : findings.of_old_files) pmxIntlReportPlatformErr(failure);
    if (findings.active_not_read || findings.backup_not_written) report_rollover(vars, findings);
    for (const CxStatus failure : findings.of_active_file) pmxIntlReportPlatformErr(failure);
}

// ---- The lock

bool pmxMultiProcFileHandlerInitSem(FileVars& vars) {
    constexpr int32_t kPrivateKey = 0;  // each time it is another semaphore
    if (vars.sem_initialised) return true;
    if (!done(CxSemOpen(&vars.semaphore, vars.sem_key))) return false;
    vars.sem_initialised = true;
    if (vars.sem_key == kPrivateKey) vars.sem_creator = CxProcessGetCurrentID();
    return true;
}

bool pmxMultiProcFileHandlerLockSem(FileVars& vars) {
    const CxStatus status = CxSemLock(vars.semaphore);
    if (done(status)) return true;
    // Somebody has removed it: the next event finds that of the others, or makes it.
    if (error_of(status) == EIDRM || error_of(status) == EINVAL) {
        close_semaphore(vars);
        close_file(vars);
    }
    return false;
}

void pmxMultiProcFileHandlerUnlockSem(const FileVars& vars, Findings& findings) {
    findings.note(CxSemUnlock(vars.semaphore));
}

// ---- Rolling over

// Opens the file that takes what has been written; an older one was moved out of its way before.
// Should there be something all the same, nothing is followed, waited for or cut off.
runtime::OpenFile open_backup(const FileVars& vars) {
    const OwnedText name = numbered_name(vars, 1);
    CxFile file = -1;
    constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK;
    if (name != nullptr) CxFileOpenMode(&file, name.get(), kFlags, vars.file_permission);
    Look look;
    const bool regular = file >= 0 && is_ok(look_at(file, "", AT_EMPTY_PATH, look)) && look.regular;
    if (!regular && file >= 0) CxFileClose(&file);
    return runtime::OpenFile(file);
}

void copy_to_backup(const FileVars& vars, Findings& findings) {
    runtime::OpenFile backup = open_backup(vars);
    findings.backup_not_opened = findings.backup_not_written = !backup;
    if (!backup) return;
    const CopyOutcome outcome = copy_blocks(vars.file, backup.get());
    CxFile file = backup.release();
    const bool closed = is_ok(CxFileClose(&file));
    findings.active_not_read = !outcome.read;
    findings.backup_not_written = !outcome.written || !closed;
}

// Who dies in the middle of it leaves records in both files, and loses none.
void pmxMultiProcFileHandlerRollActiveLog(FileVars& vars, Findings& findings) {
    findings.active_not_read = !is_ok(CxFileSeek(vars.file, 0, SEEK_SET));
    if (!findings.active_not_read) copy_to_backup(vars, findings);
    // Emptied whether or not it could be copied, or it would grow without limit.
    if (findings.note(CxFileTrunc(vars.file))) vars.current_size = 0;
    findings.note(CxFileSeek(vars.file, 0, SEEK_SET));
}

void pmxMultiProcFileHandlerDoRollover(FileVars& vars, Findings& findings) {
    shift_numbers(vars, 1, findings.of_old_files);
    pmxMultiProcFileHandlerRollActiveLog(vars, findings);
}

// ---- Records

// Whether the file ends in the middle of a line, as a process leaves it that is killed while it
// writes, and the record is to have a line of its own. What was there before the first record of
// this process is left as it is. (No record in EBCDIC ends with this byte.)
bool follows_torn_line(const FileVars& vars, const EncodedText& record) {
    const bool others_wrote = vars.own_end >= 0 && vars.own_end != vars.current_size;
    if (!others_wrote || vars.current_size == 0) return false;
    char last = '\n';
    const bool is_line = record.bytes()[record.length() - 1] == '\n';
    return is_line && pread(vars.file, &last, 1, vars.current_size - 1) == 1 && last != '\n';
}

void write_at_end(FileVars& vars, const EncodedText& record, Findings& findings) {
    if (record.length() == 0) return;
    CxStatus status = runtime::ok();
    if (follows_torn_line(vars, record)) status = write_all(vars, "\n", 1);
    if (is_ok(status)) status = write_all(vars, record.bytes(), record.length());
    vars.own_end = findings.note(status) ? vars.current_size : 0;
}

enum class Written { yes, not_ours };

// With the lock held.
Written write_record(FileVars& vars, const EncodedText& record, Findings& findings) {
    Look look;
    if (findings.note(look_at(vars.file, "", AT_EMPTY_PATH, look))) vars.current_size = look.size;
    if (look.identity != vars.identity) return Written::not_ours;
    // One that has lost its name is nobody's active file any more.
    if (is_full(vars) && is_in_place(vars)) pmxMultiProcFileHandlerDoRollover(vars, findings);
    write_at_end(vars, record, findings);
    return Written::yes;
}

void open_shared(FileVars& vars) {
    if (vars.full_name == nullptr || vars.is_open || !pmxMultiProcFileHandlerInitSem(vars)) return;
    make_directories(vars);
    vars.is_open = open_named(vars, O_APPEND);
}

// Once a second it is looked whether somebody has removed or renamed the file.
void look_for_file(FileVars& vars, int64_t second) {
    if (!vars.is_open || second == vars.looked_second) return;
    vars.looked_second = second;
    check_descriptor(vars);
    if (!is_in_place(vars)) close_file(vars);
}

void log_record(FileVars& vars, const EncodedText& record) {
    constexpr int kTries = 2;  // the second one after the program has closed all descriptors
    Written written = Written::not_ours;
    for (int i = 0; i < kTries && written == Written::not_ours; ++i) {
        open_shared(vars);
        if (!vars.is_open || !pmxMultiProcFileHandlerLockSem(vars)) return;
        Findings findings;
        written = write_record(vars, record, findings);
        pmxMultiProcFileHandlerUnlockSem(vars, findings);
        if (written == Written::not_ours) let_go(vars);
        report_findings(vars, findings);
    }
}

}  // namespace
}  // namespace vel::log

using namespace vel::log;

void PmxMultiProcFileHandlerFOpen(PmxObject* handler) {
    FileVars* const vars = file_vars(handler);
    if (vars == nullptr) return;
    const Busy busy(handler);
    open_shared(*vars);
}

void PmxMultiProcFileHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t) {
    FileVars* const vars = file_vars(handler);
    if (vars == nullptr || event == nullptr || !handler->enabled) return;
    const Busy busy(handler);
    look_for_file(*vars, event->time / kMillisPerSecond);
    open_shared(*vars);
    if (vars->is_open) {
        const OwnedText text(pmxIntlHandlerDoFmt(handler, event));
        const EncodedText record(*vars, text == nullptr ? "" : text.get());
        if (record) log_record(*vars, record);
    }
    PmxBasicObjectFLog(handler, event);
}

void PmxMultiProcFileHandlerFClose(PmxObject* handler) {
    FileVars* const vars = file_vars(handler);
    if (vars == nullptr) return;
    const Busy busy(handler);
    check_descriptor(*vars);
    close_file(*vars);
}
