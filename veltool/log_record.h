// A record of a log: what a formatter of the toolkit wrote, taken apart.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vel::tool {

enum class LogForm : uint8_t { kSummary, kTrace, kXML };

// What the fields say, as they were written; empty where a record does not tell. One that takes the
// fields of record after record keeps their memory.
struct LogFields {
    std::string date;        // as its formatter wrote it
    std::string host;        // "server"
    std::string process;     // decimal digits
    std::string thread;      // likewise
    std::string file;        // of the source
    std::string function;    // likewise
    std::string line;        // likewise, decimal digits
    std::string message_id;  // never "None"
    std::string message;     // without the line end behind it; with those in it

    // Of XML records.
    bool is_message = false;  // "Message", not "Trace"
    std::string product, component, product_instance, server_format, correlation_id, client;
    std::vector<std::pair<std::string, std::string>> attributes;  // other properties of the logger
    std::string catalog;                                          // empty: not to be translated
    int32_t set = 0, key = 0;
    std::vector<std::string> parameters;

    void clear();
};

// The product elements that stand once before the XML records that they belong to.
struct LogProducts {
    std::string server, server_format, product, component, product_instance;
};

// What is found at once; parse() finds the rest. A record views the reader's bytes: it holds until
// the next one is asked for. The records of a file are all of its bytes, in their order. A record
// begins where a line begins with
//   - the byte 0x1E: a trace record (also in the middle of a line, before a "[": whoever wrote what
//     stands before it was stopped on the way);
//   - the tag of an XML record, or product elements that stand before it: up to the line of its end
//     tag, whatever lines its text has;
//   - a date "2024-01-02 14:03:09", of the default format or a prefix of it: a summary record.
// Any other line goes on with the trace or summary record before it, which has a message of several
// lines then; where there is none, as under another format of dates, each line is a record.
struct LogRecord {
    LogForm form = LogForm::kSummary;
    std::string_view bytes;  // all of it, with the line end behind it
    const std::string* file = nullptr;
    uint64_t line = 0;       // of the file, from 1, where it begins
    int32_t level = 0;       // PMX_FATAL ... PMX_DEBUG_MAX; 0: the record does not tell
    std::string_view fault;  // what keeps it from being a record; empty: nothing
    size_t tag = 0;          // of an XML record: where it begins in the bytes
    const LogProducts* products = nullptr;  // of the XML records of its log; null: none
};

// Milliseconds since 1970: of XML records as they tell it, else from the date, when it is one of
// the default format (in the zone it names, or else the local one).
std::optional<int64_t> time_of(const LogRecord& record);

// Takes a record apart, whatever the fields have held. Of a malformed one, the message is all its
// text.
void parse(const LogRecord& record, LogFields& fields);

}  // namespace vel::tool
