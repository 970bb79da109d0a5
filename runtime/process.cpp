// Processes, the time, the name of the host.
#include <netdb.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "runtime/cx_os.h"
#include "runtime/owned.h"
#include "runtime/start_program.h"
#include "runtime/status.h"

namespace vel::runtime {
namespace {

// Replaces a host name by the official one when that has a domain. An h_errno.
int qualify(char* name, size_t size) {
    constexpr size_t kFirstBuffer = 1024, kMaxBuffer = 1 << 20;
    int error = NETDB_INTERNAL;
    for (size_t length = kFirstBuffer; length <= kMaxBuffer; length *= 2) {
        const OwnedText buffer(static_cast<char*>(RakMemoryMalloc(length)));
        if (buffer == nullptr) return NETDB_INTERNAL;
        hostent host{};
        hostent* found = nullptr;
        error = NETDB_INTERNAL;
        if (gethostbyname_r(name, &host, buffer.get(), length, &found, &error) == ERANGE) continue;
        if (found == nullptr) return error == 0 ? HOST_NOT_FOUND : error;
        if (strchr(found->h_name, '.') == nullptr) return 0;
        name[0] = '\0';
        strncat(name, found->h_name, size - 1);
        return 0;
    }
    return error;
}

}  // namespace

CxStatus start_program(CxProcess* process, const char* path, char* const argv[],
                       char* const environment[], void (*prepare)()) {
    if (process == nullptr) return failed(EINVAL);
    *process = -1;
    if (path == nullptr || argv == nullptr) return failed(EINVAL);
    const pid_t child = fork();
    if (child < 0) return failed(errno);
    // A child whose program cannot be started goes on as its caller, who is to end it: that is the
    // contract, and *process tells that it is the child.
    if (child == 0) {
        if (prepare != nullptr) prepare();
        execve(path, argv, environment);
    } else {
        *process = child;
    }
    return ok();
}

}  // namespace vel::runtime

using namespace vel::runtime;

const char* CxProcessGetEnv(const char* name) { return name == nullptr ? nullptr : getenv(name); }

int32_t CxProcessGetCurrentID(void) { return getpid(); }

CxStatus CxProcessGetCwd(char* buffer, size_t size) {
    if (buffer == nullptr || size == 0) return failed(EINVAL);
    if (getcwd(buffer, size) != nullptr) return ok();
    const int error = errno;
    buffer[0] = '\0';
    return failed(error);
}

CxStatus CxProcessCreate(CxProcess* process, const char* path, char* const argv[]) {
    return start_program(process, path, argv, environ, nullptr);
}

CxStatus CxProcessWaitFor(CxProcess process, CxProcessResult* result, int wait) {
    if (result == nullptr) return failed(EINVAL);
    *result = {};
    if (process <= 0) return failed(EINVAL);  // it would mean any process of some group
    int state = 0;
    pid_t changed = -1;
    do {
        changed = waitpid(process, &state, wait ? 0 : WNOHANG);
    } while (changed < 0 && errno == EINTR);
    if (changed < 0) return failed(errno);
    result->ended = changed > 0;
    if (result->ended && WIFEXITED(state)) result->exit_code = WEXITSTATUS(state);
    if (result->ended && WIFSIGNALED(state)) {
        result->signalled = 1;
        result->signal = WTERMSIG(state);
    }
    return ok();
}

CxStatus CxProcessRelease(const CxProcess* process) {
    return process == nullptr ? failed(EINVAL) : ok();
}

int64_t CxSystemGetTimestamp(void) {
    timeval now{};
    gettimeofday(&now, nullptr);
    return int64_t{now.tv_sec} * 1000 + now.tv_usec / 1000;
}

CxStatus CxSystemGetFQHostname(char* buffer, size_t size) {
    if (buffer == nullptr || size == 0) return failed(EINVAL);
    buffer[0] = '\0';
    const int named = gethostname(buffer, size);
    buffer[size - 1] = '\0';  // where a name does not fit, its end may be missing
    if (named != 0) return failed(ENOSYS);
    if (strchr(buffer, '.') != nullptr || qualify(buffer, size) == 0) return ok();
    return failed(ENOSYS);
}
