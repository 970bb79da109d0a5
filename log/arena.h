// One block of memory for many small things that go together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "runtime/rak.h"

namespace vel::log {

// Hands out pieces of a block; what does not fit comes from the heap. Only the latter is ever given
// back on its own: the block goes as a whole.
class Arena {
  public:
    Arena(char* begin, char* end) : begin_(begin), next_(begin), end_(end) {}

    void* allocate(size_t size) {
        const size_t rounded = (size + alignof(max_align_t) - 1) & ~(alignof(max_align_t) - 1);
        if (rounded < size || rounded > static_cast<size_t>(end_ - next_)) {
            spilled_ = true;
            return RakMemoryMalloc(size);
        }
        return std::exchange(next_, next_ + rounded);
    }

    void release(void* piece) {
        const auto address = reinterpret_cast<uintptr_t>(piece);
        const bool own = address >= reinterpret_cast<uintptr_t>(begin_) &&
                         address < reinterpret_cast<uintptr_t>(end_);
        if (!own) RakMemoryFree(piece);
    }

    // Whether anything came from the heap, so that giving back the block is not all.
    bool has_spilled() const { return spilled_; }

  private:
    char* begin_;
    char* next_;
    char* end_;
    bool spilled_ = false;
};

// The same with a null arena: plain heap.
inline void* allocate_in(Arena* arena, size_t size) {
    return arena == nullptr ? RakMemoryMalloc(size) : arena->allocate(size);
}

inline void release_in(Arena* arena, void* piece) {
    if (arena == nullptr) {
        RakMemoryFree(piece);
    } else {
        arena->release(piece);
    }
}

// Null for null, and when memory runs out.
inline char* copy_text_in(Arena* arena, const char* text) {
    if (text == nullptr) return nullptr;
    const size_t size = strlen(text) + 1;
    void* const copy = allocate_in(arena, size);
    return copy == nullptr ? nullptr : static_cast<char*>(memcpy(copy, text, size));
}

}  // namespace vel::log
