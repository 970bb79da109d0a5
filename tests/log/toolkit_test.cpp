#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
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
        EXPECT_EQ(PmxOpenToolkit(path.c_str()), 0);
        EXPECT_EQ(GetCapturedStderr(),
                  "PMX0051E The log manager could not read the properties file " + path + ".\n");
        EXPECT_EQ(PmxIsToolkitOpen(), 0);
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
    EXPECT_EQ(taken(PmxGetObjCfgProp(cfg, "b", nullptr)) +
                  taken(PmxGetObjCfgProp(cfg, "c", nullptr)) +
                  taken(PmxGetObjCfgProp(cfg, "d", nullptr)),
              "12-");
    PmxReleaseObjCfg(cfg);
}

static std::string names(PmxStringGroupLink* it) {
    std::string all;
    for (; PmxStringGroupIterHasNext(it); it = PmxStringGroupIterNext(it)) {
        all += taken(PmxStringGroupIterGet(it)) + " ";
    }
    return all;
}

TEST_F(ToolkitTest, ListsTheClassesOfAKindInTheOrderOfTheirRegistration) {
    PmxAddLoggerClass("pmx_stderrhandler", nullptr, nullptr, nullptr, nullptr, nullptr);  // taken
    PmxAddLoggerClass(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(names(PmxGetLoggerClasses()), "pmx_basiclogger pmx_pdlogger test_logger ");
    EXPECT_EQ(names(PmxGetFilterClasses()), "pmx_levelfilter pmx_msgidfilter test_filter ");
    EXPECT_EQ(names(PmxGetHandlerClasses()),
              "pmx_consolehandler pmx_stderrhandler pmx_filehandler pmx_hvnhandler "
              "pmx_multiproc_filehandler pmx_ffdc_trigger_handler pmx_ffdc_filecopy_handler "
              "test_handler ");
    EXPECT_EQ(names(PmxGetFormatterClasses()),
              "pmx_basicformatter pmx_xmlformatter pmx_veltraceformatter ");
}

TEST_F(ToolkitTest, GivesTheErrorLoggerTheStandardErrorHandlerBesideItsOwnListeners) {
    ASSERT_EQ(open("pmxlog.errorLogger.listenerNames=mine\nmine.className=test_handler\n"), 1);
    CaptureStderr();
    EXPECT_EQ(get("no/class"), nullptr);
    const std::string text =
        "PMXBC0063W A class must be specified before object 'no/class' can be "
        "created.";
    EXPECT_EQ(recorded(), "className=test_handler mine103:" + text);
    const std::string printed = GetCapturedStderr();
    EXPECT_EQ(printed.substr(printed.find(" PMX") + 1), text + "\n");
}

TEST_F(ToolkitTest, AnswersNothingToAClassThatCallsAPublicForm) {
    ASSERT_EQ(open(""), 1);
    PmxAddHandlerClass(
        "reentrant", nullptr, nullptr, nullptr, nullptr,
        [](PmxObject* handler, PmxEvent*, uint32_t) {
            log.push_back(taken(PmxGetObjectName(handler)));
            PmxCloseToolkit();
            PmxLogText(handler, "", PMX_END);
        },
        nullptr, nullptr);
    PmxObject* const logger = get("logger", "pmx_basiclogger");
    PmxAddListener(logger, get("handler", "reentrant"));
    CaptureStderr();
    PmxLogText(logger, "", PMX_END);
    EXPECT_NE(GetCapturedStderr().find("Resource deadlock avoided\n"), std::string::npos);
    EXPECT_EQ(recorded(), "-");
    EXPECT_EQ(PmxIsToolkitOpen(), 1);
}

TEST_F(ToolkitTest, AThreadThatIsCancelledFinishesItsCallFirst) {
    ASSERT_EQ(open(""), 1);
    PmxAddHandlerClass(
        "cancelled", nullptr, nullptr, nullptr, nullptr,
        [](PmxObject*, PmxEvent*, uint32_t) {
            pthread_cancel(pthread_self());
            pthread_testcancel();
            log.push_back("finished");
        },
        nullptr, nullptr);
    PmxObject* logger = get("logger", "pmx_basiclogger");
    PmxAddListener(logger, get("handler", "cancelled"));
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

TEST_F(ToolkitTest, BearsThreadsThatOpenLogAndClose) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 50; ++i) {
                PmxOpenToolkit(nullptr);
                PmxIsToolkitOpen();
                add_classes();
                PmxLogMgrHasCfg("a");
                PmxCloseToolkit();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(open(""), 1);
    add_classes();
    PmxObject* const logger = recorded_logger();
    threads.clear();
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([logger] {
            for (int i = 0; i < 100; ++i) {
                PmxSetObjProp(logger, "level", i % 2 == 0 ? "error" : "all");
                PmxLogDebugMin(logger, "f", "g", i, "%d", PMX_INT, i, PMX_END);
                PmxLogError(logger, nullptr, 1, 1, "e", PMX_END);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_GE(log.size(), 400U);
}

TEST_F(ToolkitTest, LetsTheChildOfAForkLogThoughAnotherThreadHadTheLock) {
    ASSERT_EQ(open(""), 1);
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

TEST_F(ToolkitTest, KeepsTheLockOfAClassOperationThatForks) {
    ASSERT_EQ(open(""), 1);
    PmxAddHandlerClass(
        "forking", nullptr, nullptr, nullptr, nullptr,
        [](PmxObject* handler, PmxEvent*, uint32_t) {
            const pid_t child = fork();
            if (child == 0) _exit(PmxGetObjectName(handler) == nullptr ? 7 : 1);
            int status = 0;
            waitpid(child, &status, 0);
            log.push_back(std::to_string(WEXITSTATUS(status)));
        },
        nullptr, nullptr);
    PmxObject* const logger = get("logger", "pmx_basiclogger");
    PmxAddListener(logger, get("handler", "forking"));
    CaptureStderr();
    PmxLogText(logger, "", PMX_END);
    PmxLogText(logger, "", PMX_END);
    GetCapturedStderr();
    EXPECT_EQ(recorded(), "7 7");
}
