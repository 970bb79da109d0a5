// Memory runs out at each place in turn: the call fails, and nothing changes or leaks.
#include <gtest/gtest.h>

#include "i18n/mab.h"
#include "runtime/cx_printf.h"
#include "runtime/cx_text.h"
#include "runtime/owned.h"
#include "tests/support/failing_allocation.h"

// Records of each kind: empty, or at the point of growing.
struct Records {
    explicit Records(int pairs) {
        for (int i = 0; i < pairs; ++i) CxPropListPutStr(&list, std::to_string(i).c_str(), "v");
        if (pairs == 0) return;
        CxListEnsureCapacity(&array, &capacity, &count, 10, 4);
        CxStringBuffAppendStr(&small, "content");
        CxStringBuffAppendStr(&buff, std::string(1023, 'x').c_str());
    }
    ~Records() {
        CxPropListDiscard(&list);
        CxListDiscard(&array, &capacity, &count);
    }
    std::string seen() const {
        std::string all = std::to_string(capacity) + "," + std::to_string(small.capacity);
        for (int i = 0; i < list.count; ++i)
            all.append(list.pairs[i].key).append("=").append(list.pairs[i].value);
        for (const CxStringBuff* b : {&small, &buff}) {
            EXPECT_TRUE(b->text == nullptr ||
                        (b->length < b->capacity && b->text[b->length] == '\0'));
            all += std::string(b->text, static_cast<size_t>(b->length));
        }
        return all;
    }
    CxPropList list = {};
    void* array = nullptr;
    int32_t capacity = 0, count = 0;
    vel::runtime::StringBuff small, buff;
};
using R = Records&;

static int got(char* text) { return vel::runtime::OwnedText(text) != nullptr; }

static int get_token() {
    CxStringTokIter it;
    CxStringTokIterator(&it, "token", " ", 1);
    return got(CxStringTokIterGet(&it));
}

static int make_mutex() {
    CxMutex mutex = nullptr;
    const CxStatus status = CxMutexCreate(&mutex);
    if (status == CX_SUCCESS) return CxMutexDestroy(&mutex) == CX_SUCCESS;
    EXPECT_TRUE(status == (CxStatus{ENOMEM} << 32 | CX_SYSTEM_ERROR) && mutex == nullptr);
    return 0;
}

template <int... kI>
static int print_many(CxStringBuff* buff, bool from_array, std::integer_sequence<int, kI...>) {
    const CxPrintfArg arguments[] = {{CX_ARG_INT32, {.integer = kI}}..., {CX_ARG_END, {}}};
    std::string format;
    for (size_t i = 0; i < sizeof...(kI); ++i) format += "%d";
    if (from_array) return CxStringBuffPrintfA(nullptr, buff, format.c_str(), arguments);
    format += "%.200f%ls%lc";
    return CxStringBuffPrintf(nullptr, buff, format.c_str(), kI..., 1e300, L"wide", wint_t{L'w'});
}
static constexpr std::make_integer_sequence<int, 60> kMany;

// The first allocation fails, then the second ... until one attempt does without.
static void attempt_all(const std::string& what, int (*act)(R), int pairs) {
    int done = 0, n = 0;
    while (!done && ++n < (pairs == 0 ? 2 : 20)) {
        const long blocks = rak_live_blocks();
        auto records = std::make_unique<Records>(pairs);
        const std::string before = records->seen();
        rak_fail_after(n);
        done = act(*records);
        rak_fail_after(0);
        const std::string after = records->seen();
        const bool same = what == "wide text" ? after.starts_with(before) : after == before;
        EXPECT_TRUE(done || same) << what << n;
        if (records->buff.text != nullptr) {  // what it counts as memory is its own
            memset(records->buff.text, 0, static_cast<size_t>(records->buff.capacity));
        }
        records.reset();
        EXPECT_EQ(rak_live_blocks(), blocks) << what << " leaks at " << n;
    }
    EXPECT_TRUE(pairs == 0 || (done && n > 1)) << what << n;
}

TEST(Allocation, WhatFailsChangesNothing) {
    mab_init();
    static constexpr uint16_t kWide[] = {'w', 'w', 0};
    const std::pair<std::string, int (*)(R)> rows[] = {
        {"text", [](R r) { return CxStringBuffAppendStr(&r.buff, "t"); }},
        {"bytes", [](R r) { return CxStringBuffAppendStrN(&r.buff, "text", 2); }},
        {"byte", [](R r) { return CxStringBuffAppendChar(&r.buff, 'b'); }},
        {"code", [](R r) { return CxStringBuffAppendUTF32Char(&r.buff, 0x1F600); }},
        {"number", [](R r) { return CxStringBuffAppendInt64(&r.buff, -1); }},
        {"EBCDIC", [](R r) { return CxStringBuffAppendEBCDICInt64(&r.buff, 1); }},
        {"wide text", [](R r) { return CxStringBuffAppendWStrN(&r.buff, nullptr, kWide, -1); }},
        {"insert", [](R r) { return CxStringBuffInsertStr(&r.buff, "t", 0); }},
        {"printf", [](R r) { return print_many(&r.buff, false, kMany); }},
        {"array", [](R r) { return print_many(&r.buff, true, kMany); }},
        {"to UTF-8", [](R r) { return CxStringBuffChangeToUTF8(nullptr, &r.small); }},
        {"from UTF-8", [](R r) { return CxStringBuffChangeFromUTF8(nullptr, &r.small); }},
        {"pack", [](R r) { return CxStringBuffPack(&r.small); }},
        {"copy", [](R r) { return got(CxStringBuffCopyStr(&r.small)); }},
        {"put", [](R r) { return CxPropListPutStr(&r.list, "new", "value"); }},
        {"replace", [](R r) { return CxPropListPutStr(&r.list, "3", "fresh"); }},
        {"value", [](R r) { return got(CxPropListCopyStr(&r.list, "3")); }},
        {"list", [](R r) { return CxListEnsureCapacity(&r.array, &r.capacity, &r.count, 16, 4); }},
        {"token", [](R) { return get_token(); }},
        {"mutex", [](R) { return make_mutex(); }}};
    for (const auto& [what, act] : rows) {
        for (const int pairs : {0, 31}) attempt_all(what, act, pairs);
    }
}
