// Which records of a log are wanted.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "log/collections.h"
#include "runtime/owned.h"
#include "veltool/log_entry.h"
#include "veltool/tool.h"

namespace vel::tool {

class LogFilter {
  public:
    // By the options level, id, property, process, thread, since and until. Throws UsageError.
    explicit LogFilter(const CommandLine& line);

    // To be asked of each record that is not malformed, in order.
    bool passes(LogEntry& entry);

  private:
    bool has_level(LogEntry& entry) const;
    bool is_in_time(const LogEntry& entry);
    bool matches(const LogFields& fields) const;

    int32_t level_;
    std::optional<int64_t> since_, until_;  // milliseconds since 1970
    bool was_in_time_ = true;
    runtime::Owned<PmxStringList, pmxIntlFreeStringList> identifiers_;  // null: any
    std::map<std::string, std::vector<std::string>> properties_;        // patterns by name
    bool looks_into_fields_;
};

}  // namespace vel::tool
