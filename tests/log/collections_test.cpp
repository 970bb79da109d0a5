// What containers do to their elements. Their order, and walks through them, are held against
// models by fuzz/collections.cpp: its corpus is replayed.
#include "log/collections.h"

#include <clocale>
#include <sstream>

#include "log/config.h"
#include "tests/log/toolkit_fixture.h"
#include "tests/support/failing_allocation.h"

static std::string seen(const auto* container) {
    std::string all;
    for (const auto* link = container->head; link != nullptr; link = link->next) {
        if constexpr (requires { link->item; }) {
            all += link->item;
        } else {
            all.append(link->key).append("=").append(link->value).append(" ");
        }
    }
    return all;
}

TEST(Map, TakesItsOwnTextsAndGivesCopies) {
    PmxStringToStringMap* const map = PmxAllocStringToStringMap();
    const auto put = PmxStringToStringMapPut;
    EXPECT_EQ(put(map, "a", "12") + put(map, "A", "34"), 2);
    EXPECT_EQ(put(map, map->head->key, map->head->value + 1), 1);
    EXPECT_EQ(put(nullptr, "a", "") + put(map, nullptr, "") + put(map, "b", nullptr), 0);
    PmxStringToStringMapLink* const first = PmxStringToStringMapIterator(map);
    EXPECT_EQ(taken(PmxStringToStringMapIterGetKey(first)), "a");
    EXPECT_EQ(taken(PmxStringToStringMapIterGetVal(first)), "2");
    EXPECT_EQ(taken(PmxStringToStringMapGet(map, "A")) + taken(PmxGetMapProp(map, "B", nullptr)),
              "34-");
    PmxStringToStringMapRem(map, "A");
    EXPECT_EQ(PmxStringToStringMapHasKey(map, "a") + PmxStringToStringMapHasKey(map, "A"), 1);
    EXPECT_EQ(PmxStringToStringMapIterHasNext(PmxStringToStringMapIterNext(first)), 0);
    PmxFreeStringToStringMap(map);
}

static int by_text(const void* a, const void* b) {
    return strcmp(*static_cast<char* const*>(a), *static_cast<char* const*>(b));
}

TEST(List, FindsAndRemovesItsOwnLinksAlone) {
    PmxStringList *const list = PmxAllocStringList(), *const other = PmxAllocStringList();
    for (const char* text : {"b", "a", "b"}) PmxStringListAppend(list, text);
    PmxStringListLink* const second = PmxStringListGetIndex(list, 1);
    for (const int n : {-1, 3}) EXPECT_EQ(PmxStringListGetIndex(list, n), nullptr);
    EXPECT_EQ(PmxStringListRemLink(other, second) + PmxStringListAppend(list, nullptr), 0);
    EXPECT_EQ(PmxStringListRemLink(list, PmxStringListGetLink(list, "b")), 1);
    EXPECT_EQ(seen(list), "ab");
    for (PmxStringList* freed : {list, other}) PmxFreeStringList(freed);
}

static int ended;

TEST(Ownership, OfAnObjectIsAReferenceAndAGroupHasItOnce) {
    ended = 0;
    PmxOpenToolkit(nullptr);
    PmxAddFilterClass(
        "counted", nullptr, [] { return RakMemoryMalloc(1); },
        [](void* vars) { RakMemoryFree((++ended, vars)); }, nullptr, nullptr, nullptr, nullptr);
    PmxObject *const a = PmxGetObject("a", "counted"), *const b = PmxGetObject("b", "counted");
    PmxStringToObjMap* const map = PmxAllocStringToObjMap();
    EXPECT_EQ(PmxStringToObjMapPut(map, "k", a) + PmxAddListener(a, b), 2);
    for (PmxObject* object : {a, b}) PmxReleaseObject(object);
    EXPECT_EQ(PmxStringToObjMapPut(map, "k", a), 1);  // the only reference is the map's
    PmxReleaseObject(PmxStringToObjMapGet(map, "k"));
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(PmxStringToObjMapPut(map, "k", b), 1);  // the only reference is that of the old value
    EXPECT_EQ(ended, 1);
    PmxListenerGroup* const group = PmxAllocListenerGroup();
    const auto add = PmxListenerGroupAdd, rem = PmxListenerGroupRem;
    for (int i = 0; i < 99; ++i) {  // enough for an index
        PmxObject* const object = PmxGetObject(std::to_string(i).c_str(), "counted");
        EXPECT_EQ(add(group, object) + add(group, object) + rem(group, b), 1);
        EXPECT_EQ(PmxListenerGroupGetLink(group, object), group->tail);
        PmxReleaseObject(object);
    }
    PmxListenerGroupLink* it = PmxListenerGroupIterator(group);
    for (int i = 0; PmxListenerGroupIterHasNext(it); ++i) {  // every other one goes
        PmxReleaseObject(PmxListenerGroupIterGet(it));
        EXPECT_EQ(ended, 1 + i / 2);
        it = i % 2 == 0 ? PmxListenerGroupIterNext(it) : PmxListenerGroupIterRem(it);
    }
    EXPECT_EQ(rem(group, group->head->item) + add(group, nullptr) + add(nullptr, b), 1);
    PmxFreeListenerGroup(group);
    PmxFreeStringToObjMap(map);
    EXPECT_EQ(ended, 101);
    PmxCloseToolkit();
}

TEST(Ownership, OfOtherElementsIsAReferenceNothingOrACopy) {
    PmxObjCfg* const cfg = PmxAllocObjCfg("c");
    PmxStringToObjCfgMap* const cfgs = PmxAllocStringToObjCfgMap();
    for (int i = 0; i < 2; ++i) EXPECT_EQ(PmxStringToObjCfgMapPut(cfgs, "k", cfg), 1);
    EXPECT_EQ(PmxStringToObjCfgMapGet(cfgs, "k")->references, 3U);
    PmxFreeStringToObjCfgMap(cfgs);
    EXPECT_EQ(cfg->references, 2U);
    for (int i = 0; i < 2; ++i) PmxReleaseObjCfg(cfg);
    PmxObjClass record{};
    PmxStringToObjClassMap* const classes = PmxAllocStringToObjClassMap();
    for (int i = 0; i < 2; ++i) EXPECT_EQ(PmxStringToObjClassMapPut(classes, "k", &record), 1);
    EXPECT_EQ(PmxStringToObjClassMapGet(classes, "k"), &record);
    PmxFreeStringToObjClassMap(classes);
    PmxParm text = {PMX_STRING, {.text = const_cast<char*>("text")}};
    PmxParmList* const parms = PmxAllocParmList();
    EXPECT_EQ(PmxParmListAppend(parms, &text), 1);
    PmxParm* const copy = PmxParmListIterGet(PmxParmListGetLink(parms, &text));
    PmxFreeParmList(parms);
    EXPECT_STREQ(copy->value.text, "text");
    PmxFreeParm(copy);
}

TEST(Arena, HoldsWhatFitsAndLeavesTheRestToTheHeap) {
    alignas(max_align_t) char block[600];
    vel::log::Arena arena(block, std::end(block));
    const long blocks = rak_live_blocks();
    PmxStringToStringMap* const map = vel::log::make_chain<PmxStringToStringMap>(&arena);
    for (const char* value : {"1", "2"}) PmxSetMapProp(map, "key", value);
    EXPECT_EQ(rak_live_blocks(), blocks);
    for (int i = 0; i < 99; ++i) PmxSetMapPropInt(map, std::to_string(i).c_str(), i);
    EXPECT_TRUE(PmxGetMapPropInt(map, "98", nullptr) == 98 && rak_live_blocks() > blocks);
    PmxFreeStringToStringMap(map);
    EXPECT_EQ(rak_live_blocks(), blocks);
}

// The first allocation fails, then the second ... until one attempt does without.
TEST(Allocation, WhatFailsChangesNothing) {
    using Act = bool (*)(PmxStringToStringMap*, PmxStringList*);
    static constexpr Act rows[] = {
        [](auto* map, auto*) { return PmxStringToStringMapPut(map, "new", "v") == 1; },
        [](auto* map, auto*) { return PmxStringToStringMapPut(map, "7", "v") == 1; },
        [](auto* map, auto*) { return PmxSetMapPropDouble(map, "d", 1) == 1; },
        [](auto* map, auto*) {
            PmxStringToStringMap* const copy = PmxCopyStringToStringMap(map);
            return PmxFreeStringToStringMap(copy), copy != nullptr;
        },
        [](auto*, auto* list) { return PmxStringListAppend(list, "new") == 1; },
        [](auto*, auto* list) {
            return PmxSortStringList(list, by_text), *list->head->item == '0';
        }};
    for (const Act& act : rows) {
        bool done = false;
        for (int n = 1; !done && n < 200; ++n) {
            const long blocks = rak_live_blocks();
            PmxStringToStringMap* const map = PmxAllocStringToStringMap();
            PmxStringList* const list = PmxAllocStringList();
            for (int i = 31; i >= 0; --i) {  // one more needs an index
                PmxSetMapPropInt(map, std::to_string(i).c_str(), i);
                PmxStringListAppend(list, std::to_string(i).c_str());
            }
            const std::string before = seen(map) + seen(list);
            rak_fail_after(n);
            done = act(map, list);
            rak_fail_after(0);
            EXPECT_TRUE(done ? n > 1 : seen(map) + seen(list) == before) << &act - rows;
            EXPECT_EQ(PmxSetMapPropInt(map, "more", n), 1);  // with the index that failed
            PmxFreeStringToStringMap(map), PmxFreeStringList(list);
            EXPECT_EQ(rak_live_blocks(), blocks) << &act - rows << " leaks at " << n;
        }
        EXPECT_TRUE(done) << &act - rows;
    }
}

// What a bool, a char, an int, a long, a float and a double read; "?" for what they do not.
static std::string readings(const PmxStringToStringMap* map) {
    std::ostringstream all;
    const auto add = [&](auto get) {
        int found = 9;
        const auto value = get(map, "k", &found);
        EXPECT_TRUE(found == 1 || (found == 0 && value == 0));
        found ? all << value << ' ' : all << "? ";
    };
    add(PmxGetMapPropBool), add(PmxGetMapPropChar), add(PmxGetMapPropInt), add(PmxGetMapPropLong);
    add(PmxGetMapPropFloat), add(PmxGetMapPropDouble);
    return all.str();
}

TEST(Property, ReadsAndWritesItsTypesWhateverTheLocale) {
    static constexpr char kReadings[] =
        "=? ? ? ? ? ? |FalsE=0 F ? ? ? ? |true=1 t ? ? ? ? |true =? t ? ? ? ? |+-7=? + ? ? ? ? |"
        "12abc=? 1 12 12 12 12 |\v+7.5=? \v 7 7 7.5 7.5 |1,5=? 1 1 1 1 1 |0x1p4=? 0 0 0 16 16 |"
        "iNf=? i ? ? inf inf |nan=? n ? ? nan nan |1e39=? 1 1 1 inf 1e+39 |4e-999=? 4 4 4 0 0 |"
        "-4e999=? - -4 -4 -inf -inf |3000000000=? 3 2147483647 3000000000 3e+09 3e+09 |"
        "-9223372036854775809=? - -2147483648 -9223372036854775808 -9.22337e+18 -9.22337e+18 |";
    setenv("LOCPATH", VEL_LOCALE_DIR, 1);
    PmxStringToStringMap* const map = PmxAllocStringToStringMap();
    for (const char* locale : {"C", "fr_FR.UTF-8"}) {
        ASSERT_NE(setlocale(LC_ALL, locale), nullptr);
        EXPECT_EQ(readings(map), "? ? ? ? ? ? ");
        std::istringstream rows(kReadings);
        std::string text, expected;
        while (std::getline(std::getline(rows, text, '='), expected, '|')) {
            EXPECT_EQ(PmxSetMapProp(map, "k", text.c_str()), 1);
            EXPECT_EQ(readings(map), expected) << text;
        }
        // Of a bool the low byte alone counts, and only 1 is true.
        EXPECT_EQ(PmxSetMapPropBool(map, "yes", 0x101) + PmxSetMapPropBool(map, "2", 2), 2);
        EXPECT_EQ(PmxSetMapPropChar(map, "e", 'e') + PmxSetMapPropChar(map, "0", 0), 2);
        EXPECT_EQ(PmxSetMapPropInt(map, "i", INT32_MIN) + PmxSetMapPropFloat(map, "f", 0.7F), 2);
        EXPECT_EQ(PmxSetMapPropLong(map, "l", INT64_MIN) + PmxSetMapPropDouble(map, "d", -1e22), 2);
        PmxStringToStringMapRem(map, "k");
        EXPECT_EQ(seen(map),
                  "yes=true 2=false e=e 0= i=-2147483648 f=0.700000 l=-9223372036854775808 "
                  "d=-10000000000000000000000.000000 ");
    }
    setlocale(LC_ALL, "C");
    PmxFreeStringToStringMap(map);
}

TEST(StrTok, SplitsAtAnyNumberOfDelimiters) {
    const std::array<const char*, 3> rows[] = {
        {"..a..b", ".", "[a][b]"}, {"a, b;", ",; ", "[a][b]"}, {"..", ".", ""},   {"", "", ""},
        {"a.", "", "[a][.]"},      {"b", nullptr, "[b]"},      {nullptr, ".", ""}};
    for (const auto& [text, delimiters, expected] : rows) {
        std::string tokens;
        PmxStrTokIter it = PmxStrTokIterator(text, delimiters);
        const auto next = [&] { return it.text = PmxStrTokIterNext(it.text, it.delimiters); };
        for (; PmxStrTokIterHasNext(it.text, it.delimiters); next()) {
            tokens += "[" + taken(PmxStrTokIterGet(it.text, it.delimiters)) + "]";
        }
        EXPECT_EQ(tokens, expected);
        EXPECT_EQ(PmxStrTokIterGet(it.text, it.delimiters), nullptr);
        EXPECT_EQ(next(), text == nullptr ? nullptr : text + strlen(text));
    }
}
