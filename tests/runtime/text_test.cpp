#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "runtime/cx_text.h"
#include "runtime/owned.h"

// A text that the caller got; "-" for none.
static std::string taken(char* text) {
    const vel::runtime::OwnedText owned(text);
    return text == nullptr ? "-" : text;
}

static std::string pairs_of(const CxPropList* list) {
    std::string all;
    CxPropListIter it = CxPropListIterator(list);
    for (; CxPropListIterPeekKey(&it) != nullptr; CxPropListIterNext(&it)) {
        all += taken(CxPropListIterCopyKey(&it)) + "=" + CxPropListIterPeekVal(&it);
        if (CxPropListIterHasNext(&it)) all += ",";
    }
    CxPropListIterNext(&it);
    EXPECT_TRUE(it.list == nullptr && it.index == 0 && CxPropListIterCopyVal(&it) == nullptr);
    return all;
}

TEST(PropertyList, ReplacesInPlaceAndFillsAGapWithTheLastPair) {
    CxPropList list = {};
    for (const char* key : {"a", "b", "A", ""}) EXPECT_EQ(CxPropListPutStr(&list, key, "12"), 1);
    EXPECT_EQ(CxPropListPutStr(&list, "A", CxPropListPeekStr(&list, "A") + 1), 1);  // its own text
    EXPECT_EQ(CxPropListPutStr(nullptr, "a", "") + CxPropListPutStr(&list, nullptr, ""), 0);
    EXPECT_EQ(CxPropListPutStr(&list, "a", nullptr) + CxPropListRemove(&list, nullptr), 0);
    EXPECT_EQ(taken(CxPropListCopyStr(&list, "A")) + taken(CxPropListCopyStr(&list, "c")), "2-");
    EXPECT_EQ(pairs_of(&list), "a=12,b=12,A=2,=12");
    const std::pair<const char*, std::string> rows[] = {
        {"a", "=12,b=12,A=2"}, {"", "A=2,b=12"}, {"b", "A=2"}, {"A", ""}};
    for (const auto& [key, left] : rows) {
        EXPECT_EQ(CxPropListHasKey(&list, key) + CxPropListRemove(&list, key), 2);
        EXPECT_EQ(CxPropListHasKey(&list, key) + CxPropListRemove(&list, key), 0);
        EXPECT_EQ(pairs_of(&list), left);
    }
    for (int i = 1; i <= 64; ++i) {  // doubled before it is full
        ASSERT_EQ(CxPropListPutStr(&list, std::to_string(i).c_str(), ""), 1);
        EXPECT_TRUE(list.count == i && list.capacity == (i < 32 ? 32 : i < 64 ? 64 : 128)) << i;
    }
    CxPropListDiscard(&list);
    EXPECT_TRUE(list.count == 0 && list.capacity == 0 && list.pairs == nullptr);
    EXPECT_EQ(pairs_of(&list) + pairs_of(nullptr), "");
}

// Each token in brackets; "!" when there is nothing to split.
static std::string tokens_of(int mode, const char* text, const char* delimiters = " ,\x80") {
    CxStringTokIter it;
    std::string tokens = CxStringTokIterator(&it, text, delimiters, mode) ? "" : "!";
    for (; CxStringTokIterHasNext(&it); CxStringTokIterNext(&it)) {
        tokens += "[" + taken(CxStringTokIterGet(&it)) + "]";
    }
    EXPECT_TRUE(it.start == -9 && it.end == -9 && CxStringTokIterGet(&it) == nullptr);
    return tokens;
}

TEST(Tokenizer, SplitsAtDelimitersButNotInQuotes) {
    EXPECT_EQ(tokens_of(0, "a  \"b c\",, d\x80 ,"), "[a][\"b][c\"][d]");
    EXPECT_EQ(tokens_of(1, R"(  a "b c" d"e f"g "h""i, " "" x)"), "[a][b c][de fg][hi, ][][x]");
    EXPECT_EQ(tokens_of(1, "x \"y z ") + tokens_of(2, "\"a b\""), "[x][y z ][\"a][b\"]");
    EXPECT_EQ(tokens_of(1, " , ") + tokens_of(1, nullptr) + tokens_of(1, "a", nullptr), "!!");
}

TEST(MessageIdentifier, HasOneOfElevenForms) {
    static_assert(sizeof(CxMessageID) == 32 && offsetof(CxMessageID, severity) == 26);
    std::istringstream rows(  // how many letters, digits and severities are found, and in what
        "331 ABC123I|341 ABC1234W|351 ABC12345E|361 ABC123456I|431 ABCD123W|441 ABCD1234E|"
        "451 ABCD12345I|521 ABCDE12W|531 ABCDE123E|541 PMXBC0020E|631 ABCDEF123W|331 xyz789E|"
        "331 ABC123I text|341 ABC1234WE|331 WEI123II|000 ABC123X|000 ABC123i|000 ABC123|000 ABC12I|"
        "000 ABC1234567I|000 ABCD12I|000 ABCD123456I|000 ABCDE1I|000 ABCDE12X|000 ABCDE12345I|"
        "000 ABCDEF12I|000 ABCDEF1234I|000 ABCDEFG123I|000 AB1234E|000 |000  ABC123I|000 ABC/23I|"
        "000 \304\305\306123I|000 AB[123I|000 A@C123I|000 ABC12:I|000 A");
    for (std::string row; std::getline(rows, row, '|');) {
        const std::vector<char> text(row.c_str() + 4, row.c_str() + row.size() + 1);
        const CxMessageID id = CxParseQRAID(text.data());
        const auto length = static_cast<uint32_t>(row[0] + row[1] + row[2] - 3 * '0');
        EXPECT_TRUE(id.code == std::stoul(row) && id.length == length) << row;
        const char label[] = {'O', 'R', 'X', row[0], '.', row[1], '.', '1', '\0'};
        EXPECT_STREQ(id.format, length == 0 ? "" : label) << row;
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&id) + 16), row.substr(4, length));
        EXPECT_EQ(id.severity, length % 10 == 0 ? 0 : row[3 + length]) << row;
    }
    EXPECT_STREQ(CxParseQRAID(nullptr).format, "");
}
