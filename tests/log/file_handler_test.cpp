#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "i18n/mab.h"
#include "tests/log/log_file_fixture.h"

namespace fs = std::filesystem;
using vel::log::FileVars;

class FileHandlerTest : public LogFileTest {};

// The parts of any name are the business of fuzz/file_log.cpp, whose corpus is replayed with these
// tests.
TEST_F(FileHandlerTest, ComposesTheNameOfItsPartsAndKeepsADigitApart) {
    log_to("log");
    const std::string here = fs::current_path(), longest = "/" + std::string(255, 'n');
    const std::pair<std::string, std::string> rows[] = {
        {"trace.log", here + "/trace.log"},
        {"v\\l\\trace12.2", "v/l//trace12_.2"},
        {"/v1.d/trace", here + "//v1_.d/trace"},  // the extension is "d/trace"
        {longest, here + "/" + longest},
    };
    for (const auto& [configured, name] : rows) {
        set("fileName", configured);
        EXPECT_EQ(vars().full_name, name);
    }
    const std::string text = "PMXBC0031E Property 'fileName' must be 256 characters or less.";
    EXPECT_EQ(report_of("fileName", longest + "n"), text);
    EXPECT_EQ(report_of("fileName", longest.substr(0, 255) + "1"), text);
    EXPECT_EQ(report_of("lost"), "");
    EXPECT_EQ(report_of("fileName", ""),
              "PMXBC04E Property 'fileName' will be ignored for 'h' because the value is empty or "
              "blank.");
    EXPECT_EQ(vars().full_name, here + "/default.log");
    FileVars parts;
    EXPECT_NE(reported([&] { pmxFHGetFileNameParts(nullptr, &parts); }), "");
    EXPECT_EQ(parts.base_name, nullptr);
    EXPECT_EQ(vel::log::pmxFHTrailingBaseDigit(nullptr), -1);
}

TEST_F(FileHandlerTest, FullFilesGetTheNextNumberAndTheirTrailer) {
    framed = true;
    directory.write("t.log", "old record");
    log_to("t.log", "h.maxFiles=3\nh.maxFileBytes=8\n");
    for (const char* text : {"1234567", "89", "abcdefgh"}) write(text);
    EXPECT_EQ(files(), "t.log:<89abcdefgh t1.log:<1234567> t2.log:old record>");
    write("i");
    std::ofstream(file, std::ios::app) << "by others";
    let_time_pass();  // then their part is seen, too
    write("k");
    EXPECT_EQ(files(), "t.log:<k t1.log:<iby others> t2.log:<89abcdefgh>");
    set("maxFiles", "1");  // then it grows without limit
    write("more than eight");
    write("and more");
    PmxReleaseObject(std::exchange(handler, nullptr));
    PmxReleaseObject(std::exchange(logger, nullptr));
    EXPECT_EQ(content(file), "<k><more than eightand more>");
}

TEST_F(FileHandlerTest, WhatCannotBeRolledIsReportedAndTheFileGoesOn) {
    directory.write("t1.log/in", "");
    directory.write("t.log", "full");
    log_to("t.log", "h.maxFileBytes=4\nh.maxFiles=2\n");
    EXPECT_EQ(report_of("4"), "Directory not empty|Is a directory");
    EXPECT_EQ(content(file), "full4");
    fs::remove_all(directory.path() / "t1.log");
    EXPECT_EQ(report_of("5"), "");
}

TEST_F(FileHandlerTest, EventsGoOnToItsListenersUnlessItIsDisabled) {
    log_to("t.log");
    PmxAddListener(handler, get("recorder", "test_handler"));
    write("1");
    PmxSetObjectEnabled(handler, 0);
    write("2");
    EXPECT_EQ(recorded() + content(file), "recorder103:11");
}

TEST_F(FileHandlerTest, OfVeryManyNumbersThoseInUseAreTried) {
    for (const char* name : {"t1.log", "t3.log", "t2147483645.log", "t2147483646.log", "t03.log",
                             "t5.txt", "t5log", "t99999999999.log", "u1.log"}) {
        directory.write(name, name);
    }
    directory.write("t.log", "full");
    log_to("t.log", "h.maxFiles=2147483647\nh.maxFileBytes=1\n");
    write("new");
    EXPECT_EQ(files(),
              "t.log:new t03.log:t03.log t1.log:full t2.log:t1.log t2147483646.log:t2147483645.log "
              "t4.log:t3.log t5.txt:t5.txt t5log:t5log t99999999999.log:t99999999999.log "
              "u1.log:u1.log");
}

// The directory is watched, but in the child of a fork or behind a link, where the file is looked
// at each time.
TEST_F(FileHandlerTest, AFileThatIsNoLongerInItsPlaceIsOpenedAnewAtTheNextRecord) {
    log_to("d/t.log");
    const fs::path elsewhere = directory.path() / "elsewhere";  // so the directory tells once
    const auto moves = [&](const std::string& before) {
        fs::rename(file, elsewhere);
        write("2");
        EXPECT_EQ(content(file), "2");
        write_until_watched();
        fs::rename(elsewhere, file);
        write("3");
        EXPECT_EQ(content(file), before + "3");
    };
    write("1");
    write_until_watched();
    moves("1");
    write_until_watched();
    const pid_t child = fork();
    if (child == 0) {
        EXPECT_EQ(vars().watch.directory, -1);
        moves("13");
        fs::remove(file);
        _exit(HasFailure());
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    write("4");
    EXPECT_EQ(content(file), "4");

    set("fileName", directory.path() / "link");
    fs::create_symlink(file, directory.path() / "link");
    write("7");
    EXPECT_EQ(vars().watch.directory, -1);
    fs::remove(file);
    write("8");
    EXPECT_EQ(content(file), "8");
    vel::log::FileWatch watch;
    vel::log::watch_directory(&watch, "/proc");  // which does not tell
    EXPECT_EQ(watch.directory, -1);

    // The last "." may stand in the directory, of which then only a part is known as such.
    directory.write("l.d/trace", "");
    set("fileName", directory.path() / "l.d" / "trace");
    write("9");
    fs::remove(directory.path() / "l.d" / "trace");
    write("10");
    EXPECT_EQ(content(directory.path() / "l.d" / "trace"), "10");
}

TEST_F(FileHandlerTest, AWatchOutlivesNeitherItsDirectoryNorIsSharedWithOthersToTheirLoss) {
    log_to("d/t.log");
    const fs::path moved = directory.path() / "moved";
    write("1");
    write_until_watched();
    fs::rename(file.parent_path(), moved);
    write("2");
    EXPECT_EQ(content(moved / "t.log") + content(file), "12");
    PmxObject* const other = get("other", "pmx_filehandler");
    PmxSetObjProp(other, "fileName", (file.parent_path() / "o.log").c_str());
    PmxHandlerSetFormatter(other, get("f"));
    PmxAddListener(logger, other);
    write("3");
    for (int i = 0; i < 20; ++i) write("");
    write_until_watched();
    PmxSetObjProp(other, "fileName", (moved / "o.log").c_str());  // ends its watch
    fs::remove(file);
    write("4");
    EXPECT_EQ(content(file) + content(moved / "o.log"), "44");
}

TEST_F(FileHandlerTest, TextsGoIntoTheFileInItsEncoding) {
    mab_set_dir(VEL_CODESET_DIR);
    log_to("t.log", "h.fileEncoding=CP1047\n");
    write("Hi\n");
    EXPECT_EQ(content(file), "\xC8\x89%");
    EXPECT_EQ(report_of("fileEncoding", "none"),
              "PMXFH0036W Could not load codeset none. Logged text will be stored in UTF-8 "
              "encoding instead.");
    write("\u00fc");
    EXPECT_EQ(content(file), "\xC8\x89%\u00fc");
}

TEST_F(FileHandlerTest, FilesAndDirectoriesGetTheirPermissions) {
    log_to("a/b/t.log", "h.filePermission=0640\nh.dirPermission=750\n");
    write("1");
    const auto mode = [](const fs::path& path) { return unsigned(fs::status(path).permissions()); };
    EXPECT_EQ(mode(file), 0640);
    EXPECT_EQ(mode(file.parent_path()), 0750);
    EXPECT_EQ(mode(file.parent_path().parent_path()), 0750);
    for (const char* text : {"8", "06400", "0640 ", "-1", "rw"}) {
        EXPECT_EQ(report_of("dirPermission", text),
                  std::string("PMXMP0074W The value ") + text +
                      " is not a valid file permission mask for file handler  h. Please specify a "
                      "four-digit octal value (with a leading zero).");
    }
    EXPECT_EQ(vars().dir_permission, 0750u);
}

TEST_F(FileHandlerTest, NumbersThatCannotBeAreReported) {
    log_to("t.log");
    const struct {
        const char *property, *value;
        int32_t FileVars::*slot;
        int32_t taken;
        const char* report;
    } rows[] = {
        {"maxFiles", "0", &FileVars::max_files, 3,
         "PMXFH0077W Property 'maxFiles' will be ignored for file handler h, because the value  0 "
         "is not greater than zero."},
        {"maxFiles", "many", &FileVars::max_files, 3, ""},
        {"maxFileBytes", "78", &FileVars::max_file_bytes, 78, ""},
        {"maxFiles", "1", &FileVars::max_files, 1, ""},
        {"maxFileBytes", "-5", &FileVars::max_file_bytes, 1024,
         "PMXFH0078W Property 'maxFileBytes' will be ignored for file handler 'h', because the "
         "value -5 is not greater than zero."},
        {"maxFileBytes", "77", &FileVars::max_file_bytes, 77,
         "PMXFH0079W Property 'maxFileBytes' will be ignored for file handler 'h', because "
         "property 'maxFiles' is set to 1."},
        {"maxFileBytes", "x", &FileVars::max_file_bytes, 1024, ""},
        {"maxFileSize", "x", &FileVars::max_file_bytes, 1024, ""},
        {"MPFileSemKey", "5", &FileVars::sem_key, 5, ""},
        {"MPFileSemKey", "x", &FileVars::sem_key, 0, ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(report_of(row.property, row.value), row.report);
        EXPECT_EQ(vars().*row.slot, row.taken) << row.property << row.value;
    }
}

TEST_F(FileHandlerTest, BeginsAnewWhenItDoesNotAppend) {
    directory.write("t.log", "old ");
    log_to("t.log", "h.appending=false\n");
    for (const char* text : {"1", "2"}) write(text);
    EXPECT_EQ(content(file), "12");
}

// Whether errors are reported follows "appending".
TEST_F(FileHandlerTest, LogInternalErrsReadsAnotherProperty) {
    log_to("t.log", "h.appending=true\n");
    set("logInternalErrs", "false");
    EXPECT_NE(report_of("filePermission", "x"), "");
    set("appending", "false");
    set("logInternalErrs", "true");
    EXPECT_EQ(report_of("filePermission", "x"), "");
    EXPECT_EQ(report_of("fileName", std::string(257, 'n')), "");
    EXPECT_EQ(report_of("fileEncoding", "none"), "");
}

TEST_F(FileHandlerTest, ChangesOfMostPropertiesCloseTheFile) {
    log_to("t.log");
    write("");
    PmxFileHandlerFCfgChange(handler, "filePermission");  // which is not set
    set("logInternalErrs", "on");
    EXPECT_TRUE(vars().is_open);
    for (const char* property :
         {"maxFileSize", "maxFileBytes", "maxFiles", "fileName", "appending", "filePermission",
          "dirPermission", "fileEncoding", "MPFileSemKey"}) {
        write("");
        reported([&] { set(property, property == std::string("fileName") ? file : "0750"); });
        EXPECT_FALSE(vars().is_open) << property;
    }
}

TEST_F(FileHandlerTest, NoDescriptorIsLeftOverOrInherited) {
    const auto count = [](int flag) {  // with no other one
        int found = 0;
        for (int i = 0; i < 256; ++i) found += (fcntl(i, F_GETFD) & ~flag) == 0;
        return found;
    };
    const int inherited = count(0), before = count(FD_CLOEXEC);
    log_to("t.log", "h.maxFileBytes=1\nh.maxFiles=2000\n");
    for (int i = 0; i < 3; ++i) write("1");
    set("maxFileBytes", "1000");
    write("1");
    write_until_watched();
    EXPECT_EQ(count(0), inherited);
    PmxCloseToolkit();
    EXPECT_EQ(count(FD_CLOEXEC), before);
}

// As daemons do it: the numbers go to other files then.
TEST_F(FileHandlerTest, GoesOnWhenTheProgramHasClosedWhatItHadNotOpened) {
    log_to("t.log");
    write("1");
    const auto lose_one = [this] { close(vars().file), write("2"); };
    EXPECT_EQ(reported(lose_one), "Bad file descriptor");
    write("3");
    write_until_watched();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(::write(ends[1], "precious", 8), 8);
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        if (fs::read_symlink(entry) != "anon_inode:inotify") continue;
        dup2(ends[0], std::stoi(entry.path().filename()));
    }
    dup2(ends[1], vars().file);
    let_time_pass();
    write("4");
    EXPECT_EQ(content(file), "134");
    fs::remove(file);
    write("5");
    EXPECT_EQ(content(file), "5");
    char kept[16] = {};
    EXPECT_EQ(read(ends[0], kept, sizeof kept), 8);
    EXPECT_STREQ(kept, "precious");
    dup2(ends[1], vars().file);
    const int number = vars().file;
    set("maxFiles", "2");
    EXPECT_EQ(fcntl(number, F_GETFD), 0);  // still open
}

TEST_F(FileHandlerTest, WhatCannotBeWrittenIsReportedOnceForAnEvent) {
    log_to("t.log");
    const fs::path here = directory.path();
    ASSERT_EQ(mkfifo((here / "pipe").c_str(), 0600), 0);
    fs::create_directory(here / "folder");
    directory.write("file", "");
    const struct {
        fs::path name;
        std::string text, report;
    } rows[] = {
        {"/dev/full", "1", "No space left on device"},
        {"/dev/null", "1", ""},
        {here / "pipe", "1", ""},
        {here / "pipe", std::string(1 << 20, 'x'), "Resource temporarily unavailable"},
        {here / "file" / "t.log", "1",
         "PMXFH0032E Property 'fileName' must be a valid file path for this platform, but value '" +
             (here / "file").string() + "' was given.|Not a directory"},
        {here / "folder", "1", "Is a directory"},
    };
    for (const auto& row : rows) {
        set("fileName", row.name);
        EXPECT_EQ(report_of(row.text), row.report);
    }
    // A handler of the error logger does not hear of its own failures.
    set("fileName", "/dev/full");
    PmxAddListener(get("pmxlog.errorLogger"), handler);
    EXPECT_EQ(report_of("1"), "No space left on device");
    set("fileName", file);
    EXPECT_EQ(report_of("maxFiles", "0").substr(0, 10), "PMXFH0077W");
    EXPECT_EQ(content(file), "none");
}

TEST_F(FileHandlerTest, AnotherUsersLinkIsNotFollowed) {
    log_to("t.log");
    directory.write("target", "precious");
    fs::create_symlink(directory.path() / "target", file);
    if (lchown(file.c_str(), 12345, 12345) != 0) GTEST_SKIP() << "only root can plant one";
    EXPECT_EQ(report_of("1"), "Too many levels of symbolic links");
    EXPECT_EQ(content(directory.path() / "target"), "precious");
}
