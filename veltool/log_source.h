// Where the records of logs come from: files, rolled and growing ones, and standard input.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>

#include "veltool/log_record.h"

namespace vel::tool {

// Records in the order of time. The older files of a rolled log come before the newer ones; of
// several logs, the one with the earlier record is next, and a record without a time stays behind
// the one before it.
class LogSource {
  public:
    struct Options {
        bool follow = false;      // wait for more, across rolling over and truncation
        bool with_rolled = true;  // take the rolled files beside a named one, too
    };

    // Names of files; "-" or none at all: standard input. No file is read twice, whatever its
    // names. An old file of a log is one that has the name of the log with a number, and no other
    // file is taken unless it is named. A pipe is read like standard input.
    LogSource(std::span<const std::string> names, const Options& options);
    ~LogSource();

    // Null: there are no more, or stop() was called, which a signal handler may do. What has been
    // read by then is given out. A file that cannot be read is complained of, and has_failed()
    // tells so; following, one that is missing is waited for, and its old files with it.
    const LogRecord* next();
    bool has_failed() const;
    static void stop();

    // Called before each wait, so that what is shown can be flushed: told whether all that the
    // files have had so far has been given out. Of a pipe that is not known before its end.
    void on_idle(std::function<void(bool are_all)> call);

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

}  // namespace vel::tool
