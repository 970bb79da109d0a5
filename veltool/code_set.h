// Code sets as the library opens them.
#pragma once

#include <string>
#include <string_view>

#include "i18n/mab.h"

namespace vel::tool {

class CodeSet {
  public:
    // From where the library looks for it, and when MABDIR is unset from where tables are
    // installed; or from a directory alone. Throws Failure when it is not there.
    explicit CodeSet(const std::string& name);
    CodeSet(const std::string& directory, const std::string& name);
    ~CodeSet() { mab_cs_free(handle_); }
    CodeSet(const CodeSet&) = delete;
    CodeSet& operator=(const CodeSet&) = delete;

    const std::string& name() const { return name_; }
    uc_ch_t* handle() const { return handle_; }
    std::string_view image() const;

    // How many characters it has replaced so far, as none stood for them; starts over after 65535.
    uint16_t replaced() const;

  private:
    std::string name_;
    uc_ch_t* handle_;
};

}  // namespace vel::tool
