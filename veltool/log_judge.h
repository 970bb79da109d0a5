// What of a record is found at once.
#pragma once

#include "veltool/log_record.h"

namespace vel::tool {

// Sets the level of a record, and the fault of one that is none. Product elements that stand before
// an XML record replace those that have held so far.
void judge(LogRecord& record, LogProducts& products);

}  // namespace vel::tool
