#include "veltool/config_file.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "log/properties_reader.h"
#include "veltool/report.h"
#include "veltool/text.h"
#include "veltool/tool.h"
#include "veltool/utf8.h"

namespace vel::tool::config {

namespace {

using log::PropsState;

constexpr size_t kBlockBytes = 4096;  // in which places are looked for byte by byte
constexpr size_t kMaxEntries = 250'000;
constexpr ptrdiff_t kMaxLevels = 32;  // of a name: each costs a look-up
constexpr size_t kMaxQuotedBytes = 60;
constexpr size_t kNowhere = std::string_view::npos;
constexpr std::string_view kBlankBytes = " \t\v\f";
constexpr std::string_view kLineEnds = "\r\n";

bool begins_line(std::string_view text, size_t at) {
    if (at == 0 || text[at - 1] == '\n') return true;
    return text[at - 1] == '\r' && text[at] != '\n';
}

std::string_view line_at(std::string_view text, size_t at) {
    return text.substr(at, text.find_first_of(kLineEnds, at) - at);
}

// Whether a line looks like an entry of its own: a word with a full stop and a separator.
bool looks_like_entry(std::string_view line) {
    const size_t end = line.find_first_of(" \t=:");
    if (end == kNowhere || line.substr(0, end).find('.') == kNowhere) return false;
    const size_t separator = line.find_first_not_of(" \t", end);
    return separator != kNowhere && (line[separator] == '=' || line[separator] == ':');
}

struct FaultRow {
    PropsState in;
    const char* what;
};
constexpr FaultRow kFaults[] = {
    {PropsState::start_blanks, "a separator behind the blanks that begin a line"},
    {PropsState::key, "no separator: the key stands alone on its line"},
    {PropsState::key_end, "no separator: the key stands alone on its line"},
    {PropsState::key_escape,
     "a bad escape: in a key a backslash stands before a blank, a separator or a backslash"},
    {PropsState::value_escape,
     "a bad escape: in a value a backslash stands before a blank, a quote, a backslash, 'u' or the "
     "end of the line"},
    {PropsState::unicode_0, "no hexadecimal digit: an escape has four"},
    {PropsState::unicode_1, "no hexadecimal digit: an escape has four"},
    {PropsState::unicode_2, "no hexadecimal digit: an escape has four"},
    {PropsState::unicode_3, "no hexadecimal digit: an escape has four"},
};

// What is lost when the file ends in a state.
constexpr FaultRow kEnds[] = {
    {PropsState::key, "the file ends behind this key: its value is empty"},
    {PropsState::key_end, "the file ends behind this key: its value is empty"},
    {PropsState::key_escape, "the file ends behind a backslash, which is dropped"},
    {PropsState::value_escape, "the file ends behind a backslash, which is dropped"},
    {PropsState::unicode_0, "the file ends within an escape, which is dropped"},
    {PropsState::unicode_1, "the file ends within an escape, which is dropped"},
    {PropsState::unicode_2, "the file ends within an escape, which is dropped"},
    {PropsState::unicode_3, "the file ends within an escape, which is dropped"},
};

template <size_t N>
const char* text_for(PropsState state, const FaultRow (&rows)[N]) {
    const auto row = std::ranges::find(rows, state, &FaultRow::in);
    return row == std::end(rows) ? nullptr : row->what;
}

constexpr bool is_in_key(PropsState state) {
    return state == PropsState::key || state == PropsState::key_escape ||
           state == PropsState::key_end;
}

// Follows the reader through a text.
class Reading {
  public:
    Reading(std::string_view text, const Places& places) : text_(text), places_(places) {}

    PropertiesFile read();

  private:
    // An entry as it is being read.
    struct Draft {
        size_t key = kNowhere;
        size_t value = kNowhere;
        std::optional<std::string> key_text;  // once it is complete
        std::optional<std::string> value_text;
        bool strange_escape = false;  // one is enough to tell of, as of the next two
        bool swallowed = false;
        bool goes_in = false;
    };

    static Reading& in(void* context) { return *static_cast<Reading*>(context); }
    void step(PropsState from, PropsState to, size_t at) noexcept;
    bool take(const char* key, const char* value) noexcept;
    void begin(size_t at);
    void end_key(size_t at) {
        if (draft_ && draft_->value == kNowhere) draft_->value = at;
    }
    void look_at_escape(size_t last_digit);
    void look_at_continuation(size_t at);
    void look_at_end(PropsState from);
    void look_at_comment(std::string_view value, size_t at);
    void complete(size_t end);
    void look_at_bytes(std::string_view bytes, size_t at);
    void fail(PropsState from, size_t at);
    std::string why_refused() const;
    void find_file_faults();
    void find(size_t at, std::string what) {
        if (!too_many_) file_.findings.push_back({at, std::move(what)});
    }

    std::string_view text_;
    const Places& places_;
    PropertiesFile file_;
    std::optional<Draft> draft_;
    int32_t code_ = 0;
    bool too_many_ = false;
};

void Reading::begin(size_t at) {
    draft_ = Draft{};
    draft_->key = at;
}

void Reading::step(PropsState from, PropsState to, size_t at) noexcept {
    if (to == PropsState::failed) return fail(from, at);
    if (to == PropsState::done) return look_at_end(from);
    const bool at_start = from == PropsState::start_line || from == PropsState::start_blanks;
    if (at_start && to == PropsState::key) return begin(at);
    if (to == PropsState::value || to == PropsState::value_escape) end_key(at);
    if (from == PropsState::unicode_3) look_at_escape(at);
    if (from == PropsState::next_line && to == PropsState::value) look_at_continuation(at);
    if (to == PropsState::start_line && draft_ && draft_->key_text) complete(at);
}

bool Reading::take(const char* key, const char* value) noexcept {
    // At the end of the file the last entry comes again when nothing stands behind it.
    if (!draft_ || draft_->key_text) return false;
    draft_->key_text = key == nullptr ? "" : key;
    if (value != nullptr) draft_->value_text = value;
    too_many_ = too_many_ || file_.entries.size() == kMaxEntries;
    const bool too_deep = std::ranges::count(*draft_->key_text, '.') > kMaxLevels;
    if (too_deep)
        find(draft_->key, "a name of more than " + std::to_string(kMaxLevels) +
                              " levels: the entry is left out of this check");
    file_.leaves_out = file_.leaves_out || too_deep;
    return draft_->goes_in = !too_many_ && !too_deep;
}

void Reading::look_at_escape(size_t last_digit) {
    constexpr size_t kDigits = 4;
    if (!draft_ || draft_->strange_escape) return;
    const size_t first = last_digit + 1 - kDigits;
    const std::string digits(text_.substr(first, kDigits));
    if (code_ != 0 && std::stoul(digits, nullptr, 16) == static_cast<unsigned long>(code_)) return;
    draft_->strange_escape = true;
    if (code_ == 0) return find(first - 2, "a NUL: it and what is behind it are dropped");
    const bool letters = digits.find_first_not_of("0123456789") != std::string::npos;
    find(first - 2, in_quotes("\\u" + digits) + " is read as U+" +
                        formatted("%04X", static_cast<unsigned>(code_)) +
                        (letters ? ": the digits A to F count 0 to 5"
                                 : ": an escape adds to the one before it in the file"));
}

void Reading::look_at_continuation(size_t at) {
    if (!draft_ || draft_->swallowed) return;
    const std::string_view line = line_at(text_, at);
    const bool comment = line.starts_with('#') || line.starts_with('!');
    if (!comment && !looks_like_entry(line)) return;
    draft_->swallowed = true;
    find(at, std::string(comment ? "no comment" : "no entry of its own") +
                 ": the value above ends with a backslash and goes on here");
}

void Reading::look_at_end(PropsState from) {
    if (!draft_ || !draft_->key_text) return;
    if (const char* const what = text_for(from, kEnds)) find(draft_->key, what);
    if (is_in_key(from)) draft_->value_text.reset();  // it is told already
    complete(text_.size());
}

void Reading::look_at_bytes(std::string_view bytes, size_t at) {
    const size_t nul = bytes.find('\0');
    if (nul != kNowhere) find(at + nul, "a NUL: it and what is behind it are dropped");
    const size_t end = utf8_end(bytes);
    if (end != bytes.size()) find(at + end, "a byte that is not UTF-8");
}

void Reading::look_at_comment(std::string_view value, size_t at) {
    // A value may begin with one, and have a number behind one.
    const auto is_comment = [value](size_t sign) {
        const char next = sign + 1 < value.size() ? value[sign + 1] : ' ';
        return kBlankBytes.find(value[sign - 1]) != kNowhere && (next < '0' || next > '9');
    };
    size_t sign = value.find('#', value.find_first_not_of(" \t\v\f\\#"));
    while (sign != kNowhere && !is_comment(sign)) sign = value.find('#', sign + 1);
    if (sign != kNowhere) find(at + sign, "no comment: what stands behind a value belongs to it");
}

void Reading::complete(size_t end) {
    end_key(end);
    const Draft draft = *std::exchange(draft_, std::nullopt);
    look_at_bytes(text_.substr(draft.key, end - draft.key), draft.key);
    if (draft.value_text && draft.value_text->empty())
        find(draft.value,
             "the value is empty, which is a fault unless one above it in the file is not");
    const std::string_view value = text_.substr(draft.value, end - draft.value);
    look_at_comment(value, draft.value);
    if (!draft.goes_in) return;
    const size_t dot = draft.key_text->rfind('.');
    file_.entries.push_back({draft.key_text->substr(0, dot), draft.key_text->substr(dot + 1),
                             draft.value_text.value_or(""), draft.key, draft.value,
                             draft.value_text == value});
}

std::string Reading::why_refused() const {
    const std::string& key = *draft_->key_text;
    const size_t dot = key.rfind('.');
    if (dot == std::string::npos)
        return "no full stop: a key is the name of an object, a full stop, and a property";
    if (dot == 0) return "no name of an object before the full stop";
    if (dot + 1 == key.size()) return "no property behind the full stop";
    if (key.compare(0, dot, "/") == 0) return "'/' is the root, which has no properties";
    return "the value is empty, and no entry above it in the file has one that is not";
}

void Reading::fail(PropsState from, size_t at) {
    const bool refused = draft_ && draft_->key_text;
    const char* const fault = text_for(from, kFaults);
    std::string what = refused ? why_refused() : fault != nullptr ? fault : "cannot be read";
    const size_t where = refused || from == PropsState::key_end ? draft_->key : at;
    const size_t line = places_.of(std::min(at, text_.size())).line;
    const size_t left = places_.lines() - std::min(places_.lines(), line);
    what += "; the reading ends here";
    if (left > 0) what += ", and " + counted(left, "line") + " behind this one are not read";
    find(where, std::move(what));
}

void Reading::find_file_faults() {
    if (text_.starts_with("\xEF\xBB\xBF"))
        find(0, "a byte-order mark: it belongs to what stands behind it, and no comment begins so");
    for (size_t at = text_.find('\r'); at != kNowhere; at = text_.find('\r', at + 1)) {
        if (at + 1 == text_.size() || kLineEnds.find(text_[at + 1]) != kNowhere) continue;
        return find(at, "a carriage return alone ends the line");
    }
}

PropertiesFile Reading::read() {
    find_file_faults();
    const log::PropsWatcher watcher{
        .context = this,
        .step = [](void* context, PropsState from, PropsState to,
                   size_t at) { in(context).step(from, to, at); },
        .code = [](void* context, int32_t code) { in(context).code_ = code; },
        .entry = [](void* context, const char* key,
                    const char* value) { return in(context).take(key, value); }};
    file_.is_whole = log::read_watched_props(text_, watcher);
    if (too_many_) throw Failure("more than " + with_commas(kMaxEntries) + " entries");
    return std::move(file_);
}

}  // namespace

Places::Places(std::string_view text) : text_(text) {
    size_t line_begin = 0;
    for (size_t at = 0; at < text.size(); ++at) {
        if (at % kBlockBytes == 0) marks_.push_back({lines_, line_begin});
        if (!begins_line(text, at)) continue;
        ++lines_;
        line_begin = at;
    }
    if (marks_.empty()) marks_.push_back({1, 0});
}

Places::Place Places::of(size_t offset) const {
    const size_t block = std::min(offset / kBlockBytes, marks_.size() - 1);
    auto [line, begin] = marks_[block];
    for (size_t at = block * kBlockBytes; at <= offset && at < text_.size(); ++at) {
        if (!begins_line(text_, at)) continue;
        ++line;
        begin = at;
    }
    return {line, offset - begin + 1};
}

std::string in_quotes(std::string_view text) {
    size_t end = std::min(text.size(), kMaxQuotedBytes);
    const auto continues = [&](size_t at) { return (text[at] & 0xC0) == 0x80; };
    while (end < text.size() && end > kMaxQuotedBytes - 4 && continues(end)) --end;
    return "'" + shown(text.substr(0, end)) + (end < text.size() ? "...'" : "'");
}

PropertiesFile read_properties(std::string_view text, const Places& places) {
    return Reading(text, places).read();
}

}  // namespace vel::tool::config
