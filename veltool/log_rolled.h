// The files of a log that is rolled over: the active one, and old ones that have numbers.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "veltool/log_file.h"

namespace vel::tool {

// The name of a log apart from the number that an old file of it has: this stands before the last
// "." of the name, or at its end.
struct LogName {
    std::string stem, tail;
    int32_t number = 0;  // 0: the active file
    std::string with(int32_t other) const;
};
LogName take_apart(const std::string& name);

// A full file is rolled over in one of two ways, which both give the files that are old already the
// next higher numbers first:
//   - it is renamed, and a new active file begins;
//   - it is copied into a new file, and then emptied.
// So the number of a file only grows, and once it has one, its bytes stay as they are. Each old
// file is found once, and the active one each time. A file that is the beginning of the next newer
// one is not found: it is a copy that is being made, or one that was left when its writer died, and
// the active file still has all of it.
class RolledLog {
  public:
    // Without old files: all others are those of other logs.
    RolledLog(const std::string& name, bool has_old);

    const std::string& name() const { return name_; }  // of the active file

    // Those that have not been found before, the oldest first, and the active one, when it is
    // given, behind them. A file that cannot be opened is complained of.
    std::vector<LogFile> find(std::optional<LogFile> active);

    // A file that is not to be found any more, and whether it was there when they were looked for.
    void know(const LogIdentity& identity) { known_.insert(identity); }
    bool has_seen(const LogIdentity& identity) const { return seen_.contains(identity); }
    bool has_failed() const { return has_failed_; }

  private:
    void see_old(std::vector<LogFile>& newest_first);
    bool see(const std::string& name, std::vector<LogFile>& newest_first);

    std::string name_;
    std::optional<LogName> old_;  // empty: there are none
    std::set<LogIdentity> known_, seen_;
    bool has_failed_ = false;
};

}  // namespace vel::tool
