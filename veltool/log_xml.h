// XML records taken apart. Their texts are not escaped, so no reader of XML can do that.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "veltool/log_record.h"

namespace vel::tool {

// The product elements that stand before a record.
LogProducts read_products(std::string_view lines);
void set_products(const LogProducts& products, LogFields& fields);

// Of a record from its tag on.
std::optional<int64_t> time_of_xml(std::string_view element);
void parse_xml(std::string_view element, LogFields& fields);

}  // namespace vel::tool
