#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "i18n/mab.h"
#include "tests/log/log_file_fixture.h"

namespace fs = std::filesystem;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using vel::log::FileVars;

class FileHandlerTest : public LogFileTest {};

TEST_F(FileHandlerTest, ComposesTheNameOfItsParts) {
    log_to("log");
    const std::string here = fs::current_path();
    const std::string longest = "/" + std::string(255, 'n');
    const struct {
        std::string configured, name;
    } rows[] = {
        {"trace.log", here + "/trace.log"},
        {"/v/l/trace.log", "/v/l//trace.log"},
        {"v\\l\\trace", "v/l//trace"},
        {"/v/trace1.log", "/v//trace1_.log"},
        {"/v/trace12", "/v//trace12_"},
        {"/v/trace1.2", "/v//trace1_.2"},
        {"/x.log", here + "//x.log"},             // not below the root directory
        {"/v/l.d/trace", "/v//l.d/trace"},        // the extension is "d/trace"
        {"/v1.d/trace", here + "//v1_.d/trace"},  // and the digit stands before it
        {".log", here + "/.log"},
        {"1.log", here + "/1_.log"},
        {"/", here + "//"},
        {"..", here + "/.."},
        {"v/trace.", "v//trace."},
        {"/v" + longest.substr(2), here + "//v" + longest.substr(2)},
    };
    for (const auto& row : rows) {
        set("fileName", row.configured);
        EXPECT_EQ(vars().full_name, row.name);
    }
    const std::string text = "PMXBC0031E Property 'fileName' must be 256 characters or less.";
    EXPECT_EQ(reported([&] { set("fileName", longest + "n"); }), text);
    EXPECT_EQ(reported([&] { set("fileName", longest.substr(0, 255) + "1"); }), text);
    EXPECT_EQ(reported([&] { write("lost"); }), "");
    EXPECT_EQ(reported([&] { set("fileName", ""); }),
              "PMXBC04E Property 'fileName' will be ignored for 'h' because the value is empty or "
              "blank.");
    EXPECT_EQ(vars().full_name, here + "/default.log");
}

TEST_F(FileHandlerTest, NumbersAreTakenOffNamesThatHaveThem) {
    FileVars parts;
    for (const char* name : {"/v/trace12.log", "/v/trace99999999999.log"}) {
        pmxFHGetFileNameParts(name, &parts);
        const int32_t number = parts.start_index;
        EXPECT_EQ(std::string(parts.dir_part) + "," + parts.base_name + "," + parts.extension,
                  "/v,/trace,log");
        EXPECT_EQ(number, name[9] == '2' ? 12 : 0);
    }
    pmxFHGetFileNameParts(nullptr, &parts);
    EXPECT_EQ(parts.base_name, nullptr);
    EXPECT_EQ(vel::log::pmxSetFileNameParts("d", parts.base_name, 1, "e"), nullptr);
    EXPECT_EQ(taken(vel::log::pmxSetFileNameParts(nullptr, "b", -1, nullptr)), "b-1");
    EXPECT_EQ(vel::log::pmxFHTrailingBaseDigit(nullptr), -1);
    EXPECT_EQ(vel::log::pmxFHTrailingBaseDigit(""), -1);
    EXPECT_EQ(vel::log::pmxFHTrailingBaseDigit("ab7.c"), 2);
}

TEST_F(FileHandlerTest, FullFilesGetTheNextNumber) {
    framed = true;
    log_to("t.log", "h.maxFiles=3\nh.maxFileBytes=8\n");
    for (const char* text : {"1234567", "89", "abcdefgh", "i", "k"}) write(text);
    EXPECT_EQ(files(), "t.log:<ik t1.log:<89abcdefgh> t2.log:<1234567>");
    write("lmnopqr");
    write("s");
    EXPECT_EQ(files(), "t.log:<s t1.log:<iklmnopqr> t2.log:<89abcdefgh>");
    PmxReleaseObject(std::exchange(handler, nullptr));
    PmxReleaseObject(std::exchange(logger, nullptr));
    EXPECT_EQ(content(file), "<s>");
}

TEST_F(FileHandlerTest, WhatCannotBeRolledIsReportedAndTheFileGoesOn) {
    directory.write("t1.log/in", "");
    directory.write("t.log", "full");
    log_to("t.log", "h.maxFileBytes=4\nh.maxFiles=2\n");
    EXPECT_EQ(reported([&] { write("4"); }), "Directory not empty|Is a directory");
    EXPECT_EQ(content(file), "full4");
    fs::remove_all(directory.path() / "t1.log");
    EXPECT_EQ(reported([&] { write("5"); }), "");
}

TEST_F(FileHandlerTest, EventsGoOnToItsListenersUnlessItIsDisabled) {
    log_to("t.log");
    PmxAddListener(handler, get("recorder", "test_handler"));
    write("1");
    PmxSetObjectEnabled(handler, 0);
    write("2");
    EXPECT_EQ(recorded() + content(file), "recorder103:11");
}

TEST_F(FileHandlerTest, AFileThatIsFullAlreadyIsRolledWithItsTrailer) {
    framed = true;
    directory.write("t.log", "old record");
    log_to("t.log", "h.maxFileBytes=10\nh.maxFiles=2\n");
    write("new");
    EXPECT_EQ(files(), "t.log:<new t1.log:old record>");
    std::ofstream(file, std::ios::app) << "by others";
    let_time_pass();  // then their part is seen, too
    write("new");
    EXPECT_EQ(files(), "t.log:<new t1.log:<newby others>");
    set("maxFiles", "1");  // then it grows without limit
    write("much more than ten");
    write("and more");
    EXPECT_EQ(content(file), "<new><much more than tenand more");
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
    framed = true;
    log_to("t.log", "h.maxFileBytes=1000\n");
    const fs::path aside = directory.path() / "aside";
    const auto moves = [&] {
        fs::remove(file);
        write("1");
        EXPECT_EQ(content(file), "<1");
        write_until_watched();
        fs::rename(file, aside);
        write("2");
        EXPECT_EQ(content(aside) + content(file), "<1><2");
        directory.write("other", "other");
        fs::rename(directory.path() / "other", file);
        write("3");
        EXPECT_EQ(content(file), "other<3");
    };
    write("0");
    moves();
    write_until_watched();
    const pid_t child = fork();
    if (child == 0) {
        EXPECT_EQ(vars().watch.directory, -1);
        moves();
        _exit(HasFailure());
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    write("4");
    EXPECT_EQ(content(file), "other<3<4");  // the child had put another one there

    set("fileName", directory.path() / "link");
    fs::create_symlink(file, directory.path() / "link");
    write("7");
    EXPECT_EQ(vars().watch.directory, -1);
    fs::remove(file);
    write("8");
    EXPECT_EQ(content(file), "<8");

    // The last "." may stand in the directory, of which then only a part is known as such.
    directory.write("l.d/trace", "");
    set("fileName", directory.path() / "l.d" / "trace");
    write("9");
    fs::remove(directory.path() / "l.d" / "trace");
    write("10");
    EXPECT_EQ(content(directory.path() / "l.d" / "trace"), "<10");
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
    EXPECT_EQ(reported([&] { set("fileEncoding", "none"); }),
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
        EXPECT_EQ(reported([&] { set("dirPermission", text); }),
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
        {"maxFiles", "2", &FileVars::max_files, 2, ""},
        {"maxFileBytes", "78", &FileVars::max_file_bytes, 78, ""},
        {"maxFiles", "1", &FileVars::max_files, 1, ""},
        {"maxFileBytes", "-5", &FileVars::max_file_bytes, 1024,
         "PMXFH0078W Property 'maxFileBytes' will be ignored for file handler 'h', because the "
         "value -5 is not greater than zero."},
        {"maxFileBytes", "77", &FileVars::max_file_bytes, 77,
         "PMXFH0079W Property 'maxFileBytes' will be ignored for file handler 'h', because "
         "property 'maxFiles' is set to 1."},
        {"maxFileBytes", "x", &FileVars::max_file_bytes, 1024, ""},
        {"maxFileSize", "-3", &FileVars::max_file_bytes, -3, ""},
        {"maxFileSize", "x", &FileVars::max_file_bytes, 1024, ""},
        {"MPFileSemKey", "5", &FileVars::sem_key, 5, ""},
        {"MPFileSemKey", "x", &FileVars::sem_key, 0, ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(reported([&] { set(row.property, row.value); }), row.report);
        EXPECT_EQ(vars().*row.slot, row.taken) << row.property << row.value;
    }
}

TEST_F(FileHandlerTest, AppendsOrBeginsAnewWheneverTheFileIsOpened) {
    directory.write("t.log", "old ");
    log_to("t.log");
    write("1");
    EXPECT_EQ(content(file), "old 1");
    set("appending", "false");
    write("2");
    write("3");
    EXPECT_EQ(content(file), "23");
    set("maxFiles", "5");  // each change closes the file
    write("4");
    EXPECT_EQ(content(file), "4");
}

// Whether errors are reported follows "appending".
TEST_F(FileHandlerTest, LogInternalErrsReadsAnotherProperty) {
    log_to("t.log", "h.appending=true\n");
    set("logInternalErrs", "false");
    EXPECT_NE(reported([&] { set("filePermission", "x"); }), "");
    set("appending", "false");
    set("logInternalErrs", "true");
    EXPECT_EQ(reported([&] { set("filePermission", "x"); }), "");
    EXPECT_EQ(reported([&] { set("fileName", std::string(257, 'n')); }), "");
    EXPECT_EQ(reported([&] { set("fileEncoding", "none"); }), "");
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

// Then the directory tells once, not twice.
TEST_F(FileHandlerTest, FilesMayComeFromOtherDirectories) {
    log_to("a/t.log");
    write("1");
    write_until_watched();
    const fs::path elsewhere = directory.path() / "elsewhere";
    fs::rename(file, elsewhere);
    write("2");
    write_until_watched();
    EXPECT_EQ(content(file), "2");
    fs::rename(elsewhere, file);
    write("3");
    EXPECT_EQ(content(file), "13");
    vel::log::FileWatch watch;
    vel::log::watch_directory(&watch, "/proc");  // which does not tell
    EXPECT_EQ(watch.directory, -1);
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
    set("fileName", "/dev/full");
    EXPECT_EQ(reported([&] { write("1"); }), "No space left on device");
    set("fileName", "/dev/null");
    EXPECT_EQ(reported([&] { write("1"); }), "");
    const fs::path pipe = directory.path() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    set("fileName", pipe);
    EXPECT_EQ(reported([&] { write("1"); }), "");
    const std::string more_than_fits(1 << 20, 'x');
    EXPECT_EQ(reported([&] { write(more_than_fits.c_str()); }), "Resource temporarily unavailable");
    directory.write("file", "");
    const std::string below = directory.path() / "file" / "t.log";
    set("fileName", below);
    EXPECT_EQ(reported([&] { write("1"); }),
              "PMXFH0032E Property 'fileName' must be a valid file path for this platform, but "
              "value '" +
                  fs::path(below).parent_path().string() + "' was given.|Not a directory");
    fs::create_directory(directory.path() / "folder");
    set("fileName", directory.path() / "folder");
    EXPECT_EQ(reported([&] { write("1"); }), "Is a directory");
    // A handler of the error logger does not hear of its own failures.
    set("fileName", "/dev/full");
    PmxAddListener(get("pmxlog.errorLogger"), handler);
    EXPECT_EQ(reported([&] { write("1"); }), "No space left on device");
    set("fileName", file);
    EXPECT_EQ(reported([&] { set("maxFiles", "0"); }).substr(0, 10), "PMXFH0077W");
    EXPECT_EQ(content(file), "none");
}

TEST_F(FileHandlerTest, AnotherUsersLinkIsNotFollowed) {
    log_to("t.log");
    directory.write("target", "precious");
    fs::create_symlink(directory.path() / "target", file);
    if (lchown(file.c_str(), 12345, 12345) != 0) GTEST_SKIP() << "only root can plant one";
    EXPECT_EQ(reported([&] { write("1"); }), "Too many levels of symbolic links");
    EXPECT_EQ(content(directory.path() / "target"), "precious");
}
