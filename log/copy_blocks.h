// Copying an open file into another.
#pragma once

#include <cstdint>

#include "runtime/cx_os.h"

namespace vel::log {

struct CopyOutcome {
    bool read = false;     // all of it was
    bool written = false;  // what was read has been, and it has reached the disk
};

// Copies at most so many bytes from where the one file stands to where the other does, until there
// is no more or something fails.
CopyOutcome copy_blocks(CxFile from, CxFile to, int64_t limit = INT64_MAX);

}  // namespace vel::log
