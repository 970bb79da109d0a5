// Cuts the bytes of a log into records.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "veltool/log_record.h"

namespace vel::tool {

inline constexpr std::string_view kTornFault = "cut off";
inline constexpr std::string_view kLongFault = "longer than 1 MiB";
inline constexpr std::string_view kRestFault = "the rest of a long one";
inline constexpr std::string_view kZerosFault = "zero bytes";
inline constexpr std::string_view kEndlessFault = "without its end";

// Each byte is looked at a bounded number of times, also when they come one by one, or when record
// after record begins and none ends.
class RecordCutter {
  public:
    static constexpr size_t kMostBytes = 1 << 20;  // of a record: a longer one comes in pieces

    struct Cut {
        size_t length = 0;
        uint64_t lines = 0;  // that end in it
        LogForm form = LogForm::kSummary;
        size_t tag = 0;  // of an XML record: where it begins
        std::string_view fault;
    };

    // The record at the front of some bytes; the next call gets those behind it. Empty: more of
    // them have to tell, and the next call gets the same with more behind them. So it never is when
    // these are all, or kMostBytes.
    std::optional<Cut> cut(std::string_view bytes, bool are_all);

    // After an empty answer: whether the bytes end with a line, and their record may be whole.
    bool may_be_whole(size_t size) const;

  private:
    enum class Part : uint8_t {
        kNone,
        kLine,
        kLines,
        kProducts,
        kTag,
        kElements,
        kText,
        kTranslation
    };
    enum class Rest : uint8_t { kNone, kInLine, kAtLine };  // of a record that was too long

    std::optional<Cut> plain_record(std::string_view bytes) const;
    bool begin(bool are_all);
    std::optional<Cut> go_on(bool are_all);
    std::optional<bool> ends_here(bool are_all) const;
    std::optional<Cut> see_line(size_t end);
    std::optional<Cut> see_xml_line(std::string_view line);
    std::optional<Cut> see_element(std::string_view line);
    std::optional<Cut> see_time();
    void see_long(Part part, std::string_view line, std::string_view end);
    Cut give_up(bool are_all);
    Cut give_up_xml(bool are_all);
    Cut done(size_t length, std::string_view fault);
    size_t inner_trace(size_t end) const;
    bool is_by_lines() const { return state_.part == Part::kLine || state_.part == Part::kLines; }

    std::string_view bytes_;  // those of this call
    Rest rest_ = Rest::kNone;
    // Where the end of a text, and of a translation, is not: of records that have begun there.
    std::array<size_t, 2> no_end_before_{};

    // Of the record that has begun.
    struct State {
        Part part = Part::kNone;
        bool has_time = false;
        bool has_skipped = false;  // lines that need not be looked at again
        size_t line = 0;           // where the line begins that is looked at
        size_t last_line = 0;      // and the one before
        size_t searched = 0;       // up to where there is no line end behind that
        size_t tag = 0;
        uint64_t lines = 0;
        std::string_view fault;
    };
    LogForm form_ = LogForm::kSummary;
    State state_;
};

}  // namespace vel::tool
