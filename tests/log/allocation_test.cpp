// Every allocation of a toolkit's life fails once: nothing crashes, nothing is left over, and what
// does not need the memory goes on.
#include "tests/log/toolkit_fixture.h"
#include "tests/support/failing_allocation.h"

static void add_listeners_and_change(PmxObject* logger) {
    PmxObject* const filter = PmxGetObject("filter", "pmx_levelfilter");
    PmxAddListener(logger, filter);
    PmxSetObjProp(logger, "description", "described");
    PmxSetObjPropInt(logger, "level", 5);
    PmxSetObjProp(filter, "level", "warn");
    PmxReleaseObject(filter);
}

static void use_messages() {
    PmxI18Msg* const message = PmxAllocI18Msg("cat", 1, 2, "%s");
    PmxAddI18MsgParmString(message, "parameter");
    PmxI18Msg* const copy = PmxCopyI18Msg(message);
    PmxSetI18MsgTxt(copy, "%1$s %1$s");
    for (PmxI18Msg* each : {message, copy}) {
        RakMemoryFree(PmxBindI18Msg(each));
        PmxFreeI18Msg(each);
    }
}

static void use_configurations() {
    PmxObjCfg* const own = PmxAllocObjCfg("a.own");
    PmxSetObjCfgProp(own, "p", "v");
    PmxLogMgrAddCfg(own);
    PmxLogMgrUpdateCfg(own);
    RakMemoryFree(PmxGetObjCfgProp(own, "inherited", nullptr));
    PmxReleaseObjCfg(own);
}

static void log_problem_data() {
    PmxObject* const logger = PmxGetObject("problems", "pmx_pdlogger");
    PmxLogError(logger, "cat", 1, 1, "ABC123I %s", PMX_STRING, "text", PMX_DOUBLE, 1.5, PMX_END);
    PmxReleaseObject(logger);
}

static int live(const std::string& properties) {
    PmxAddHandlerClass("own_class", nullptr, nullptr, nullptr, PmxBasicHandlerFCfgChange, nullptr,
                       nullptr, nullptr);
    const int opened = PmxOpenToolkit(properties.c_str());
    PmxObject* const logger = PmxGetObject("a.logger", nullptr);
    add_listeners_and_change(logger);
    const std::string large(4000, 'x');
    PmxLogError(logger, "cat", 1, 1, "%s", PMX_STRING, "text", PMX_PROPERTY, "server", PMX_STRING,
                large.c_str(), PMX_END);
    PmxLogText(logger, "ABC123E", PMX_PROPERTY, "threadId", PMX_LONG, int64_t{1}, PMX_END);
    PmxLogDebugMin(logger, "file", "function", 1, large.c_str(), PMX_INT, 5, PMX_END);
    RakMemoryFree(PmxGetObjectDesc(logger));
    use_messages();
    use_configurations();
    log_problem_data();
    PmxReleaseObject(logger);
    PmxCloseToolkit();
    return opened;
}

TEST_F(ToolkitTest, LivesThroughEachAllocationThatFails) {
    PmxCloseToolkit();  // and with it the classes of the fixture
    const std::string properties = directory.write(
        "p",
        "a.inherited=1\na.logger.className=pmx_basiclogger\na.logger.listenerNames=con own ids "
        "hvn\n"
        "hvn.className=pmx_hvnhandler\nhvn.hvnLoggerName=a_b\nhvn.IPCID=/\n"
        "con.className=pmx_consolehandler\ncon.formatterName=form\nown.className=own_class\n"
        "ids.className=pmx_msgidfilter\nids.mode=unknown\nids.msgIds=A*W *B\n"
        "ids.msgIdRepeatTime=1\nids.listenerNames=tcon\ntcon.className=pmx_consolehandler\n"
        "tcon.formatterName=trace\ntrace.className=pmx_veltraceformatter\n"
        "form.className=pmx_basicformatter\nform.separator=|\nform.locale=de_DE\n"
        "problems.product=p\nproblems.listenerNames=pcon\npcon.className=pmx_consolehandler\n"
        "pcon.formatterName=xml\nxml.className=pmx_xmlformatter\nxml.singleProduct=true\n");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(live(properties), 1);
    int n = 0;
    bool all_there = false;
    while (!all_there && n < 5000) {
        const long blocks = rak_live_blocks();
        rak_fail_after(++n);
        live(properties);
        void* const block = RakMemoryMalloc(1);  // fails when nothing before it did
        all_there = block == nullptr;
        RakMemoryFree(block);
        rak_fail_after(0);
        EXPECT_EQ(rak_live_blocks(), blocks) << "after allocation " << n;
        EXPECT_FALSE(PmxIsToolkitOpen());
    }
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(all_there);
    EXPECT_GT(n, 100);
}
