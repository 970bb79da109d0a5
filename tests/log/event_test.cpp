#include "log/event.h"

#include "tests/log/toolkit_fixture.h"
#include "tests/support/failing_allocation.h"

TEST(Level, IsReadFromTheStartOfAText) {
    const std::pair<const char*, int32_t> rows[] = {
        {"FATAL", 7000},
        {"error", 6000},
        {"Warning", 5000},
        {"INFORMATION", 4000},
        {"debug_min", 3000},
        {"minimum", 3000},
        {"MID", 2000},
        {"DEBUG_MIDDLE", 2000},
        {"max", 1000},
        {"debug_max", 1000},
        {"all", 0},
        {"OFF", 9999},
        {"12", 12},
        {"-5x", -5},
        {" 7", 7},
        {"verbose", -9999},
        {"", -9999},
        {"DEBUG", -9999},
        {"99999999999", INT32_MAX},
    };
    for (const auto& [text, level] : rows) EXPECT_EQ(PmxGetLevelFromString(text), level) << text;
}

TEST_F(OpenToolkitTest, PassesWhatIsAtOrAboveTheLevelOfTheLogger) {
    PmxObject* const logger = get("l", "pmx_basiclogger");
    const auto bounds = [logger](int32_t below, int32_t at) {
        return PmxIsLoggable(logger, below) == 0 && PmxIsLoggable(logger, at) == 1;
    };
    EXPECT_TRUE(bounds(2999, 3000));
    const std::tuple<const char*, int32_t, int32_t> rows[] = {
        {"warning", 4999, 5000}, {"12", 11, 12}, {"off", 7000, 9999}};
    for (const auto& [level, below, at] : rows) {
        PmxSetObjProp(logger, "level", level);
        EXPECT_TRUE(bounds(below, at)) << level;
        EXPECT_EQ(PmxIsLoggable(logger, PMX_NO_LEVEL), 1) << level;
    }
    PmxSetObjProp(logger, "level", "verbose");
    EXPECT_EQ(PmxIsLoggable(logger, INT32_MIN), 1);
    EXPECT_EQ(reported([=] { PmxSetObjProp(logger, "level", ""); }),
              "PMXBC04E Property 'level' will be ignored for 'l' because the value is empty or "
              "blank.");
    EXPECT_TRUE(bounds(3999, 4000));
}

// Notes level, kind and message of what arrives.
static void note_all(PmxObject*, PmxEvent* event, uint32_t) {
    const auto property = [event](const char* name) {
        return taken(pmxIntlGetEventProp(event, name, nullptr));
    };
    printf("%d/%d/%s/%s/%s/%s\n", pmxIntlGetEventLevel(event), pmxIntlGetEventIsMessage(event),
           taken(pmxIntlBindEventMsg(event, pmxIntlBindI18Msg)).c_str(),
           property("pmx_prop_srcfile").c_str(), property("pmx_prop_srcfunction").c_str(),
           property("pmx_prop_srcline").c_str());
}

TEST_F(OpenToolkitTest, MakesOfEachCallItsEvent) {
    PmxObject* const logger = logger_to(note_all);
    PmxSetObjProp(logger, "level", "all");
    testing::internal::CaptureStdout();
    for (const auto& call : {PmxLogFatal, PmxLogError, PmxLogWarn, PmxLogInfo, PmxLogMsg}) {
        call(logger, nullptr, 1, 2, "m%d", PMX_INT, 5, PMX_END);
    }
    PmxLogText(logger, "t%s", PMX_STRING, "x", PMX_FATAL, PMX_END);
    for (const auto& call : {PmxLogDebugMax, PmxLogDebugMid, PmxLogDebugMin}) {
        call(logger, "f.c", "g", 0, "d%c", PMX_CHAR, 'x', PMX_END);
    }
    PmxLogDebugMin(logger, nullptr, nullptr, 7, "d", PMX_END);
    PmxSetObjProp(logger, "level", "off");
    PmxLogFatal(logger, nullptr, 1, 2, "never", PMX_END);
    PmxSetObjectEnabled(logger, 0);
    PmxLogMsg(logger, nullptr, 1, 2, "never", PMX_END);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "7000/1/m5/-/-/-\n6000/1/m5/-/-/-\n5000/1/m5/-/-/-\n4000/1/m5/-/-/-\n"
              "-9999/1/m5/-/-/-\n7000/0/tx/-/-/-\n1000/0/dx/f.c/g/0\n2000/0/dx/f.c/g/0\n"
              "3000/0/dx/f.c/g/0\n3000/0/d/-/-/-\n");
}

TEST_F(ToolkitTest, ReadsTypedArguments) {
    PmxEvent* const event =
        make_event(PMX_WARN, "%d %d %ld %.1f %.2f %c %s|%s", PMX_BOOL, 0x101, PMX_INT, -7, PMX_LONG,
                   INT64_MIN, PMX_FLOAT, 0.5, PMX_DOUBLE, 0.25, PMX_CHAR, 'c', PMX_STRING, "text",
                   PMX_STRING, nullptr, PMX_PROPERTY, "b", PMX_BOOL, 1, PMX_PROPERTY, "i", PMX_INT,
                   5, PMX_PROPERTY, "l", PMX_LONG, INT64_MAX, PMX_PROPERTY, "f", PMX_FLOAT, 0.5,
                   PMX_PROPERTY, "d", PMX_DOUBLE, 1e20, PMX_PROPERTY, "c", PMX_CHAR, 'x',
                   PMX_PROPERTY, "s", PMX_STRING, "y", PMX_PROPERTY, nullptr, PMX_STRING, "z",
                   PMX_PROPERTY, "level", PMX_ALL, PMX_PROPERTY, "n", PMX_STRING, nullptr, PMX_END);
    EXPECT_EQ(taken(PmxBindEventMsg(event, PmxBindI18Msg)),
              "1 -7 -9223372036854775808 0.5 0.25 c text|");
    std::string properties;
    for (const char* name : {"b", "i", "l", "f", "d", "c", "s", "level", "n"}) {
        properties += taken(PmxGetEventProp(event, name, nullptr)) + " ";
    }
    EXPECT_EQ(properties,
              "true 5 9223372036854775807 0.500000 100000000000000000000.000000 x y -  ");
    EXPECT_EQ(PmxGetEventLevel(event), 0);
    EXPECT_EQ(PmxGetEventPropLong(event, "l", nullptr), INT64_MAX);
    PmxSetEventMessageId(event, "ABC");
    EXPECT_EQ(taken(PmxGetEventMessageId(event)), "ABC");
    PmxSetEventMessageId(event, nullptr);
    EXPECT_EQ(taken(PmxGetEventMessageId(event)), "-");
    PmxFreeEvent(event);
}

TEST_F(OpenToolkitTest, ReportsArgumentsThatAreNotEndedOrNotTyped) {
    const auto report = [](auto... arguments) {
        std::string all;
        const std::string printed = reported([&] {
            PmxEvent* const event = make_event(PMX_WARN, "", arguments..., PMX_END);
            const PmxParmList* const parms = event->message->parms;
            all = std::to_string(parms == nullptr ? 0 : parms->count);
            PmxFreeEvent(event);
        });
        return all + printed.substr(0, 10);
    };
    const auto groups = [report]<size_t... I>(std::index_sequence<I...>) {
        return report((static_cast<int>(I) % 2 == 0 ? PMX_INT : 5)...);
    };
    EXPECT_EQ(groups(std::make_index_sequence<2 * 62>()), "62");
    EXPECT_EQ(groups(std::make_index_sequence<2 * 63>()), "63PMXBC0070W");
    for (const int marker : {508, 500, 200, 202, 1, -1, 8000, 500000}) {
        EXPECT_EQ(report(PMX_INT, 1, marker, PMX_INT, 2), "1PMXBC0071W") << marker;
    }
    EXPECT_EQ(report(PMX_PROPERTY, "p", PMX_PROPERTY, "q", PMX_INT, 1), "0PMXBC0071W");
    EXPECT_EQ(report(PMX_PROPERTY, "p", 508), "0PMXBC0071W");
    EXPECT_EQ(report(PMX_DEBUG_MAX, PMX_OFF, PMX_NO_LEVEL, PMX_INT, 1), "1");
}

TEST_F(OpenToolkitTest, HasRoomForEventsOfAnySize) {
    PmxObject* const logger = recorded_logger();
    const std::string large(10'000, 'x');
    for (const std::string& text : {std::string("s"), large, std::string("t")}) {
        PmxLogDebugMin(logger, text.c_str(), "f", 1, "%s", PMX_STRING, text.c_str(), PMX_PROPERTY,
                       "p", PMX_STRING, text.c_str(), PMX_END);
        EXPECT_EQ(recorded(), "recorder103:" + text);
    }
    PmxEvent* const event = make_event(PMX_WARN, "", PMX_END);
    for (int i = 0; i < 1000; ++i) PmxSetEventPropInt(event, std::to_string(i % 500).c_str(), i);
    EXPECT_EQ(PmxGetEventPropInt(event, "123", nullptr), 623);
    PmxFreeEvent(event);
}

TEST_F(OpenToolkitTest, AllocatesNothingForAnotherEvent) {
    PmxObject* const logger = logger_to(nullptr);
    PmxLogText(logger, "first", PMX_END);
    rak_fail_after(1);  // the next one
    PmxLogDebugMin(logger, "file", "function", 1, "%s %d", PMX_STRING, "a", PMX_INT, 1, PMX_END);
    void* const block = RakMemoryMalloc(1);
    EXPECT_EQ(block, nullptr);  // so nobody has asked before
    rak_fail_after(0);
    RakMemoryFree(block);
}
