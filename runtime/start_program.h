// Starting a program in surroundings of its own.
#pragma once

#include "runtime/cx_os.h"

namespace vel::runtime {

// CxProcessCreate with this environment, which ends with null. The child prepares itself first, by
// what is safe in a signal handler. It returns in the child, too, when the program cannot be
// started.
CxStatus start_program(CxProcess* process, const char* path, char* const argv[],
                       char* const environment[], void (*prepare)());

}  // namespace vel::runtime
