#include "log/event.h"
#include "tests/log/toolkit_fixture.h"

using vel::runtime::Owned;

// fuzz/patterns.cpp holds patterns, and lists of them, against a model.
TEST(PatternMatch, LeavesEachPieceWhereItFirstOccursAndEndsWithTheLast) {
    const std::tuple<const char*, const char*, int> rows[] = {
        {"", "any", 1},          {"A12W", "A12W", 1},
        {"A12W", "A12WX", 0},    {"A12W", "A12", 0},
        {"PMX*", "PMX7W", 1},    {"PMX*", "xPMX", 0},
        {"*W", "", 0},           {"A*B*C", "AC1B", 0},
        {"*W", "PMXWH0094W", 0}, {"PMX*AB", "PMXABAB", 0},
        {"*W*", "HQ12W", 1},     {"A*B*", "A1B2", 0},
    };
    for (const auto& [pattern, text, matches] : rows) {
        EXPECT_EQ(PmxPatternMatch(pattern, text), matches) << pattern << " " << text;
    }
}

TEST(PatternMatch, TakesNoLongerForPatternsThatNearlyMatch) {
    std::string many;
    for (int i = 0; i < 1000; ++i) many += "*a";
    const std::string text(1'000'000, 'a');
    EXPECT_EQ(PmxPatternMatch((many + "*b").c_str(), text.c_str()), 0);
    EXPECT_EQ(PmxPatternMatch(("*" + text + "b").c_str(), (text + text).c_str()), 0);
}

class MsgIdFilterTest : public OpenToolkitTest {
  protected:
    void SetUp() override {
        OpenToolkitTest::SetUp();
        filter = get("filter", "pmx_msgidfilter");
        logger = get("logger", "pmx_basiclogger");
        PmxAddListener(logger, filter);
        PmxAddListener(filter, get("recorder", "test_handler"));
    }
    // What comes through of an error, a warning and a text.
    std::string passing() {
        for (const char* text : {"HQXGD0001E e", "HQXGD0002W w", "t"}) {
            PmxLogText(logger, text, PMX_END);
        }
        std::string all;
        for (const std::string& entry : log) all += entry.back();
        log.clear();
        return all;
    }
    int passes(const char* text, int64_t time) {
        const Owned<PmxEvent, PmxFreeEvent> event(make_event(PMX_INFO, text));
        event->time = time;
        return PmxIsLoggableByFilter(filter, event.get());
    }
    PmxObject* filter = nullptr;
    PmxObject* logger = nullptr;
};

TEST_F(MsgIdFilterTest, BlocksOrPassesByTheIdentifier) {
    EXPECT_EQ(passing(), "et");
    const struct {
        const char *mode, *ids, *passing;
    } rows[] = {
        {"passthru", "*W *I", "w"}, {"Block", " \t\r\n", "ewt"}, {"PASSTHRU", " ", ""},
        {"PassThru", "HQ*", "ew"},  {"BLOCK", "HQ*", "t"},
    };
    for (const auto& row : rows) {
        PmxSetObjProp(filter, "mode", row.mode);
        PmxSetObjProp(filter, "msgIds", row.ids);
        EXPECT_EQ(passing(), row.passing) << row.mode << row.ids;
    }
    PmxSetObjProp(filter, "logging", "off");  // as any object
    PmxSetObjProp(filter, "mode", "BLOCK");
    EXPECT_EQ(passing(), "");
}

// Its identifier has been looked for and is an empty text then.
TEST_F(MsgIdFilterTest, MatchesAMessageWithoutIdentifierByAStarAlone) {
    PmxSetObjProp(filter, "msgIds", "*");
    EXPECT_EQ(passing(), "");
    PmxSetObjProp(filter, "mode", "PASSTHRU");
    EXPECT_EQ(passing(), "ewt");
}

TEST_F(MsgIdFilterTest, BlocksAndWarnsInAnUnknownMode) {
    PmxSetObjProp(filter, "mode", "PASSTHRU");
    EXPECT_EQ(reported([=, this] { PmxSetObjProp(filter, "mode", "pass"); }),
              "PMXFF0020W The property 'mode' for message ID filter filter was set to unknown "
              "value pass. Expected values are 'BLOCK' or 'PASSTHRU'.");
    EXPECT_EQ(passing(), "et");
}

TEST_F(MsgIdFilterTest, HoldsRepetitionsBackFromTheLastOneThatPassed) {
    EXPECT_EQ(passes("ABC001E", 5) * 2 + passes("ABC001E", 5),
              3);  // not unless it is told to
    PmxSetObjProp(filter, "msgIdRepeatTime", "60000");
    const struct {
        const char* id;
        int64_t time;
        int passes;
    } rows[] = {
        {"ABC001E", 0, 1},       {"ABC001E", 30'000, 0}, {"ABC002E", 30'000, 1},
        {"ABC001E", 59'999, 0},  {"ABC001E", 60'001, 1}, {"ABC001E", 120'000, 0},
        {"ABC001E", 120'001, 1}, {"ABC001E", -5, 0},     {"none", 0, 1},
        {"none", 0, 1},          {"ABC003I", 0, 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(passes(row.id, row.time), row.passes) << row.id << " at " << row.time;
    }
    PmxSetObjProp(filter, "msgIds", "");
    EXPECT_EQ(passes("ABC003I", 1), 1);                // only what passes is noted
    PmxSetObjProp(filter, "msgIdRepeatTime", "soon");  // no number: as it was
    EXPECT_EQ(passes("ABC001E", 180'000), 0);
    PmxSetObjProp(filter, "msgIdRepeatTime", "9223372036854775807");
    EXPECT_EQ(passes("ABC001E", INT64_MAX), 0);
    PmxSetObjProp(filter, "msgIdRepeatTime", "0");
    EXPECT_EQ(passes("ABC001E", 120'001), 1);
}
