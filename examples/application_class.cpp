// application_class.cpp: a handler class of the application's own, which keeps the last records in
// memory and prints them when it ends. Run it with examples/application_class.properties.
//
// Operations run with the toolkit's lock held: they call no Pmx... function that takes it, but the
// pmxIntl... ones, and operations of the class that they build on. Nothing may be thrown through
// the toolkit: noexcept ends the program instead.
#include <cstdio>
#include <deque>
#include <string>
#include <utility>

#include "pmx.h"
#include "rak.h"

namespace {

struct Recent {  // what each object of the class carries
    std::deque<std::string> records;
    std::size_t most = 10;  // the property "records"
    bool opened = false;
};

void* alloc_vars() noexcept { return new Recent; }

Recent* recent_of(PmxObject* handler) { return static_cast<Recent*>(pmxIntlGetObjVars(handler)); }

void print_and_forget(Recent& recent) {
    for (const std::string& record : recent.records) pmxIntlPrintText(stdout, record.c_str());
    recent.records.clear();
}

void cfg_change(PmxObject* handler, const char* property) noexcept {  // the property was set
    Recent* const recent = recent_of(handler);
    if (recent == nullptr || std::string(property) != "records") {
        PmxBasicHandlerFCfgChange(handler, property);  // formatterName, logging ...
    } else if (const int32_t most = pmxIntlGetObjPropInt(handler, property, nullptr); most > 0) {
        recent->most = static_cast<std::size_t>(most);
    }
}

void open(PmxObject* handler) noexcept {
    Recent* const recent = recent_of(handler);
    if (recent == nullptr || std::exchange(recent->opened, true)) return;
    std::puts("The last records:");
}

void process(PmxObject* handler, PmxEvent* event, uint32_t) noexcept {
    Recent* const recent = recent_of(handler);
    if (recent == nullptr || !pmxIntlIsObjectEnabled(handler)) return;
    open(handler);  // the toolkit leaves it to the handler when
    char* const record = pmxIntlHandlerDoFmt(handler, event);
    if (record != nullptr) recent->records.emplace_back(record);
    RakMemoryFree(record);  // what the toolkit returns is yours
    while (recent->records.size() > recent->most) recent->records.pop_front();
}

// When the last logger is released: this runs, and then free_vars. A handler that is left ends with
// the toolkit, and there free_vars comes first.
void close(PmxObject* handler) noexcept {
    if (Recent* const recent = recent_of(handler)) print_and_forget(*recent);
}

void free_vars(void* vars) noexcept {
    print_and_forget(*static_cast<Recent*>(vars));
    delete static_cast<Recent*>(vars);
}

}  // namespace

int main(int argc, char** argv) {
    // Before the toolkit is opened, so that even its own error logger may have such a handler.
    PmxAddHandlerClass("recent", nullptr, alloc_vars, free_vars, cfg_change, process, open, close);
    if (argc != 2 || !PmxOpenToolkit(argv[1])) return 1;
    PmxObject* const logger = PmxGetObject("app.orders", nullptr);
    for (int32_t order = 1; order <= 5; ++order) {
        PmxLogInfo(logger, nullptr, 0, 0, "Order %1$d is packed.", PMX_INT, order, PMX_END);
    }
    PmxReleaseObject(logger);
    PmxCloseToolkit();
}
