// Names of locales, and what they are mapped to.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace vel::i18n {

struct NamePair {
    std::string_view from;
    const char* to;
};

inline constexpr size_t kCanonicalMost = 5;    // of a canonical name that is made: "ll_TT"
inline constexpr size_t kLanguageLetters = 2;  // with which it begins
inline constexpr size_t kLocaleSize = 32;      // of a locale object

using MadeName = std::array<char, kCanonicalMost>;

// The beginning of a text, or all of one that is shorter.
inline std::string_view beginning(std::string_view text, size_t most) {
    return {text.data(), text.size() < most ? text.size() : most};
}

// The canonical name of a locale: a constant, or put into `made`, or the name itself.
std::string_view canonical_loc(std::string_view name, MadeName& made);

// Of a canonical name the canonical language: a constant, or a beginning of the name.
std::string_view canonical_lang(std::string_view canonical);

// The value of LANG; "C" when it is unset or empty.
const char* os_lang_name();

// Sets a category to the first locale of the aliases that the system accepts: of those of the same
// language, which stand together, first the one of the same territory. The name that was set; null:
// none.
const char* set_by_alias(int category, std::string_view canonical,
                         std::span<const NamePair> aliases);

}  // namespace vel::i18n
