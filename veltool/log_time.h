// Times as a user gives them.
#pragma once

#include <cstdint>
#include <string>

namespace vel::tool {

// In milliseconds since 1970: "2026-11-22", with "10:00", seconds, milliseconds and a zone ("Z",
// "+01:00") behind it when wanted; a time of today alone; "now", "today", "yesterday"; and what is
// so long ago: "90s", "30m", "2h", "1d", "2w". Throws UsageError.
int64_t parse_time(const std::string& text);

}  // namespace vel::tool
