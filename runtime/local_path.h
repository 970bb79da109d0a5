// A path text as the system takes it.
#pragma once

#include "runtime/cx_os.h"

namespace vel::runtime {

// A copy with every "\" as "/". A path that does not fit is not there at all, so that no other file
// than the one meant is touched.
class LocalPath {
  public:
    explicit LocalPath(const char* path) : there_(CxFileNameLocalize(path, path_, sizeof path_)) {}

    // Null: the path is null or too long.
    const char* get() const { return there_ ? path_ : nullptr; }

  private:
    char path_[256];
    bool there_;
};

}  // namespace vel::runtime
