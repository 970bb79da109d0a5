// One log: its files, the oldest first, as a sequence of records.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "veltool/log_cutter.h"
#include "veltool/log_file.h"
#include "veltool/log_record.h"
#include "veltool/log_rolled.h"

namespace vel::tool {

// Files that are rolled over or emptied while they are read neither repeat records nor lose any,
// but for those that nobody has any more: of old files that were removed before they were looked
// for, and of a file that was emptied without a copy. It is said where that shows.
class LogChain {
  public:
    // The files are those of the log that have been found. The last one may roll over; with the
    // following on, it is waited for to grow. The only log may take memory for the sake of speed.
    LogChain(RolledLog log, std::vector<LogFile> files, bool follows, bool is_only);

    // Goes to the next record. With the following off for good, what has been read is given out
    // and no more is read.
    enum class State : uint8_t { kRecord, kWaiting, kEnd };
    State advance(bool is_stopped);
    const LogRecord& record() const { return record_; }

    // Of the record, or of the one before it that has one.
    int64_t time();

    bool has_failed() const { return has_failed_ || log_.has_failed(); }

    // When it waits: for what, and whether something is to be done soon, even if nothing comes.
    const LogFile& file() const { return files_.front(); }
    bool is_in_doubt() const { return quiet_since_.has_value(); }

  private:
    enum class Filled : uint8_t { kMore, kNothingYet, kEnd };

    void drop_record();
    bool take_record(bool are_all);
    bool take_quiet_record();
    bool next_file();
    void begin_file();
    struct Got {
        ssize_t count;
        int error;
    };
    Got read_block(const LogFile& file);
    void read_ahead(const LogFile& file);
    Filled fill();
    Filled at_end();
    Filled go_behind();
    void go_on_in(std::vector<LogFile>& behind);
    void note_read(size_t count);
    void make_room();
    bool is_unchanged(const LogFile& file) const;
    bool is_last() const { return files_.size() == 1 && !files_.front().is_stream; }
    std::string_view bytes() const { return {buffer_.get() + begin_, end_ - begin_}; }

    RolledLog log_;
    std::deque<LogFile> files_;  // the first one is being read
    bool follows_;
    size_t block_bytes_;
    bool has_failed_ = false;
    bool is_left_ = false;  // its name leads to another file
    bool is_over_ = false;  // the file will have no more

    std::unique_ptr<char[]> buffer_;
    size_t capacity_ = 0, begin_ = 0, end_ = 0;
    off_t position_ = 0;  // in the file, of the end of the buffer
    // Bytes of the file that tell whether it is still the same: those before the position, or at
    // the beginning of one that has not been read yet.
    std::string telling_;
    std::optional<std::chrono::steady_clock::time_point> quiet_since_;

    RecordCutter cutter_;
    LogRecord record_;
    uint64_t record_lines_ = 0;
    uint64_t line_ = 1;
    LogProducts products_;
    int64_t time_ = INT64_MIN;

    // The next block of the file. The last member: it is not read any more when the others end.
    struct Ahead {
        std::unique_ptr<char[]> buffer;
        size_t capacity = 0;
        off_t position = 0;  // in the file
        std::future<Got> got;
    };
    Ahead ahead_;
};

}  // namespace vel::tool
