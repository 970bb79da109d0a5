// The mapping of a text: lines of bytes and a value, as "0x8140 0x3000".
#include <algorithm>
#include <charconv>

#include "veltool/files.h"
#include "veltool/mapping.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

constexpr size_t kMaxTextSize = 64 << 20;
constexpr std::string_view kBlanks = " \t\r\f\v\x1A";  // old files end with 1A
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view cut_word(std::string_view& line) {
    const size_t begin = std::min(line.find_first_not_of(kBlanks), line.size());
    const size_t end = std::min(line.find_first_of(kBlanks, begin), line.size());
    const std::string_view word = line.substr(begin, end - begin);
    line.remove_prefix(end);
    return word;
}

// The number of a word like "0x8140"; nothing when it is none or has more digits.
std::optional<uint32_t> hex_number(std::string_view word) {
    if (!word.starts_with("0x") && !word.starts_with("0X")) return std::nullopt;
    word.remove_prefix(2);
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number, 16);
    if (error != std::errc{} || end != word.data() + word.size() || word.size() > 8) return {};
    return number;
}

class TextParser {
  public:
    explicit TextParser(const std::string& name) : name_(name) {}

    Mapping parse(std::string_view text) {
        if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
        while (!text.empty()) {
            const size_t end = std::min(text.find('\n'), text.size());
            ++line_;
            take_line(text.substr(0, end));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
        // Of several lines for the same bytes the first counts.
        auto& lines = mapping_.to_unicode;
        std::ranges::stable_sort(lines, {}, &Character::code);
        const auto same = [](const Character& one, const Character& other) {
            return one.code == other.code;
        };
        lines.erase(std::unique(lines.begin(), lines.end(), same), lines.end());
        return std::move(mapping_);
    }

  private:
    void take_line(std::string_view line) {
        line = line.substr(0, line.find('#'));
        const std::string_view bytes = cut_word(line);
        const std::string_view value = cut_word(line);
        const std::string_view mark = cut_word(line);
        if (bytes.empty()) return;
        const Code code = parse_bytes(bytes);
        if (!mark.empty() && mark != ">" && mark != "<") fail("neither \">\" nor \"<\"", mark);
        if (const std::string_view more = cut_word(line); !more.empty())
            fail("one word too many", more);
        if (value.empty()) return;  // bytes that are listed as undefined
        if (value.find('+') != value.npos) {
            take_sequence(code, value);
        } else {
            take(code, parse_value(value), mark);
        }
    }

    void take(Code code, char32_t value, std::string_view mark) {
        if (mark != "<") mapping_.to_unicode.push_back({code, value});
        if (mark == ">" || value >= kBmpEnd) return;
        if (Code& held = mapping_.from_unicode[value]; !held) held = code;
    }

    void take_sequence(Code code, std::string_view values) {
        const size_t plus = values.find('+');
        const char32_t first = parse_value(values.substr(0, plus));
        for (std::string_view rest = values.substr(plus + 1);;) {
            const size_t end = std::min(rest.find('+'), rest.size());
            parse_value(rest.substr(0, end));
            if (end == rest.size()) break;
            rest.remove_prefix(end + 1);
        }
        mapping_.notes.push_back({Remark::kSequence, code, first});
    }

    Code parse_bytes(std::string_view word) const {
        const auto number = hex_number(word);
        if (!number || word.size() % 2 != 0) fail("not one to four bytes", word);
        return {*number, static_cast<uint32_t>(word.size() / 2 - 1)};
    }

    char32_t parse_value(std::string_view word) const {
        const auto number = hex_number(word);
        if (!number || *number >= kUnicodeEnd || is_surrogate(*number)) fail("no character", word);
        return *number;
    }

    [[noreturn]] void fail(const char* what, std::string_view word) const {
        constexpr size_t kShown = 40;
        std::string shown;
        for (const char c : word.substr(0, kShown)) shown += c < ' ' || c > '~' ? '?' : c;
        throw Failure(name_ + ":" + std::to_string(line_) + ": " + what + ": " + shown);
    }

    const std::string& name_;
    size_t line_ = 0;
    Mapping mapping_;
};

}  // namespace

Mapping parse_mapping_text(std::string_view text, const std::string& name) {
    return TextParser(name).parse(text);
}

Mapping read_mapping_text(const std::string& path) {
    if (path == "-") return parse_mapping_text(read_standard_input(kMaxTextSize), "standard input");
    return parse_mapping_text(read_file(path, kMaxTextSize), path);
}

}  // namespace vel::tool
