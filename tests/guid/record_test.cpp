// Records: what is printed, order, equality, the nil test and the hash. Parsing, and printing what
// was parsed, is held against the C library's scanner by fuzz/text_form.cpp, whose corpus is
// replayed with these tests.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "guid/guid.h"
#include "guid/vel_guid.h"
#include "tests/support/platform_seams.h"

namespace {

constexpr guid_record kRecord = {
    0x3c0a917e, 0x5d1f, 0x11d9, 0x8a, 0x2b, {0, 0x0c, 0x29, 0x4f, 0x1a, 0x33}, {}};
constexpr guid_record kBadVariant = {1, 2, 3, 0xE0, 5, {6}, {}};

TEST(GuidText, ShowsTheLow32BitsOfAWiderTime) {
    guid_record wide = kRecord;
    wide.time_low |= 0xABCD000000000000;  // as name-based records have it
    char* text = nullptr;
    unsigned long status = 1;
    guid_to_string(&wide, &text, &status);
    EXPECT_EQ(status, 0U);
    EXPECT_STREQ(text, "3c0a917e-5d1f-11d9-8a2b-000c294f1a33");
    free(text);
}

TEST(GuidText, NeedsAPlaceAndMemory) {
    const seams::Restored restored;
    unsigned long status = 1;
    guid_to_string(&kBadVariant, nullptr, &status);
    EXPECT_EQ(status, 0U);
    char kept[] = "kept";
    char* text = kept;
    guid_to_string(&kBadVariant, &text, &status);
    EXPECT_EQ(status, static_cast<unsigned long>(guid_s_bad_variant));
    EXPECT_EQ(text, kept);
    seams::now.no_memory = true;
    guid_to_string(&kRecord, &text, &status);
    seams::now.no_memory = false;
    EXPECT_EQ(status, static_cast<unsigned long>(guid_s_no_memory));
    EXPECT_EQ(text, nullptr);
}

TEST(GuidOrder, ComparesFieldByFieldAndNullAsNil) {
    constexpr guid_record kNil{};
    guid_record padded{};
    padded.padding[3] = 1;  // not nil, and yet equal to it
    guid_record wide = kRecord, later_mid = kRecord, low_node = kRecord, high_node = kRecord;
    wide.time_low |= 1UL << 40;
    low_node.node[5] = 0x7F;
    high_node.node[5] = 0x80;
    later_mid.time_mid = 0xFFFF;
    later_mid.time_low -= 1;
    const struct {
        const guid_record* a;
        const guid_record* b;
        int order;
    } rows[] = {
        {nullptr, nullptr, 0},       {nullptr, &kNil, 0},        {&kNil, nullptr, 0},
        {nullptr, &kRecord, -1},     {&kRecord, nullptr, 1},     {&kRecord, &kRecord, 0},
        {&low_node, &high_node, -1}, {&high_node, &low_node, 1}, {&wide, &kRecord, 1},
        {&later_mid, &kRecord, -1},  {&padded, nullptr, 1},      {&padded, &kNil, 0},
    };
    for (const auto& row : rows) {
        unsigned long status = 1;
        EXPECT_EQ(guid_compare(row.a, row.b, &status), row.order);
        EXPECT_EQ(status, 0U);
        if (!row.a || !row.b) continue;
        EXPECT_EQ(guid_equal(row.a, row.b, &status), row.order == 0);
        EXPECT_EQ(guid_is_nil(row.a, &status), 0);
    }
    unsigned long status = 1;
    EXPECT_EQ(guid_is_nil(&kNil, &status), 1);
}

TEST(GuidVariant, IsCheckedByEveryCallThatTakesARecord) {
    for (const guid_record* record : {&kBadVariant, static_cast<const guid_record*>(nullptr)}) {
        const auto refuses = [](auto call, auto answer) {
            unsigned long status = 0;
            EXPECT_EQ(call(&status), answer);
            EXPECT_EQ(status, static_cast<unsigned long>(guid_s_bad_variant));
        };
        refuses([&](unsigned long* s) { return guid_hash(record, s); }, 0);
        refuses([&](unsigned long* s) { return guid_is_nil(record, s); }, 0);
        refuses([&](unsigned long* s) { return guid_equal(record, &kRecord, s); }, 0);
        refuses([&](unsigned long* s) { return guid_equal(&kRecord, record, s); }, 0);
    }
    unsigned long status = 0;
    EXPECT_EQ(guid_compare(nullptr, &kBadVariant, &status), -1);
    EXPECT_EQ(guid_compare(&kBadVariant, nullptr, &status), -1);
    EXPECT_EQ(guid_compare(&kRecord, &kBadVariant, nullptr), -1);
    for (const int accepted : {0x00, 0x7F, 0x80, 0xBF, 0xC0, 0xDF}) {
        guid_record record = kRecord;
        record.clock_seq_hi_and_reserved = static_cast<uint8_t>(accepted);
        EXPECT_EQ(guid_equal(&record, &record, &status), 1) << accepted;
    }
}

// The expected values come from a model with arbitrary-precision sums cut to signed 16 bits.
TEST(GuidHash, SumsSixteenBytesInStorageOrder) {
    guid_record high{};
    memset(&high, 0xFF, 16);
    high.clock_seq_hi_and_reserved = 0xDF;
    const struct {
        guid_record record;
        int hash;
    } rows[] = {
        {{}, 0},
        {{1, 0, 0, 0, 0, {}, {}}, 0x0FEF},
        {high, 0x9E81},  // the sum of sums has gone beyond 32,767 and wrapped
        {{0x6ba7b810, 0x9dad, 0x11d1, 0x80, 0xb4, {0, 0xc0, 0x4f, 0xd4, 0x30, 0xc8}, {}}, 0x51AE},
    };
    for (const auto& row : rows) {
        unsigned long status = 1;
        EXPECT_EQ(guid_hash(&row.record, &status), row.hash);
        EXPECT_EQ(status, 0U);
    }
}

}  // namespace
