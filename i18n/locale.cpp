// Canonical names of locales and languages; the locale of the process.
#include <locale.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "i18n/environment.h"
#include "i18n/locale_name.h"
#include "i18n/mab.h"

namespace vel::i18n {

static constexpr NamePair to_canonical_loc[] = {
    {"C", "C"},   {"american", "C"},     {"ar_AA", "ar"},    {"Ar_AA", "ar"},
    {"cz", "cs"}, {"japanese", "ja_JP"}, {"Jp_JP", "ja_JP"},
};

static constexpr NamePair to_canonical_lang[] = {
    {"C", "C"},      {"en", "C"},        {"fr", "fr_FR"}, {"ja", "ja_JP"},
    {"pt", "pt_BR"}, {"pt_BR", "pt_BR"}, {"zh", "zh_CN"}, {"zh_TW", "zh_TW"},
};

// Canonical names with the system's names for them, sorted; none is needed here.
static constexpr std::span<const NamePair> to_os_loc;

// What the first pair of a name maps it to; null: there is none.
static const char* map_string(std::span<const NamePair> pairs, std::string_view name) {
    const auto found = std::ranges::find(pairs, name, &NamePair::from);
    return found == pairs.end() ? nullptr : found->to;
}

static bool is_letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
static bool is_digit(char c) { return c >= '0' && c <= '9'; }
static bool is_word(char c) { return is_letter(c) || is_digit(c); }
static char lower(char c) { return static_cast<char>(c | 0x20); }  // of a letter
static char upper(char c) { return static_cast<char>(c & ~0x20); }

std::string_view canonical_loc(std::string_view name, MadeName& made) {
    if (const char* mapped = map_string(to_canonical_loc, name)) return mapped;
    std::array<char, kCanonicalMost + 1> c{};  // zeros stand behind a shorter name
    std::copy_n(name.data(), std::min(name.size(), c.size()), c.begin());
    if (c[2] == '-') c[2] = '_';
    if (std::all_of(&c[0], &c[4], is_letter) && is_digit(c[4])) c = {c[0], c[1], '_', c[2], c[3]};
    if (!is_letter(c[0]) || !is_letter(c[1])) return name;
    const bool language = c[2] != '_' && !is_word(c[2]);
    const bool territory = c[2] == '_' && is_letter(c[3]) && is_letter(c[4]) && !is_word(c[5]);
    if (!language && !territory) return name;
    made = {lower(c[0]), lower(c[1]), '_', upper(c[3]), upper(c[4])};
    return {made.data(), territory ? kCanonicalMost : kLanguageLetters};
}

std::string_view canonical_lang(std::string_view canonical) {
    // Deliberate: a name that is longer counts by its beginning, so "fr_FRANCE" is "fr_FR", too.
    const std::string_view name = beginning(canonical, kCanonicalMost);
    if (const char* mapped = map_string(to_canonical_lang, name)) return mapped;
    if (name.size() <= kLanguageLetters || name[kLanguageLetters] != '_') return name;
    const std::string_view language = beginning(name, kLanguageLetters);
    const char* mapped = map_string(to_canonical_lang, language);
    return mapped != nullptr ? mapped : language;
}

const char* os_lang_name() {
    const char* lang = variable("LANG");
    return lang != nullptr ? lang : "C";
}

const char* set_by_alias(int category, std::string_view canonical,
                         std::span<const NamePair> aliases) {
    if (canonical.size() < kLanguageLetters) return nullptr;
    const std::string_view language = beginning(canonical, kLanguageLetters);
    const auto of_language = [&](const NamePair& alias) {
        return alias.from.starts_with(language);
    };
    const auto begin = std::ranges::find_if(aliases, of_language);
    const auto end = std::find_if_not(begin, aliases.end(), of_language);
    for (auto alias = begin; alias != end; ++alias) {
        if (alias->from == canonical && setlocale(category, alias->to) != nullptr) return alias->to;
    }
    // Deliberate: of a group at the end of the table only the first one is tried.
    const auto tried = begin != end && end == aliases.end() ? begin + 1 : end;
    const auto set = std::find_if(begin, tried, [&](const NamePair& alias) {
        return setlocale(category, alias.to) != nullptr;
    });
    return set != tried ? set->to : nullptr;
}

// Copies what there is room for.
static int32_t put_down(std::string_view text, char* out, size_t size) {
    if (out == nullptr || size == 0) return 0;
    const std::string_view kept = beginning(text, size - 1);
    memmove(out, kept.data(), kept.size());
    out[kept.size()] = '\0';
    return 0;
}

static std::string_view text_of(const char* name) { return name != nullptr ? name : ""; }

}  // namespace vel::i18n

using namespace vel::i18n;

int32_t mab_canonical_loc(const char* name, char* out, size_t size) {
    MadeName made;
    return put_down(canonical_loc(text_of(name), made), out, size);
}

int32_t mab_canonical_lang(const char* name, char* out, size_t size) {
    MadeName made;
    return put_down(canonical_lang(canonical_loc(text_of(name), made)), out, size);
}

const char* mab_setlocale(int category, const char* name) {
    if (name == nullptr) return setlocale(category, nullptr);
    if (setlocale(category, name) != nullptr) return name;
    MadeName made;
    const std::string_view canonical = beginning(canonical_loc(name, made), kCanonicalMost);
    if (const char* alias = set_by_alias(category, canonical, to_os_loc)) return alias;
    setlocale(category, "C");
    return "C";
}

int32_t mab_os_lang_name(char* out, size_t size) { return put_down(os_lang_name(), out, size); }

char* mab_loc_new(const char* name) {
    if (name == nullptr) return nullptr;
    char* locale = static_cast<char*>(malloc(kLocaleSize));
    if (locale != nullptr) mab_canonical_loc(name, locale, kLocaleSize);
    return locale;
}

int32_t mab_loc_free(char* locale) {
    free(locale);
    return 0;
}
