// A properties file as the toolkit reads it, with the place of everything in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vel::tool::config {

// What there is to say about a place in the file. A note is no fault.
struct Finding {
    size_t at;  // the offset
    std::string what;
    bool is_note = false;
};

// An entry that the log manager has taken. Its key is the configuration, a full stop, the property.
struct Entry {
    std::string configuration;
    std::string property;
    std::string value;
    size_t at;        // of the key
    size_t value_at;  // of the value; of the end of its line when it is empty
    bool is_plain;    // the value stands in the file as it is, without escapes
};

// Offsets as lines and columns, both from 1; columns are bytes. A line ends with LF, CR or both.
class Places {
  public:
    explicit Places(std::string_view text);

    struct Place {
        size_t line, column;
    };
    Place of(size_t offset) const;
    size_t lines() const { return lines_; }

  private:
    struct Mark {
        size_t lines, line_begin;  // how many lines began before the block, and where the last did
    };
    std::string_view text_;
    std::vector<Mark> marks_;  // of each block
    size_t lines_ = 0;
};

struct PropertiesFile {
    std::vector<Entry> entries;  // in their order
    std::vector<Finding> findings;
    bool is_whole = false;    // no fault has ended the reading
    bool leaves_out = false;  // some entries were not given to the log manager
};

// A text from the file between quotes, in one line and not too long.
std::string in_quotes(std::string_view text);

// Reads a text as the toolkit does, into its log manager, whose lock is held. Throws Failure when
// there is too much of it.
PropertiesFile read_properties(std::string_view text, const Places& places);

}  // namespace vel::tool::config
