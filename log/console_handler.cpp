// "pmx_consolehandler" and "pmx_stderrhandler": records go to standard output or standard error in
// the local code set.
#include <cstdio>

#include "log/classes.h"
#include "log/message.h"
#include "log/object.h"
#include "runtime/owned.h"

namespace vel::log {

constinit const ClassDefinition kConsoleHandlerClass{
    .name = "pmx_consolehandler",
    .kind = PMX_HANDLER,
    .description = Msg::console_handler,
    .life = {PmxConsoleHandlerFAllocVars, PmxConsoleHandlerFFreeVars, PmxBasicHandlerFCfgChange},
    .handler = {PmxConsoleHandlerFProcess, PmxConsoleHandlerFOpen, PmxConsoleHandlerFClose},
};

constinit const ClassDefinition kStderrHandlerClass{
    .name = "pmx_stderrhandler",
    .kind = PMX_HANDLER,
    .life = {PmxConsoleHandlerFAllocVars, PmxConsoleHandlerFFreeVars, PmxBasicHandlerFCfgChange},
    .handler = {PmxStderrHandlerFProcess, PmxConsoleHandlerFOpen, PmxConsoleHandlerFClose},
};

namespace {

using runtime::OwnedText;

struct ConsoleVars {
    uint8_t opened = 0;
};

ConsoleVars* vars_of(const PmxObject* handler) {
    return vars<ConsoleVars>(handler, PmxConsoleHandlerFFreeVars);
}

void print_record(PmxObject* handler, PmxEvent* event, FILE* stream) {
    const ConsoleVars* const vars = vars_of(handler);
    if (vars == nullptr || event == nullptr || !handler->enabled) return;
    if (vars->opened == 0) PmxConsoleHandlerFOpen(handler);
    const OwnedText record(pmxIntlHandlerDoFmt(handler, event));
    if (record != nullptr) pmxIntlPrintText(stream, record.get());
    PmxBasicObjectFLog(handler, event);
}

}  // namespace
}  // namespace vel::log

using namespace vel::log;

void* PmxConsoleHandlerFAllocVars(void) { return make_vars<ConsoleVars>(); }

void PmxConsoleHandlerFFreeVars(void* vars) { RakMemoryFree(vars); }

void PmxConsoleHandlerFOpen(PmxObject* handler) {
    ConsoleVars* const vars = vars_of(handler);
    if (vars == nullptr || vars->opened == 1) return;
    // Both classes have this operation: the header of standard error goes to standard output, too.
    const OwnedText header(pmxIntlHandlerGetFmtHeader(handler));
    if (header != nullptr) pmxIntlPrintText(stdout, header.get());
    vars->opened = 1;
}

void PmxConsoleHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t) {
    print_record(handler, event, stdout);
}

void PmxStderrHandlerFProcess(PmxObject* handler, PmxEvent* event, uint32_t) {
    print_record(handler, event, stderr);
}

void PmxConsoleHandlerFClose(PmxObject* handler) {
    ConsoleVars* const vars = vars_of(handler);
    if (vars == nullptr || vars->opened == 0) return;
    const OwnedText trailer(pmxIntlHandlerGetFmtTrailer(handler));  // to standard output, as above
    if (trailer != nullptr) pmxIntlPrintText(stdout, trailer.get());
    vars->opened = 0;
}
