#include "veltool/agreement.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "i18n/code_set.h"
#include "veltool/report.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

constexpr uint32_t kEbcdicNextLine = 0x15;
constexpr uint32_t kEbcdicNewline = 0x25;

using Units = std::basic_string<uint16_t>;

std::string utf8_of(char32_t value) {
    const auto byte = [](char32_t bits) { return static_cast<char>(bits); };
    const auto tail = [&](int shift) { return byte(0x80 | (value >> shift & 0x3F)); };
    if (value < 0x80) return {byte(value)};
    if (value < 0x800) return {byte(0xC0 | value >> 6), tail(0)};
    if (value < kBmpEnd) return {byte(0xE0 | value >> 12), tail(6), tail(0)};
    return {byte(0xF0 | value >> 18), tail(12), tail(6), tail(0)};
}

Units ucs2_of(char32_t value) {
    if (value < kBmpEnd) return {static_cast<uint16_t>(value)};
    const char32_t rest = value - kBmpEnd;
    return {static_cast<uint16_t>(0xD800 | rest >> 10),
            static_cast<uint16_t>(0xDC00 | (rest & 0x3FF))};
}

template <class Text>
std::string shown(const Text& text) {
    std::string result;
    for (const auto unit : text) {
        char number[16];
        const int digits = static_cast<int>(2 * sizeof unit);
        const uint32_t mask = (1U << 4 * digits) - 1;
        snprintf(number, sizeof number, " %0*X", digits, static_cast<uint32_t>(unit) & mask);
        result += number;
    }
    return result.empty() ? " nothing" : result;
}

// One of the conversions on a whole text.
template <class In, class Out>
using Conversion = int32_t (*)(uc_ch_t*, const In*, int32_t, Out*, int32_t);

class Comparison {
  public:
    Comparison(const Contents& contents, const Mapping& source, uc_ch_t* handle)
        : kind_(*contents.kind), held_(contents.mapping), source_(source), handle_(handle) {}

    Agreement compare() {
        for (const Character& character : source_.to_unicode) check_code(character);
        for (const auto& [code, value] : held_.to_unicode) {
            if (!source_.value_of(code) && !is_ascii(code)) {
                differ(code, in_unicode(value) + " in the table, unmapped in the source");
            }
        }
        for (char32_t value = 0; value < kBmpEnd; ++value) {
            if (!is_surrogate(value)) check_value(value);
        }
        return std::move(result_);
    }

  private:
    bool is_ascii(Code code) const {
        return passes_ascii(kind_) && code.length == 1 && code.bits < kAsciiEnd;
    }

    // What a code means by the rules of the kind, whatever the source says.
    std::optional<char32_t> fixed_value(Code code) const {
        if (is_ascii(code)) return code.bits;
        if (kind_.ebcdic && (code == Code{kEbcdicNextLine, 1} || code == Code{kEbcdicNewline, 1})) {
            return U'\n';
        }
        return std::nullopt;
    }

    // The bytes of a text that is just this code.
    std::string text_of(Code code) const {
        if (kind_.number != i18n::kEbcdicDbcs || code.length == 1) return bytes_of(code);
        return static_cast<char>(kShiftOut) + bytes_of(code) + static_cast<char>(kShiftIn);
    }

    void check_code(const Character& source) {
        const Code code = source.code;
        const auto fixed = fixed_value(code);
        const auto obstacle = value_obstacle(kind_, source);
        if (obstacle == Remark::kShift) return;
        const bool left_out = !fixed && obstacle;
        const char32_t value = left_out ? kSubstituteValue : fixed.value_or(source.value);
        const std::string text = text_of(code);
        const bool agrees = expect(mab_to_utf8, text, utf8_of(value), left_out, code) &&
                            expect(mab_to_ucs2, text, ucs2_of(value), left_out, code);
        if (!agrees || left_out) return;
        ++(value == source.value ? result_.to_unicode : result_.exceptions);
    }

    void check_value(char32_t value) {
        const Code code = source_.code_of(value);
        const bool passes = passes_ascii(kind_) && value < kAsciiEnd;
        const bool unmapped = !passes && (!code || result_obstacle(kind_, value, code));
        const Code expected = unmapped ? Code{kind_.substitute(), 1}
                              : passes ? Code{value, 1}
                                       : code;
        const std::string text = text_of(expected);
        const bool agrees = expect(mab_from_utf8, utf8_of(value), text, unmapped, value) &&
                            expect(mab_from_ucs2, ucs2_of(value), text, unmapped, value);
        if (!agrees) return;
        ++(unmapped           ? result_.substituted
           : expected == code ? result_.from_unicode
                              : result_.exceptions);
    }

    // Converts a text, and says so when the result is another or is not counted as it should be.
    template <class In, class Out, class What>
    bool expect(Conversion<In, Out> convert, const std::basic_string<In>& text,
                const std::basic_string<Out>& expected, bool substituted, What what) {
        std::array<Out, 16> out;
        const uint16_t before = handle_->subs_count;
        const int32_t size = convert(handle_, text.data(), static_cast<int32_t>(text.size()),
                                     out.data(), static_cast<int32_t>(out.size()));
        const std::basic_string<Out> got(out.data(), static_cast<size_t>(std::max(size, 0)));
        const auto counted = static_cast<uint16_t>(handle_->subs_count - before);
        if (got != expected) {
            differ(what, "converted to" + shown(got) + " instead of" + shown(expected));
            return false;
        }
        if (counted != (substituted ? 1 : 0)) {
            differ(what, "counted as substituted " + std::to_string(counted) + " times");
            return false;
        }
        return true;
    }

    static std::string name_of(Code code) { return in_hex(code); }
    static std::string name_of(char32_t value) { return in_unicode(value); }

    template <class What>
    void differ(What what, const std::string& how) {
        result_.differences.push_back(name_of(what) + ": " + how);
    }

    const KindRow& kind_;
    const Mapping& held_;
    const Mapping& source_;
    uc_ch_t* handle_;
    Agreement result_;
};

}  // namespace

std::string Agreement::summary() const {
    std::string line = "agree: " + with_commas(to_unicode) + " to Unicode, " +
                       with_commas(from_unicode) +
                       " from Unicode; substituted: " + with_commas(substituted);
    if (exceptions > 0) line += "; exceptions of the kind: " + with_commas(exceptions);
    return line + "; differences: " + with_commas(differences.size());
}

Agreement compare(const Contents& contents, const Mapping& source, const CodeSet& code_set) {
    return Comparison(contents, source, code_set.handle()).compare();
}

}  // namespace vel::tool
