// Which System V locks this process holds. The kernel does not tell apart who gives a lock back: a
// process that never took it would free another's, and take it away again for ever when it ends and
// the kernel undoes what it did.
#pragma once

#include <cstdint>

namespace vel::runtime {

// Notes that a lock, by the id of its semaphore set, is held. False: too many are.
bool note_held(int32_t semaphore);

// Notes that it is held no longer. False: it was not.
bool note_given_back(int32_t semaphore);

}  // namespace vel::runtime
