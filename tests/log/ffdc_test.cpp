#include "log/ffdc.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <sstream>

#include "log/event.h"
#include "log/file_tree.h"
#include "tests/log/log_file_fixture.h"
#include "tests/support/failing_allocation.h"

namespace fs = std::filesystem;
using namespace vel::log;
using vel::runtime::Owned;

// What happens to each name below a directory as soon as it has been looked at.
static std::function<void(const char* name, struct stat& status)> when_seen;

extern "C" int __real_fstatat(int directory, const char* name, struct stat* status, int flags);
extern "C" int __wrap_fstatat(int directory, const char* name, struct stat* status, int flags) {
    const int result = __real_fstatat(directory, name, status, flags);
    if (result == 0 && when_seen) when_seen(name, *status);
    return result;
}

class FFDCTest : public HandlerTest {
  protected:
    void SetUp() override {
        ToolkitTest::SetUp();
        // The level of each report, its identifier and what stands in for "%" in its text.
        const auto note = [](PmxObject*, PmxEvent* event, uint32_t) {
            log.push_back(std::to_string(pmxIntlGetEventLevel(event)));
            std::istringstream words(taken(pmxIntlBindEventMsg(event, pmxIntlBindI18Msg)));
            for (std::string word; words >> word;) {
                word.erase(word.find_last_not_of(",.") + 1);
                const bool varies = isdigit(word[0]) || strchr("-/", word[0]) || word == "ffdc";
                if (varies || word.rfind("PMX", 0) == 0) log.push_back(word);
            }
        };
        PmxAddHandlerClass("reports", nullptr, nullptr, nullptr, nullptr, note, nullptr, nullptr);
        ASSERT_EQ(open("filter.className=pmx_levelfilter\nfilter.level=ERROR\n"), 1);
        PmxSetObjectEnabled(get("pmxlog.stderrHandler"), 0);
        PmxAddListener(get("pmxlog.errorLogger"), get("reports", "reports"));
        handler = get("ffdc", "pmx_ffdc_trigger_handler");
        fs::create_directory(base);
    }
    void TearDown() override {
        when_seen = nullptr;
        ToolkitTest::TearDown();
    }
    void set_base(const char* max_bytes) {
        set("baseDir", base);
        set("maxDiskSpace", max_bytes);
    }
    std::string state() {
        std::ostringstream all;
        all << taken(PmxFFDCTriggerHandlerGetBaseDir(handler)) << ' '
            << PmxFFDCTriggerHandlerGetMaxDisk(handler) << ' '
            << taken(PmxFFDCTriggerHandlerGetFilterName(handler)) << ' '
            << PmxFFDCTriggerHandlerGetInterval(handler) << ' '
            << taken(PmxFFDCTriggerHandlerGetQuotaPolicy(handler)) << ' '
            << PmxFFDCTriggerHandlerGetFirstWarning(handler) << ' '
            << PmxFFDCTriggerHandlerGetSecondWarning(handler) << ' '
            << ffdc_vars(handler)->warn_on_disk_space;
        return all.str();
    }
    static auto event(int64_t time, int32_t level = PMX_ERROR) {
        Owned<PmxEvent, PmxFreeEvent> made(make_event(level, "text", PMX_END));
        made->time = time;
        return made;
    }
    int acts(int64_t time, int32_t level = PMX_ERROR) {
        return pmxShouldFFDCActionOccur(handler, event(time, level).get());
    }
    std::string capture_directory(int64_t time) {
        const auto made = event(time);
        const std::string path = taken(pmxMakeFFDCDir(handler, made.get()));
        EXPECT_EQ(taken(PmxGetEventProp(made.get(), "ffdcDir", nullptr)), path);
        return path;
    }
    void write(const fs::path& name, size_t size) {
        directory.write("base" / name, std::string(size, 'x'));
    }
    int available(int64_t needed) { return pmxIsFFDCSpaceAvailable(handler, needed); }
    int64_t used() { return pmxCountFFDCSpaceUsed(base.c_str()); }

    const fs::path base = directory.path() / "base";
};

TEST_F(FFDCTest, ReadsEachKeyAsItsTypeAndLeavesWhatIsNoValue) {
    EXPECT_EQ(state(), "- 10485760 - 0 QUOTA_AUTODELETE 0.75 0.9 0");
    const std::string whole = "/w/x 9223372036854774784 f 7 QUOTA_SUSPEND 0.25 0.5 1";
    const struct {
        const char *key, *valid;
        std::vector<const char*> invalid;
    } rows[] = {
        {"baseDir", "\\w/x", {}},
        {"maxDiskSpace", "9223372036854774784", {"0", "x", "nan", "9223372036854775808"}},
        {"triggerFilter", "f", {}},
        {"triggerRepeatTime", "7", {"0", "-7", "", "1e300"}},
        {"quotaPolicy", "QUOTA_SUSPEND", {"quota_ignore", "QUOTA_IGNORE ", ""}},
        {"firstWarning", "0.25", {"0", "1", "nan", "x"}},
        {"secondWarning", "0.5", {"0.0", "1", "inf", ""}},
        {"warnOnDiskSpace", "1", {"x", ""}},
    };
    for (const auto& row : rows) set(row.key, row.valid);
    EXPECT_EQ(state(), whole);
    for (const auto& row : rows) {
        for (const char* value : row.invalid) {
            set(row.key, value);
            EXPECT_EQ(state(), whole) << row.key << " " << value;
        }
    }
    // The switch is on for what is 1 without its fraction.
    for (const auto& [value, on] : {std::pair("2", false), {"1.9", true}, {"0.9", false}}) {
        set("warnOnDiskSpace", value);
        EXPECT_EQ(ffdc_vars(handler)->warn_on_disk_space, on) << value;
    }
    const std::string longest(256, 'd');
    set("baseDir", longest + "e");
    EXPECT_EQ(taken(PmxFFDCTriggerHandlerGetBaseDir(handler)), longest);
    set("formatterName", "f");  // as any handler
    EXPECT_EQ(recorded(), "6000 PMXBC0063W");
}

TEST_F(FFDCTest, LooksForTheFilterWheneverItOpens) {
    PmxFFDCTriggerHandlerFOpen(handler);
    EXPECT_EQ(recorded(), "6000 PMXFF0011E ffdc 6000 PMXFF0012E ffdc");
    set("triggerFilter", "filter");
    set("baseDir", base / "a/b");
    PmxFFDCTriggerHandlerFOpen(handler);  // it is open
    EXPECT_EQ(PmxFFDCTriggerHandlerGetFilter(handler), nullptr);
    PmxFFDCTriggerHandlerFClose(handler);
    PmxFFDCTriggerHandlerFOpen(handler);
    PmxObject* const filter = PmxFFDCTriggerHandlerGetFilter(handler);
    EXPECT_EQ(filter, get("filter"));
    for (const char* made : {"a", "a/b"})
        EXPECT_EQ(fs::status(base / made).permissions(), fs::perms(0771));
    PmxFFDCTriggerHandlerFClose(handler);
    EXPECT_EQ(PmxFFDCTriggerHandlerGetFilter(handler), nullptr);
    for (int i = 0; i < 2; ++i) PmxFFDCTriggerHandlerSetFilter(handler, filter);
    PmxFFDCTriggerHandlerSetFilter(handler, nullptr);
    set("triggerFilter", "unknown");
    PmxFFDCTriggerHandlerFOpen(handler);  // one that is held is not looked for
    EXPECT_EQ(PmxFFDCTriggerHandlerGetFilter(handler), filter);
    EXPECT_EQ(recorded(), "");
}

TEST_F(FFDCTest, ActsWhenTheFilterSaysSoAndTheIntervalIsOver) {
    EXPECT_EQ(acts(1), 0);  // there is no filter
    PmxAddFilterClass(
        "two", nullptr, nullptr, nullptr, nullptr, nullptr, [](PmxObject*, PmxEvent*) { return 2; },
        nullptr);
    for (PmxObject* other : {get("two", "two"), handler}) {
        PmxFFDCTriggerHandlerSetFilter(handler, other);
        EXPECT_EQ(acts(1), 0);
    }
    PmxFFDCTriggerHandlerSetFilter(handler, get("filter"));
    EXPECT_EQ(acts(0) + acts(0) + acts(5), 3);  // the time 0 is that of no action
    EXPECT_EQ(acts(5) + acts(4), 0);            // without an interval it is one a millisecond
    const struct {
        int64_t interval, time;
        int32_t level;
        int acts;
    } rows[] = {
        {1000, 1005, PMX_ERROR, 0},           {1000, 1006, PMX_WARN, 0},
        {1000, 1006, PMX_FATAL, 1},           {1000, 2006, PMX_ERROR, 0},
        {1000, 2007, PMX_ERROR, 1},           {1000, -5, PMX_ERROR, 0},
        {INT64_MAX, INT64_MAX, PMX_ERROR, 0},
    };
    for (const auto& row : rows) {
        PmxFFDCTriggerHandlerSetInterval(handler, row.interval);
        EXPECT_EQ(acts(row.time, row.level), row.acts) << row.time;
    }
}

TEST_F(FFDCTest, CapturesTheEventsOfADayInOneDirectory) {
    constexpr int64_t kDay = 86'400'000, kNoon = 1'700'000'000'000;
    EXPECT_EQ(capture_directory(kNoon), "-");  // there is no base directory
    set_base("1");
    for (const int64_t time : {kNoon, kNoon + kDay, int64_t{-1}}) {
        char date[64];
        const time_t second = time < 0 ? -1 : time / 1000;
        strftime(date, sizeof date, "%Y.%m.%d", localtime(&second));
        EXPECT_EQ(capture_directory(time), base.string() + "/" + date + "/");
        EXPECT_EQ(fs::status(base / date).permissions(), fs::perms(0771));
    }
    for (const int64_t time : {253'402'300'800'000 + kDay, INT64_MAX})  // from the year 10000 on
        EXPECT_EQ(capture_directory(time), "-");
    const auto other = event(kNoon);
    PmxSetEventProp(other.get(), "ffdcDir", "/o/");
    EXPECT_EQ(taken(pmxMakeFFDCDir(handler, other.get())), "/o/");
}

TEST_F(FFDCTest, AnswersByThePolicyWhenSpaceRunsOutEvenBeyondTheLargestNumber) {
    EXPECT_EQ(pmxCountFFDCSpaceUsed(nullptr), 0);
    EXPECT_EQ(pmxCountFFDCSpaceUsed((base / "none").c_str()), 0);
    set_base("100");
    write("a/f", 80);
    EXPECT_EQ(available(20), 1);
    set("quotaPolicy", "QUOTA_IGNORE");
    EXPECT_EQ(available(21), 1);
    EXPECT_EQ(recorded(), "");
    set("quotaPolicy", "QUOTA_SUSPEND");
    EXPECT_EQ(available(INT64_MAX), 0);
    EXPECT_EQ(recorded(), "6000 PMXFF0061E " + base.string() + " 80 ffdc 100");
    EXPECT_EQ(used(), 80);
    set("quotaPolicy", "QUOTA_AUTODELETE");
    for (int i = 0; i < 2; ++i) EXPECT_EQ(available(101), 1);  // though that never fits
    EXPECT_EQ(used(), 0);
    EXPECT_EQ(recorded(), "");  // warnings are off
    for (const char* name : {"f", "g"}) write(name, 1);
    when_seen = [](const char*, struct stat& status) { status.st_size = INT64_MAX; };
    set("quotaPolicy", "QUOTA_SUSPEND");
    PmxFFDCTriggerHandlerSetMaxDisk(handler, INT64_MAX);
    EXPECT_EQ(available(0) * 2 + available(1), 2);  // where the sum ends
}

TEST_F(FFDCTest, WarnsWithThePercentageOfTheOtherLimitAnd1024TimesTheMaximumIn32Bits) {
    set_base("100");
    set("quotaPolicy", "QUOTA_IGNORE");
    set("secondWarning", "0.5");
    write("f", 60);
    const auto warning = [this](int64_t max, int64_t needed) {
        PmxFFDCTriggerHandlerSetMaxDisk(handler, max);
        EXPECT_EQ(available(needed), 1);
        return recorded();
    };
    EXPECT_EQ(warning(100, 1), "");  // they are off
    set("warnOnDiskSpace", "1");
    EXPECT_EQ(warning(121, 1), "");
    EXPECT_EQ(warning(120, 1000), "5000 PMXFF0060W 75.00 122880 60 1000 ffdc");
    EXPECT_EQ(warning(80, 1), "5000 PMXFF0060W 50.00 81920 60 1 ffdc");
    PmxFFDCTriggerHandlerSetFirstWarning(handler, 1e-300);
    const std::pair<int64_t, std::string> rows[] = {
        {10'485'760, "-2147483648"}, {int64_t{1} << 22, "0"}, {INT64_MAX - 1, "-2048"}};
    for (const auto& [max, limit] : rows) {
        EXPECT_EQ(warning(max, int64_t{5} << 31),
                  "5000 PMXFF0060W 50.00 " + limit + " 60 -2147483648 ffdc");
    }
}

TEST_F(FFDCTest, TellsOfACleanUpAndThatItFailed) {
    set_base("100");
    set("warnOnDiskSpace", "1");
    set("firstWarning", "0.8");
    write("f", 70);
    const std::string name(100, 'd'), in_base = base.string();
    write(fs::path(name) / name / name, 25);  // too long a path to be deleted
    EXPECT_EQ(available(10), 1);
    EXPECT_EQ(recorded(), "5000 PMXFF0060W 90.00 102400 95 10 ffdc 5000 PMXFF0015I " + in_base +
                              " 80.00 100 15 ffdc");
    write(fs::path(name) / name / name, 82);
    EXPECT_EQ(available(20), 0);
    EXPECT_EQ(recorded(), "5000 PMXFF0060W 90.00 102400 82 20 ffdc 5000 PMXFF0015I " + in_base +
                              " 80.00 100 2 ffdc 5000 PMXFF0014W " + in_base +
                              " 80.00 102400 ffdc");
    EXPECT_EQ(used(), 82);
}

TEST_F(FFDCTest, DeletesTheNewestFilesFirstUntilNothingIsInExcess) {
    set_base("100");
    for (const char* name : {"3", "sub/5", "4", "sub/x/2", "1"}) write(name, 20);
    when_seen = [](const char* name, struct stat& status) {
        status.st_ctim.tv_sec = 1000 + strtol(name, nullptr, 10);
        status.st_mtim.tv_sec = status.st_atim.tv_sec = -status.st_ctim.tv_sec;
    };
    EXPECT_EQ(pmxFFDCCleanup(handler), 1);  // 25 are in excess
    for (const char* kept : {"1", "sub/x/2", "3"}) EXPECT_TRUE(fs::exists(base / kept)) << kept;
    for (const auto& [max, left] : {std::pair("80", 60), {"79", 40}}) {  // none and one in excess
        set("maxDiskSpace", max);
        EXPECT_EQ(pmxFFDCCleanup(handler), 1);
        EXPECT_EQ(used(), left);
    }
    int looks = 0;
    when_seen = [&](const char*, struct stat& status) {
        if (S_ISREG(status.st_mode) && ++looks == 5) status.st_mode = S_IFDIR;  // after two walks
    };
    set("maxDiskSpace", "27");
    EXPECT_EQ(pmxFFDCCleanup(handler), 0) << "the file cannot be removed";
    EXPECT_EQ(used(), 40);
}

// What a tree is made of is the business of fuzz/capture_trees.cpp, whose corpus is replayed with
// these tests.
TEST_F(FFDCTest, LeavesATreeByNoLinkThatTakesThePlaceOfADirectory) {
    directory.write("out/f", "victim");
    write("sub/f", 30);
    const std::string found = base / "sub/f";
    fs::rename(base / "sub", base / "moved");
    fs::create_symlink(directory.path() / "out", base / "sub");
    EXPECT_FALSE(remove_from_tree(base.c_str(), found.c_str()));
    EXPECT_FALSE(remove_from_tree(base.c_str(), (base / "sub").c_str()));
    fs::create_symlink(base, directory.path() / "planted");
    if (lchown((directory.path() / "planted").c_str(), 4711, 4711) == 0) {
        PmxFFDCTriggerHandlerSetMaxDisk(handler, 1);
        set("baseDir", directory.path() / "planted/");
        EXPECT_EQ(pmxFFDCCleanup(handler), 1);
        EXPECT_EQ(capture_directory(1), "-");
    }
    EXPECT_EQ(used(), 30);
    EXPECT_TRUE(fs::exists(directory.path() / "out/f"));
}

// Above a directory that was moved lies another one than that from which it was entered.
TEST_F(FFDCTest, EndsAWalkWhoseDirectoryIsMovedAway) {
    for (const char* name : {"a", "b"}) {
        write(fs::path(name) / name, 1);
        directory.write(fs::path("out") / name / "victim", std::string(50, 'v'));
    }
    when_seen = [&](const char* name, struct stat& status) {
        if (!S_ISREG(status.st_mode) || fs::exists(directory.path() / "out/moved")) return;
        fs::rename(base / name, directory.path() / "out/moved");
    };
    EXPECT_EQ(used(), 1);
}

TEST_F(FFDCTest, WalksATreeOfAnyDepthWithFewDescriptors) {
    constexpr int kDepth = 300;
    int parent = ::open(base.c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < kDepth; ++i) {
        mkdirat(parent, "d", 0700);
        ::close(openat(parent, "f", O_CREAT | O_WRONLY, 0600));
        ::close(std::exchange(parent, openat(parent, "d", O_RDONLY | O_DIRECTORY)));
    }
    ::close(parent);
    when_seen = [](const char*, struct stat& status) { status.st_size = 2; };
    rlimit usual{};
    getrlimit(RLIMIT_NOFILE, &usual);
    const rlimit few{100, usual.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    EXPECT_EQ(used(), 2 * kDepth);
    setrlimit(RLIMIT_NOFILE, &usual);
}

TEST_F(FFDCTest, TellsThatThereIsNoMemoryForTheList) {
    for (int i = 0; i < 40; ++i) write(std::string(20, 'd') + std::to_string(i) + "/f", 1);
    for (int n = 1; n <= 4; ++n) {
        FileDataList files;
        const FailingAllocation failing(n);
        EXPECT_EQ(pmxFindAllFileData(base.c_str(), files), 0) << n;
    }
}
