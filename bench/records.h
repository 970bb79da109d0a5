// What the benchmarks of log files share: the files, and how ours and log4cplus write a record.
#pragma once

#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

#include <memory>
#include <string>

#include "bench/peers.h"
#include "log/pmx_classes.h"
#include "tests/support/scratch_directory.h"

namespace bench {

// Where every call says to be in the source: with the date and the message 130 bytes.
inline constexpr const char* kFile = "server/connections/pool.cpp";
inline constexpr const char* kFunction = "open_connection";
inline constexpr int kLine = 417;

// The files of one library: in TMPDIR, so that all are on the same file system.
struct Files {
    const std::string& active() const { return active_; }

    // All of them together; the count is that of those with anything in them.
    std::string read(int* count = nullptr) const {
        std::string text;
        for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
            std::ifstream file(entry.path(), std::ios::binary);
            text.append(std::istreambuf_iterator<char>(file), {});
            if (count != nullptr && entry.file_size() > 0) ++*count;
        }
        return text;
    }

  private:
    ScratchDirectory directory_{std::filesystem::temp_directory_path()};
    std::string active_ = directory_.path() / "trace.log";
};

struct RecordingToolkit : OpenToolkit {
    static void write(int number, const char* text) {
        PmxLogDebugMin(pmx, kFile, kFunction, kLine, "reading %1$d entries of %2$s from the store",
                       PMX_INT, number, PMX_STRING, text, PMX_END);
    }

  protected:
    static PmxObject* add_formatting_handler(const char* handler_class) {
        PmxObject* const formatter = PmxGetObject("bench.formatter", "pmx_basicformatter");
        PmxObject* const handler = add_handler(handler_class);
        PmxHandlerSetFormatter(handler, formatter);
        PmxReleaseObject(formatter);
        return handler;
    }
};

// LOG4CPLUS_INFO_FMT with the place of above.
class RecordingLog4cplus {
  public:
    RecordingLog4cplus(const RecordingLog4cplus&) = delete;
    RecordingLog4cplus& operator=(const RecordingLog4cplus&) = delete;

    static void write(int number, const char* text) {
        if (!logger_.isEnabledFor(log4cplus::INFO_LOG_LEVEL)) return;
        LOG4CPLUS_MACRO_INSTANTIATE_SNPRINTF_BUF(buffer);
        log4cplus::detail::macro_forced_log(
            logger_, log4cplus::INFO_LOG_LEVEL,
            buffer.print("reading %d entries of %s from the store", number, text), kFile, kLine,
            kFunction);
    }

  protected:
    explicit RecordingLog4cplus(log4cplus::SharedAppenderPtr appender)
        : appender_(std::move(appender)) {
        appender_->setLayout(
            std::make_unique<log4cplus::PatternLayout>("%D{%Y-%m-%d %H:%M:%S.%q%z} %F %M %L %m%n"));
        logger_ = log4cplus::Logger::getInstance(kLogger);
        logger_.setLogLevel(log4cplus::INFO_LOG_LEVEL);
        logger_.addAppender(appender_);
    }
    ~RecordingLog4cplus() { logger_.removeAppender(appender_); }

  private:
    log4cplus::SharedAppenderPtr appender_;
    static inline log4cplus::Logger logger_;
};

}  // namespace bench
