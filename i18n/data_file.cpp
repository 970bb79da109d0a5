#include "i18n/data_file.h"

#include <fcntl.h>
#include <unistd.h>

namespace vel::i18n {

DataFile::DataFile(const char* path) {
    // Looked at before, since opening a device can have effects; and after, as it may be another
    // one.
    if (stat(path, &status_) != 0 || !S_ISREG(status_.st_mode)) return;
    const int opened = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (opened < 0) return;
    if (fstat(opened, &status_) == 0 && S_ISREG(status_.st_mode)) {
        descriptor_ = opened;
    } else {
        close(opened);
    }
}

DataFile::~DataFile() {
    if (descriptor_ >= 0) close(descriptor_);
}

}  // namespace vel::i18n
