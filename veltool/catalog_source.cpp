// The source text of catalogs, as X/Open has it for gencat, both ways.
#include <algorithm>
#include <charconv>
#include <iostream>
#include <optional>

#include "i18n/catalog.h"
#include "veltool/catalog.h"
#include "veltool/files.h"
#include "veltool/utf8.h"

namespace vel::tool {

namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr size_t kMostOctalDigits = 3;

struct Escape {
    char letter;
    char value;
};
constexpr Escape kEscapes[] = {
    {'n', '\n'}, {'t', '\t'}, {'v', '\v'}, {'b', '\b'}, {'r', '\r'}, {'f', '\f'}, {'\\', '\\'},
};

bool is_octal(char c) { return c >= '0' && c <= '7'; }

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// The decimal number that is all of a word; nothing when it is none in the range.
std::optional<int32_t> number_of(std::string_view word, int32_t least) {
    int32_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc{} || end != word.data() + word.size() || number < least) return {};
    return number;
}

// What a line shows of a word that is wrong.
std::string shown(std::string_view word) {
    constexpr size_t kMost = 40;
    std::string result;
    while (!word.empty() && result.size() < kMost) {
        const size_t length = utf8_length(word);
        const bool plain = length > 0 && static_cast<unsigned char>(word[0]) >= ' ';
        result += plain ? word.substr(0, length) : "?";
        word.remove_prefix(std::max<size_t>(length, 1));
    }
    return result;
}

class SourceParser {
  public:
    SourceParser(const std::string& name, const CodeSet* code_set, CatalogSets& sets,
                 SourceErrors& errors)
        : name_(name), code_set_(code_set), sets_(sets), errors_(errors) {}

    void parse(std::string_view source) {
        line_ = 1;
        const std::string text = code_set_ != nullptr ? decode(source) : std::string(source);
        rest_ = text;
        if (rest_.starts_with(kByteOrderMark)) rest_.remove_prefix(kByteOrderMark.size());
        for (next_line_ = 1; !rest_.empty();) {
            line_ = next_line_;
            take_line(cut_line());
        }
    }

  private:
    // The rest's first line, without what ends it.
    std::string_view cut_line() {
        const size_t end = std::min(rest_.find('\n'), rest_.size());
        std::string_view line = rest_.substr(0, end);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        ++next_line_;
        if (line.ends_with('\r')) line.remove_suffix(1);
        return line;
    }

    void take_line(std::string_view line) {
        if (trimmed(line).empty()) return;
        if (line[0] == '$') {
            take_directive(line.substr(1));
        } else if (line[0] >= '0' && line[0] <= '9') {
            take_message(line);
        } else {
            fail("neither a message nor a directive: " + shown(line));
        }
    }

    void take_directive(std::string_view line) {
        const size_t end = std::min(line.find_first_of(kBlanks), line.size());
        const std::string_view word = line.substr(0, end);
        const std::string_view values = trimmed(line.substr(end));
        if (word.empty()) return;  // a comment
        if (word == "quote") {
            quote_ = values.substr(0, utf8_length(values));
        } else if (word == "set" || word == "delset") {
            take_set(word, values.substr(0, values.find_first_of(kBlanks)));
        } else {
            fail("no such directive: $" + shown(word));
        }
    }

    void take_set(std::string_view directive, std::string_view word) {
        const auto number = number_of(word, 0);
        if (!number) {
            fail("no number of a set: " + shown(word));
        } else if (directive == "set") {
            set_ = *number;
            sets_[set_];
        } else {
            sets_.erase(*number);
            std::erase_if(lines_, [&](const auto& entry) { return entry.first.first == *number; });
        }
    }

    // A message's number, one blank, and its text to the end of the line, or of those that it goes
    // on with. Without the blank the message is deleted.
    void take_message(std::string_view line) {
        const size_t end = std::min(line.find_first_of(kBlanks), line.size());
        const auto number = number_of(line.substr(0, end), 1);
        if (!number) fail("no number of a message: " + shown(line.substr(0, end)));
        if (end == line.size()) {
            if (number) delete_message(*number);
            return;
        }
        std::string text(line.substr(end + 1));
        while (goes_on(text)) {
            text.pop_back();
            if (rest_.empty()) return fail("the text goes on, but the file ends");
            text += cut_line();
        }
        if (!number) return;
        if (const auto plain = unescape(text)) put_message(*number, *plain);
    }

    // Whether a line ends with a backslash that is not itself escaped.
    static bool goes_on(std::string_view text) {
        const size_t last = text.find_last_not_of('\\');
        const size_t backslashes = text.size() - (last == text.npos ? 0 : last + 1);
        return backslashes % 2 != 0;
    }

    void delete_message(int32_t number) {
        if (const auto set = sets_.find(set_); set != sets_.end()) set->second.erase(number);
        lines_.erase({set_, number});
    }

    void put_message(int32_t number, const std::string& text) {
        if (text.find('\0') != text.npos) return fail("a zero, which ends a text");
        if (const size_t end = utf8_end(text); end < text.size())
            fail("not UTF-8, at byte " + std::to_string(end + 1) + " of the text");
        const auto [entry, is_new] = lines_.try_emplace({set_, number}, line_);
        if (!is_new) {
            return fail("message " + std::to_string(number) + " of set " + std::to_string(set_) +
                        " is on line " + std::to_string(entry->second) + " already");
        }
        sets_[set_][number] = {text, line_};
    }

    // The text that a field stands for; nothing, and an error, when it is wrong.
    std::optional<std::string> unescape(std::string_view field) {
        const bool quoted = !quote_.empty() && field.starts_with(quote_);
        if (quoted) field.remove_prefix(quote_.size());
        std::string text;
        while (!field.empty()) {
            if (quoted && field.starts_with(quote_)) {
                if (trimmed(field.substr(quote_.size())).empty()) return text;
                return wrong("text behind the closing quote");
            }
            if (field[0] != '\\') {
                text += field[0];
                field.remove_prefix(1);
            } else if (!take_escape(field, text)) {
                return {};
            }
        }
        if (quoted) return wrong("the closing quote is missing");
        return text;
    }

    bool take_escape(std::string_view& field, std::string& text) {
        field.remove_prefix(1);
        if (is_octal(field[0])) return take_octal(field, text);
        const auto escape = std::ranges::find(kEscapes, field[0], &Escape::letter);
        // Of any other character nothing is left but itself.
        text += escape != std::end(kEscapes) ? escape->value : field[0];
        field.remove_prefix(1);
        return true;
    }

    // Bytes of the source's code set, as many as stand side by side.
    bool take_octal(std::string_view& field, std::string& text) {
        std::string bytes;
        for (;;) {
            const auto digits =
                std::ranges::find_if_not(field.substr(0, kMostOctalDigits), is_octal);
            const auto length = static_cast<size_t>(digits - field.begin());
            unsigned byte = 0;
            std::from_chars(field.data(), field.data() + length, byte, 8);
            if (byte > 0xFF)
                return wrong("no byte: \\" + shown(field.substr(0, length))).has_value();
            bytes += static_cast<char>(byte);
            field.remove_prefix(length);
            if (field.size() < 2 || field[0] != '\\' || !is_octal(field[1])) break;
            field.remove_prefix(1);
        }
        const size_t line = line_;
        if (code_set_ != nullptr) bytes = decode(bytes);
        line_ = line;
        text += bytes;
        return true;
    }

    // Bytes of the code set as UTF-8. They are offered one by one, so that what the code set does
    // not have is known by its line.
    std::string decode(std::string_view bytes) {
        uc_ch_t* cs = code_set_->handle();
        std::string text;
        const char* at = bytes.data();
        const char* const end = at + bytes.size();
        for (int32_t length = 1; at + length <= end; ++length) {
            char character[8];
            char* out = character;
            int32_t room = sizeof character;
            const uint16_t replaced = code_set_->replaced();
            mab_to_utf8_r(cs, &at, &length, &out, &room);
            if (code_set_->replaced() != replaced) fail("not in " + code_set_->name());
            text.append(character, out);
            line_ += static_cast<size_t>(std::count(character, out, '\n'));
        }
        if (at < end) fail("ends within a character of " + code_set_->name());
        const char* none = nullptr;  // back to the initial state
        int32_t nothing = 0;
        char* nowhere = nullptr;
        mab_to_utf8_r(cs, &none, &nothing, &nowhere, &nothing);
        return text;
    }

    void fail(const std::string& what) {
        errors_.push_back(name_ + ":" + std::to_string(line_) + ": " + what);
    }
    std::optional<std::string> wrong(const std::string& what) {
        fail(what);
        return {};
    }

    const std::string& name_;
    const CodeSet* code_set_;
    CatalogSets& sets_;
    SourceErrors& errors_;
    std::string_view rest_;  // of the text
    size_t line_ = 0;        // that is worked on, or where its message begins
    size_t next_line_ = 0;
    int32_t set_ = kDefaultSet;
    std::string quote_;                                    // empty: none
    std::map<std::pair<int32_t, int32_t>, size_t> lines_;  // where this source has its messages
};

// ---- Back to source -------------------------------------------------------------------------

constexpr char kQuote = '"';

std::string escaped(char c) {
    const auto escape = std::ranges::find(kEscapes, c, &Escape::value);
    if (escape != std::end(kEscapes)) return {'\\', escape->letter};
    if (c == kQuote) return {'\\', c};
    const auto byte = static_cast<unsigned char>(c);
    const auto digit = [&](unsigned shift) { return static_cast<char>('0' + (byte >> shift & 7)); };
    return {'\\', digit(6), digit(3), digit(0)};
}

// A text between quotes. Behind a newline it goes on in a new line.
std::string quoted(std::string_view text) {
    std::string result(1, kQuote);
    while (!text.empty()) {
        const size_t length = utf8_length(text);
        const char c = text[0];
        const bool plain =
            length > 1 || (length == 1 && c >= ' ' && c != '\x7F' && c != kQuote && c != '\\');
        result += plain ? std::string(text.substr(0, length)) : escaped(c);
        text.remove_prefix(std::max<size_t>(length, 1));
        if (c == '\n' && !text.empty()) result += "\\\n";
    }
    return result + kQuote;
}

}  // namespace

ExitStatus complain(const SourceErrors& errors) {
    for (const std::string& error : errors) std::cerr << error << '\n';
    return errors.empty() ? kDone : kFinding;
}

void take_catalog_source(std::string_view source, const std::string& name, const CodeSet* code_set,
                         CatalogSets& sets, SourceErrors& errors) {
    SourceParser(name, code_set, sets, errors).parse(source);
}

void take_catalog_input(const std::string& path, const CodeSet* code_set, CatalogSets& sets,
                        SourceErrors& errors) {
    if (path == "-") {
        const std::string source = read_standard_input(i18n::kMaxCatalogSize);
        return take_catalog_source(source, "standard input", code_set, sets, errors);
    }
    const std::string content = read_file(path, i18n::kMaxCatalogSize);
    const std::string_view magic(i18n::kCatalogMagic, sizeof i18n::kCatalogMagic);
    if (!content.starts_with(magic))
        return take_catalog_source(content, path, code_set, sets, errors);
    for (auto& [number, messages] : read_catalog_file(path)) {
        for (auto& [id, message] : messages) sets[number][id] = message;
    }
}

std::string catalog_source(const CatalogSets& sets) {
    std::string source = "$quote \"\n";
    for (const auto& [number, messages] : sets) {
        source += "\n$set " + std::to_string(number) + '\n';
        for (const auto& [id, message] : messages)
            source += std::to_string(id) + ' ' + quoted(message.text) + '\n';
    }
    return source;
}

}  // namespace vel::tool
