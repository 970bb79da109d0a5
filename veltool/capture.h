// First-failure captures: files that handlers of the logging toolkit have put into a directory of
// the day, "YYYY.MM.DD", below a base directory. Whoever may write there may be hostile: nothing
// but such directories counts, and no link below the base directory is followed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "log/ffdc.h"
#include "veltool/tool.h"

namespace vel::tool {

using CapturedFile = log::FileData;  // its path begins with the day

struct CaptureDay {
    std::string name;
    std::vector<CapturedFile> files;  // by path
    size_t beyond_reach = 0;          // files whose paths are too long
    bool is_readable = true;          // all of it

    int64_t bytes() const;
    int64_t latest_change() const;  // in seconds since 1970; of a day with files
};

// Sums and times of whatever sizes and times there are: the largest number where one is beyond it.
int64_t sum_of(int64_t bytes, int64_t more_bytes);
int64_t millis_of(int64_t seconds);

// The operand of a capture verb at a place. Throws UsageError.
std::string capture_directory(const CommandLine& line);

// Makes a base directory the current one, so that it stays the same whoever renames what. Throws
// Failure.
void enter_captures(const std::string& directory);

// The days in the current directory, the oldest first.
std::vector<CaptureDay> find_captures();

// Says what of the days cannot be looked at.
ExitStatus complain_of_gaps(const std::vector<CaptureDay>& days);

// The directory of the current day, in the local zone as handlers name it.
std::string name_of_today();

}  // namespace vel::tool
