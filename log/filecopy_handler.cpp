// "pmx_ffdc_filecopy_handler": captures files when an event triggers it.
#include <cstring>
#include <type_traits>
#include <utility>

#include "log/ascii_text.h"
#include "log/classes.h"
#include "log/event.h"
#include "log/ffdc.h"
#include "log/file_copy.h"
#include "log/message.h"
#include "log/object.h"
#include "runtime/owned.h"

namespace vel::log {

constinit const ClassDefinition kFileCopyHandlerClass{
    .name = "pmx_ffdc_filecopy_handler",
    .kind = PMX_HANDLER,
    .description = Msg::filecopy_handler,
    .life = {PmxFileCopyHandlerFAllocVars, PmxFileCopyHandlerFFreeVars,
             PmxFileCopyHandlerFCfgChange},
    .handler = {PmxFileCopyHandlerFProcess, PmxFFDCTriggerHandlerFOpen,
                PmxFFDCTriggerHandlerFClose},
};

namespace {

using runtime::OwnedText;

struct FileCopyVars {
    FFDCVars ffdc;                  // first: what all capturing handlers share
    char* files_to_copy = nullptr;  // null: not set, as the next two
    char* zip_file_name = nullptr;  // null: files are copied one by one
    char* zip_command_path = nullptr;
};
static_assert(std::is_standard_layout_v<FileCopyVars>);  // so that ffdc is where the record is

FileCopyVars* vars_of(const PmxObject* handler) {
    return vars<FileCopyVars>(handler, PmxFileCopyHandlerFFreeVars);
}

char* copy_of(const PmxObject* handler, char* FileCopyVars::*text) {
    const FileCopyVars* const vars = vars_of(handler);
    return vars == nullptr ? nullptr : RakStringDup(vars->*text);
}

constexpr Property kProperties[] = {
    {"filesToCopy", apply_text<pmxIntlFileCopyHandlerSetFiles>},
    {"zipFileName", apply_text<pmxIntlFileCopyHandlerSetZipFile>},
    {"zipCmdPath", apply_text<pmxIntlFileCopyHandlerSetZipCmdPath>},
};

// Captures the files for an event, if there is space for them. It works on copies: who hears of
// what fails may change the handler.
void capture(PmxObject* handler, PmxEvent* event) {
    const FileCopyVars* const vars = vars_of(handler);
    const bool zips = vars->zip_file_name != nullptr;
    const OwnedText files(RakStringDup(vars->files_to_copy));
    const OwnedText archive(RakStringDup(vars->zip_file_name));
    const OwnedText zip_program(RakStringDup(vars->zip_command_path));
    const ListedFiles listed = look_at_files(files.get());
    if (!pmxIsFFDCSpaceAvailable(handler, listed.bytes)) return;
    const OwnedText directory(pmxMakeFFDCDir(handler, event));
    if (directory == nullptr) return;
    if (!zips) return pmxFileCopyHandlerCopyToDir(files.get(), directory.get(), handler->name);
    if (archive == nullptr) return;
    pmxFileCopyHandlerCopyToZip(zip_program.get(), files.get(), listed.count, directory.get(),
                                archive.get(), handler->name);
}

}  // namespace
}  // namespace vel::log

using namespace vel::log;

void* PmxFileCopyHandlerFAllocVars(void) { return make_vars<FileCopyVars>(); }

void PmxFileCopyHandlerFFreeVars(void* vars) {
    if (vars == nullptr) return;
    auto* const own = static_cast<FileCopyVars*>(vars);
    for (char* text : {own->files_to_copy, own->zip_file_name, own->zip_command_path}) {
        RakMemoryFree(text);
    }
    free_ffdc_vars(own->ffdc);
    RakMemoryFree(own);
}

void PmxFileCopyHandlerFCfgChange(PmxObject* handler, const char* property) {
    if (handler == nullptr || property == nullptr) return;
    if (apply_property(kProperties, handler, property)) return;
    PmxFFDCTriggerHandlerFCfgChange(handler, property);
}

void PmxFileCopyHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t) {
    FileCopyVars* const vars = vars_of(handler);
    if (vars == nullptr || event == nullptr) return;
    // One that is switched off captures, too; it only hands nothing on.
    const Busy busy(handler);
    if (!vars->ffdc.is_open) PmxFFDCTriggerHandlerFOpen(handler);
    if (pmxShouldFFDCActionOccur(handler, event)) capture(handler, event);
    PmxBasicObjectFLog(handler, event);
}

char* pmxIntlFileCopyHandlerGetFiles(PmxObject* handler) {
    return copy_of(handler, &FileCopyVars::files_to_copy);
}

void pmxIntlFileCopyHandlerSetFiles(PmxObject* handler, const char* files) {
    FileCopyVars* const vars = vars_of(handler);
    if (vars != nullptr) set_text(vars->files_to_copy, files);
}

char* pmxIntlFileCopyHandlerGetZipFile(PmxObject* handler) {
    return copy_of(handler, &FileCopyVars::zip_file_name);
}

void pmxIntlFileCopyHandlerSetZipFile(PmxObject* handler, const char* name) {
    static constexpr const char* kExtension = ".zip";
    FileCopyVars* const vars = vars_of(handler);
    if (vars == nullptr || name == nullptr) return;
    if (*name == '\0') return RakMemoryFree(std::exchange(vars->zip_file_name, nullptr));
    const char* const dot = strrchr(name, '.');
    const bool complete = dot != nullptr && same_ignoring_case(dot, kExtension);
    const char* const parts[] = {name, complete ? "" : kExtension};
    const OwnedText full(pmxIntlStrACat(2, parts, ""));
    set_text(vars->zip_file_name, full.get());
}

char* pmxIntlFileCopyHandlerGetZipCmdPath(PmxObject* handler) {
    return copy_of(handler, &FileCopyVars::zip_command_path);
}

void pmxIntlFileCopyHandlerSetZipCmdPath(PmxObject* handler, const char* path) {
    FileCopyVars* const vars = vars_of(handler);
    if (vars == nullptr || path == nullptr) return;
    if (!pmxIsFilenameUnsafe(path) && pmxFileExists(path)) {
        return set_text(vars->zip_command_path, path);
    }
    const Busy busy(handler);
    report(PMX_ERROR, Msg::zip_command_missing, path);
}
