// Numbers in files are those of the "C" locale, so that what one process writes another reads.
#pragma once

#include <locale.h>

namespace vel::log {

// The "C" locale for this thread, while it lasts.
class CLocale {
  public:
    CLocale() : c_(newlocale(LC_ALL_MASK, "C", nullptr)), own_(uselocale(c_)) {}
    ~CLocale() {
        if (c_ == nullptr) return;
        uselocale(own_);
        freelocale(c_);
    }
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;

    explicit operator bool() const { return c_ != nullptr; }

  private:
    locale_t c_;  // null: no memory; the thread's own locale is left alone then
    locale_t own_;
};

}  // namespace vel::log
