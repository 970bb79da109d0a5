#include "veltool/log_sink.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <deque>
#include <iostream>
#include <utility>

#include "veltool/log_stats.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

class LogCounter : public LogSink {
  public:
    void take(LogEntry& entry) override { ++(entry.is_malformed() ? malformed_ : count_); }
    void finish() override {
        std::cout << count_ << '\n';
        if (malformed_ > 0) complain("malformed records: " + std::to_string(malformed_));
    }

  private:
    uint64_t count_ = 0, malformed_ = 0;
};

size_t terminal_columns() {
    constexpr size_t kUsualColumns = 80;
    winsize size{};
    const bool is_known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return is_known ? size.ws_col : kUsualColumns;
}

class LogSummary : public LogSink {
  public:
    explicit LogSummary(bool is_json) : is_json_(is_json) {}

    void take(LogEntry& entry) override { stats_.add(entry); }
    void finish() override {
        std::cout << (is_json_ ? stats_.json() : stats_.text(terminal_columns()));
    }

  private:
    bool is_json_;
    LogStats stats_;
};

class LogWriter : public LogSink {
  public:
    LogWriter(std::unique_ptr<LogOutput> output, LogWriterOptions options)
        : output_(std::move(output)), options_(std::move(options)) {
        output_->begin(text_);
    }

    void take(LogEntry& entry) override {
        if (options_.translation != nullptr && !entry.is_malformed())
            options_.translation->translate(entry.fields());
        if (options_.last) {
            keep(entry);
            return;
        }
        output_->append(text_, entry);
        constexpr size_t kWritten = 1 << 16;  // bytes at once
        if (text_.size() >= kWritten) write();
    }
    void idle(bool are_all) override {
        if (are_all) release_last();
        write();
        std::cout.flush();
    }
    void finish() override {
        release_last();
        output_->end(text_);
        write();
    }

  private:
    // The last ones so far, shown already.
    void keep(LogEntry& entry) {
        std::string text;
        output_->append(text, entry);
        last_.push_back(std::move(text));
        if (last_.size() > *options_.last) last_.pop_front();
    }
    void release_last() {
        for (const std::string& text : last_) text_ += text;
        last_.clear();
        options_.last.reset();
    }
    void write() {
        std::cout.write(text_.data(), static_cast<std::streamsize>(text_.size()));
        text_.clear();
    }

    std::unique_ptr<LogOutput> output_;
    LogWriterOptions options_;
    std::deque<std::string> last_;
    std::string text_;  // to be written
};

}  // namespace

std::unique_ptr<LogSink> make_log_counter() { return std::make_unique<LogCounter>(); }

std::unique_ptr<LogSink> make_log_summary(bool is_json) {
    return std::make_unique<LogSummary>(is_json);
}

std::unique_ptr<LogSink> make_log_writer(std::unique_ptr<LogOutput> output,
                                         LogWriterOptions options) {
    return std::make_unique<LogWriter>(std::move(output), std::move(options));
}

}  // namespace vel::tool
