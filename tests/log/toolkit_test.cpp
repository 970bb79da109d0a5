#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <thread>

#include "tests/log/toolkit_fixture.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

TEST_F(ToolkitTest, OpensOnceAndAgainAfterClosing) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(PmxIsToolkitOpen(), 0);
        EXPECT_EQ(open("a.b=" + std::to_string(i)), 1);
        EXPECT_EQ(PmxOpenToolkit("/nonexistent"), 1);  // not read
        PmxObjCfg* const cfg = PmxLogMgrGetCfg("a");
        EXPECT_EQ(PmxGetObjCfgPropInt(cfg, "b", nullptr), i);
        PmxReleaseObjCfg(cfg);
        EXPECT_EQ(PmxIsToolkitOpen(), 1);
        PmxCloseToolkit();
        PmxCloseToolkit();
    }
}

TEST_F(ToolkitTest, StaysClosedWhenThePropertiesCannotBeRead) {
    for (const std::string& path :
         {std::string("/nonexistent/x"), directory.write("bad", "a.b=1\nkey without separator\n"),
          directory.path().string()}) {
        CaptureStderr();
        EXPECT_EQ(PmxOpenToolkit(path.c_str()) + PmxIsToolkitOpen(), 0);
        EXPECT_EQ(GetCapturedStderr(),
                  "PMX0051E The log manager could not read the properties file " + path + ".\n");
    }
}

TEST_F(ToolkitTest, LoadsMorePropertiesUpToAFault) {
    EXPECT_EQ(PmxLoadAdditionalProperties(directory.write("a", "a.b=1").c_str()), 1);
    EXPECT_EQ(PmxIsToolkitOpen(), 1);
    CaptureStderr();
    EXPECT_EQ(PmxLoadAdditionalProperties(directory.write("b", "a.c=2\nfault\na.d=3").c_str()), 0);
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_EQ(PmxLoadAdditionalProperties(nullptr), 1);
    PmxObjCfg* const cfg = PmxLogMgrGetCfg("a");
    const auto value = [cfg](const char* key) {
        return taken(PmxGetObjCfgProp(cfg, key, nullptr));
    };
    EXPECT_EQ(value("b") + value("c") + value("d"), "12-");
    PmxReleaseObjCfg(cfg);
}

TEST_F(ToolkitTest, ListsTheClassesOfAKindInTheOrderOfTheirRegistration) {
    PmxAddLoggerClass("pmx_stderrhandler", nullptr, nullptr, nullptr, nullptr, nullptr);  // taken
    PmxAddLoggerClass(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(texts(PmxGetLoggerClasses()), "pmx_basiclogger pmx_pdlogger test_logger ");
    EXPECT_EQ(texts(PmxGetFilterClasses()), "pmx_levelfilter pmx_msgidfilter test_filter ");
    EXPECT_EQ(texts(PmxGetHandlerClasses()),
              "pmx_consolehandler pmx_stderrhandler pmx_filehandler pmx_hvnhandler "
              "pmx_multiproc_filehandler pmx_ffdc_trigger_handler pmx_ffdc_filecopy_handler "
              "test_handler ");
    EXPECT_EQ(texts(PmxGetFormatterClasses()),
              "pmx_basicformatter pmx_xmlformatter pmx_veltraceformatter ");
}

TEST_F(ToolkitTest, GivesTheErrorLoggerTheStandardErrorHandlerBesideItsOwnListeners) {
    ASSERT_EQ(open("pmxlog.errorLogger.listenerNames=mine\nmine.className=test_handler\n"), 1);
    const std::string text =
        "PMXBC0063W A class must be specified before object 'no/class' can be created.";
    EXPECT_EQ(reported([] { EXPECT_EQ(get("no/class"), nullptr); }), text);
    EXPECT_EQ(recorded(), "className=test_handler mine103:" + text);
}

TEST_F(OpenToolkitTest, AnswersNothingToAClassThatCallsAPublicForm) {
    PmxObject* const logger = logger_to([](PmxObject* handler, PmxEvent*, uint32_t) {
        log.push_back(taken(PmxGetObjectName(handler)));
        PmxCloseToolkit();
        PmxLogText(handler, "", PMX_END);
    });
    EXPECT_NE(reported([=] { PmxLogText(logger, "", PMX_END); }).find("deadlock avoided"),
              std::string::npos);
    EXPECT_EQ(recorded(), "-");
    EXPECT_EQ(PmxIsToolkitOpen(), 1);
}

TEST_F(OpenToolkitTest, AThreadThatIsCancelledFinishesItsCallFirst) {
    PmxObject* const logger = logger_to([](PmxObject*, PmxEvent*, uint32_t) {
        pthread_cancel(pthread_self());
        pthread_testcancel();
        log.push_back("finished");
    });
    const auto call = [](void* of) -> void* {
        PmxLogText(static_cast<PmxObject*>(of), "", PMX_END);
        pthread_testcancel();
        return of;
    };
    pthread_t thread{};
    void* result = nullptr;
    ASSERT_EQ(pthread_create(&thread, nullptr, call, logger), 0);
    pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(recorded(), "finished");
}

static void in_four_threads(const std::function<void(int)>& action, int times) {
    std::vector<std::jthread> threads(4);
    for (std::jthread& thread : threads) {
        thread = std::jthread([&] {
            for (int i = 0; i < times; ++i) action(i);
        });
    }
}

TEST_F(ToolkitTest, BearsThreadsThatOpenLogAndClose) {
    const auto open_and_close = [](int) {
        PmxOpenToolkit(nullptr);
        PmxIsToolkitOpen();
        add_classes();
        PmxLogMgrHasCfg("a");
        PmxCloseToolkit();
    };
    in_four_threads(open_and_close, 50);
    ASSERT_EQ(open(""), 1);
    add_classes();
    PmxObject* const logger = recorded_logger();
    const auto change_and_log = [logger](int i) {
        PmxSetObjProp(logger, "level", i % 2 == 0 ? "error" : "all");
        PmxLogDebugMin(logger, "f", "g", i, "%d", PMX_INT, i, PMX_END);
        PmxLogError(logger, nullptr, 1, 1, "e", PMX_END);
    };
    in_four_threads(change_and_log, 100);
    EXPECT_GE(log.size(), 400U);
}

TEST_F(OpenToolkitTest, LetsTheChildOfAForkLogThoughAnotherThreadHadTheLock) {
    PmxObject* const logger = recorded_logger();
    std::atomic<bool> done = false;
    std::thread busy([&] {
        while (!done) PmxLogText(logger, "busy", PMX_END);
    });
    int failed = 0;
    for (int i = 0; i < 20 && failed == 0; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(10);  // ends a child that hangs
            log.clear();
            PmxLogText(logger, "child", PMX_END);
            _exit(log.size() == 1 ? 0 : 1);
        }
        waitpid(child, &failed, 0);
    }
    done = true;
    busy.join();
    EXPECT_EQ(failed, 0);
}

TEST_F(OpenToolkitTest, KeepsTheLockOfAClassOperationThatForks) {
    PmxObject* const logger = logger_to([](PmxObject* handler, PmxEvent*, uint32_t) {
        const pid_t child = fork();
        if (child == 0) _exit(PmxGetObjectName(handler) == nullptr ? 7 : 1);
        int status = 0;
        waitpid(child, &status, 0);
        log.push_back(std::to_string(WEXITSTATUS(status)));
    });
    reported([=] {
        for (int i = 0; i < 2; ++i) PmxLogText(logger, "", PMX_END);
    });
    EXPECT_EQ(recorded(), "7 7");
}
