// The forms in which records of logs are shown.
#pragma once

#include <memory>
#include <string>

#include "veltool/log_entry.h"

namespace vel::tool {

// Puts records behind a text, one after the other. All results are UTF-8.
class LogOutput {
  public:
    LogOutput() = default;
    virtual ~LogOutput() = default;
    LogOutput(const LogOutput&) = delete;
    LogOutput& operator=(const LogOutput&) = delete;

    virtual void begin(std::string&) const {}
    virtual void append(std::string& to, LogEntry& entry) const = 0;
    virtual void end(std::string&) const {}
};

// A line per record, with the further lines of a message indented below it.
std::unique_ptr<LogOutput> make_text_output(bool is_coloured);

// A JSON object per record, in a line of its own.
std::unique_ptr<LogOutput> make_json_output();

// One document; its elements are those of the toolkit's XML formatter.
std::unique_ptr<LogOutput> make_xml_output();

}  // namespace vel::tool
