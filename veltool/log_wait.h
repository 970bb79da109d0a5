// Waiting for logs to grow.
#pragma once

#include <memory>
#include <vector>

#include "veltool/descriptor.h"
#include "veltool/log_chain.h"

namespace vel::tool {

class LogWait {
  public:
    LogWait();

    // Waits until one of the logs may have more, or somebody calls stop(). Not all file systems
    // tell of changes, so following looks from time to time all the same.
    void wait(const std::vector<LogChain*>& chains, bool follows);

    static bool is_stopped();
    static void stop();  // for good; a signal handler may call it

  private:
    bool watch(const LogChain& chain);

    Descriptor watches_;  // none: the system has no more
    int last_watch_ = 0;
};

}  // namespace vel::tool
