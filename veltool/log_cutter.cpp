#include "veltool/log_cutter.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "veltool/log_shape.h"

namespace vel::tool {

namespace {

// Where not to cut a character of UTF-8 in two.
size_t whole_characters(std::string_view bytes) {
    constexpr size_t kMostFollowing = 3;
    size_t end = bytes.size();
    for (size_t back = 1; back <= kMostFollowing && back < bytes.size(); ++back) {
        const auto byte = static_cast<unsigned char>(bytes[bytes.size() - back]);
        if (byte >= 0xC0) end = bytes.size() - back;
        if ((byte & 0xC0) != 0x80) break;
    }
    return end;
}

// Where the first line behind the first one begins a record; the size: none does. Product elements
// begin one when a tag is behind them, and otherwise are those of the record before.
size_t next_start(std::string_view bytes) {
    size_t products = bytes.npos;
    for (size_t end = bytes.find('\n'); end != bytes.npos; end = bytes.find('\n', end + 1)) {
        const size_t line = end + 1;
        switch (start_of(bytes.substr(line, kTellingBytes))) {
            case LineStart::kOther:
                products = bytes.npos;
                break;
            case LineStart::kProduct:
                products = std::min(products, line);
                break;
            case LineStart::kTag:
                return std::min(products, line);
            default:
                return line;
        }
    }
    return bytes.size();
}

// The length of a trace record of one line with another one behind it; 0: it is something else.
size_t plain_trace(std::string_view bytes) {
    const size_t newline = bytes.find('\n');
    if (newline == bytes.npos || newline + 1 == bytes.size()) return 0;
    return bytes.find(kTraceMark, 1) == newline + 1 ? newline + 1 : 0;
}

// Whether a line that ends before a place has an end of its own.
bool ends_as(const char* place, const char* line, std::string_view end) {
    const auto length = static_cast<size_t>(place - line);
    return length > end.size() && memcmp(place - end.size(), end.data(), end.size()) == 0;
}

// Whether an element at the beginning of a line, which has four bytes at least, ends with the line.
// One that may not, or that tells more, has one of two letters.
bool is_plain_element(const char* line, const char* end) {
    switch (line[2]) {
        case 'L':
            return line[5] == 'T' ? ends_as(end, line, kTextEnd) : line[5] == 'A';
        case 'T':
            return line[3] == 'h' || (line[3] == 'r' && ends_as(end, line, kTranslationEnd));
        default:
            return true;
    }
}

// The length of an XML record of which every element has one line; 0: it is something else.
size_t plain_element(std::string_view bytes, uint64_t& lines) {
    if (start_of(bytes.substr(0, kTellingBytes)) != LineStart::kTag) return 0;
    const std::string_view own_end = bytes[1] == kMessageTag[1] ? kMessageEnd : kTraceEnd;
    const char* const all_end = bytes.data() + bytes.size();
    const char* line = bytes.data();
    for (lines = 1;; ++lines) {
        const void* const newline = memchr(line, '\n', static_cast<size_t>(all_end - line));
        if (newline == nullptr) return 0;
        const char* const end = static_cast<const char*>(newline) + 1;
        const auto length = static_cast<size_t>(end - line);
        constexpr uint64_t kTimeLine = 2;
        if (line[0] == ' ') {
            constexpr size_t kLeast = 8;
            if (length < kLeast || line[1] != '<') return 0;
            const bool is_time = line[2] == 'T' && line[3] == 'i';
            if (is_time ? lines != kTimeLine : !is_plain_element(line, end)) return 0;
        } else if (lines > 1) {
            if (std::string_view(line, length) != own_end) return 0;
            return static_cast<size_t>(end - bytes.data());
        }
        line = end;
    }
}

}  // namespace

bool RecordCutter::may_be_whole(size_t size) const {
    return is_by_lines() && state_.line == size && size > 0;
}

std::optional<RecordCutter::Cut> RecordCutter::cut(std::string_view bytes, bool are_all) {
    if (const std::optional<Cut> cut = plain_record(bytes)) {
        for (size_t& place : no_end_before_) place -= std::min(place, cut->length);
        return cut;
    }
    bytes_ = bytes.substr(0, kMostBytes);
    if (bytes_.empty()) return std::nullopt;
    const bool is_at_limit = bytes.size() >= kMostBytes;
    are_all = are_all && bytes.size() <= kMostBytes;
    if (bytes_.front() == '\0' && state_.part == Part::kNone) {
        return done(std::min(bytes_.find_first_not_of('\0'), bytes_.size()), kZerosFault);
    }
    if (state_.part == Part::kNone && !begin(are_all)) return std::nullopt;
    std::optional<Cut> cut = go_on(are_all);
    if (!cut && (are_all || is_at_limit)) cut = give_up(are_all);
    return cut;
}

// Most records are whole and of the usual shape: these need nothing of all that.
std::optional<RecordCutter::Cut> RecordCutter::plain_record(std::string_view bytes) const {
    if (state_.part != Part::kNone || rest_ == Rest::kInLine) return std::nullopt;
    bytes = bytes.substr(0, kMostBytes);
    Cut cut;
    if (bytes.starts_with(kTraceMark)) {
        cut = {plain_trace(bytes), 1, LogForm::kTrace, 0, {}};
    } else if (bytes.starts_with('<')) {
        cut.form = LogForm::kXML;
        cut.length = plain_element(bytes, cut.lines);
    }
    if (cut.length == 0) return std::nullopt;
    return cut;
}

// Sees what begins. False: that cannot be told yet.
bool RecordCutter::begin(bool are_all) {
    const bool is_told =
        bytes_.size() >= kTellingBytes || are_all || is_plain_start(bytes_.front());
    if (!is_told) return false;
    const Rest rest = std::exchange(rest_, Rest::kNone);
    const LineStart start = rest == Rest::kInLine ? LineStart::kOther : start_of(bytes_);
    if (rest != Rest::kNone && start == LineStart::kOther) {  // of the form before
        state_.part = Part::kLines;
        state_.fault = kRestFault;
        return true;
    }
    const bool is_xml = start == LineStart::kTag || start == LineStart::kProduct;
    form_ = is_xml                       ? LogForm::kXML
            : start == LineStart::kTrace ? LogForm::kTrace
                                         : LogForm::kSummary;
    state_.part = start == LineStart::kTag     ? Part::kTag
                  : is_xml                     ? Part::kProducts
                  : start == LineStart::kOther ? Part::kLine
                                               : Part::kLines;
    return true;
}

std::optional<RecordCutter::Cut> RecordCutter::go_on(bool are_all) {
    for (;;) {
        if (state_.line > 0 && is_by_lines()) {
            const std::optional<bool> ends = ends_here(are_all);
            if (!ends) return std::nullopt;
            if (*ends) return done(state_.line, state_.fault);
        }
        const size_t from = std::max(state_.searched, state_.line);
        const size_t newline = bytes_.find('\n', from);
        if (newline == bytes_.npos) {
            state_.searched = bytes_.size();
            return std::nullopt;
        }
        ++state_.lines;
        const size_t line = state_.line;
        if (const std::optional<Cut> cut = see_line(newline + 1)) return cut;
        state_.last_line = line;
        state_.line = std::max(state_.line, newline + 1);
    }
}

// Whether another record begins with the line. Empty: that cannot be told yet.
std::optional<bool> RecordCutter::ends_here(bool are_all) const {
    const std::string_view rest = bytes_.substr(state_.line, kTellingBytes);
    if (rest.empty()) return are_all ? std::optional(true) : std::nullopt;
    if (rest.front() == kTraceMark) return true;
    if (is_plain_start(rest.front())) return false;
    if (rest.size() < kTellingBytes && !are_all) return std::nullopt;
    return start_of(rest) != LineStart::kOther;
}

std::optional<RecordCutter::Cut> RecordCutter::see_line(size_t end) {
    if (!is_by_lines()) return see_xml_line(bytes_.substr(state_.line, end - state_.line));
    const size_t inner = inner_trace(end);
    if (inner != bytes_.npos) return done(inner, kTornFault);
    if (state_.part == Part::kLine) return done(end, state_.fault);
    return std::nullopt;
}

// Where in the line another record begins behind one whose writer was stopped on the way.
size_t RecordCutter::inner_trace(size_t end) const {
    const size_t begin = state_.line + 1;
    if (end <= begin) return bytes_.npos;
    const std::string_view line = bytes_.substr(begin, end - begin);
    for (size_t at = line.find(kTraceMark); at != line.npos; at = line.find(kTraceMark, at + 1)) {
        if (line.substr(at + 1).starts_with('[')) return begin + at;
    }
    return bytes_.npos;
}

std::optional<RecordCutter::Cut> RecordCutter::see_xml_line(std::string_view line) {
    switch (state_.part) {
        case Part::kTag:
            state_.part = Part::kElements;
            return std::nullopt;
        case Part::kElements:
            return see_element(line);
        case Part::kText:
            if (line.ends_with(kTextEnd)) state_.part = Part::kElements;
            return std::nullopt;
        case Part::kTranslation:
            if (line.ends_with(kTranslationEnd)) state_.part = Part::kElements;
            return std::nullopt;
        default:
            break;
    }
    const LineStart start = start_of(line);
    if (start == LineStart::kTag) {
        state_.tag = state_.line;
        state_.part = Part::kElements;
    } else if (start != LineStart::kProduct) {
        return done(state_.line, kEndlessFault);
    }
    return std::nullopt;
}

std::optional<RecordCutter::Cut> RecordCutter::see_element(std::string_view line) {
    if (line.starts_with("</")) {
        const bool is_message = bytes_.substr(state_.tag).starts_with(kMessageTag);
        if (line != (is_message ? kMessageEnd : kTraceEnd)) return std::nullopt;
        return done(state_.line + line.size(), {});
    }
    if (line.starts_with(kTimeBegin)) return see_time();
    if (line.starts_with(kTextBegin)) {
        see_long(Part::kText, line, kTextEnd);
    } else if (line.starts_with(kTranslationBegin)) {
        see_long(Part::kTranslation, line, kTranslationEnd);
    } else {
        const LineStart start = start_of(line);
        if (start != LineStart::kOther && start != LineStart::kProduct) {
            return done(state_.line, kEndlessFault);
        }
    }
    return std::nullopt;
}

// The second time is that of another record, whose tag stands in the middle of the line before: the
// writer of the first one was stopped on the way.
std::optional<RecordCutter::Cut> RecordCutter::see_time() {
    if (!std::exchange(state_.has_time, true)) return std::nullopt;
    const std::string_view before = bytes_.substr(0, state_.line).substr(state_.last_line);
    for (const std::string_view tag : {kMessageTag, kTraceTag, kBareTraceTag}) {
        const size_t at = before.rfind(tag);
        if (at != before.npos && at > 0) return done(state_.last_line + at, kTornFault);
    }
    return std::nullopt;
}

// An element that may have several lines, whatever they are, up to one with a certain end.
void RecordCutter::see_long(Part part, std::string_view line, std::string_view end) {
    if (line.ends_with(end)) return;
    state_.part = part;
    const size_t known = no_end_before_[part == Part::kText ? 0 : 1];
    if (known <= state_.line) return;
    state_.line = known;
    state_.has_skipped = true;
}

// No more bytes can tell.
RecordCutter::Cut RecordCutter::give_up(bool are_all) {
    if (!is_by_lines()) return give_up_xml(are_all);
    const size_t inner = inner_trace(bytes_.size());
    if (inner != bytes_.npos) return done(inner, kTornFault);
    if (are_all) return done(bytes_.size(), state_.fault.empty() ? kTornFault : state_.fault);
    const bool is_whole = state_.line == bytes_.size();
    const std::string_view fault = !state_.fault.empty() || is_whole ? state_.fault : kLongFault;
    rest_ = state_.line > 0 ? Rest::kAtLine : Rest::kInLine;
    return done(state_.line > 0 ? state_.line : whole_characters(bytes_), fault);
}

// What follows may well be records again.
RecordCutter::Cut RecordCutter::give_up_xml(bool are_all) {
    if (state_.part == Part::kText) no_end_before_[0] = state_.line;
    if (state_.part == Part::kTranslation) no_end_before_[1] = state_.line;
    const size_t next = next_start(bytes_);
    if (next < bytes_.size()) return done(next, kEndlessFault);
    if (are_all) return done(bytes_.size(), kTornFault);
    rest_ = state_.line > 0 ? Rest::kAtLine : Rest::kInLine;
    return done(state_.line > 0 ? state_.line : whole_characters(bytes_), kLongFault);
}

RecordCutter::Cut RecordCutter::done(size_t length, std::string_view fault) {
    Cut cut{length, state_.lines, form_, state_.tag, fault};
    const bool is_counted = fault.empty() && !state_.has_skipped;
    if (!is_counted) {
        const std::string_view bytes = bytes_.substr(0, length);
        cut.lines = static_cast<uint64_t>(std::ranges::count(bytes, '\n'));
    }
    if (fault == kZerosFault) cut.form = LogForm::kSummary;
    for (size_t& place : no_end_before_) place -= std::min(place, length);
    state_ = {};
    return cut;
}

}  // namespace vel::tool
