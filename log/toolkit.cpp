// Opening and closing the toolkit.
#include "log/toolkit.h"

#include <ctime>

#include "log/classes.h"
#include "log/config.h"
#include "log/file_watch.h"
#include "log/message.h"
#include "log/object.h"
#include "log/properties_reader.h"
#include "runtime/owned.h"

namespace vel::log {

constinit Toolkit toolkit;

namespace {

using MabText = runtime::Owned<char, mab_free>;

constexpr const char* kErrorLogger = "pmxlog.errorLogger";
constexpr const char* kStderrHandler = "pmxlog.stderrHandler";
constexpr const char* kDefaultFormatter = "pmxlog.defaultFormatter";

// What the properties file has made stands as it is; null: nothing of that name.
ObjectRef existing(const char* name) {
    return ObjectRef::adopt(StringToObjMap::get(toolkit.objects, name));
}

ObjectRef make_stderr_handler() {
    ObjectRef handler = ObjectRef::adopt(pmxIntlGetObject(kStderrHandler, "pmx_stderrhandler"));
    const ObjectRef formatter =
        ObjectRef::adopt(pmxIntlGetObject(kDefaultFormatter, "pmx_basicformatter"));
    pmxIntlHandlerSetFormatter(handler.get(), formatter.get());
    return handler;
}

void set_up_error_logger() {
    ObjectRef logger = existing(kErrorLogger);
    if (!logger) {
        logger = ObjectRef::adopt(pmxIntlGetObject(kErrorLogger, "pmx_basiclogger"));
        ObjectRef handler = existing(kStderrHandler);
        if (!handler) handler = make_stderr_handler();
        pmxIntlAddListener(logger.get(), handler.get());
    }
    toolkit.error_logger = logger.release();
}

// Paths are in the local code set.
void print_not_read(const char* path) {
    int32_t written = 0;
    const MabText text(
        mab_tou_alloc(nullptr, path, static_cast<int32_t>(strnlen(path, INT32_MAX)), &written));
    print_error(text_of(Msg::properties_not_read), text.get());
}

}  // namespace
}  // namespace vel::log

using namespace vel::log;

int pmxIntlOpenToolkit(const char* path) {
    if (toolkit.open) return 1;
    tzset();  // localtime_r need not look at the zone
    pmxI18InitMab();
    open_log_manager();
    register_builtin_classes();
    if (path != nullptr && !pmxDoReadProps(path, nullptr)) {
        print_not_read(path);
        pmxIntlCloseToolkit();
        return 0;
    }
    set_up_error_logger();
    toolkit.open = true;
    return 1;
}

void pmxIntlCloseToolkit() {
    close_log_manager();
    // Its end comes with that of the others.
    if (PmxObject* const logger = std::exchange(toolkit.error_logger, nullptr))
        --logger->references;
    end_objects();
    forget_watches();
    free_classes();
    pmxI18UninitMab();
    toolkit.open = false;
}

int pmxIntlLoadAdditionalProperties(const char* path) {
    if (!toolkit.open) return pmxIntlOpenToolkit(path);
    return path == nullptr || pmxDoReadProps(path, nullptr);
}
