// Writes numbered records into a log, for shared_log_test.py:
//     shared_log_writer PROPERTIES PAGE SLOT NAME
// PAGE is a file of 64-bit words. The first one tells to stop, that at SLOT is the number of the
// last record whose logging call has returned.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>

#include "log/pmx.h"

namespace {

uint64_t* map_page(const char* path) {
    struct stat status {};
    const int file = open(path, O_RDWR | O_CLOEXEC);
    if (file < 0 || fstat(file, &status) != 0) return nullptr;
    void* const page = mmap(nullptr, static_cast<size_t>(status.st_size), PROT_READ | PROT_WRITE,
                            MAP_SHARED, file, 0);
    return page == MAP_FAILED ? nullptr : static_cast<uint64_t*>(page);
}

void write_records(PmxObject* logger, uint64_t* page, size_t slot, const char* name) {
    const std::atomic_ref<uint64_t> stop(page[0]), acknowledged(page[slot]);
    std::array<char, 4900> filler;  // more than a page of memory: a kill may cut such a record
    filler.fill('x');
    filler.back() = '\0';
    for (int number = 1; stop.load(std::memory_order_relaxed) == 0; ++number) {
        const size_t length = number % 16 == 0 ? filler.size() - 1 : 80;
        PmxLogText(logger, "%1$s:%2$d %3$s %2$d.", PMX_STRING, name, PMX_INT, number, PMX_STRING,
                   &filler[filler.size() - 1 - length], PMX_END);
        acknowledged.store(static_cast<uint64_t>(number), std::memory_order_release);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    uint64_t* const page = map_page(argv[2]);
    if (page == nullptr || !PmxOpenToolkit(argv[1])) return 3;
    PmxObject* const logger = PmxGetObject("writer", nullptr);
    write_records(logger, page, strtoul(argv[3], nullptr, 10), argv[4]);
    PmxReleaseObject(logger);
    PmxCloseToolkit();
    return 0;
}
