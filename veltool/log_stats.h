// What there is in logs, in numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "veltool/log_entry.h"
#include "veltool/log_histogram.h"

namespace vel::tool {

class LogStats {
  public:
    // Malformed records are counted apart.
    void add(LogEntry& entry);

    std::string text(size_t columns) const;
    std::string json() const;

  private:
    struct Count {
        uint64_t count = 0;
        std::optional<int64_t> first, last;  // milliseconds since 1970
        void add(std::optional<int64_t> time);
    };
    using Row = std::pair<std::string, Count>;

    void add_identifier(const std::string& identifier, std::optional<int64_t> time);
    std::vector<Row> identifiers() const;  // most frequent ones first
    std::string level_lines() const;
    std::string identifier_lines() const;
    std::string histogram_lines(size_t columns) const;
    std::string identifiers_json() const;

    Count all_;
    uint64_t malformed_ = 0;
    std::map<int32_t, uint64_t, std::greater<>> levels_;  // 0: not told
    std::unordered_map<std::string, Count> identifiers_;  // "": none
    Count others_;                                        // behind the limit of identifiers
    LogHistogram histogram_;
};

}  // namespace vel::tool
