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

TEST(Convert, WholeTexts) {
    const struct {
        const char* code_set;
        std::string text, utf8;
        unsigned replaced = 0;
    } kTo[] = {
        {"ISO88591", "a\xE9\xFF", "aéÿ"},
        {"ANSIX341968", "a\xE9", "a?", 1},
        {"943", "\x5C\x88\xEA\xB1", "\\一ｱ"},  // ASCII passes through, whatever the set has there
        {"943", "\x81\x3F\xFD", "??", 2},
        {"EUCJP", "\xB0\xEC\x8E\xB1\x8F\xB0\xA1\xFF", "一ｱ丂?", 1},
        {"939", "\xC1\x0E\x45\x41\x0F\xC2\x0E\x45\x41", "A一B一"},
        {"939", "\x0E\x25\x41\xFF\x15", "\n?\n", 1},  // single bytes among pairs
        {"1047", "\x15\x25\xAD\xBD", "\n\n[]"},       // both newlines
        {"GB18030", "\xD2\xBB\x90\x30\x81\x30\x81\x30\x81\x30", "一\U00010000\u0080"},
        {"GB18030", "\x80\xFF\xE3\x32\x9A\x36", "???", 3},
        {"UTF-8", "\xC0\xAF\xE0\x80\xC1\xF0\x80\x80\xC1\x80\xF8", "/\1\1??", 2},
        {"INTERNAL37", "\xC1\x80", "\xC1\x80"},
    };
    for (const auto& row : kTo) {
        const CodeSet cs = open(row.code_set);
        EXPECT_EQ(to_utf8(cs.get(), row.text), row.utf8) << row.code_set;
        EXPECT_EQ(cs->subs_count, row.replaced) << row.code_set;
        cs->subs_count = 0;  // the built-in handles are shared
    }
    const struct {
        const char* code_set;
        std::string utf8, text;
        unsigned replaced = 0;
    } kFrom[] = {
        {"ISO88591", "aéÿŁ", "a\xE9\xFF?", 1},
        {"943", "一ｱ¥\x80", "\x88\xEA\xB1\x5C?", 1},
        {"EUCJP", "一ｱ丂", "\xB0\xEC\x8E\xB1\x8F\xB0\xA1"},
        {"939", "A一二B一", "\xC1\x0E\x45\x41\x45\x42\x0F\xC2\x0E\x45\x41\x0F"},
        {"939", "一ꀀ", "\x0E\x45\x41\x0F\x6F", 1},
        {"1047", "[\n]\u0085Ł", "\xAD\x25\xBD\x15\x6F", 1},
        {"GB18030", "一\u0080", "\xD2\xBB\x81\x30\x81\x30"},
        // Four bytes are read as three and a stray one.
        {"GB18030", "\U00010000", "\x81\x30\xD1\x34?", 1},
    };
    for (const auto& row : kFrom) {
        const CodeSet cs = open(row.code_set);
        EXPECT_EQ(from_utf8(cs.get(), row.utf8), row.text) << row.code_set;
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

// What a conversion in pieces says and where it stands after a text and with a room.
TEST(Convert, StopsBetweenCharacters) {
    using Piece = int32_t (*)(uc_ch_t*, const char**, int32_t*, char**, int32_t*);
    const struct {
        Piece piece;
        const char *code_set, *text;
        int32_t room, result, used, written;
    } kRows[] = {
        {mab_to_utf8_r, "943", "a\x88", 9, 2, 1, 1},
        {mab_to_utf8_r, "943", "a\x88\xEA", 3, 1, 1, 1},
        {mab_to_utf8_r, "EUCJP", "\x8F\xB0", 9, 2, 0, 0},
        {mab_to_utf8_r, "GB18030", "\x81\x30\x81", 9, 2, 0, 0},
        {mab_to_utf8_r, "UTF-8", "é\xE4\xB8", 9, 2, 2, 2},
        {mab_to_utf8_r, "UTF-8", "一\xF0\x90\x80\x80", 6, 1, 3, 3},
        {mab_to_utf8_r, "939", "\x0E\x45", 9, 2, 1, 0},
        {mab_to_utf8_r, "939", "\x0E", 0, 1, 0, 0},
        {mab_from_utf8_r, "939", "a一", 3, 1, 1, 1},
        {mab_from_utf8_r, "939", "一a", 4, 1, 3, 3},
        {mab_from_utf8_r, "943", "一", 1, 1, 0, 0},
        {mab_from_utf8_r, "EUCJP", "丂", 2, 1, 0, 0},
        {mab_from_utf8_r, "ISO88591", "\xC3", 5, 2, 0, 0},
    };
    for (const auto& row : kRows) {
        const CodeSet cs = open(row.code_set);
        const char* in = row.text;
        auto length = static_cast<int32_t>(strlen(in));
        const int32_t whole = length;
        char buffer[9];
        char* out = buffer;
        int32_t room = row.room;
        EXPECT_EQ(row.piece(cs.get(), &in, &length, &out, &room), row.result) << row.text;
        EXPECT_EQ(in - row.text, row.used) << row.text;
        EXPECT_EQ(whole - length, row.used) << row.text;
        EXPECT_EQ(out - buffer, row.written) << row.text;
        EXPECT_EQ(row.room - room, row.written) << row.text;
    }
}

TEST(Convert, AShiftStateIsHeldUntilTheTextIsEnded) {
    const CodeSet cs = open("939");
    const char* in = "一";
    int32_t length = 3, room = 3;
    char buffer[4];
    char* out = buffer;
    EXPECT_EQ(mab_from_utf8_r(cs.get(), &in, &length, &out, &room), 0);
    const char* none = nullptr;
    EXPECT_EQ(mab_from_utf8_r(cs.get(), &none, &length, &out, &room), 1);  // no room to close
    room = 1;
    EXPECT_EQ(mab_from_utf8_r(cs.get(), &none, &length, &out, &room), 0);
    EXPECT_EQ(std::string_view(buffer, 4), "\x0E\x45\x41\x0F");
    EXPECT_EQ(to_utf8(cs.get(), "\x0E"), "");
    EXPECT_EQ(to_utf8(cs.get(), "\xC1"), "A");  // whole texts begin with single bytes
}

TEST(Convert, AboveTheFirstPlaneUnitsArePairs) {
    const CodeSet utf8 = open("UTF-8");
    uint16_t units[8];
    ASSERT_EQ(mab_to_ucs2(utf8.get(), "\U0001F600a", 5, units, 8), 3);
    EXPECT_EQ(units[0], 0xD83D);
    EXPECT_EQ(units[1], 0xDE00);
    char out[20];
    EXPECT_EQ(mab_from_ucs2(utf8.get(), units, 3, out, sizeof out), 5);
    EXPECT_EQ(std::string_view(out, 5), "\U0001F600a");
    EXPECT_EQ(mab_to_ucs2(utf8.get(), "\U0001F600", 4, units, 1), 0);
    EXPECT_EQ(mab_from_ucs2(utf8.get(), units, 1, out, sizeof out),
              0);  // its second half may follow
    const uint16_t lone[] = {0xD83D, 'a', 0xDE00};
    EXPECT_EQ(mab_from_ucs2(utf8.get(), lone, 3, out, sizeof out), 7);
    const CodeSet gb = open("GB18030");
    ASSERT_EQ(mab_to_ucs2(gb.get(), "\x90\x30\x81\x30", 4, units, 8), 2);
    EXPECT_EQ(units[0], 0xD800);
    EXPECT_EQ(mab_from_ucs2(gb.get(), units, 2, out, sizeof out),
              2);  // it has no pairs to give back
    EXPECT_EQ(std::string_view(out, 2), "??");
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
