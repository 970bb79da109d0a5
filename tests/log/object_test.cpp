#include "log/object.h"

#include "tests/log/toolkit_fixture.h"

TEST_F(ToolkitTest, ReportsObjectsThatCannotBeHad) {
    ASSERT_EQ(open("bad.className=none\nhandler.className=test_handler"), 1);
    PmxObject* const handler = get("handler");
    EXPECT_EQ(get("handler", "test_handler"), handler);
    struct {
        const char *name, *class_name, *report;
    } const rows[] = {
        {"bad", nullptr,
         "PMXBC0062W Class 'none' must be defined before object 'bad' can be created."},
        {"bad", "no", "PMXBC0062W Class 'no' must be defined before object 'bad' can be created."},
        {"/", nullptr, "PMXBC0063W A class must be specified before object '/' can be created."},
        {"handler", "test_logger",
         "PMXBC0061W Object 'handler' exists but is of class 'test_handler' instead of "
         "'test_logger' ."},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(reported([&] { EXPECT_EQ(get(row.name, row.class_name), nullptr); }), row.report);
    }
}

TEST_F(OpenToolkitTest, EndsAnObjectWithItsLastUser) {
    PmxObject* const logger = get("logger", "test_logger");
    PmxObject* const handler = get("handler", "test_handler");
    PmxAddListener(logger, handler);
    EXPECT_EQ(PmxAcquireObject(logger), logger);
    PmxReleaseObject(handler);  // the logger's now
    PmxReleaseObject(logger);
    EXPECT_EQ(recorded(), "");
    PmxReleaseObject(logger);
    EXPECT_EQ(recorded(), "freed close:handler");
    EXPECT_NE(reported([] { EXPECT_EQ(get("logger"), nullptr); }), "");
}

// Each longer than the stack would bear if ending one ended the next inside it.
TEST_F(OpenToolkitTest, EndsALongChainOfListeners) {
    PmxObject* const first = get("0", "test_filter");
    PmxObject* last = first;
    for (int i = 1; i <= 100'000; ++i) {
        PmxObject* const next =
            get(std::to_string(i).c_str(), i < 100'000 ? "test_filter" : "test_handler");
        PmxAddListener(std::exchange(last, next), next);
        PmxReleaseObject(next);
    }
    PmxReleaseObject(first);
    EXPECT_EQ(recorded(), "close:100000");
}

TEST_F(ToolkitTest, SplitsListenerNamesAtBlanks) {
    ASSERT_EQ(open("a.className=test_handler\nb.className=test_filter\n"
                   "l.className=pmx_basiclogger\nl.listenerNames=b  a\tb nothing\n"),
              1);
    PmxObject* logger = nullptr;
    EXPECT_NE(reported([&] { logger = get("l"); }).find("object 'nothing'"), std::string::npos);
    const auto listeners = [logger] {
        std::string all;
        for (PmxListenerGroupLink* it = PmxGetListeners(logger); PmxListenerGroupIterHasNext(it);
             it = PmxListenerGroupIterNext(it)) {
            PmxObject* const listener = PmxListenerGroupIterGet(it);
            all += taken(PmxGetObjectName(listener));
            PmxReleaseObject(listener);
        }
        return all;
    };
    EXPECT_EQ(listeners(), "ba");
    PmxSetObjProp(logger, "listenerNames", "a");
    EXPECT_EQ(listeners(), "a");
    PmxObject* const b = get("b");
    EXPECT_EQ(PmxAddListener(logger, b) + PmxAddListener(logger, b), 1);
    EXPECT_EQ(PmxRemListener(logger, get("a")) + PmxRemListener(logger, get("a")), 1);
    EXPECT_EQ(listeners(), "b");
    PmxObject* const formatter = get("f", "pmx_basicformatter");
    PmxSetObjProp(formatter, "listenerNames", "a");
    EXPECT_EQ(PmxAddListener(formatter, logger), 0);
    EXPECT_EQ(PmxGetListeners(formatter), nullptr);
}

TEST_F(OpenToolkitTest, SwitchesLoggingByFourWords) {
    PmxObject* const logger = get("l", "pmx_basiclogger");
    std::string states;
    for (const char* value : {"off", "yes", "ON", "no", "False", "1", "tRUE", "", "offf"}) {
        PmxSetObjProp(logger, "logging", value);
        states += std::to_string(PmxIsObjectEnabled(logger));
    }
    EXPECT_EQ(states, "001100111");
    PmxSetObjectEnabled(logger, 0);
    EXPECT_EQ(PmxIsLoggable(logger, PMX_FATAL), 0);
}

TEST_F(ToolkitTest, ChangesTheDescriptionOfAllObjectsOfAClass) {
    PmxI18Msg* const description = PmxAllocI18Msg(nullptr, 0, 0, "before");
    PmxAddLoggerClass("described", description, nullptr, nullptr, nullptr, nullptr);
    PmxFreeI18Msg(description);
    ASSERT_EQ(open(""), 1);
    PmxObject* const a = get("a", "described");
    EXPECT_EQ(taken(PmxGetObjectDesc(a)), "before");
    EXPECT_EQ(taken(PmxGetObjectDesc(get("s", "pmx_stderrhandler"))), "-");
    PmxSetObjProp(get("b", "pmx_basiclogger"), "description", "after");
    EXPECT_EQ(taken(PmxGetObjectDesc(get("c", "pmx_basiclogger"))), "after");
    PmxObject* const h = get("h", "pmx_stderrhandler");
    PmxSetObjProp(h, "description", "mine");
    EXPECT_EQ(taken(PmxGetObjectDesc(get("s"))), "mine");
}

// Filters that lead to each other, or to themselves.
TEST_F(ToolkitTest, EndsCyclesOfListenersAndDeliversADiamondTwice) {
    ASSERT_EQ(open("f.className=test_filter\nf.listenerNames=f g r\n"
                   "g.className=test_filter\ng.listenerNames=f r g\n"
                   "r.className=test_handler\nr.listenerNames=r\n"
                   "l.className=pmx_basiclogger\nl.listenerNames=f g"),
              1);
    PmxObject* const logger = get("l");
    recorded();
    PmxLogText(logger, "x", PMX_END);
    // By f: through g, and its own; by g: through f, and its own.
    EXPECT_EQ(recorded(), "r103:x r103:x r103:x r103:x");
}

TEST_F(ToolkitTest, DropsAReportThatADeliveredReportBringsAbout) {
    ASSERT_EQ(open("pmxlog.errorLogger.listenerNames=l\nl.className=test_filter\n"
                   "l.listenerNames=x\nx.className=test_handler"),
              1);
    PmxObject* const logger = logger_to([](PmxObject*, PmxEvent*, uint32_t) {
        pmxIntlGetObject("no class", nullptr);
        log.emplace_back("failed");
    });
    PmxAddListener(get("pmxlog.errorLogger"), get("recorder"));
    PmxRemListener(logger, get("recorder"));
    recorded();
    reported([&] { PmxLogText(logger, "x", PMX_END); });
    EXPECT_EQ(recorded(),
              "x103:PMXLG01E No listeners are registered with the logger logger. failed");
}

TEST_F(ToolkitTest, KeepsTheNameThatTheMakingOfAnObjectHasTaken) {
    EXPECT_EQ(get("pmxlog.defaultFormatter", "test_handler"), nullptr);  // it has a formatter
    EXPECT_NE(get("pmxlog.defaultFormatter", "pmx_basicformatter"), nullptr);
}

TEST_F(ToolkitTest, StopsAChainOfCreationsAtItsDepth) {
    std::string properties;
    for (int i = 0; i < 1000; ++i) {
        const std::string name = "f" + std::to_string(i);
        properties += name + ".className=test_filter\n" + name + ".listenerNames=f" +
                      std::to_string(i + 1) + "\n";
    }
    ASSERT_EQ(open(properties), 1);
    PmxObject* const first = get("f0");
    int length = 0;
    for (PmxObject* at = first; at != nullptr; ++length) {
        at = at->listeners == nullptr || at->listeners->head == nullptr ? nullptr
                                                                        : at->listeners->head->item;
    }
    EXPECT_EQ(length, 256);
}

// Loops of listeners, a formatter of many, references that nobody gave back.
TEST_F(OpenToolkitTest, ClosesEveryObjectOnceHoweverTheyHoldEachOther) {
    PmxObject* const own = get("own", "test_handler");
    PmxAddListener(own, own);
    PmxObject* const a = get("a", "test_handler");
    PmxObject* const b = get("b", "test_handler");
    PmxAddListener(a, b);
    PmxAddListener(b, a);
    PmxHandlerSetFormatter(a, b);
    PmxHandlerSetFormatter(b, b);
    PmxObject* const logger = get("l", "test_logger");
    for (int i = 0; i < 5; ++i) PmxAcquireObject(logger);
    for (PmxObject* const listener : {own, a, b}) PmxAddListener(logger, listener);
    recorded();
    PmxCloseToolkit();
    std::sort(log.begin(), log.end());
    EXPECT_EQ(recorded(), "close:a close:b close:own freed");
}

// The handler's operations take away what the walk that called them stands on.
TEST_F(OpenToolkitTest, BearsListenersThatTakeAwayListeners) {
    static PmxObject* logger;
    logger = logger_to([](PmxObject* handler, PmxEvent*, uint32_t) {
        log.push_back(taken(pmxIntlGetObjectName(handler)));
        pmxIntlRemListener(logger, handler);
        PmxObject* const next = pmxIntlGetObject("next", nullptr);
        pmxIntlRemListener(logger, next);
        pmxIntlReleaseObject(next);
    });
    PmxObject* const first = get("recorder");
    for (int i = 0; i < 2; ++i) PmxReleaseObject(first);  // its listening alone holds it
    for (const auto& [name, its_class] : {std::pair{"next", "own"}, {"last", "test_handler"}}) {
        PmxObject* const handler = get(name, its_class);
        PmxAddListener(logger, handler);
        PmxReleaseObject(handler);
    }
    reported([] { PmxLogText(logger, "x", PMX_END); });
    EXPECT_EQ(recorded(), "recorder last103:x");
    reported([] { PmxLogText(logger, "y", PMX_END); });
    EXPECT_EQ(recorded(), "last103:y");
}

TEST_F(OpenToolkitTest, ChecksKindAndClassBeforeItUsesAnObject) {
    PmxObject* const logger = recorded_logger();
    PmxObject* const formatter = get("pmxlog.defaultFormatter");
    PmxEvent* const event = make_event(PMX_WARN, "text", PMX_END);
    EXPECT_EQ(PmxHandlerGetFormatter(logger), nullptr);
    EXPECT_EQ(PmxHandlerDoFmt(logger, event), nullptr);
    EXPECT_EQ(PmxIsLoggableByFilter(logger, event), 0);
    PmxConsoleHandlerFProcess(logger, event, PMX_HANDLER);  // has no variables of a console handler
    PmxConsoleHandlerFOpen(formatter);
    PmxConsoleHandlerFClose(logger);
    PmxLogText(formatter, "no logger", PMX_END);
    PmxHandlerSetFormatter(get("recorder"), logger);
    EXPECT_EQ(PmxHandlerDoFmt(get("recorder"), event), nullptr);
    EXPECT_EQ(recorded(), "");
    PmxFreeEvent(event);
}
