// What gives itself back when its scope ends.
#pragma once

#include <memory>
#include <utility>

#include "runtime/cx_os.h"
#include "runtime/cx_stringbuff.h"
#include "runtime/rak.h"

namespace vel::runtime {

// Something with one owner, given back by a call of its own.
template <auto Release>
struct Releaser {
    template <class T>
    void operator()(T* released) const {
        Release(released);
    }
};
template <class T, auto Release>
using Owned = std::unique_ptr<T, Releaser<Release>>;
using OwnedText = Owned<char, RakMemoryFree>;

struct StringBuff : CxStringBuff {
    StringBuff() : CxStringBuff{} {}
    ~StringBuff() { CxStringBuffDiscard(this); }
    StringBuff(const StringBuff&) = delete;
    StringBuff& operator=(const StringBuff&) = delete;

    OwnedText take() { return OwnedText(CxStringBuffTakeStr(this)); }
};

// A file that is closed on each way out but those that close it themselves, to report failures.
class OpenFile {
  public:
    explicit OpenFile(CxFile file = -1) : file_(file) {}
    ~OpenFile() {
        if (file_ >= 0) CxFileClose(&file_);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    explicit operator bool() const { return file_ >= 0; }
    CxFile get() const { return file_; }
    CxFile release() { return std::exchange(file_, -1); }

  private:
    CxFile file_;
};

}  // namespace vel::runtime
