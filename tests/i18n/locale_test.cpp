#include <gtest/gtest.h>
#include <locale.h>

#include "i18n/locale_name.h"
#include "i18n/mab.h"

// Names at large are held against a model by a fuzz target, whose corpus is replayed with these.
TEST(Locale, HasOneFormOfItsNameAndOneOfItsLanguage) {
    const char* const rows[][3] = {
        {"EnUs8", "en_US", "C"},
        {"DE_de@euro", "de_DE", "de"},
        {"fr_FRANCE", "fr_FRANCE", "fr_FR"},  // deliberate: a language goes by the beginning
        {"C.UTF-8", "C.UTF-8", "C.UTF"},
        {"POSIX", "POSIX", "POSIX"},
        {nullptr, "", ""},
    };
    for (const auto& [name, locale, language] : rows) {
        char out[32] = "unchanged";
        EXPECT_EQ(mab_canonical_loc(name, out, sizeof out), 0);
        EXPECT_STREQ(out, locale);
        EXPECT_EQ(mab_canonical_lang(name, out, sizeof out), 0);
        EXPECT_STREQ(out, language);
    }
}

TEST(Locale, NamesAreCutToTheirRoom) {
    char out[40] = "-POSIX";
    mab_canonical_loc(out + 1, out, sizeof out);  // which overlap
    EXPECT_EQ(mab_canonical_lang("fr", out, 0) + mab_canonical_loc("fr", nullptr, 9), 0);
    EXPECT_STREQ(out, "POSIX");
    mab_canonical_lang("fr", out, 4);
    EXPECT_EQ(std::string(out, 6), std::string("fr_\0X", 6));
    mab_canonical_loc("fr", out, 1);
    EXPECT_STREQ(out, "");
    char* locale = mab_loc_new(std::string(40, 'x').c_str());
    EXPECT_EQ(locale, std::string(31, 'x'));
    EXPECT_EQ(mab_loc_free(locale) + mab_loc_free(nullptr), 0);
    EXPECT_EQ(mab_loc_new(nullptr), nullptr);
}

TEST(Locale, OfTheProcessIsTheNamedOneOrC) {
    const char name[] = "C.UTF-8";
    EXPECT_EQ(mab_setlocale(LC_ALL, name), name);  // the caller's own words
    EXPECT_STREQ(mab_setlocale(LC_TIME, "xx_YY"), "C");
    EXPECT_STREQ(setlocale(LC_TIME, nullptr), "C");
    EXPECT_STREQ(mab_setlocale(LC_CTYPE, nullptr), name);
    EXPECT_STREQ(mab_setlocale(LC_ALL, "xx_YY"), "C");
    EXPECT_STREQ(setlocale(LC_ALL, nullptr), "C");
    char out[32];
    for (const char* lang : {"de-ch.x", ""}) {
        setenv("LANG", lang, 1);
        EXPECT_EQ(mab_os_lang_name(out, sizeof out), 0);
        EXPECT_STREQ(out, lang[0] != '\0' ? lang : "C");
    }
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
