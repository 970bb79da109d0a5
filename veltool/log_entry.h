// A record of a log on its way through filters and outputs: taken apart when it has to be.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "veltool/log_record.h"
#include "veltool/log_text.h"

namespace vel::tool {

class LogEntry {
  public:
    // The fields are made when they are asked for.
    LogEntry(const LogRecord& record, LogFields& fields) : record_(&record), fields_(&fields) {}

    const LogRecord& record() const { return *record_; }
    bool is_malformed() const { return !record_->fault.empty(); }

    LogFields& fields() {
        if (!std::exchange(is_parsed_, true)) parse(*record_, *fields_);
        return *fields_;
    }
    // That which the record tells, or else the one that its identifier stands for; 0: neither.
    int32_t level() {
        if (is_malformed() || record_->level != 0) return record_->level;
        return level_of_identifier(fields().message_id);
    }
    std::optional<int64_t> time() const {
        return is_malformed() ? std::nullopt : time_of(*record_);
    }

  private:
    const LogRecord* record_;
    LogFields* fields_;
    bool is_parsed_ = false;
};

// What the fields of a record are called: as the properties of its logger and its event, where they
// are such.
struct LogFieldName {
    std::string_view name;
    std::string LogFields::*text;
    bool is_number;
};
inline constexpr LogFieldName kLogFieldNames[] = {
    {"server", &LogFields::host, false},
    {"serverFormat", &LogFields::server_format, false},
    {"product", &LogFields::product, false},
    {"component", &LogFields::component, false},
    {"productInstance", &LogFields::product_instance, false},
    {"client", &LogFields::client, false},
    {"correlationId", &LogFields::correlation_id, false},
    {"processId", &LogFields::process, true},
    {"threadId", &LogFields::thread, true},
    {"function", &LogFields::function, false},
    {"file", &LogFields::file, false},
    {"line", &LogFields::line, true},
};

}  // namespace vel::tool
