// Files of logs as they are opened.
#pragma once

#include <sys/types.h>

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "veltool/descriptor.h"

namespace vel::tool {

// A file system may give the number of a removed file to the next one, so the time when the file
// was made counts, too, where the system knows it.
struct LogIdentity {
    uint64_t device = 0, number = 0;
    int64_t second = 0;
    uint32_t nanosecond = 0;
    auto operator<=>(const LogIdentity&) const = default;
};

// What a name leads to; empty: nothing.
struct LogLook {
    LogIdentity identity;
    mode_t mode = 0;
};
std::optional<LogLook> look_at(const std::string& name);

// So many bytes tell one file from another.
inline constexpr size_t kTellingLogBytes = 256;

struct LogFile {
    std::string name;
    Descriptor descriptor;
    bool is_stream = false;  // a pipe: it can only be read on
    bool blocks = false;     // standard input, whose descriptor is shared with others
    LogIdentity identity;
    std::string head;  // what it began with when it was opened: some bytes
    off_t begin = 0;   // where to read from; more than 0: it goes on with what has been read before
};

// A file, or a pipe, which is empty when nobody writes it; "-" is standard input. Throws Failure.
LogFile open_log(const std::string& name);

// Whether a file has certain bytes at a place now.
bool has_at(const LogFile& file, off_t place, std::string_view bytes);

}  // namespace vel::tool
