// What becomes of the records that are wanted: they are counted, summed up or shown.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "veltool/log_entry.h"
#include "veltool/log_output.h"
#include "veltool/log_translation.h"

namespace vel::tool {

class LogSink {
  public:
    LogSink() = default;
    virtual ~LogSink() = default;
    LogSink(const LogSink&) = delete;
    LogSink& operator=(const LogSink&) = delete;

    virtual void take(LogEntry& entry) = 0;
    // No record is to be expected soon. When that have been all so far, those that come are new.
    virtual void idle([[maybe_unused]] bool are_all) {}
    virtual void finish() = 0;
};

// Malformed records are counted apart, on standard error.
std::unique_ptr<LogSink> make_log_counter();

// A summary as a text or as JSON.
std::unique_ptr<LogSink> make_log_summary(bool is_json);

struct LogWriterOptions {
    std::optional<size_t> last;                   // so many records of those that are there
    std::unique_ptr<LogTranslation> translation;  // null: none
};
std::unique_ptr<LogSink> make_log_writer(std::unique_ptr<LogOutput> output,
                                         LogWriterOptions options);

}  // namespace vel::tool
