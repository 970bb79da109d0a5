#include <fcntl.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <sys/stat.h>

#include <csignal>

#include "runtime/status.h"
#include "runtime/support.h"
#include "tests/support/scratch_directory.h"

using namespace vel::runtime;

// What the platform answers. The link to "victim" is planted when a directory is to be made there.
static const char *host_name, *official_name, *planted_link;

extern "C" {
int __real_mkdir(const char*, mode_t);
int __wrap_mkdir(const char* path, mode_t mode) {
    return planted_link && symlink("victim", planted_link) != 0 ? -1 : __real_mkdir(path, mode);
}
int __wrap_gethostname(char* name, size_t size) {
    if (host_name == nullptr || strlen(host_name) > size) return -1;
    return strncpy(name, host_name, size), 0;
}
int __wrap_gethostbyname_r(const char*, hostent* host, char* buffer, size_t size, hostent** found,
                           int* error) {
    if (size < 2000) return ERANGE;
    *error = HOST_NOT_FOUND;
    *found = official_name == nullptr ? nullptr : host;
    if (official_name != nullptr) host->h_name = strcpy(buffer, official_name);
    return 0;
}
}

namespace {

void expect_invalid(std::initializer_list<CxStatus> answers) {
    for (const CxStatus answer : answers) EXPECT_EQ(answer, failed(EINVAL));
}

struct Files : testing::Test {
    Files() { std::filesystem::current_path(directory.path()); }
    ~Files() override { std::filesystem::current_path("/"); }
    const ScratchDirectory directory;
    CxFile file = -1;
    int64_t count = 0;
    char text[8] = "junk";
};

mode_t mode_of(const char* path) {
    struct stat found {};
    return stat(path, &found) == 0 ? found.st_mode & 07777 : 0;
}

// A path of so many bytes to a name.
std::string path_of(size_t length, const std::string& name) {
    return "." + std::string(length - 1 - name.size(), '/') + name;
}

TEST_F(Files, AreReadWrittenAndRewound) {
    ASSERT_EQ(CxFileOpen(&file, ".\\f", O_RDWR | O_CREAT), ok());
    EXPECT_TRUE(mode_of("f") == 0600 && fcntl(file, F_GETFD) == FD_CLOEXEC);
    EXPECT_TRUE(CxFileWrite(file, "content", 7, &count) == ok() && count == 7);
    EXPECT_EQ(CxFileSeek(file, 3, SEEK_SET) & UINT32_MAX, CX_SYSTEM_ERROR);  // yet it is reached
    EXPECT_TRUE(CxFileRead(file, text, 8, &count) == ok() && count == 4);
    EXPECT_STREQ(text, "tent");
    EXPECT_TRUE(CxFileSeek(file, -7, SEEK_END) == ok() && CxFileFlush(file) == ok());
    EXPECT_TRUE(CxFileGetSize(file, &count) == ok() && count == 7);
    EXPECT_EQ(lseek(file, 5, SEEK_SET), 5);
    EXPECT_TRUE(CxFileTrunc(file) == ok() && lseek(file, 0, SEEK_CUR) == 0);
    EXPECT_TRUE(CxFileNameGetSize("f", &count) == ok() && count == 0);
    EXPECT_TRUE(CxFileClose(&file) == ok() && file == -1);
    EXPECT_TRUE(CxFileRead(file, text, 1, &count) == failed(EBADF) && count == -1);
    file = 9999;
    EXPECT_TRUE(CxFileClose(&file) == failed(EBADF) && file == -1);
}

TEST_F(Files, HavePathsOf255Bytes) {
    const std::string longest = path_of(255, "f");
    ASSERT_EQ(CxFileOpenMode(&file, longest.c_str(), O_CREAT, 0640), ok());
    EXPECT_TRUE(CxFileClose(&file) == ok() && mode_of("f") == 0640);
    const timespec times[] = {{1000, 0}, {2000, 0}};
    utimensat(AT_FDCWD, "f", times, 0);
    CxFileInfo info = {};
    EXPECT_EQ(CxFileNameGetInfo(&info, longest.c_str()), ok());
    EXPECT_TRUE(info.size == 0 && info.access_time == 1000 && info.modification_time == 2000);
    EXPECT_LT(time(nullptr) - info.change_time, 60);
    EXPECT_EQ(CxFileNameRename(longest.c_str(), ".\\g"), ok());
    EXPECT_EQ(CxFileNameRemove("g"), ok());
    EXPECT_TRUE(CxFileOpen(&(file = 0), "g", O_RDWR) == failed(ENOENT) && file == -1);
}

TEST_F(Files, AreNotTouchedWhenAnArgumentIsInvalid) {
    std::filesystem::resize_file(directory.write("f", ""), 7);
    const std::string f256 = path_of(256, "f"), d257 = path_of(257, "");
    CxDirectory entries = nullptr;
    CxFileInfo info;
    for (const char* path : {f256.c_str(), static_cast<const char*>(nullptr)}) {
        file = 9999;
        expect_invalid({CxFileNameGetInfo(&info, path), CxFileNameGetSize(path, &count),
                        CxFileNameRename(path, "g"), CxFileNameRename("f", path),
                        CxFileNameRemove(path), CxFileOpen(&file, path, O_CREAT | O_TRUNC),
                        CxDirectoryOpen(&entries, path)});
        EXPECT_EQ(file, -1);
    }
    expect_invalid(
        {CxFileOpen(nullptr, "g", O_CREAT), CxFileRead(0, text, -1, &count),
         CxFileRead(0, text, 1, nullptr), CxFileWrite(1, text, INT64_MIN, &count),
         CxFileWrite(1, nullptr, 1, &count), CxFileGetSize(0, nullptr), CxFileClose(nullptr),
         CxFileNameGetInfo(&info, ""), CxFileNameGetSize("f", nullptr),
         CxFileNameGetInfo(nullptr, "f"), CxDirectoryOpen(&entries, d257.c_str()),
         CxDirectoryOpen(&entries, "f"), CxDirectoryGetNext(nullptr, text, 2),
         CxDirectoryClose(&entries), CxProcessGetCwd(nullptr, 2), CxProcessWaitFor(1, nullptr, 0),
         CxProcessCreate(nullptr, "/bin/sh", nullptr), CxSystemGetFQHostname(nullptr, 9)});
    EXPECT_TRUE(CxFileNameGetSize("f", &count) == ok() && count == 7 && mode_of("g") == 0);
}

TEST_F(Files, AreOpenedThroughOnesOwnLinks) {
    directory.write("sub/target", "12345");
    const std::string descriptor = "/proc/self/fd/" + std::to_string(open("sub/target", O_RDONLY));
    std::filesystem::remove("sub/target");  // only the kernel can still tell what that leads to
    directory.write("sub/target", "12345");
    const std::pair<const char*, const char*> links[] = {
        {"target", "sub/own"},    {"../sub/own", "sub/twice"},     {"self", "self"},
        {".", "sub/directory"},   {descriptor.c_str(), "unnamed"}, {"target", "sub/foreign"},
        {"sub/foreign", "chain"}, {".", "sub/foreign-directory"}};
    for (const auto& [target, link] : links) ASSERT_EQ(symlink(target, link), 0);
    for (const char* link : {"sub/own", "sub/twice", "unnamed"}) {
        ASSERT_EQ(CxFileOpen(&file, link, O_RDONLY), ok()) << link;
        EXPECT_TRUE(CxFileGetSize(file, &count) == ok() && count == 5);
        EXPECT_TRUE(fcntl(file, F_GETFD) == FD_CLOEXEC && CxFileClose(&file) == ok());
    }
    for (const char* link : {"sub/directory", "sub/directory//"}) {
        EXPECT_EQ(CxFileOpen(&file, link, O_RDONLY | O_DIRECTORY), ok());
        EXPECT_EQ(CxFileClose(&file), ok());
    }
    for (const char* path : {"sub/target/x", "sub/target/"})
        EXPECT_EQ(CxFileOpen(&file, path, O_RDONLY), failed(ENOTDIR));
    EXPECT_EQ(CxFileOpen(&file, "new/", O_RDWR | O_CREAT), failed(EISDIR));
    EXPECT_EQ(CxFileOpen(&file, "self", O_RDONLY), failed(ELOOP));
    if (geteuid() != 0) GTEST_SKIP() << "only root can make a link that is another's";
    for (const char* link : {"sub/foreign", "sub/foreign-directory"})
        ASSERT_EQ(lchown(link, 65534, 65534), 0);
    for (const char* link : {"sub/foreign", "chain"})
        EXPECT_TRUE(CxFileOpen(&file, link, O_RDWR) == failed(ELOOP) && file == -1);
    for (const char* link : {"sub/foreign-directory", "sub/foreign-directory/"})
        EXPECT_EQ(CxFileOpen(&file, link, O_DIRECTORY), failed(ELOOP)) << link;
}

// Copies and records are held against a model by fuzz/paths.cpp, whose corpus is replayed with
// these tests.
TEST_F(Files, DirectoriesAreMadeWithAllThatLeadToThem) {
    directory.write("file", "");
    const mode_t before = umask(077);
    CxFilePath record;
    // What making answers, and then asking for a directory and for anything.
    const std::tuple<const char*, int, int, int> rows[] = {
        {"a/b/c", 0, 0, 0},  {"a/b", 0, 0, 0},       {"d//e", 0, 0, 0},
        {"g\\h/", 0, 0, 0},  {"/", 0, 0, 0},         {"", 22, 22, 22},
        {"file", 20, 20, 0}, {"file/x", 20, 20, 20}, {"/vel-missing", 22, 2, 2}};
    for (const auto& [path, made, is_directory, exists] : rows) {
        EXPECT_EQ(CxInitFilePath(&record, path), 1);
        EXPECT_EQ(CxFilePathMkdirs(&record, 01757), made) << path;
        EXPECT_EQ(CxFilePathIsDir(&record), is_directory) << path;
        EXPECT_EQ(CxFilePathExists(&record), exists) << path;
    }
    for (const std::string& none : {path_of(257, "a"), std::string()}) {
        CxInitFilePath(&record, none.empty() ? nullptr : none.c_str());
        EXPECT_EQ(CxFilePathExists(&record), EINVAL) << none;
    }
    umask(before);
    for (const char* path : {"a", "a/b", "a/b/c", "d/e", "g/h"}) EXPECT_EQ(mode_of(path), 01757U);
    EXPECT_EQ(CxInitFilePath(&record, "link") + __real_mkdir("victim", 0700), 1);
    planted_link = "link";
    CxFilePathMkdirs(&record, 01757);
    planted_link = nullptr;
    EXPECT_TRUE(std::filesystem::is_symlink("link") && mode_of("victim") == 0700);
    EXPECT_EQ(CxFilePathMkdirs(nullptr, 0700) + CxFilePathIsDir(nullptr), 2 * EINVAL);
}

TEST_F(Files, DirectoriesAreReadToAnEmptyName) {
    directory.write("long", "");
    for (const size_t size : {5U, 4U}) {
        CxDirectory entries = nullptr;
        ASSERT_EQ(CxDirectoryOpen(&entries, path_of(256, "").c_str()), ok());
        for (int i = 0, names = 0; i < 5; ++i) {
            errno = EIO;
            const CxStatus status = CxDirectoryGetNext(entries, text, size);
            EXPECT_EQ(status, size == 4 && text[0] == 'l' ? failed(ENAMETOOLONG) : ok());
            names += strcmp(text, i > 2 ? "" : size == 5 ? "long" : "lon") == 0;
            EXPECT_TRUE(i < 4 || names == 3) << "a name and the end, twice";
        }
        EXPECT_TRUE(CxDirectoryClose(&entries) == ok() && entries == nullptr);
    }
}

CxProcess start(const char* script) {
    const char* const arguments[] = {"sh", "-c", script, "name", "a b", nullptr};
    const char* const program = *script == '\0' ? "/missing" : "/bin/sh";
    CxProcess process = 7;
    const CxStatus status = CxProcessCreate(&process, program, const_cast<char* const*>(arguments));
    if (process == -1) _exit(status == ok() ? 42 : 43);
    return process;
}

TEST(Processes, EndWithACodeOrASignal) {
    const std::tuple<const char*, int, int> rows[] = {
        {"exit 7", 7, 0}, {"exit ${#1}", 3, 0}, {"kill -9 $$", 0, 9}, {"", 42, 0}};
    CxProcessResult result = {};
    for (const auto& [script, code, signal] : rows) {
        const CxProcess process = start(script);
        EXPECT_EQ(CxProcessWaitFor(process, &result, 1), ok());
        EXPECT_TRUE(result.ended == 1 && result.exit_code == code) << script;
        EXPECT_TRUE(result.signalled == (signal != 0) && result.signal == signal) << script;
        EXPECT_EQ(CxProcessWaitFor(process, &result, 1), failed(ECHILD));
        EXPECT_EQ(result.ended + result.exit_code + result.signal, 0);
    }
    const CxProcess process = start("exec sleep 100");
    EXPECT_TRUE(CxProcessWaitFor(process, &result, 0) == ok() && result.ended == 0);
    kill(process, SIGTERM);
    EXPECT_TRUE(CxProcessWaitFor(process, &result, 1) == ok() && result.signal == SIGTERM);
    expect_invalid({CxProcessWaitFor(-1, &result, 0), CxProcessWaitFor(0, &result, 0)});
    char text[2] = "x";
    EXPECT_TRUE(chdir("/") == 0 && CxProcessGetCwd(text, 2) == ok() && text[0] == '/');
    EXPECT_TRUE(CxProcessGetCwd(text, 1) == failed(ERANGE) && text[0] == '\0');
}

TEST(System, NamesTheHostWithItsDomain) {
    constexpr CxStatus kNone = failed(ENOSYS);
    const std::tuple<const char*, const char*, size_t, CxStatus, const char*> rows[] = {
        {"host.a", "b.c", 30, ok(), "host.a"}, {"host", "host.d", 30, ok(), "host.d"},
        {"host", "alias", 30, ok(), "host"},   {"host", nullptr, 30, kNone, "host"},
        {nullptr, "x.y", 30, kNone, ""},       {"host", "host.d", 6, ok(), "host."},
        {"h.st", "a.b", 4, ok(), "h.s"}};
    for (const auto& [host, official, size, status, name] : rows) {
        host_name = host;
        official_name = official;
        std::string text(31, 'x');
        EXPECT_EQ(CxSystemGetFQHostname(text.data(), size), status) << name;
        EXPECT_STREQ(text.c_str(), name);
        EXPECT_EQ(text[size], 'x');
    }
}

struct Work {
    CxMutex mutex;
    uint32_t count, ids;
};

void* work_on(void* argument) {
    auto* const work = static_cast<Work*>(argument);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(CxMutexLock(work->mutex), ok());
        ++work->count;
        if (i == 0) work->ids += CxThreadGetCurrentID();
        EXPECT_EQ(CxMutexUnlock(work->mutex), ok());
    }
    return nullptr;
}

TEST(Threads, HaveIdsAndShareMutexes) {
    Work work = {};
    ASSERT_EQ(CxMutexCreate(&work.mutex), ok());
    CxThread threads[4];
    for (auto& thread : threads) EXPECT_EQ(CxThreadCreate(&thread, 1 << 20, work_on, &work), ok());
    for (const CxThread thread : threads) EXPECT_EQ(CxThreadJoin(thread), ok());
    for (const CxThread thread : threads) work.ids -= static_cast<uint32_t>(thread);
    EXPECT_TRUE(work.count == 4000 && work.ids == 0);
    EXPECT_TRUE(CxMutexDestroy(&work.mutex) == ok() && work.mutex == nullptr);
    expect_invalid({CxThreadCreate(threads, 1, work_on, &work),
                    CxThreadCreate(nullptr, 0, work_on, &work), CxMutexCreate(nullptr),
                    CxMutexLock(nullptr), CxMutexUnlock(nullptr), CxMutexDestroy(&work.mutex)});
}

TEST(Lists, GrowToThePowerOfTwoAbove) {
    const std::tuple<int32_t, int32_t, int32_t> rows[] = {
        {0, 10, 10},  {0, 0, 0},      {0, -1, 0},  {10, 10, 10}, {10, 11, 16},
        {10, 16, 32}, {10, 100, 128}, {10, 0, 10}, {10, -1, 0},  {10, 1 << 30, 0}};
    for (const auto& [before, needed, after] : rows) {  // 0: it fails
        void* array = nullptr;
        int32_t capacity = 0, count = 0;
        EXPECT_EQ(CxListEnsureCapacity(&array, &capacity, &count, before, 1), before > 0);
        void* const block = array;
        EXPECT_EQ(CxListEnsureCapacity(&array, &capacity, &count, needed, 1), after > 0);
        EXPECT_TRUE(capacity == (after > 0 ? after : before) && (after > 0 || array == block));
        CxListDiscard(&array, &capacity, &count);
        EXPECT_TRUE(array == nullptr && capacity == 0 && count == 0);
        EXPECT_EQ(CxListEnsureCapacity(&array, &capacity, &count, needed, -1), 0);
    }
}

TEST(Tracer, IndentsWhatIsEntered) {
    testing::internal::CaptureStderr();
    cxIntlTraceEnter("%s\n", "outer");
    cxIntlTraceEnter("in\n");
    cxIntlTracePoint("%d%%\n", 5);
    cxIntlTraceLeave("in\n");
    cxIntlTraceLeave("out\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ENTER outer\n   ENTER in\n      ... 5%\n   LEAVE in\nLEAVE out\n");
}

}  // namespace
