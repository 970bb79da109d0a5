// Allocations that fail when a test says so: the linker redirects malloc, realloc, calloc and free
// (--wrap) for what is linked statically, so neither the C++ library nor GoogleTest is affected.
#pragma once

// The n-th allocation from now fails, and none after it; 0: none.
void rak_fail_after(int n);

// How many blocks are allocated and not freed.
long rak_live_blocks();

// Lets the n-th allocation of a scope fail.
struct FailingAllocation {
    explicit FailingAllocation(int n) { rak_fail_after(n); }
    ~FailingAllocation() { rak_fail_after(0); }
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
};
