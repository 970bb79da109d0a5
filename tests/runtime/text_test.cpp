#include <gtest/gtest.h>

#include <cstring>
#include <string>

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

// Tokens and identifiers are held against plain models by fuzz/tokens.cpp and fuzz/message_ids.cpp,
// whose corpora are replayed with these tests.
TEST(Tokenizer, NeedsATextAndDelimiters) {
    CxStringTokIter it;
    EXPECT_EQ(CxStringTokIterator(&it, nullptr, " ", 1) + CxStringTokIterHasNext(&it), 0);
    EXPECT_EQ(CxStringTokIterator(&it, "a", nullptr, 1) + CxStringTokIterHasNext(&it), 0);
}

TEST(MessageIdentifier, OfTenBytesHasItsZeroOnTheSeverity) {
    const CxMessageID id = CxParseQRAID("PMXBC0020E Out of memory.");
    EXPECT_TRUE(id.length == 10 && id.severity == '\0');
    EXPECT_STREQ(CxParseQRAID(nullptr).format, "");
}
