#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "log/copy_blocks.h"
#include "log/file_copy.h"
#include "tests/log/log_file_fixture.h"
#include "tests/support/failing_allocation.h"

namespace fs = std::filesystem;
using namespace vel::log;

// The names in an archive with their contents.
static std::string archived(const std::string& archive) {
    const ScratchDirectory out;
    EXPECT_EQ(system(("python3 -m zipfile -e " + archive + " " + out.path().string()).c_str()), 0);
    return listing(out.path());
}

// A handler that captures when an error is logged, in a directory of the test's own. The working
// directory has the files "a" and "b c".
class FileCopyTest : public HandlerTest {
  protected:
    void SetUp() override {
        ToolkitTest::SetUp();
        directory.write("from/a", "alpha");
        directory.write("from/b c", "beta");
        fs::create_directory(place);
        fs::current_path(directory.path() / "from");
    }
    void TearDown() override {
        ToolkitTest::TearDown();
        fs::current_path("/");
    }
    void open_handler(const std::string& properties = "") {
        HandlerTest::open_handler(
            "pmx_ffdc_filecopy_handler",
            "h.listenerNames=next\nnext.className=test_handler\n"
            "h.triggerFilter=ids\nh.baseDir=../base\n"
            "ids.className=pmx_msgidfilter\nids.mode=PASSTHRU\nids.msgIds=*E\n" +
                properties);
    }
    // Logs an event in a millisecond of its own, as no two actions are in one; what is reported.
    std::string reports_of(const char* text = "ABC001E") {
        for (const int64_t now = CxSystemGetTimestamp(); CxSystemGetTimestamp() == now;) continue;
        return report_of(text);
    }
    // What is reported when the files of a list come into a directory, or an archive there.
    static std::string copying(const std::string& list, const std::string& to) {
        return reported([&] { pmxFileCopyHandlerCopyToDir(list.c_str(), to.c_str(), "h"); });
    }
    static std::string archiving(const std::string& list, const std::string& to) {
        return reported([&] {
            pmxFileCopyHandlerCopyToZip("/usr/bin/zip", list.c_str(), 9, to.c_str(), "a.zip", "h");
        });
    }
    // One of the messages PMXFF0062W to PMXFF0065E.
    static std::string message(int number, const std::string& of) {
        static constexpr const char* kTexts[][2] = {
            {"2W Could not find the file ", " to be copied by the file copying handler  h."},
            {"3W The file copying handler ", " could not copy the file  h."},
            {"4E Could not create the zip file ", "."},
            {"5E The specified zip command '", "'. does not exist or cannot be run."}};
        const auto [before, behind] = kTexts[number - 62];
        return std::string("PMXFF006") + before + of + behind;
    }
    // The directory of the day's captures, "": there is none.
    static std::string day() {
        const auto entry = fs::directory_iterator("../base");
        return entry == fs::directory_iterator() ? "" : entry->path().string() + "/";
    }

    const std::string place = directory.path() / "place/";  // captures without an event go there
};

TEST(FileCopyNames, AreUnsafeWithAnyCharacterThatIsNotListed) {
    const std::string listed = "_ \"'%+,-./:=@\\~0123456789";
    EXPECT_TRUE(!pmxIsFilenameUnsafe(nullptr) && !pmxIsFilenameUnsafe(""));
    for (int byte = 1; byte < 256; ++byte) {
        const char text[] = {'a', static_cast<char>(byte), 'Z', '\0'};
        const bool letter = (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
        const bool safe = letter || listed.find(text[1]) != std::string::npos;
        EXPECT_EQ(pmxIsFilenameUnsafe(text), !safe) << byte;
    }
}

TEST_F(FileCopyTest, GivesArchivesAnExtension) {
    open_handler();
    const char* const names[][2] = {
        {"data.ZIP", "data.ZIP"}, {"data", "data.zip"}, {"a.zip/b", "a.zip/b.zip"}, {"", "-"}};
    for (const auto& [name, stored] : names) {
        set("zipFileName", name);
        PmxFileCopyHandlerSetZipFile(handler, nullptr);
        EXPECT_EQ(taken(PmxFileCopyHandlerGetZipFile(handler)), stored);
    }
}

TEST_F(FileCopyTest, KeepsItsZipProgramWhenAnotherIsUnsafeOrMissing) {
    open_handler("h.zipCmdPath=/usr/bin/zip\n");
    directory.write("from/z;", "");
    directory.write("from/z\xC3\xA4", "");
    ASSERT_EQ(mkfifo("pipe", 0700), 0);
    const std::string longer(300, 'x');
    for (const char* path : {"z;", "z\xC3\xA4", "missing", ".", "pipe", "", longer.c_str()}) {
        EXPECT_EQ(report_of("zipCmdPath", path), message(65, path));
        EXPECT_EQ(taken(PmxFileCopyHandlerGetZipCmdPath(handler)), "/usr/bin/zip");
    }
    set("zipCmdPath", "a");
    EXPECT_EQ(taken(PmxFileCopyHandlerGetZipCmdPath(handler)), "a");
}

TEST_F(FileCopyTest, CopiesWhatIsThereAndWarnsOnceOfEachThatIsNot) {
    open_handler("h.filesToCopy=missing  \"b c\" a\n");
    EXPECT_EQ(reports_of("ABC001W"), "") << "this is no trigger";
    EXPECT_EQ(day(), "");
    EXPECT_EQ(reports_of(), message(62, "missing"));
    EXPECT_EQ(listing(day()), "a:alpha b c:beta");
    EXPECT_EQ(recorded(), "next103:ABC001W next103:ABC001E");
    EXPECT_EQ(fs::status(day() + "a").permissions(), fs::perms(0600));
    std::ofstream(day() + "a") << "0123456789";
    EXPECT_EQ(reports_of(), message(62, "missing"));
    EXPECT_EQ(listing(day()), "a:alpha56789 b c:beta") << "a longer older copy keeps its end";
}

TEST_F(FileCopyTest, MakesNothingWhenNoListedFileIsThere) {
    open_handler("h.filesToCopy=missing .\n");
    const std::string none = message(62, "missing") + "|" + message(62, ".");
    EXPECT_EQ(reports_of(), none);
    set("zipFileName", "z");
    EXPECT_EQ(reports_of(), none + "|" + message(65, "NULL"));
    set("zipCmdPath", "/usr/bin/zip");
    EXPECT_EQ(reports_of(), none + "|" + message(64, day() + "/z.zip"));
    EXPECT_EQ(listing(day()), "");
    set("zipFileName", "");
    EXPECT_EQ(reports_of(), none);
    EXPECT_EQ(recorded(), "next103:ABC001E next103:ABC001E next103:ABC001E next103:ABC001E");
}

// It is the one handler that captures when it is switched off.
TEST_F(FileCopyTest, CapturesNothingWithoutSpace) {
    open_handler("h.quotaPolicy=QUOTA_SUSPEND\nh.maxDiskSpace=8\nh.filesToCopy=a \"b c\"\n");
    PmxSetObjectEnabled(handler, 0);
    EXPECT_EQ(reports_of().substr(0, 10), "PMXFF0061E");
    EXPECT_EQ(day(), "");
    set("maxDiskSpace", "9");
    EXPECT_EQ(reports_of(), "");
    EXPECT_EQ(listing(day()), "a:alpha b c:beta");
    EXPECT_EQ(recorded(), "") << "and hands nothing on";
}

TEST_F(FileCopyTest, HasAZipProgramArchiveFilesWhateverTheEnvironmentSays) {
    directory.write("from/-m", "minus");
    open_handler(
        "h.zipCmdPath=/usr/bin/zip\nh.zipFileName=data\n"
        "h.filesToCopy=missing -m \"b c\" a\n");
    setenv("ZIPOPT", "-m", 1);  // would remove what it takes
    setenv("ZIP", "-m", 1);
    EXPECT_EQ(reports_of(), message(62, "missing"));
    EXPECT_EQ(archived(day() + "data.zip"), "-m:minus a:alpha b c:beta");
    EXPECT_EQ(fs::status(day() + "data.zip").permissions(), fs::perms(0600));
    directory.write("from/a", "omega");
    set("filesToCopy", "a");
    EXPECT_EQ(reports_of(), "");
    EXPECT_EQ(archived(day() + "data.zip"), "-m:minus a:omega b c:beta");
    unsetenv("ZIPOPT");
    unsetenv("ZIP");
    EXPECT_EQ(listing("."), "-m:minus a:omega b c:beta");
}

TEST_F(FileCopyTest, ReportsAZipProgramThatCannotRunOnceAndGoesOnOnce) {
    directory.write("from/broken", "#!/missing/interpreter\n");
    directory.write("from/removed", "");
    ASSERT_EQ(chmod("broken", 0700), 0);
    open_handler("h.zipFileName=z\nh.filesToCopy=a\n");
    EXPECT_EQ(reports_of(), "Invalid argument|" + message(65, "NULL"));
    std::string passes;
    for (const std::string program : {"a", "broken", "removed"}) {
        set("zipCmdPath", program);
        if (program == "removed") fs::remove(program);
        EXPECT_EQ(reports_of(),
                  program == "removed" ? message(65, program) : message(64, day() + "/z.zip"));
        std::ofstream("passes", std::ios::app) << getpid() << " ";  // by a second process, too
        EXPECT_EQ(content("passes"), passes += std::to_string(getpid()) + " ");
    }
    EXPECT_EQ(listing(day()), "");
}

TEST_F(FileCopyTest, GivesAZipProgramNoInputAndOpenStandardStreams) {
    directory.write("from/probe", "#!/bin/sh\nreadlink /proc/self/fd/0 /proc/self/fd/2 > seen\n");
    ASSERT_EQ(chmod("probe", 0700), 0);
    open_handler("h.zipFileName=z\nh.zipCmdPath=probe\nh.filesToCopy=a\n");
    const int input = dup(STDIN_FILENO), errors = dup(STDERR_FILENO);
    dup2(STDERR_FILENO, STDIN_FILENO);
    close(STDERR_FILENO);
    write("ABC001E");
    dup2(errors, STDERR_FILENO);
    dup2(input, STDIN_FILENO);
    for (const int file : {input, errors}) close(file);
    EXPECT_EQ(content("seen"), "/dev/null\n/dev/null\n");
}

TEST_F(FileCopyTest, WritesIntoNothingThatIsPlanted) {
    open_handler();
    directory.write("from/a.zip", "alpha");
    const std::string victim = directory.write("victim.zip", "victim"), to = place + "a.zip";
    std::vector<std::string> plants = {"ln -s " + victim, "ln " + victim, "mkfifo", "mkdir"};
    if (geteuid() == 0) plants.emplace_back("install -o 4711 /dev/null");
    for (const std::string& plant : plants) {
        ASSERT_EQ(system((plant + " " + to).c_str()), 0);
        EXPECT_EQ(copying("a.zip", place), message(63, place + "/a.zip"));
        EXPECT_EQ(archiving("a.zip", place), message(64, place + "/a.zip"));
        EXPECT_EQ(content(victim), "victim");
        fs::remove(to);
    }
}

TEST_F(FileCopyTest, CapturesRegularFilesOnlyAndFollowsNoLinkOfSomebodyElse) {
    open_handler();
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    for (const char* name : {"own", "planted"}) fs::create_symlink("a", name);
    std::string list = "pipe /dev/zero own";
    std::string reports = message(62, "pipe") + "|" + message(62, "/dev/zero");
    const bool planted = lchown("planted", 4711, 4711) == 0;
    if (planted) list += " planted", reports += "|" + message(62, "planted");
    EXPECT_EQ(look_at_files(list.c_str()).bytes, planted ? 10 : 5);  // measured without opening
    EXPECT_EQ(copying(list, place), reports);
    EXPECT_EQ(listing(place), "own:alpha");
    EXPECT_EQ(archiving(list, place), reports);
    EXPECT_EQ(archived(place + "a.zip"), "own:alpha");
    pmxFileCopyHandlerCopyToZip("/usr/bin/zip", "a \"b c\"", 1, place.c_str(), "b.zip", "h");
    EXPECT_EQ(archived(place + "b.zip"), "a:alpha") << "as many as were counted";
}

TEST_F(FileCopyTest, CapturesIntoNoDirectoryThatIsMissingOrALink) {
    open_handler();
    fs::create_symlink(place, "link");
    for (const char* to : {"none/", "link", "link/"}) {
        EXPECT_EQ(copying("a", to), "");
        const std::string one = reported([&] { pmxFCHDoFileCopy("a", to, "h"); });
        EXPECT_EQ(one, message(63, std::string(to) + "/a"));
        EXPECT_EQ(archiving("a", to), message(64, std::string(to) + "/a.zip"));
    }
    EXPECT_EQ(listing(place), "");
    // Somebody else could put a link before the zip program there.
    fs::permissions(place, fs::perms(0777));
    EXPECT_EQ(archiving("a", place), message(64, place + "/a.zip"));
    fs::permissions(place, fs::perms(0771));
    if (chown(place.c_str(), 4711, 4711) != 0) return;
    EXPECT_EQ(archiving("a", place), message(64, place + "/a.zip"));
}

TEST_F(FileCopyTest, TakesPathsOf255BytesAndNoneThatEndWithASlash) {
    open_handler();
    const std::string fits(255 - place.size() - 1, 'f'), above = fits + "f", longer(256, 'x');
    directory.write("from/" + fits, "1");
    directory.write("from/" + above, "2");
    EXPECT_EQ(copying(fits + " " + above + " " + longer + " a/", place),
              message(62, longer) + "|" + message(62, "a/") + "|" + message(63, " "));
    EXPECT_EQ(reported([&] { pmxFCHDoFileCopy("a\\", place.c_str(), "h"); }), message(62, "a\\"));
    EXPECT_EQ(listing(place), fits + ":1");
}

TEST_F(FileCopyTest, TellsReadingThatFailsFromWritingThatFails) {
    open_handler();
    EXPECT_EQ(copying("/proc/self/comm", place), "");  // whose size is 0
    EXPECT_NE(listing(place), "comm:");
    const std::string unreadable = "/proc/self/mem";  // nothing is at its beginning
    EXPECT_EQ(copying(unreadable, place), message(62, unreadable));
    directory.write("from/large", std::string(30'000, 'x'));
    {
        const vel::runtime::OpenFile from(::open("large", O_RDONLY));
        const vel::runtime::OpenFile to(::open((place + "part").c_str(), O_WRONLY | O_CREAT, 0600));
        EXPECT_TRUE(copy_blocks(from.get(), to.get(), 10'000).written);
        EXPECT_EQ(fs::file_size(place + "part"), 10'000u) << "as of a file that grows";
    }
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit low{20'000, before.rlim_max};
    const auto old_handler = signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &low), 0);
    const std::string reports = copying("large", place);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, old_handler);
    EXPECT_EQ(reports, message(63, place + "/large"));
    EXPECT_EQ(fs::file_size(place + "large"), 20'000u);
}

TEST_F(FileCopyTest, LivesThroughEachAllocationThatFails) {
    open_handler("h.zipCmdPath=/bin/true\nh.filesToCopy=a \"b c\"\n");
    for (const char* archive : {"", "z"}) {
        PmxFileCopyHandlerSetZipFile(handler, archive);
        reports_of();
        const long blocks = rak_live_blocks();
        for (int n = 1; n < 80; ++n) {
            rak_fail_after(n);
            reports_of();
            rak_fail_after(0);
            EXPECT_EQ(rak_live_blocks(), blocks) << n;
        }
        EXPECT_EQ(listing(day()), "a:alpha b c:beta");
    }
}
