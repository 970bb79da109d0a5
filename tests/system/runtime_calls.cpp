// One call of the runtime, named on the command line, so that the test can make the system fail
// beneath it: runtime_calls CALL FILE. Prints its error and what it left behind.
#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "runtime/cx_shmem.h"
#include "runtime/status.h"

using namespace vel::runtime;

namespace {

const char* path;
CxFile file = -1;

int with_file(CxStatus (*call)()) {
    if (!is_ok(CxFileOpen(&file, path, O_RDWR))) return -1;
    return error_of(call());
}

CxStatus move(bool out) {
    char bytes[4] = "abc";
    int64_t count = 7;
    const CxStatus status = out ? CxFileWrite(file, bytes, sizeof bytes, &count)
                                : CxFileRead(file, bytes, sizeof bytes, &count);
    return count == -1 ? status : ok();
}

int make_directories() {
    CxFilePath record;
    char name[CX_MAX_PATH];
    snprintf(name, sizeof name, "%s.d", path);
    CxInitFilePath(&record, name);
    return CxFilePathMkdirs(&record, 0700);
}

int read_directory() {
    CxDirectory directory = nullptr;
    char name[256] = "junk";
    if (!is_ok(CxDirectoryOpen(&directory, "/"))) return -1;
    const int error = error_of(CxDirectoryGetNext(directory, name, sizeof name));
    CxDirectoryClose(&directory);
    return name[0] == '\0' ? error : -1;
}

int run_program(bool wait_for_it) {
    const char* const words[] = {"true", nullptr};
    CxProcess process = 7;
    CxProcessResult result;
    const CxStatus created =
        CxProcessCreate(&process, "/bin/true", const_cast<char* const*>(words));
    if (!wait_for_it) return process == -1 ? error_of(created) : -1;
    const CxStatus ended = CxProcessWaitFor(process, &result, 1);
    return result.ended == 1 ? error_of(ended) : -1;
}

int working_directory() {
    char name[256] = "junk";
    const int error = error_of(CxProcessGetCwd(name, sizeof name));
    return name[0] == '\0' ? error : -1;
}

int open_semaphore() {
    CxSem semaphore = 7;
    const int error = error_of(CxSemOpen(&semaphore, ftok(path, 9)));
    semctl(semget(ftok(path, 9), 1, 0), 0, IPC_RMID);
    return semaphore == -1 ? error : -1;
}

// Creates a segment, and opens it; whichever fails must leave an empty handle and nothing attached.
int share_memory() {
    const char* const name = strrchr(path, '/') + 1;
    CxShMem created, opened{};
    int32_t result = CxShMemCreate(name, 100, &created);
    bool clean = result == 0 || (created.memory == -1 && created.address == nullptr);
    if (result == 0) {
        result = CxShMemOpen(name, &opened);
        clean = result == 0 || (opened.memory == -1 && opened.address == nullptr);
        shmid_ds state{};
        shmctl(created.memory, IPC_STAT, &state);
        clean = clean && state.shm_nattch == 1;
        CxShMemDestroy(&created);
    }
    shmctl(shmget(ftok(path, 2), 0, 0), IPC_RMID, nullptr);
    semctl(semget(ftok(path, 1), 2, 0), 0, IPC_RMID);
    return clean ? result : 1;
}

struct Call {
    std::string_view name;
    int (*run)();
};
constexpr Call kCalls[] = {
    {"open", [] { return file = 7, error_of(CxFileOpen(&file, path, O_RDWR)); }},
    {"read", [] { return with_file([] { return move(false); }); }},
    {"write", [] { return with_file([] { return move(true); }); }},
    {"flush", [] { return with_file([] { return CxFileFlush(file); }); }},
    {"truncate", [] { return with_file([] { return CxFileTrunc(file); }); }},
    {"close", [] { return with_file([] { return CxFileClose(&file); }); }},
    {"mkdirs", make_directories},
    {"directory", read_directory},
    {"start", [] { return run_program(false); }},
    {"wait", [] { return run_program(true); }},
    {"cwd", working_directory},
    {"semaphore", open_semaphore},
    {"memory", share_memory},
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    path = argv[2];
    for (const Call& call : kCalls) {
        if (call.name != argv[1]) continue;
        const int error = call.run();
        printf("%d %d\n", error, file);
        return 0;
    }
    return 2;
}
