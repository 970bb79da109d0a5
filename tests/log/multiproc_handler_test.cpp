#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include "i18n/mab.h"
#include "log/event.h"
#include "tests/log/log_file_fixture.h"

namespace fs = std::filesystem;

class MultiProcFileHandlerTest : public LogFileTest {
  protected:
    void TearDown() override {
        LogFileTest::TearDown();
        semctl(semget(kKey, 1, 0), 0, IPC_RMID);
    }

    void share(const std::string& properties = "") {
        log_to("s.log", "h.MPFileSemKey=" + std::to_string(kKey) + "\n" + properties,
               "pmx_multiproc_filehandler");
    }
    void set_key(int key) { set("MPFileSemKey", std::to_string(key)); }

    void write_at(int64_t second, const char* text) {
        const vel::runtime::Owned<PmxEvent, PmxFreeEvent> event(
            make_event(PMX_WARN, text, PMX_END));
        event->time = second * 1000;
        PmxMultiProcFileHandlerFProcess(handler, event.get(), PMX_HANDLER);
    }
    void append_by_other(const std::string& text) {
        std::ofstream(file, std::ios::app | std::ios::binary) << text;
    }

    static void limit_files(rlim_t size) {
        const rlimit limit{size, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    const int kKey = 0x10000 + getpid();
};

TEST_F(MultiProcFileHandlerTest, AFullFileIsCopiedAndEmptiedInPlace) {
    framed = true;  // which goes for other classes
    share("h.maxFiles=3\nh.maxFileBytes=8\n");
    write("1234567\n");
    for (const char* text : {"2\n", "345678\n", "4\n"}) write(text);
    EXPECT_EQ(files(), "s.log:4\n s1.log:2\n345678\n s2.log:1234567\n");
    append_by_other("56789\n");
    write("6\n");
    EXPECT_EQ(files(), "s.log:6\n s1.log:4\n56789\n s2.log:2\n345678\n");
    set("appending", "false");  // no matter
    set("maxFiles", "2");
    for (const char* text : {"345678\n", "7\n"}) write(text);
    EXPECT_EQ(files(), "s.log:7\n s1.log:6\n345678\n s2.log:2\n345678\n");
}

TEST_F(MultiProcFileHandlerTest, AFileIsEmptiedAlthoughItsBackupCannotBeOpened) {
    const std::string here = directory.path().string() + "//";
    directory.write("s2.log/in", "");
    directory.write("victim", "safe");
    fs::create_symlink("victim", here + "s1.log");  // stays, as "s2.log" is in its way
    // Whoever reports with the lock held waits for itself.
    share("h.maxFiles=3\nh.maxFileBytes=4\npmxlog.errorLogger.listenerNames=e\ne.fileName=" + here +
          "errors\ne.className=pmx_multiproc_filehandler\ne.formatterName=f\ne.MPFileSemKey=" +
          std::to_string(kKey) + "\n");
    write("lost\n");
    testing::internal::CaptureStdout();
    const std::string report = "PMXMP0073W Could not write to the backup log file " + here +
                               "s1.log during log file rollover.";
    EXPECT_EQ(report_of("lost\n"), "Directory not empty|Is a directory|" + report);
    EXPECT_EQ(content(here + "errors"), "Directory not emptyIs a directory" + report);
    set("appending", "false");
    set("logInternalErrs", "");  // which means the same
    EXPECT_EQ(report_of("kept\n"), "Directory not empty|Is a directory");
    const std::string line = "ERR opening " + here + "s1.log pre rollover\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), line + line);
    EXPECT_EQ(content(file) + content(here + "victim"), "kept\nsafe");
    fs::remove(here + "s1.log");
    directory.write("s1.log", "older\nrecords\n");  // of which the end stays
    report_of("next\n");
    EXPECT_EQ(content(here + "s1.log"), "kept\n\nrecords\n");
}

TEST_F(MultiProcFileHandlerTest, ARecordBeginsALineBehindATornOne) {
    directory.write("s.log", "not ours");
    share();
    const struct {
        const char *left, *record, *file;
    } rows[] = {
        {"", "1\n", "not ours1\n"},  // what was there before is as it was
        {"tor", "2\n", "tor\n2\n"}, {"whole\n", "3\n", "whole\n3\n"},
        {"tor", "4", "tor4"},  // that is no line itself, nor is the next one
        {"tor", "", "tor"},         {"", "5\n", "\n5\n"},
    };
    std::string expected;
    for (const auto& row : rows) {
        append_by_other(row.left);
        write(row.record);
        EXPECT_EQ(content(file), expected += row.file);
    }
    signal(SIGXFSZ, SIG_IGN);
    limit_files(300);
    const std::string longer(300, 'x');  // than fits, with what is there
    EXPECT_EQ(report_of(longer), "File too large");
    limit_files(RLIM_INFINITY);
    write("6\n");
    mab_set_dir(VEL_CODESET_DIR);
    set("fileEncoding", "CP1047");  // in which it has another code
    append_by_other("\xf2");
    write("7\n");
    EXPECT_EQ(content(file), (expected + longer).substr(0, 300) + "\n6\n\xf2\xf7%");
    limit_files(300);  // too little for the old file
    set("maxFileBytes", "1");
    EXPECT_NE(report_of("8\n").find("PMXMP0073W"), std::string::npos);
    limit_files(RLIM_INFINITY);
    EXPECT_EQ(content(file), "\xf8%");
}

TEST_F(MultiProcFileHandlerTest, ASemaphoreThatIsRemovedIsMadeAgain) {
    share();
    write("1\n");
    EXPECT_EQ(vars().semaphore, semget(kKey, 1, 0));
    semctl(vars().semaphore, 0, IPC_RMID);  // as an administrator may do
    EXPECT_EQ(report_of("lost\n"), "Invalid argument");
    write("2\n");
    EXPECT_EQ(content(file), "1\n2\n");
}

TEST_F(MultiProcFileHandlerTest, ASharedSemaphoreStaysAndAPrivateOneEndsInTheProcessThatMadeIt) {
    share("h.MPFileSemKey=0\n");
    write("1\n");
    const int first = vars().semaphore;
    if (fork() == 0) PmxCloseToolkit(), _exit(0);
    wait(nullptr);
    PmxMultiProcFileHandlerFClose(handler);
    EXPECT_FALSE(vars().is_open);
    write("2\n");
    EXPECT_EQ(vars().semaphore, first);
    set_key(kKey);
    write("3\n");
    set_key(0);
    write("4\n");
    const int second = vars().semaphore;
    EXPECT_EQ(content(file), "1\n2\n3\n4\n");
    PmxCloseToolkit();
    EXPECT_EQ(semctl(first, 0, GETVAL) + semctl(second, 0, GETVAL), -2);
    EXPECT_EQ(semctl(semget(kKey, 1, 0), 0, GETVAL), 1);
}

TEST_F(MultiProcFileHandlerTest, NothingIsWrittenToADescriptorThatIsAnotherFilesByNow) {
    share();
    for (const char* text : {"1\n", "2\n"}) write(text);
    const std::string other = directory.write("other", "");
    const int opened = ::open(other.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(dup2(opened, vars().file), vars().file);
    write("3\n");
    EXPECT_EQ(files(), "other: s.log:1\n2\n3\n");
}

TEST_F(MultiProcFileHandlerTest, AFileThatHasLostItsNameIsNoticedInTheNextSecond) {
    share("h.maxFiles=2\nh.maxFileBytes=4\n");
    write_at(1, "123");
    write_at(2, "45\n");
    fs::rename(file, directory.path() / "kept");
    write_at(2, "6\n");  // full, but nobody's active file any more
    append_by_other("new");
    write_at(3, "7\n");
    EXPECT_EQ(files(), "kept:12345\n6\n s.log:new7\n");
}

TEST_F(MultiProcFileHandlerTest, EventsGoOnToItsListenersAlsoWhenTheyCannotBeWritten) {
    share();
    PmxAddListener(handler, get("recorder", "test_handler"));
    const std::string made = directory.path() / "d";
    set("fileName", made + "/s.log");
    write("1");
    PmxSetObjectEnabled(handler, 0);
    write_at(1, "2");
    PmxSetObjectEnabled(handler, 1);
    set("fileName", made);
    EXPECT_EQ(report_of("3"), "Is a directory");
    EXPECT_EQ(recorded() + content(made + "/s.log"), "recorder103:1 recorder103:31");
}
