// UTF-8 as RFC 3629 has it.
#pragma once

#include <string_view>

namespace vel::tool {

// The number of bytes of the character that a text begins with; 0: it begins with none.
size_t utf8_length(std::string_view text);

// Where a text stops being UTF-8: its length when it does not.
size_t utf8_end(std::string_view text);

}  // namespace vel::tool
