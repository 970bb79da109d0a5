#include <cstdlib>

#include "log/event.h"
#include "tests/log/toolkit_fixture.h"

class FormatterTest : public OpenToolkitTest {
  protected:
    void SetUp() override {
        OpenToolkitTest::SetUp();
        setenv("TZ", "UTC", 1);
        formatter = get("f", "pmx_basicformatter");
    }
    void TearDown() override {
        unsetenv("TZ");
        tzset();
        ToolkitTest::TearDown();
    }
    std::string format(PmxEvent* event) {
        const std::string record = taken(PmxBasicFormatterFFormat(formatter, event));
        PmxFreeEvent(event);
        return record;
    }
    PmxObject* formatter = nullptr;
};

TEST_F(FormatterTest, WritesTheFieldsThatAnEventHas) {
    EXPECT_EQ(format(make_event(PMX_INFO, "message", PMX_END)),
              "2024-01-02 14:03:09.045+00:00 message\n");
    PmxSetObjProp(formatter, "separator", "|");
    const auto full = [] {
        PmxEvent* const event = make_event(PMX_INFO, "message", PMX_END);
        set_pairs(event, PmxSetEventProp,
                  "server s client cl component co product p pmx_prop_srcline 0 "
                  "pmx_prop_srcfunction g pmx_prop_srcfile f.c");
        PmxSetEventProp(event, "organization", "");
        return event;
    };
    EXPECT_EQ(format(full()), "2024-01-02 14:03:09.045+00:00|f.c|g|0||p|co|cl|s|message\n");
    PmxSetObjProp(formatter, "dateTimeFormat", "%H.%M");
    EXPECT_EQ(format(full()), "14.03|f.c|g|0||p|co|cl|s|message\n");
    PmxSetObjProp(formatter, "dateTimeFormat", std::string(500, 'x').c_str());
    EXPECT_EQ(format(make_event(PMX_INFO, "message", PMX_END)), "|message\n");
    PmxSetObjProp(formatter, "dateTimeFormat", "%H");
    PmxEvent* const placed =
        make_event(PMX_INFO, "message", PMX_PROPERTY, "server", PMX_STRING, "s", PMX_END);
    EXPECT_EQ(taken(PmxBasicFormatterFFormat(formatter, placed)), "14|s|message\n");
    const vel::log::SourcePlace place{.file = "f.c", .function = "g", .line = 7};
    placed->place = &place;
    EXPECT_EQ(format(placed), "14|f.c|g|7|s|message\n");
    EXPECT_EQ(taken(PmxBasicFormatterFFormat(formatter, nullptr)) +
                  taken(PmxBasicFormatterFGetHeader(formatter)) +
                  taken(PmxBasicFormatterFGetTrailer(formatter)),
              "---");
}

// Also when it changes within a second.
TEST_F(FormatterTest, WritesTheZoneOfTheProcess) {
    const std::pair<const char*, const char*> rows[] = {
        {"EST5", "2024-01-02 09:03:09.045-05:00"},
        {"IST-5:30", "2024-01-02 19:33:09.045+05:30"},
        {"NST3:30", "2024-01-02 10:33:09.045-03:30"},
        {"CET-1CEST,J1,J365", "2024-01-02 16:03:09.045+02:00"},
        {"CET-1", "2024-01-02 15:03:09.045+01:00"},
    };
    for (const auto& [zone, date] : rows) {
        setenv("TZ", zone, 1);
        tzset();
        EXPECT_EQ(taken(PmxBasicFormatterFormatDate(nullptr, 1'704'204'189'045)), date);
    }
    EXPECT_EQ(taken(PmxBasicFormatterFormatDate(nullptr, -45)), "1970-01-01 01:00:00.-045+01:00");
}

static std::string trace(PmxEvent* event) {
    PmxObject* const formatter = PmxGetObject("trace", "pmx_veltraceformatter");
    PmxSetObjProp(formatter, "dateTimeFormat", "%H");  // which it does not know
    const std::string record = taken(PmxVelTraceFormatterFFormat(formatter, event));
    PmxReleaseObject(formatter);
    PmxFreeEvent(event);
    const std::string start = "\x1E[2024-01-02 14:03:09.045+00:00] - ";
    EXPECT_TRUE(record.starts_with(start)) << record;
    return record.substr(std::min(record.size(), start.size()));
}

TEST_F(FormatterTest, TraceHasAllFieldsBehindARecordSeparator) {
    EXPECT_EQ(trace(make_event(PMX_INFO, "message", PMX_END)), "INFO  -  -  -  -  - message\n");
    PmxEvent* const full = make_event(PMX_WARN, "message", PMX_END);
    set_pairs(full, PmxSetEventProp,
              "server alpha.beta.c processId 4711 threadId -1 pmx_prop_srcfile main.c "
              "pmx_prop_srcfunction doIt pmx_prop_srcline 42");
    PmxSetEventMessageId(full, "ITS123E");
    EXPECT_EQ(
        trace(full),
        "WARN  - alpha - p4711:t18446744073709551615 - main.c:doIt(42) - ITS123E - message\n");
    const vel::log::SourcePlace place{"f.c", "g", 5};
    PmxEvent* const placed = make_event(PMX_INFO, "message", PMX_END);
    placed->place = &place;
    EXPECT_EQ(trace(placed), "INFO  -  -  - f.c:g(5) -  - message\n");
    EXPECT_EQ(PmxVelTraceFormatterFFormat(formatter, nullptr), nullptr);
}

TEST_F(FormatterTest, TraceLeavesOutWhatAnEventHasNot) {
    const std::pair<std::string, const char*> rows[] = {
        {"whole - t7 - ", "server whole threadId 7"},
        {" -  - f", "server .dot pmx_prop_srcfile f"},
        {" - p0 - (-3)", "processId 0 pmx_prop_srcline -3"},
        {" - t7 - ", "processId none threadId 7"},
        {" -  - g(0)", "pmx_prop_srcfunction g pmx_prop_srcline 0"},
    };
    for (const auto& [fields, properties] : rows) {
        PmxEvent* const event = make_event(PMX_ERROR, "message", PMX_END);
        set_pairs(event, PmxSetEventProp, properties);
        EXPECT_EQ(trace(event), "ERROR - " + fields + " -  - message\n");
    }
    EXPECT_EQ(trace(make_event(PMX_ERROR, "message", PMX_PROPERTY, "pmx_prop_srcfile", PMX_STRING,
                               "", PMX_PROPERTY, "pmx_prop_srcfunction", PMX_STRING, "g", PMX_END)),
              "ERROR -  -  - :g -  - message\n");
}

TEST_F(FormatterTest, TraceNamesLevelsInFiveCharactersAndFatalOnesErrors) {
    std::string words;
    for (int32_t level : {1000, 2000, 3000, 4000, 5000, 6000, 7000, 4500, 0, PMX_NO_LEVEL + 0})
        words += trace(make_event(level, "message", PMX_END)).substr(0, 7) + "|";
    EXPECT_EQ(words,
              " MAX  -| MID  -| MIN  -|INFO  -|WARN  -|ERROR -|ERROR -|OTHER -|OTHER -|OTHER -|");
}

TEST_F(FormatterTest, TraceFindsTheIdentifierInTheMessage) {
    PmxEvent* const event = make_event(PMX_INFO, "message", PMX_STRING, "0001", PMX_END);
    PmxSetI18MsgTxt(event->message, "HQXGD%sI text");
    EXPECT_EQ(trace(event), "INFO  -  -  -  - HQXGD0001I - HQXGD0001I text\n");
}

TEST_F(FormatterTest, MessagesAreBoundByTheFormattersOwnBinder) {
    PmxAddFormatterClass("own", nullptr, nullptr, nullptr, nullptr, PmxBasicFormatterFFormat,
                         nullptr, nullptr, [](PmxI18Msg*) { return RakStringDup("bound"); });
    formatter = get("own", "own");
    EXPECT_EQ(format(make_event(PMX_INFO, "message", PMX_END)),
              "2024-01-02 14:03:09.045+00:00 bound\n");
}

TEST_F(FormatterTest, GivesItsLocaleToTheEvent) {
    PmxSetObjProp(formatter, "locale", "pt-br");
    PmxEvent* const event = make_event(PMX_INFO, "message", PMX_END);
    taken(PmxBasicFormatterFFormat(formatter, event));
    EXPECT_STREQ(PmxGetEventLocale(event), "pt_BR");
    EXPECT_STREQ(event->message->locale, "pt_BR");
    PmxReleaseObject(std::exchange(formatter, nullptr));  // and its locale with it
    EXPECT_STREQ(event->message->locale, "pt_BR");
    PmxSetEventLocale(event, nullptr);
    EXPECT_EQ(event->message->locale, nullptr);
    PmxFreeEvent(event);
}

TEST_F(FormatterTest, IsChosenByTheHandler) {
    PmxObject* const handler = get("h", "test_handler");
    PmxObject* const usual = get("pmxlog.defaultFormatter");
    const auto formatter_of = [handler] {
        PmxObject* const its = PmxHandlerGetFormatter(handler);
        PmxReleaseObject(its);
        return its;
    };
    EXPECT_EQ(formatter_of(), usual);
    PmxSetObjProp(handler, "formatterName", "f");
    EXPECT_EQ(formatter_of(), formatter);
    PmxSetObjProp(handler, "formatterName", "h");  // which is none
    EXPECT_EQ(formatter_of(), nullptr);
    EXPECT_EQ(PmxHandlerGetFmtHeader(handler), nullptr);
    PmxHandlerSetFormatter(handler, nullptr);
    EXPECT_EQ(formatter_of(), nullptr);
    EXPECT_EQ(PmxHandlerDoFmt(handler, nullptr), nullptr);
}

TEST_F(FormatterTest, LevelFilterPassesWhatIsAtOrAboveItsThreshold) {
    PmxObject* const filter = get("filter", "pmx_levelfilter");
    const auto passes = [filter](int32_t level) {
        PmxEvent* const event = make_event(level, "message", PMX_END);
        const int answer = PmxIsLoggableByFilter(filter, event);
        PmxFreeEvent(event);
        return answer;
    };
    EXPECT_EQ(passes(-5), 1);  // no threshold yet
    const std::tuple<const char*, int32_t, int32_t> rows[] = {{"warning", 4999, 5000},
                                                              {"off", 7000, PMX_NO_LEVEL}};
    for (const auto& [level, below, at] : rows) {
        PmxSetObjProp(filter, "level", level);
        EXPECT_EQ(passes(below) * 2 + passes(at), 1) << level;
    }
    PmxSetObjProp(filter, "level", "verbose");
    EXPECT_EQ(passes(-5), 1);
    EXPECT_EQ(PmxIsLoggableByFilter(filter, nullptr), 0);
}

// The header and trailer of standard error go to standard output.
TEST_F(FormatterTest, ConsoleHandlersPrintHeaderRecordsAndTrailer) {
    PmxAddFormatterClass(
        "framed", nullptr, nullptr, nullptr, nullptr,
        [](PmxObject*, PmxEvent* event) { return pmxIntlBindEventMsg(event, pmxIntlBindI18Msg); },
        [](PmxObject*) { return RakStringDup("<"); }, [](PmxObject*) { return RakStringDup(">"); },
        nullptr);
    PmxObject* const framed = get("framed", "framed");
    PmxObject* const logger = get("l", "pmx_basiclogger");
    for (const char* its_class : {"pmx_consolehandler", "pmx_stderrhandler"}) {
        PmxObject* const handler = get(its_class, its_class);
        PmxHandlerSetFormatter(handler, framed);
        PmxAddListener(logger, handler);
        PmxReleaseObject(handler);
    }
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    PmxLogText(logger, "1", PMX_END);
    PmxLogText(logger, "2", PMX_END);
    PmxReleaseObject(logger);  // and with it the handlers
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "<1<2>>");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "12");
}
