// What formatters put records together from.
#pragma once

#include <cstdint>

#include "log/event.h"
#include "runtime/cx_stringbuff.h"

namespace vel::log {

// What a level is called in records: "MAX", "MID", "MIN", "INFO", "WARN", "ERROR" (also of a fatal
// one), or "OTHER".
const char* level_word(int32_t level);

// Each appends all or nothing, and tells whether there was something to append and memory for it.
// The date is as the formatter has it, which may be null.
bool append_date(CxStringBuff* record, const PmxObject* formatter, int64_t time);
bool append_number(CxStringBuff* record, int64_t number);
bool append_unsigned(CxStringBuff* record, uint64_t number);
bool append_message(CxStringBuff* record, PmxEvent* event, PmxBindMsgOp binder);

}  // namespace vel::log
