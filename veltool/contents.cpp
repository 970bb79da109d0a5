#include "veltool/contents.h"

#include <algorithm>

#include "veltool/tool.h"

namespace vel::tool {

namespace {

constexpr Code kAsciiA{0x41, 1};
constexpr Code kEbcdicA{0xC1, 1};
constexpr Code kGbFirstOfFour{0x81308130, 4};  // U+0080, in GB 18030 only

bool is_ebcdic(const Mapping& source) {
    if (source.value_of(kAsciiA) == U'A') return false;
    if (source.value_of(kEbcdicA) == U'A') return true;
    throw Failure("based on neither ASCII nor EBCDIC: neither 0x41 nor 0xC1 is \"A\"");
}

i18n::Kind detect_kind(const Mapping& source) {
    uint32_t longest = 1;
    for (const Character& character : source.to_unicode) {
        longest = std::max(longest, character.code.length);
    }
    if (is_ebcdic(source)) return longest == 1 ? i18n::kEbcdicSbcs : i18n::kEbcdicDbcs;
    if (source.value_of(kGbFirstOfFour) == U'\x80') return i18n::kGb18030;
    return longest == 1 ? i18n::kSbcs : longest == 2 ? i18n::kDbcs : i18n::kMbcs;
}

void check_name(const std::string& name, const KindRow& kind) {
    const bool printable = std::ranges::all_of(name, [](char c) { return c > ' ' && c <= '~'; });
    if (name.empty() || !printable) throw Failure("the name has to be of visible ASCII characters");
    if (name.size() > longest_name(kind)) {
        throw Failure("the name is longer than " + std::to_string(longest_name(kind)) +
                      " characters: " + name);
    }
}

bool is_ascii(Code code) { return code.length == 1 && code.bits < kAsciiEnd; }

// What the rules of a kind say to a code. Throws Failure when it cannot be of that kind at all.
void check_shape(const KindRow& kind, Code code) {
    if (code.length > kind.longest) {
        throw Failure(in_hex(code) + " has more bytes than a character of the kind " +
                      std::string(kind.word));
    }
    if (passes_ascii(kind) && code.length > 1 && code.byte(0) < kAsciiEnd) {
        throw Failure(in_hex(code) + " begins with a byte that is a character of ASCII");
    }
}

bool is_shift(const KindRow& kind, Code code) {
    return kind.number == i18n::kEbcdicDbcs && code.length == 1 &&
           (code.bits == kShiftOut || code.bits == kShiftIn);
}

// Whether it is a place of GB 18030 that is not in the table, as its value is computed.
bool is_computed(const KindRow& kind, const Character& character) {
    if (kind.layout != Layout::kBlock) return false;
    const auto index = gb_index(character.code);
    return index && *index >= i18n::kGbPlanesBegin && *index <= i18n::kGbPlanesEnd &&
           character.value == kBmpEnd + static_cast<char32_t>(*index - i18n::kGbPlanesBegin);
}

bool has_place(const KindRow& kind, Code code) {
    if (kind.layout == Layout::kBlock) {
        const auto index = gb_index(code);
        return index && *index < i18n::kGbIndexEnd;
    }
    if (kind.number != i18n::kEbcdicDbcs || code.length == 1) return true;
    return code.byte(0) >= kFirstPairLead && code.byte(0) <= kLastPairLead;
}

class Fitter {
  public:
    Fitter(const Mapping& source, Contents& contents)
        : source_(source), kind_(*contents.kind), mapping_(contents.mapping) {}

    void fit() {
        mapping_.notes = source_.notes;
        if (passes_ascii(kind_)) add_ascii();
        for (const Character& character : source_.to_unicode) take_to_unicode(character);
        for (char32_t value = 0; value < kBmpEnd; ++value) {
            if (const Code code = source_.code_of(value)) take_from_unicode(value, code);
        }
        // What fills a page of single bytes means this very value there.
        Code& substitute = mapping_.from_unicode[kSubstituteValue];
        if (!substitute) substitute = {kind_.substitute(), 1};
        drop_repeated_notes();
    }

  private:
    void add_ascii() {
        for (uint32_t byte = 0; byte < kAsciiEnd; ++byte) {
            mapping_.to_unicode.push_back({{byte, 1}, byte});
            mapping_.from_unicode[byte] = {byte, 1};
        }
    }

    void take_to_unicode(const Character& character) {
        check_shape(kind_, character.code);
        if (passes_ascii(kind_) && is_ascii(character.code)) {
            if (character.value != character.code.bits) note(Remark::kPassedThrough, character);
        } else if (const auto obstacle = value_obstacle(kind_, character)) {
            note(*obstacle, character);
        } else if (character.value < kBmpEnd) {
            mapping_.to_unicode.push_back(character);
        }
    }

    void take_from_unicode(char32_t value, Code code) {
        if (passes_ascii(kind_) && value < kAsciiEnd) {
            if (code != Code{value, 1}) note(Remark::kPassedThrough, {code, value});
        } else if (const auto obstacle = result_obstacle(kind_, value, code)) {
            note(*obstacle, {code, value});
        } else {
            mapping_.from_unicode[value] = code;
        }
    }

    // What is noted in one direction is often just the same in the other.
    void drop_repeated_notes() {
        auto& notes = mapping_.notes;
        std::ranges::sort(notes);
        notes.erase(std::unique(notes.begin(), notes.end()), notes.end());
    }

    void note(Remark remark, const Character& character) {
        mapping_.notes.push_back({remark, character.code, character.value});
    }

    const Mapping& source_;
    const KindRow& kind_;
    Mapping& mapping_;
};

}  // namespace

std::optional<Remark> value_obstacle(const KindRow& kind, const Character& character) {
    if (is_computed(kind, character)) return std::nullopt;
    if (character.value >= kBmpEnd) return Remark::kAboveBmp;
    if (character.value == i18n::kUnmapped) return Remark::kNoncharacter;
    if (is_shift(kind, character.code)) return Remark::kShift;
    if (!has_place(kind, character.code)) return Remark::kUnholdable;
    return std::nullopt;
}

std::optional<Remark> result_obstacle(const KindRow& kind, char32_t value, Code code) {
    const uint64_t all_set = (uint64_t{1} << 8 * kind.result_size) - 1;
    if (value == i18n::kUnmapped) return Remark::kNoncharacter;
    if (is_shift(kind, code)) return Remark::kShift;
    if (code.length > kind.longest) return Remark::kUnholdable;
    if (code.length > 1 && (code.byte(0) == 0 || code.bits == all_set)) return Remark::kUnholdable;
    if (code == Code{kind.substitute(), 1} && value != kSubstituteValue)
        return Remark::kSubstitution;
    return std::nullopt;
}

std::vector<Note> one_way_notes(const Mapping& mapping) {
    std::vector<Note> notes;
    for (const auto& [code, value] : mapping.to_unicode) {
        if (mapping.code_of(value) != code)
            notes.push_back({Remark::kOneWayToUnicode, code, value});
    }
    for (char32_t value = 0; value < kBmpEnd; ++value) {
        const Code code = mapping.code_of(value);
        if (code && mapping.value_of(code) != value) {
            notes.push_back({Remark::kOneWayFromUnicode, code, value});
        }
    }
    return notes;
}

Contents fit(const Mapping& source, const std::string& name, const KindRow* kind) {
    if (kind == nullptr) kind = &kind_row(detect_kind(source));
    if (kind->ebcdic != is_ebcdic(source)) {
        throw Failure("the kind " + std::string(kind->word) + " is based on " +
                      (kind->ebcdic ? "EBCDIC" : "ASCII") + ", the mapping is not");
    }
    check_name(name, *kind);
    Contents contents{name, kind, {}};
    Fitter(source, contents).fit();
    return contents;
}

}  // namespace vel::tool
