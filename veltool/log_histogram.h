// How many of something there were over time, in one pass and in little memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>

namespace vel::tool {

// Counts in periods of one length: the shortest usual one by which all times fall into few of them.
class LogHistogram {
  public:
    // Milliseconds since 1970; what no calendar has is left out.
    void add(int64_t time);

    int64_t period() const;  // milliseconds
    // By the begin of the period; of those between the first and the last some may be missing.
    std::map<int64_t, uint64_t> counts() const;

  private:
    void widen();

    size_t width_ = 0;                   // of the table, which begins with the shortest one
    int64_t offset_ = 0;                 // of the local zone, so that days begin at midnight
    std::map<int64_t, uint64_t> found_;  // by the number of the period
};

}  // namespace vel::tool
