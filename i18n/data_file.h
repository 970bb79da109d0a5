// Files whose names come from the environment or from a caller.
#pragma once

#include <sys/stat.h>

namespace vel::i18n {

// A data file opened for reading: only a regular file ever is, so that no pipe or device is
// touched.
class DataFile {
  public:
    explicit DataFile(const char* path);
    ~DataFile();
    DataFile(const DataFile&) = delete;
    DataFile& operator=(const DataFile&) = delete;

    bool is_open() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }
    const struct stat& status() const { return status_; }

  private:
    int descriptor_ = -1;
    struct stat status_ {};
};

}  // namespace vel::i18n
