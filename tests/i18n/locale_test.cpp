#include <gtest/gtest.h>
#include <locale.h>

#include "i18n/locale_name.h"
#include "i18n/mab.h"

// The forms of names are held against a model by fuzz/catalog_search.cpp, whose corpus is replayed
// with these tests.
TEST(Locale, LanguageGoesByTheBeginningOfItsName) {
    char out[32];
    EXPECT_EQ(mab_canonical_lang("fr_FRANCE", out, sizeof out), 0);
    EXPECT_STREQ(out, "fr_FR");
}

TEST(Locale, TakesNullForNoNameAndNoRoom) {
    char out[] = "unchanged";
    EXPECT_EQ(mab_canonical_loc("fr", nullptr, 9) + mab_canonical_lang("fr", out, 0), 0);
    EXPECT_STREQ(out, "unchanged");
    EXPECT_EQ(mab_canonical_loc(nullptr, out, sizeof out), 0);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(mab_loc_new(nullptr), nullptr);
    EXPECT_EQ(mab_loc_free(nullptr), 0);
}

TEST(Locale, OfTheProcessIsTheNamedOneOrC) {
    const char name[] = "C.UTF-8";
    EXPECT_EQ(mab_setlocale(LC_ALL, name), name);  // the caller's own words
    EXPECT_STREQ(mab_setlocale(LC_TIME, "xx_YY"), "C");
    EXPECT_STREQ(setlocale(LC_TIME, nullptr), "C");
    EXPECT_STREQ(mab_setlocale(LC_CTYPE, nullptr), name);
    EXPECT_STREQ(mab_setlocale(LC_ALL, "xx_YY"), "C");
    EXPECT_STREQ(setlocale(LC_ALL, nullptr), "C");
}

// What a name leads to in a table of three languages; "-" for nothing.
static std::string alias_of(const char* name) {
    const vel::i18n::NamePair table[] = {{"fr_CA", "C"},    {"fr_FR", "C.UTF-8"}, {"fr_XX", "none"},
                                         {"ja_JP", "none"}, {"ja_XX", "POSIX"},   {"zz_AA", "none"},
                                         {"zz_BB", "C"}};
    const char* set = vel::i18n::set_by_alias(LC_TIME, name, table);
    return set != nullptr ? set : "-";
}

TEST(Locale, AliasesOfTheTerritoryGoBeforeOthersOfTheLanguage) {
    EXPECT_EQ(alias_of("fr_FR"), "C.UTF-8");
    EXPECT_STREQ(setlocale(LC_TIME, nullptr), "C.UTF-8");
    EXPECT_EQ(alias_of("fr_BE") + alias_of("fr_XX") + alias_of("ja_JP"), "CCPOSIX");
    EXPECT_EQ(alias_of("xx_XX") + alias_of("f") + alias_of(""), "---");
}

TEST(Locale, AliasesOfTheLastLanguageAreTriedByTheFirstOnly) {
    EXPECT_EQ(alias_of("zz_CC") + alias_of("zz_AA") + alias_of("zz_BB"), "--C");
}
