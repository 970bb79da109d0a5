// The library's conversions with a table, held against a mapping.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "i18n/mab.h"
#include "veltool/contents.h"

namespace vel::tool {

// A code set as the library opens it.
class CodeSet {
  public:
    // Throws Failure when the library does not find the name below the directory.
    CodeSet(const std::string& directory, const std::string& name);
    ~CodeSet() { mab_cs_free(handle_); }
    CodeSet(const CodeSet&) = delete;
    CodeSet& operator=(const CodeSet&) = delete;

    uc_ch_t* handle() const { return handle_; }
    std::string_view image() const;

  private:
    uc_ch_t* handle_;
};

struct Agreement {
    size_t to_unicode = 0;    // codes that give the value
    size_t from_unicode = 0;  // values that give the code
    size_t substituted = 0;   // values without a code
    size_t exceptions = 0;  // where a kind goes its own way: ASCII passed through, EBCDIC line ends
    std::vector<std::string> differences;

    std::string summary() const;
};

Agreement compare(const Contents& contents, const Mapping& source, const CodeSet& code_set);

}  // namespace vel::tool
