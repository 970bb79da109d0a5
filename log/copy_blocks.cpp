#include "log/copy_blocks.h"

#include <algorithm>
#include <cerrno>

#include "runtime/status.h"

namespace vel::log {
namespace {

using runtime::is_ok;

// One transfer that no signal ends.
template <class Call>
CxStatus transfer(Call call) {
    CxStatus status = call();
    while (runtime::error_of(status) == EINTR) status = call();
    return status;
}

bool write_block(CxFile file, const char* bytes, int64_t length) {
    int64_t count = 0;
    for (; length > 0; bytes += count, length -= count) {
        const CxStatus status = transfer([&] { return CxFileWrite(file, bytes, length, &count); });
        if (!is_ok(status) || count == 0) return false;
    }
    return true;
}

}  // namespace

CopyOutcome copy_blocks(CxFile from, CxFile to, int64_t limit) {
    char block[8192];
    CopyOutcome outcome;
    int64_t count = 0;
    do {
        limit -= count;
        const int64_t wanted = std::min<int64_t>(limit, sizeof block);
        const auto read = [&] { return CxFileRead(from, block, wanted, &count); };
        outcome.read = is_ok(transfer(read));
        outcome.written = !outcome.read || write_block(to, block, count);
    } while (outcome.read && outcome.written && count > 0);
    if (outcome.written) outcome.written = is_ok(CxFileFlush(to));
    return outcome;
}

}  // namespace vel::log
