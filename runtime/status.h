// Making and reading a runtime status.
#pragma once

#include <cerrno>

#include "runtime/cx_os.h"

namespace vel::runtime {

constexpr CxStatus ok() { return CX_SUCCESS; }

constexpr CxStatus failed(int error) {
    return static_cast<CxStatus>(static_cast<uint32_t>(error)) << 32 | CX_SYSTEM_ERROR;
}

constexpr bool is_ok(CxStatus status) { return status == CX_SUCCESS; }

constexpr int error_of(CxStatus status) { return static_cast<int>(status >> 32); }

// Of a system call that answers -1 and sets errno.
inline CxStatus status_of(int64_t result) { return result < 0 ? failed(errno) : ok(); }

}  // namespace vel::runtime
