#include <gtest/gtest.h>
#include <sys/mman.h>

#include <climits>
#include <string>

#include "i18n/mab.h"
#include "runtime/owned.h"

using vel::runtime::StringBuff;
using namespace std::string_literals;

static std::string text_of(const CxStringBuff& buff) {
    return buff.text == nullptr ? "(none)"
                                : std::string(buff.text, static_cast<size_t>(buff.length));
}

TEST(StringBuffer, RefusesMoreThanItCanCount) {
    // Two gigabytes of address space, of which nothing is touched.
    void* const space = mmap(nullptr, INT32_MAX, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(space, MAP_FAILED);
    CxStringBuff full{INT32_MAX - 1, INT32_MAX, static_cast<char*>(space)};
    const CxStringBuff before = full;
    EXPECT_EQ(CxStringBuffAppendStr(&full, "x") + CxStringBuffInsertStr(&full, "x", 0), 0);
    EXPECT_EQ(CxStringBuffAppendInt64(&full, 7) + CxStringBuffAppendChar(&full, 'x'), 0);
    EXPECT_TRUE(full.length == before.length && full.text == before.text);
    EXPECT_EQ(full.text[0], '\0');
    munmap(space, INT32_MAX);
}

// Sequences of calls are held against a model by fuzz/string_buffer.cpp, whose corpus is replayed
// with these tests.
TEST(StringBuffer, WritesU07FFWithThreeBytes) {
    const std::pair<int32_t, std::string> rows[] = {
        {0x7F, "\x7F"}, {0x80, "\xC2\x80"}, {0x7FF, "\xE0\x9F\xBF"}};
    for (const auto& [code, form] : rows) {
        StringBuff buff;
        EXPECT_EQ(CxStringBuffAppendUTF32Char(&buff, code), 1);
        EXPECT_EQ(text_of(buff), form);
    }
}

TEST(StringBuffer, AppendsNothingForZero) {
    StringBuff buff;
    EXPECT_EQ(CxStringBuffAppendInt64(&buff, 0), 1);
    EXPECT_EQ(text_of(buff), "(none)");
}

class CodeSets : public testing::Test {
  protected:
    void SetUp() override {
        mab_set_dir(VEL_CODESET_DIR);
        latin = mab_cs_new("ISO8859-1");
        mixed = mab_cs_new("939");
        ASSERT_TRUE(latin != nullptr && mixed != nullptr);
    }
    void TearDown() override {
        mab_cs_free(latin);
        mab_cs_free(mixed);
    }
    uc_ch_t* latin = nullptr;
    uc_ch_t* mixed = nullptr;  // EBCDIC with shifts
};

TEST_F(CodeSets, BufferIsReplacedByItsConversion) {
    StringBuff buff;
    EXPECT_EQ(CxStringBuffChangeToUTF8(latin, &buff), 1);  // nothing is nothing
    EXPECT_EQ(CxStringBuffAppendStr(&buff, "na\xEFve"), 1);
    EXPECT_EQ(CxStringBuffChangeToUTF8(latin, &buff), 1);
    EXPECT_EQ(text_of(buff), "naïve");
    EXPECT_EQ(CxStringBuffChangeFromUTF8(latin, &buff), 1);
    EXPECT_EQ(text_of(buff), "na\xEFve");
    // Each byte becomes two, and fills all the room that there is for them.
    std::string high(2000, '\xE9'), both;
    for (size_t i = 0; i < high.size(); ++i) both += "é";
    CxStringBuffDiscard(&buff);
    EXPECT_EQ(CxStringBuffAppendStr(&buff, high.c_str()), 1);
    EXPECT_EQ(CxStringBuffChangeToUTF8(latin, &buff), 1);
    EXPECT_TRUE(text_of(buff) == both);
    EXPECT_EQ(CxStringBuffChangeFromUTF8(mixed, nullptr), 0);
}

TEST_F(CodeSets, WideTextIsAppendedInWholeCharacters) {
    static constexpr uint16_t kWide[] = {0xE9, 0x3B1, 0}, kEmpty[] = {0},
                              kHalf[] = {'a', 0xD800, 0};
    static constexpr uint16_t kJapanese[] = {'A', 0x3042, 0};
    uc_ch_t* const utf8 = mab_cs_new("UTF-8");
    const std::tuple<uc_ch_t*, const uint16_t*, int32_t, int, std::string> rows[] = {
        {utf8, kWide, -1, 1, "éα"},
        {utf8, kWide, 3, 1, "é"},
        {utf8, kWide, 0, 1, ""},
        {utf8, kEmpty, -1, 1, ""},
        {utf8, kWide, -2, 0, ""},
        {utf8, kHalf, -1, 0, "a"},
        {utf8, nullptr, -1, 0, ""},
        {latin, kWide, -1, 0, "\xE9"},
        {mixed, kJapanese, -1, 1, "\xC1\x0E\x44\x81\x0F"},
        {mixed, kJapanese, 4, 1, "\xC1\x0E\x44\x81"},  // there is no room for the shift
        {mixed, kJapanese, 3, 1, "\xC1"}};
    for (const auto& [cs, wide, n, result, text] : rows) {
        StringBuff buff;
        CxStringBuffAppendStr(&buff, "");
        EXPECT_EQ(CxStringBuffAppendWStrN(&buff, cs, wide, n), result) << text;
        EXPECT_EQ(text_of(buff), text);
    }
}

TEST(Rak, ToleratesNull) {
    char text[8] = "text";
    EXPECT_EQ(RakMemoryMalloc(0), nullptr);
    EXPECT_EQ(RakMemoryCalloc(0, 1), nullptr);
    EXPECT_EQ(RakMemoryCalloc(1, 0), nullptr);
    EXPECT_EQ(RakMemoryRealloc(text, 0), nullptr);  // and leaves the block
    RakMemoryFree(nullptr);
    const std::tuple<const char*, const char*, int, int> rows[] = {{nullptr, nullptr, 1, 1},
                                                                   {nullptr, "a", 1, 1},
                                                                   {"a", nullptr, -1, -1},
                                                                   {"Ab", "aC", -1, 0}};
    for (const auto& [left, right, whole, first] : rows) {
        const auto sign = [](int order) { return (order > 0) - (order < 0); };
        EXPECT_EQ(sign(RakStringCmp(left, right)), whole);
        EXPECT_EQ(sign(RakStringICmp(left, right)), whole);
        EXPECT_EQ(RakStringNICmp(left, right, 1), first);
        EXPECT_EQ(sign(RakStringNCmp(left, right, 1)), whole);
    }
    for (char* result :
         {RakStringCat(nullptr, "a"), RakStringNCat(nullptr, "a", 1), RakStringCpy(nullptr, "a"),
          RakStringNCpy(nullptr, "a", 1), RakStringDup(nullptr), RakStringChr(nullptr, 'a'),
          RakStringRChr(nullptr, 'a'), RakStringStr(nullptr, "a"), RakStringStr("a", nullptr),
          RakStringStrpbrk(nullptr, "a"), RakStringStrpbrk("a", nullptr)})
        EXPECT_EQ(result, nullptr);
    EXPECT_STREQ(RakStringNCat(RakStringCat(text, nullptr), "12345", 2), "text12");
    EXPECT_STREQ(RakStringCpy(text, nullptr), "");
    EXPECT_EQ(RakStringSprintf(text, "%d", 42) + RakStringSprintf(nullptr, "x"), 1);
    EXPECT_STREQ(RakStringNCpy(text, nullptr, 2), "");
    EXPECT_EQ(RakStringLen(nullptr), 0U);
    EXPECT_EQ(RakStringStrcspn(nullptr, "a") + RakStringStrspn(nullptr, "a"), -2);
    EXPECT_EQ(RakStringStrcspn("abc", nullptr) * 10 + RakStringStrspn("abc", nullptr), 30);
    EXPECT_STREQ(RakStringRChr("a.b.c", '.'), ".c");
}
