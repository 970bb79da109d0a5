// The message log and the trace.
#include <cstdio>
#include <cstdlib>

#include "common/tool.h"
#include "guid/host_guid.h"

PmxObject* myLog;
PmxObject* trace;
char* mabDir;

namespace {

constexpr char kMabDir[] = "MABDIR=%scodeset";
constexpr char kProperties[] = "%svelguid.properties";
constexpr const char* kTraceFile = "../common/main";  // by which the trace's readers know it

using InstallPath = char[sizeof vel::guid::kInstallPath];

// Where the tables of code sets are; -1: no memory.
int32_t set_mab_dir(const InstallPath& directory) {
    constexpr size_t kSize = sizeof kMabDir + sizeof directory;
    mabDir = static_cast<char*>(malloc(kSize));
    if (!mabDir) return -1;
    snprintf(mabDir, kSize, kMabDir, directory);
    return putenv(mabDir) == 0 ? 0 : -1;
}

void open_logs(const InstallPath& directory) {
    char path[sizeof kProperties + sizeof directory];
    snprintf(path, sizeof path, kProperties, directory);
    if (PmxOpenToolkit(path) == 1) {
        myLog = PmxGetObject("msg.velguid", nullptr);
        trace = PmxGetObject("trace.velguid", nullptr);
    }
    if (!myLog) fputs("ERROR: could not initialize logger 'myLog'\n", stderr);
}

}  // namespace

const char* to_utf8(const char* text, ToolText& utf8) {
    utf8[0] = '\0';
    (void)mab_to_utf8(nullptr, text, -1, utf8, sizeof utf8);
    return utf8;
}

int32_t start_logging() {
    InstallPath directory;
    (void)vel::guid::psGetInstallPath(directory);
    if (set_mab_dir(directory) != 0) return -1;
    open_logs(directory);
    trace_text("main", kNlsPathLine, "NlS Path Specification: %s", vel::guid::nlsPath);
    trace_text("main", kMabDirLine, "MAB Path Specification: %s", mabDir);
    return 0;
}

void trace_text(const char* function, TraceLine line, const char* format, const char* text) {
    if (!PmxIsLoggable(trace, PMX_DEBUG_MIN)) return;
    ToolText utf8;
    PmxLogDebugMin(trace, kTraceFile, function, line, format, PMX_STRING, to_utf8(text, utf8),
                   PMX_END);
}

void log_exit(const char* function, int32_t status) {
    if (status == 0) return;
    if (myLog) {
        PmxLogError(myLog, text_of(ToolMsg::catalog_name), kToolCatalogSet,
                    key_of(ToolMsg::return_status), text_of(ToolMsg::return_status), PMX_STRING,
                    function, PMX_INT, status, PMX_END);
    }
    ToolText text;
    snprintf(text, sizeof text, "funcName '%s' status is %d.", function, status);
    trace_text("Exit", kExitLine, "Exiting: %s", text);
}

void log_bare(ToolMsg message) {
    if (!myLog) return;
    // Deliberate: no parameters, so a log shows "%1$s" as the table has it. The trace has what was
    // typed.
    PmxLogError(myLog, text_of(ToolMsg::catalog_name), kToolCatalogSet, key_of(message),
                text_of(message), PMX_END);
}
