// The logging calls, and the toolkit's own messages.
#define PMX_LOG_NO_INLINE  // here is what the inline forms call

#include <algorithm>
#include <cstdarg>
#include <cstdlib>

#include "log/api_lock.h"
#include "log/ascii_text.h"
#include "log/event.h"
#include "log/object.h"
#include "log/toolkit.h"

namespace vel::log {
namespace {

// What a call logs, besides its typed arguments.
struct Record {
    int32_t level;
    bool is_message;
    const char* catalog = nullptr;
    uint32_t set = 0;
    uint32_t key = 0;
    const char* text = nullptr;
    SourcePlace place{};
};

// An event of a call, on the stack: threads that log in turn need not hand it from one processor to
// the other.
class CallEvent {
  public:
    CallEvent(const Record& record, va_list arguments)
        : event_(begin_event(&block_, record.level, record.catalog, record.set, record.key,
                             record.text, arguments)) {
        if (event_ == nullptr) return;
        event_->is_message = record.is_message;
        event_->place = &record.place;
    }
    ~CallEvent() { end_event(event_); }
    CallEvent(const CallEvent&) = delete;
    CallEvent& operator=(const CallEvent&) = delete;

    void deliver_to(PmxObject* logger) {
        const PmxLogOp log =
            is_kind(logger, PMX_LOGGER) && logger->enabled ? logger->cls->logger.log : nullptr;
        if (log == nullptr || event_ == nullptr) return;
        time_event(event_);
        const Delivery delivery(logger);
        if (delivery) log(logger, event_);
    }

  private:
    EventBlock block_;
    PmxEvent* event_;  // null: no memory
};

// What all logging calls come down to, but for those that are not loggable: they have returned by
// then. The arguments are copied before the lock is taken, so that others need not wait for that.
[[gnu::noinline]] void log_record(PmxObject* logger, const Record& record, va_list arguments) {
    CallEvent event(record, arguments);
    const ApiLock lock;
    if (lock) event.deliver_to(logger);
}

void log_message(PmxObject* logger, int32_t level, const char* catalog, uint32_t set, uint32_t key,
                 const char* text, va_list arguments) {
    if (!PmxIsLoggable(logger, level)) return;
    const Record record{.level = level,
                        .is_message = true,
                        .catalog = catalog,
                        .set = set,
                        .key = key,
                        .text = text};
    log_record(logger, record, arguments);
}

void log_debug(PmxObject* logger, int32_t level, const char* file, const char* function,
               int32_t line, const char* text, va_list arguments) {
    if (!PmxIsLoggable(logger, level)) return;
    const Record record{.level = level,
                        .is_message = false,
                        .text = text,
                        .place = {.file = file, .function = function, .line = line}};
    log_record(logger, record, arguments);
}

struct LevelWord {
    const char* word;
    int32_t level;
};
constexpr LevelWord kLevelWords[] = {
    {"FATAL", PMX_FATAL},
    {"ERROR", PMX_ERROR},
    {"WARN", PMX_WARN},
    {"INFO", PMX_INFO},
    {"DEBUG_MIN", PMX_DEBUG_MIN},
    {"MIN", PMX_DEBUG_MIN},
    {"DEBUG_MID", PMX_DEBUG_MID},
    {"MID", PMX_DEBUG_MID},
    {"DEBUG_MAX", PMX_DEBUG_MAX},
    {"MAX", PMX_DEBUG_MAX},
    {"ALL", PMX_ALL},
    {"OFF", PMX_OFF},
};

}  // namespace
}  // namespace vel::log

using namespace vel::log;

int PmxIsLoggable(const PmxObject* logger, int32_t level) {
    if (logger == nullptr || !logger->enabled.load(std::memory_order_relaxed)) return 0;
    if (level == PMX_NO_LEVEL) return 1;
    const int32_t own = logger->level.load(std::memory_order_relaxed);
    return own == PMX_NO_LEVEL || own <= level;
}

int32_t PmxGetLevelFromString(const char* text) {
    if (text == nullptr) return PMX_NO_LEVEL;
    char* end = nullptr;
    const long number = strtol(text, &end, 10);
    if (end != text) {
        return static_cast<int32_t>(std::clamp<long>(number, INT32_MIN, INT32_MAX));
    }
    for (const LevelWord& row : kLevelWords) {
        if (same_start_ignoring_case(text, row.word)) return row.level;
    }
    return PMX_NO_LEVEL;
}

void pmxIntlLogVA(int32_t level, uint32_t number, const char* text, ...) {
    // One at a time: what goes wrong while a report is delivered would only lead back here.
    if (toolkit.delivering_report || !PmxIsLoggable(toolkit.error_logger, level)) return;
    toolkit.delivering_report = true;
    va_list arguments;
    va_start(arguments, text);
    const Record record{.level = level,
                        .is_message = true,
                        .catalog = text_of(Msg::catalog_name),
                        .set = kMessageSet,
                        .key = number,
                        .text = text};
    CallEvent(record, arguments).deliver_to(toolkit.error_logger);
    va_end(arguments);
    toolkit.delivering_report = false;
}

// Messages

void PmxLogFatalVA(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                   const char* text, va_list arguments) {
    log_message(logger, PMX_FATAL, catalog, set, key, text, arguments);
}

void PmxLogFatal(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                 const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    PmxLogFatalVA(logger, catalog, set, key, text, arguments);
    va_end(arguments);
}

void PmxLogErrorVA(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                   const char* text, va_list arguments) {
    log_message(logger, PMX_ERROR, catalog, set, key, text, arguments);
}

void PmxLogError(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                 const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    PmxLogErrorVA(logger, catalog, set, key, text, arguments);
    va_end(arguments);
}

void PmxLogWarnVA(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                  const char* text, va_list arguments) {
    log_message(logger, PMX_WARN, catalog, set, key, text, arguments);
}

void PmxLogWarn(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    PmxLogWarnVA(logger, catalog, set, key, text, arguments);
    va_end(arguments);
}

void PmxLogInfoVA(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                  const char* text, va_list arguments) {
    log_message(logger, PMX_INFO, catalog, set, key, text, arguments);
}

void PmxLogInfo(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    PmxLogInfoVA(logger, catalog, set, key, text, arguments);
    va_end(arguments);
}

void PmxLogMsgVA(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key,
                 const char* text, va_list arguments) {
    log_message(logger, PMX_NO_LEVEL, catalog, set, key, text, arguments);
}

void PmxLogMsg(PmxObject* logger, const char* catalog, uint32_t set, uint32_t key, const char* text,
               ...) {
    va_list arguments;
    va_start(arguments, text);
    PmxLogMsgVA(logger, catalog, set, key, text, arguments);
    va_end(arguments);
}

// Text

void PmxLogTextVA(PmxObject* logger, const char* text, va_list arguments) {
    log_debug(logger, PMX_NO_LEVEL, nullptr, nullptr, 0, text, arguments);
}

void PmxLogText(PmxObject* logger, const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    PmxLogTextVA(logger, text, arguments);
    va_end(arguments);
}

void PmxLogDebugMaxVA(PmxObject* logger, const char* file, const char* function, int32_t line,
                      const char* text, va_list arguments) {
    log_debug(logger, PMX_DEBUG_MAX, file, function, line, text, arguments);
}

void PmxLogDebugMax(PmxObject* logger, const char* file, const char* function, int32_t line,
                    const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    PmxLogDebugMaxVA(logger, file, function, line, text, arguments);
    va_end(arguments);
}

void PmxLogDebugMidVA(PmxObject* logger, const char* file, const char* function, int32_t line,
                      const char* text, va_list arguments) {
    log_debug(logger, PMX_DEBUG_MID, file, function, line, text, arguments);
}

void PmxLogDebugMid(PmxObject* logger, const char* file, const char* function, int32_t line,
                    const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    PmxLogDebugMidVA(logger, file, function, line, text, arguments);
    va_end(arguments);
}

void PmxLogDebugMinVA(PmxObject* logger, const char* file, const char* function, int32_t line,
                      const char* text, va_list arguments) {
    log_debug(logger, PMX_DEBUG_MIN, file, function, line, text, arguments);
}

void PmxLogDebugMin(PmxObject* logger, const char* file, const char* function, int32_t line,
                    const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    PmxLogDebugMinVA(logger, file, function, line, text, arguments);
    va_end(arguments);
}
