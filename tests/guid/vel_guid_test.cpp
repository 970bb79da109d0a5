// The host GUID file and the environment for messages, on a private "/etc". What counts as a valid
// content is held against a reading with stdio by fuzz/guid_file.cpp, whose corpus is replayed with
// these tests.
#include "guid/vel_guid.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>

#include "guid/host_guid.h"
#include "tests/support/platform_seams.h"
#include "tests/support/scratch_host.h"

namespace {

using std::string;

constexpr char kFile[] = "/etc/VELGUID";
const string kHeader = "This is the Velmar GUID file do not change or delete.\n";
const string kGuid = "0123456789abcdef";

string content() {
    std::ifstream in(kFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void put(const string& bytes) { std::ofstream(kFile, std::ios::binary) << bytes; }

int32_t write_guid(const string& guid) {
    return vel_guid_write(reinterpret_cast<const uint8_t*>(guid.data()));
}

class HostGuidFile : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        static const bool entered = (enter_scratch_host(), true);
        ASSERT_TRUE(entered);
    }
    HostGuidFile() {
        for (const char* file : {kFile, "/etc/elsewhere", "/etc/hard"}) unlink(file);
    }
    seams::Restored restored_;
};

TEST_F(HostGuidFile, IsNotFoundInAPipeAndNotWaitedFor) {
    uint8_t guid[16];
    ASSERT_EQ(mkfifo(kFile, 0600), 0);
    EXPECT_EQ(vel_guid_read(guid), guid_s_not_found);
}

TEST_F(HostGuidFile, IsSeventyBytesWhateverStoodThere) {
    put(string(500, 'x'));
    EXPECT_EQ(write_guid(kGuid), 0);
    EXPECT_EQ(content(), kHeader + kGuid);
}

TEST_F(HostGuidFile, KeepsModeAndLinksAndHasTheUmaskWhenNew) {
    const mode_t before = umask(027);
    EXPECT_EQ(write_guid(kGuid), 0);
    umask(before);
    struct stat file;
    ASSERT_EQ(stat(kFile, &file), 0);
    EXPECT_EQ(file.st_mode & 07777, 0640U);

    ASSERT_EQ(chmod(kFile, 0604), 0);
    ASSERT_EQ(rename(kFile, "/etc/elsewhere"), 0);
    ASSERT_EQ(link("/etc/elsewhere", "/etc/hard"), 0);
    ASSERT_EQ(symlink("elsewhere", kFile), 0);
    EXPECT_EQ(write_guid("fedcba9876543210"), 0);
    ASSERT_EQ(lstat(kFile, &file), 0);
    EXPECT_TRUE(S_ISLNK(file.st_mode));
    ASSERT_EQ(stat("/etc/hard", &file), 0);
    EXPECT_EQ(file.st_nlink, 2U);
    EXPECT_EQ(file.st_mode & 07777, 0604U);
    EXPECT_EQ(content(), kHeader + "fedcba9876543210");
}

// A write that fails is not reported. What stood there is what the program reads again, or nothing,
// in tests/system/velguid_test.py.
TEST_F(HostGuidFile, KeepsWhatIsNoGuidWhenAWriteIsCutShort) {
    const auto write_limited = [](rlim_t limit) {
        const rlimit limits{limit, limit};
        signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &limits);
        _exit(write_guid("fedcba9876543210") == 0 ? 42 : 1);
    };
    for (const unsigned limit : {0U, 3U, 54U, 60U}) {
        put("short");
        EXPECT_EXIT(write_limited(limit), testing::ExitedWithCode(42), "");
        EXPECT_EQ(content(), "short") << limit;
    }
}

TEST_F(HostGuidFile, IsOldOrNewAfterAKillAtAnyMoment) {
    const string other = "fedcba9876543210";
    std::minstd_rand random(7);
    for (int round = 0; round < 60; ++round) {
        put(kHeader + kGuid);
        const pid_t writer = fork();
        if (writer == 0) {
            for (bool odd = true;; odd = !odd) write_guid(odd ? other : kGuid);
        }
        for (volatile unsigned long spin = random() % 400'000; spin > 0;) spin = spin - 1;
        kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);
        const string left = content();
        EXPECT_TRUE(left == kHeader + kGuid || left == kHeader + other) << left;
    }
}

TEST(MessageEnvironment, IsSetFromTheLocaleAndTheCatalogsBefore) {
    const seams::Restored restored;
    const string catalogs = "/opt/velmar/guid/%L/%N.cat";
    const struct {
        string locale;  // "" for none
        const char* nlspath;
        string lang_after, nlspath_after;
    } rows[] = {
        {"C", nullptr, "en_US", catalogs},
        {"", "/x/%N", "en_US", catalogs + ":/x/%N"},
        {"de_DE", "", "de_DE", catalogs + ":"},
        {string(255, 'l'), nullptr, string(250, 'l'), catalogs},
    };
    for (const auto& row : rows) {
        seams::now.message_locale = row.locale.c_str();
        row.nlspath ? setenv("NLSPATH", row.nlspath, 1) : unsetenv("NLSPATH");
        EXPECT_EQ(vel::guid::psSetNlsPath(), 0);
        EXPECT_EQ(getenv("LANG"), row.lang_after);
        EXPECT_EQ(getenv("NLSPATH"), row.nlspath_after);
    }
    seams::now.no_memory = true;
    EXPECT_EQ(vel::guid::psSetNlsPath(), -1);
    seams::now.no_memory = false;
    EXPECT_EQ(getenv("NLSPATH"), catalogs);
}

}  // namespace
