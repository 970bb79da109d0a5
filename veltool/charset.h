// Charsets of iconv(3).
#pragma once

#include <iconv.h>

#include <string>
#include <string_view>

namespace vel::tool {

inline constexpr char kUnicodeCharset[] = "UTF-32LE";

// The spelling by which iconv knows a charset; empty when it does not. A name that ends in a
// code-page number, as "CP943", also finds a charset of another name with just this number.
std::string find_charset(const std::string& name);

// A converter between two charsets.
class CharsetConverter {
  public:
    // Throws std::runtime_error when iconv has no such converter.
    CharsetConverter(const std::string& to, const std::string& from);
    ~CharsetConverter() { iconv_close(descriptor_); }
    CharsetConverter(const CharsetConverter&) = delete;
    CharsetConverter& operator=(const CharsetConverter&) = delete;

    enum class Outcome { kConverted, kIncomplete, kInvalid };

    // Converts a text as a whole: from the initial state, and with what the converter holds back
    // until it is told that nothing follows. `out` is worth something only when it is converted.
    Outcome convert(std::string_view text, std::string& out);

  private:
    iconv_t descriptor_;
};

}  // namespace vel::tool
