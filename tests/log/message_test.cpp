#include "log/message.h"

#include <cerrno>
#include <cmath>

#include "runtime/status.h"
#include "tests/log/toolkit_fixture.h"
#include "tests/support/catalog_image.h"

// Binds a text with a string, an int, a long, a double and a char.
static std::string bound(const char* text) {
    PmxI18Msg* const message = PmxAllocI18Msg(nullptr, 0, 0, text);
    PmxAddI18MsgParmString(message, "a");
    PmxAddI18MsgParmInt(message, -5);
    PmxAddI18MsgParmLong(message, INT64_MAX);
    PmxAddI18MsgParmDouble(message, 0.5);
    PmxAddI18MsgParmChar(message, 'c');
    PmxI18Msg* const copy = PmxCopyI18Msg(message);
    PmxFreeI18Msg(message);
    const std::string result = taken(PmxBindI18Msg(copy));
    PmxFreeI18Msg(copy);
    return result;
}

// Texts of catalogs come from outside: whatever they ask for, nothing is read that is not there.
TEST(Message, ShowsNothingForWhatDoesNotGoWithItsParameter) {
    const std::pair<const char*, const char*> rows[] = {
        {"%1$s-%2$d", "a--5"},
        {"%2$ld %3$d %3$x", "-5 9223372036854775807 7fffffffffffffff"},
        {"[%1$d][%2$s][%4$d][%1$f][%3$p][%5$s][%2$n]", "[][][][][][][]"},
        {"%s %d %ld %f %c", "a -5 9223372036854775807 0.500000 c"},
        {"%6$s %1$s", "%6$s %1$s"},  // there is no sixth: the text as it stands
        {"100%", "100%"},
        {"%70000d", "%70000d"},
        {"%*3$d", "%*3$d"},
        {"", ""},
    };
    for (const auto& [text, shown] : rows) EXPECT_EQ(bound(text), shown) << text;
    EXPECT_EQ(bound(nullptr), "-");
    EXPECT_EQ(taken(PmxBindI18Msg(nullptr)), "-");
}

// Also without an open toolkit, and in UTF-8 whatever the local code set is.
TEST_F(ToolkitTest, FindsTheTextInTheCatalogOfALocale) {
    directory.write("fr/cat.cat",
                    catalog_image({{1, {{7, "d\xC3\xA9j\xC3\xA0 %s"}, {8, "%d %s"}}}}));
    setenv("NLSPATH", (directory.path().string() + "/%L/%N.cat").c_str(), 1);
    setenv("MAB_CODESET", "none", 1);
    PmxI18Msg* const message = PmxAllocI18Msg("cat", 1, 7, "already %s");
    PmxAddI18MsgParmString(message, "x");
    setenv("LC_ALL", "fr_FR", 1);
    EXPECT_EQ(taken(PmxBindI18Msg(message)), "d\xC3\xA9j\xC3\xA0 x");
    PmxSetI18MsgKey(message, 8);  // asks for what there is not
    EXPECT_EQ(taken(PmxBindI18Msg(message)), "already %s");
    PmxSetI18MsgKey(message, 9);
    EXPECT_EQ(taken(PmxBindI18Msg(message)), "already x");
    PmxSetI18MsgKey(message, 7);
    PmxSetI18MsgLocale(message, "de_DE");
    EXPECT_EQ(taken(PmxBindI18Msg(message)), "already x");
    PmxSetI18MsgCat(message, "other");
    EXPECT_EQ(taken(PmxBindI18Msg(message)), "already x");
    PmxFreeI18Msg(message);
    for (const char* name : {"LC_ALL", "NLSPATH", "MAB_CODESET"}) unsetenv(name);
}

TEST(Parm, EqualsOneOfTheSameTypeAndValue) {
    char text[] = "a", same[] = "a";
    const PmxParm parms[] = {
        {PMX_BOOL, {.integer = 1}},   {PMX_CHAR, {.integer = 1}}, {PMX_INT, {.integer = 1}},
        {PMX_LONG, {.integer = 257}}, {PMX_FLOAT, {.real = 1}},   {PMX_DOUBLE, {.real = 1}},
        {PMX_STRING, {.text = text}},
    };
    for (const PmxParm& a : parms) {
        for (const PmxParm& b : parms) EXPECT_EQ(PmxCmpParms(&a, &b), &a == &b);
        EXPECT_EQ(PmxCmpParms(&a, nullptr), 0);
    }
    const PmxParm low_byte{PMX_BOOL, {.integer = 257}}, other_text{PMX_STRING, {.text = same}};
    EXPECT_EQ(PmxCmpParms(&parms[0], &low_byte) + PmxCmpParms(&parms[6], &other_text), 2);
    const PmxParm nan{PMX_DOUBLE, {.real = std::nan("")}}, none{508, {.integer = 1}};
    EXPECT_EQ(PmxCmpParms(&nan, &nan), 0);
    EXPECT_EQ(PmxCopyParm(&none), nullptr);
}

TEST(Text, IsJoinedWithoutItsNulls) {
    const char* const texts[] = {nullptr, "a", nullptr, "", "b", nullptr};
    EXPECT_EQ(taken(PmxStrACat(6, texts, ",")), "a,,b");
    EXPECT_EQ(taken(PmxStrACat(6, texts, nullptr)), "ab");
    EXPECT_EQ(taken(PmxStrACat(1, texts, ",")) + taken(PmxStrACat(-1, texts, ",")), "");
    EXPECT_EQ(taken(PmxStrACat(2, nullptr, ",")), "");
}

TEST(Text, IsPrintedInTheLocalCodeSetUpToALimit) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(PmxPrintText(stdout, std::string(5000, 'x').c_str()), 1);
    EXPECT_EQ(PmxPrintText(stdout, nullptr) + PmxPrintText(nullptr, "x"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(4095, 'x'));
    EXPECT_EQ(taken(PmxText37ToUTF8("abc", 2)) + taken(PmxTextUTF8To1047("x")), "abx");
    EXPECT_EQ(taken(PmxText1047ToUTF8("abc", -1)) + taken(PmxTextUTF8To37(nullptr)), "--");
}

TEST_F(OpenToolkitTest, ReportsOnlyErrorsOfTheSystem) {
    const auto report = [](uint64_t status) {
        return reported([=] { PmxReportPlatformErr(status); });
    };
    for (const uint64_t status : {vel::runtime::ok(), vel::runtime::failed(0), uint64_t{ENOENT}}) {
        EXPECT_EQ(report(status), "");
    }
    EXPECT_EQ(report(vel::runtime::failed(ENOENT)), "No such file or directory");
    PmxSetObjProp(get("pmxlog.errorLogger"), "level", "error");
    EXPECT_EQ(report(vel::runtime::failed(ENOENT)), "");
}

TEST(MessageTable, FillsNumbersWithoutAMessage) {
    EXPECT_STREQ(pmxmsg[0], "pmxmsg");
    EXPECT_STREQ(pmxmsg[5], "unused000");
    EXPECT_STREQ(pmxmsg[159], "unused107");
    EXPECT_STREQ(pmxmsg[165], text_of(vel::log::Msg::zip_command_missing));
}
