#include "tests/support/failing_allocation.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

static constinit std::atomic<int> until_failure = 0;
static constinit std::atomic<long> live_blocks = 0;

void rak_fail_after(int n) { until_failure = n; }
long rak_live_blocks() { return live_blocks; }

static bool fails() {
    const bool now = until_failure > 0 && until_failure.fetch_sub(1) == 1;
    if (now) errno = ENOMEM;
    return now;
}

static void* counted(void* block) {
    if (block != nullptr) ++live_blocks;
    return block;
}

extern "C" {
void* __real_malloc(size_t);
void* __real_realloc(void*, size_t);
void* __real_calloc(size_t, size_t);
void __real_free(void*);

void* __wrap_malloc(size_t size) { return fails() ? nullptr : counted(__real_malloc(size)); }
void* __wrap_calloc(size_t count, size_t size) {
    return fails() ? nullptr : counted(__real_calloc(count, size));
}
void* __wrap_realloc(void* block, size_t size) {
    if (fails()) return nullptr;
    return block == nullptr ? counted(__real_realloc(block, size)) : __real_realloc(block, size);
}
void __wrap_free(void* block) {
    if (block != nullptr) --live_blocks;
    __real_free(block);
}

}  // extern "C"
