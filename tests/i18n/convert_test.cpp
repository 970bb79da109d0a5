#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "i18n/code_set.h"
#include "i18n/mab.h"
#include "tests/support/scratch_directory.h"

using namespace std::string_literals;

struct FreeCodeSet {
    void operator()(uc_ch_t* cs) const { mab_cs_free(cs); }
};
using CodeSet = std::unique_ptr<uc_ch_t, FreeCodeSet>;

static CodeSet open(const char* name) {
    setenv("MABDIR", VEL_CODESET_DIR, 1);
    CodeSet cs(mab_cs_new(name));
    if (cs == nullptr) throw std::runtime_error(name);
    return cs;
}

static std::string to_utf8(uc_ch_t* cs, std::string_view text) {
    char out[200];
    const int32_t written =
        mab_to_utf8(cs, text.data(), static_cast<int32_t>(text.size()), out, sizeof out);
    return std::string(out, static_cast<size_t>(written));
}

static std::string from_utf8(uc_ch_t* cs, std::string_view text) {
    char out[200];
    const int32_t written =
        mab_from_utf8(cs, text.data(), static_cast<int32_t>(text.size()), out, sizeof out);
    return std::string(out, static_cast<size_t>(written));
}

// Pieces of texts are held against a converter of its own by fuzz/conversions.cpp, whose corpus is
// replayed with these tests, and the shipped tables against their sources by veltool.
TEST(Convert, WholeTexts) {
    const struct {
        decltype(&to_utf8) convert;
        const char* code_set;
        std::string text, result;
        unsigned replaced = 0;
    } kRows[] = {
        {to_utf8, "ISO88591", "a\xE9\xFF", "aéÿ"},
        // ASCII passes through, whatever the set has there.
        {to_utf8, "943", "\x5C\x88\xEA\xB1\xFD", "\\一ｱ?", 1},
        {to_utf8, "939", "\x0E\x25\x41\xFF\x15", "\n?\n", 1},  // single bytes among pairs
        {to_utf8, "939", "\x0E", ""},
        {to_utf8, "939", "\xC1", "A"},                    // a text begins with single bytes
        {to_utf8, "1047", "\x15\x25\xAD\xBD", "\n\n[]"},  // both newlines
        {to_utf8, "INTERNAL37", "\xC1\x80", "\xC1\x80"},
        {from_utf8, "ISO88591", "aéÿŁ", "a\xE9\xFF?", 1},
        {from_utf8, "939", "A一二B一", "\xC1\x0E\x45\x41\x45\x42\x0F\xC2\x0E\x45\x41\x0F"},
        {from_utf8, "1047", "[\n]\u0085Ł", "\xAD\x25\xBD\x15\x6F", 1},
        // Four bytes are read as three and a stray one.
        {from_utf8, "GB18030", "\U00010000", "\x81\x30\xD1\x34?", 1},
    };
    for (const auto& row : kRows) {
        const CodeSet cs = open(row.code_set);
        EXPECT_EQ(row.convert(cs.get(), row.text), row.result) << row.code_set;
        EXPECT_EQ(cs->subs_count, row.replaced) << row.code_set;
    }
}

TEST(Convert, CountsTheTerminator) {
    const CodeSet cs = open("ISO88591");
    char out[4] = "xxx";
    EXPECT_EQ(mab_to_utf8(cs.get(), "abc", -1, out, 4), 4);
    EXPECT_STREQ(out, "abc");
    EXPECT_EQ(mab_from_utf8(cs.get(), "abc", -1, out, 3), 3);
    EXPECT_STREQ(out, "ab");
    EXPECT_EQ(mab_to_utf8(cs.get(), "\xE9\xE9", -1, out, 4), 3);  // no half characters
    EXPECT_STREQ(out, "é");
    EXPECT_EQ(mab_to_utf8(cs.get(), "abc", 3, out, 2), 2);
    EXPECT_EQ(out[2], 0);
    uint16_t units[3] = {7, 7, 7};
    EXPECT_EQ(mab_to_ucs2(cs.get(), "\xE9", -1, units, 3), 2);
    EXPECT_EQ(units[0], 0xE9);
    EXPECT_EQ(units[1], 0);
    EXPECT_EQ(mab_from_ucs2(cs.get(), units, -1, out, 4), 2);
    EXPECT_STREQ(out, "\xE9");
}

TEST(Convert, RefusesWhatIsNoText) {
    const CodeSet cs = open("ISO88591");
    char out[4] = "xyz";
    EXPECT_EQ(mab_to_utf8(cs.get(), "abc", 3, out, 0), 0);
    EXPECT_EQ(mab_to_utf8(cs.get(), "abc", 3, out, -1), 0);
    EXPECT_EQ(mab_to_utf8(cs.get(), "abc", -2, out, 4), 0);
    EXPECT_EQ(mab_to_utf8(cs.get(), nullptr, 3, out, 4), 0);
    EXPECT_EQ(mab_from_utf8(cs.get(), "abc", 3, nullptr, 4), 0);
    EXPECT_STREQ(out, "xyz");
    EXPECT_EQ(mab_to_utf8_r(cs.get(), nullptr, nullptr, nullptr, nullptr), 0);
    const char* in = "abc";
    int32_t length = 3;
    EXPECT_EQ(mab_to_utf8_r(cs.get(), &in, &length, nullptr, nullptr), 1);
    length = -3;
    EXPECT_EQ(mab_to_utf8_r(cs.get(), &in, &length, nullptr, nullptr), 0);
    int32_t written = 7;
    for (const int32_t no_length : {-1, INT32_MAX}) {
        EXPECT_EQ(mab_tou_alloc(cs.get(), "abc", no_length, &written), nullptr);
        EXPECT_EQ(written, 0);
    }
}

TEST(Convert, AllocatesWhatTheLongestTextNeeds) {
    const CodeSet cs = open("939");
    int32_t written = 0;
    char* utf8 = mab_tou_alloc(cs.get(), "\x0E\x45\x41\x45\x41", 5, &written);
    EXPECT_STREQ(utf8, "一一");
    EXPECT_EQ(written, 6);
    char* mixed = mab_fromu_alloc(cs.get(), "一A一A", 8, nullptr);
    EXPECT_STREQ(mixed, "\x0E\x45\x41\x0F\xC1\x0E\x45\x41\x0F\xC1");
    mab_free(utf8);
    mab_free(mixed);
}

// A table that gives U+000E the byte of a shift: the text is among pairs after it.
TEST(Convert, AShiftOutThatIsWrittenIsOne) {
    const CodeSet shipped = open("939");
    uint32_t size = 0;
    const auto* begin = static_cast<const char*>(mab_cs_table(shipped.get(), &size));
    std::string image(begin, size);
    uint32_t area = 0;
    uint16_t page = 0;
    memcpy(&area, image.data(), sizeof area);
    memcpy(&page, image.data() + 224, sizeof page);
    image[area + page * 4U + 2 * 0x0E] = 0x0E;
    image[area + page * 4U + 2 * 0x0E + 1] = 0;
    const ScratchDirectory directory;
    const CodeSet cs = open(directory.write("SHIFTS", image).c_str());
    EXPECT_EQ(from_utf8(cs.get(), "\x0E一\x0E"), "\x0E\x45\x41\x0F\x0E\x0F");
}
