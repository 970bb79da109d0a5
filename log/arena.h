// One block of memory for many small things that go together.
#pragma once

#include <algorithm>
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
    // The block begins at an address for any type; of its end what no piece could fill is left out.
    Arena(char* begin, char* end)
        : begin_(begin), next_(begin), end_(end - static_cast<size_t>(end - begin) % kAlignment) {}

    void* allocate(size_t size) {
        const size_t rounded = (size + kAlignment - 1) / kAlignment * kAlignment;
        if (rounded < size || rounded > static_cast<size_t>(end_ - next_)) {
            spilled_ = true;
            return RakMemoryMalloc(size);
        }
        return std::exchange(next_, next_ + rounded);
    }

    // A copy of a text that is short and fits, else null. Looking for its end and copying at once
    // takes a third of the time of the two calls of the C library.
    char* copy_short(const char* text) {
        constexpr ptrdiff_t kShort = 64;
        const ptrdiff_t most = std::min(kShort, end_ - next_);
        for (ptrdiff_t i = 0; i < most; ++i) {
            next_[i] = text[i];
            if (text[i] == '\0') return static_cast<char*>(allocate(static_cast<size_t>(i) + 1));
        }
        return nullptr;
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
    static constexpr size_t kAlignment = alignof(max_align_t);

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
    char* const short_copy = arena == nullptr ? nullptr : arena->copy_short(text);
    if (short_copy != nullptr) return short_copy;
    const size_t size = strlen(text) + 1;
    void* const copy = allocate_in(arena, size);
    return copy == nullptr ? nullptr : static_cast<char*>(memcpy(copy, text, size));
}

}  // namespace vel::log
