// The one way in which files are opened here.
#pragma once

#include <sys/types.h>

namespace vel::runtime {

// open(2), closed on exec and never a controlling terminal. A symbolic link at the end of the path,
// also before a "/", and each that it leads to, is followed only when it belongs to root or the
// effective user: somebody else may have planted it. -1 with errno, ELOOP for such a link.
int open_file(const char* path, int flags, mode_t mode = 0);

}  // namespace vel::runtime
