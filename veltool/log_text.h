// How levels and times of events are shown.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vel::tool {

// The name of a level; of one that has none, the number.
std::string level_name(int32_t level);

// The level for which the last letter of a message identifier stands; 0: it has none.
int32_t level_of_identifier(std::string_view identifier);

// A time in milliseconds since 1970, in the local zone, which it names, or in UTC as of RFC 3339.
std::string local_date(int64_t time);
std::string utc_date(int64_t time);

}  // namespace vel::tool
