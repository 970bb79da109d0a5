// The mapping of a charset of iconv: every sequence of bytes and every character is tried.
#include <algorithm>
#include <array>
#include <set>

#include "veltool/charset.h"
#include "veltool/mapping.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

using Outcome = CharsetConverter::Outcome;

constexpr char kShiftOut = 0x0E;
constexpr char kShiftIn = 0x0F;

class Extractor {
  public:
    explicit Extractor(const std::string& charset)
        : to_unicode_(kUnicodeCharset, charset), from_unicode_(charset, kUnicodeCharset) {
        for (unsigned byte = 0; byte < 256; ++byte) all_bytes_.insert(static_cast<uint8_t>(byte));
        shifts_ = to_unicode_.convert({&kShiftOut, 1}, out_) == Outcome::kConverted && out_.empty();
    }

    Mapping extract() {
        for (char32_t value = 0; value < kBmpEnd; ++value) try_value(value);
        std::string bytes;
        try_all_bytes(bytes);  // in their order
        if (shifts_) {
            try_pairs();
            std::ranges::sort(mapping_.to_unicode, {}, &Character::code);
        }
        return std::move(mapping_);
    }

  private:
    void try_value(char32_t value) {
        if (is_surrogate(value)) return;
        const std::array<char, 4> text{static_cast<char>(value & 0xFF),
                                       static_cast<char>(value >> 8), 0, 0};
        if (from_unicode_.convert({text.data(), text.size()}, out_) != Outcome::kConverted) return;
        std::string_view bytes = out_;
        if (shifts_ && bytes.size() > 1 && bytes.front() == kShiftOut && bytes.back() == kShiftIn) {
            bytes = bytes.substr(1, bytes.size() - 2);
        }
        if (bytes.size() > kLongestCode) {
            mapping_.notes.push_back({Remark::kUnholdable, {}, value});
        } else if (!bytes.empty()) {
            const Code code = code_of(bytes);
            mapping_.from_unicode[value] = code;
            if (code.length == kLongestCode) last_bytes_.insert(code.byte(kLongestCode - 1));
        }
    }

    // Tries a sequence with each byte at its end, and goes on with those that are incomplete. Of
    // all last bytes of four only those are tried that stand there in any of the charset's results:
    // the others are many and lead nowhere.
    void try_all_bytes(std::string& bytes) {
        bytes.push_back(0);
        for (const uint8_t byte : bytes.size() == kLongestCode ? last_bytes_ : all_bytes_) {
            bytes.back() = static_cast<char>(byte);
            const Outcome outcome = to_unicode_.convert(bytes, out_);
            if (outcome == Outcome::kConverted) take(code_of(bytes));
            if (outcome == Outcome::kIncomplete && bytes.size() < kLongestCode)
                try_all_bytes(bytes);
        }
        bytes.pop_back();
    }

    void try_pairs() {
        std::string text{kShiftOut, 0, 0, kShiftIn};
        for (size_t pair = 0; pair < 0x10000; ++pair) {
            text[1] = static_cast<char>(pair >> 8);
            text[2] = static_cast<char>(pair & 0xFF);
            if (text[1] == kShiftOut || text[1] == kShiftIn) continue;
            if (to_unicode_.convert(text, out_) != Outcome::kConverted) continue;
            take(code_of(std::string_view(text).substr(1, 2)));
        }
    }

    // Takes what a code was converted to; a shift is converted to nothing.
    void take(Code code) {
        if (out_.empty()) return;
        char32_t value = 0;
        for (size_t i = 4; i > 0; --i) value = value << 8 | static_cast<uint8_t>(out_[i - 1]);
        if (out_.size() > 4) {
            mapping_.notes.push_back({Remark::kSequence, code, value});
        } else {
            mapping_.to_unicode.push_back({code, value});
        }
    }

    CharsetConverter to_unicode_;
    CharsetConverter from_unicode_;
    bool shifts_ = false;  // pairs of bytes stand between shifts
    std::set<uint8_t> all_bytes_;
    std::set<uint8_t> last_bytes_;
    std::string out_;
    Mapping mapping_;
};

}  // namespace

Mapping extract_mapping(const std::string& charset) {
    const std::string name = find_charset(charset);
    if (name.empty()) throw Failure("iconv does not know the charset " + charset);
    return Extractor(name).extract();
}

}  // namespace vel::tool
