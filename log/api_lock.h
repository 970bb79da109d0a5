// The lock of the whole toolkit, and what a public call is: take it, run the twin, hand back its
// answer.
#pragma once

#include <type_traits>

namespace vel::log {

// Takes the lock and gives it back. Not taken: this thread holds it already. A thread that is
// cancelled finishes its call first, or it would leave this lock and others behind, for good.
class ApiLock {
  public:
    // That the lock is held already is reported, unless that is said to be in order.
    enum Held { kMustNotBeHeld, kMayBeHeld };
    explicit ApiLock(Held held = kMustNotBeHeld);
    ~ApiLock();
    ApiLock(const ApiLock&) = delete;
    ApiLock& operator=(const ApiLock&) = delete;

    explicit operator bool() const { return held_; }

  private:
    int cancel_state_ = 0;
    bool held_;
};

template <auto Twin, class... Args>
auto locked(Args... args) {
    using Result = decltype(Twin(args...));
    const ApiLock lock;
    if constexpr (std::is_void_v<Result>) {
        if (lock) Twin(args...);
    } else {
        return lock ? Twin(args...) : Result{};
    }
}

}  // namespace vel::log
