#include "veltool/program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "runtime/owned.h"
#include "veltool/text.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

// What a child is started with.
class Preparation {
  public:
    explicit Preparation(int output) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
        posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions_, output, STDERR_FILENO);
        sigset_t usual{};
        sigemptyset(&usual);
        for (const int number : {SIGPIPE, SIGXFSZ}) sigaddset(&usual, number);
        posix_spawnattr_setsigdefault(&attributes_, &usual);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
    }
    ~Preparation() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }
    Preparation(const Preparation&) = delete;
    Preparation& operator=(const Preparation&) = delete;

    // An errno.
    int start(pid_t& child, const std::string& program, char* const words[],
              char* const environment[]) {
        return posix_spawn(&child, program.c_str(), &actions_, &attributes_, words, environment);
    }

  private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

// The environment without options that would change what an archive becomes.
std::vector<char*> plain_environment() {
    constexpr std::string_view kOptions[] = {"GZIP=", "TAR_OPTIONS=", "XZ_OPT=", "ZIP=", "ZIPOPT="};
    std::vector<char*> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const auto begins = [text](std::string_view option) { return text.starts_with(option); };
        if (std::ranges::none_of(kOptions, begins)) environment.push_back(*entry);
    }
    environment.push_back(nullptr);
    return environment;
}

// What comes out of a pipe until its other end is closed, the first so many bytes of it.
std::string read_to_end(int pipe) {
    constexpr size_t kMostBytes = 64 << 20;
    std::string output;
    for (char piece[1 << 14];;) {
        const ssize_t got = read(pipe, piece, sizeof piece);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return output;
        output.append(piece, std::min(static_cast<size_t>(got), kMostBytes - output.size()));
    }
}

std::string first_line(const std::string& text) {
    constexpr size_t kMostBytes = 300;
    return shown(text.substr(0, std::min(text.find('\n'), kMostBytes)));
}

}  // namespace

bool is_program(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           access(path.c_str(), X_OK) == 0;
}

std::string find_program(const std::string& name) {
    const char* const path = getenv("PATH");
    std::istringstream directories(path == nullptr ? "/usr/bin:/bin" : path);
    for (std::string directory; std::getline(directories, directory, ':');) {
        if (!directory.starts_with('/')) continue;
        directory.append("/").append(name);
        if (is_program(directory)) return directory;
    }
    return "";
}

std::string run_program(const std::vector<std::string>& words) {
    const std::string program = find_program(words[0]);
    if (program.empty()) throw Failure(words[0] + ": not found along PATH; install it");
    std::vector<char*> arguments(words.size() + 1);  // ends with null
    std::ranges::transform(words, arguments.begin(),
                           [](const std::string& word) { return const_cast<char*>(word.c_str()); });
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw Failure(words[0] + ": " + strerror(errno));
    const runtime::OpenFile output(ends[0]);
    pid_t child = -1;
    int error = 0;
    {
        const runtime::OpenFile input(ends[1]);
        error = Preparation(input.get())
                    .start(child, program, arguments.data(), plain_environment().data());
    }
    if (error != 0) throw Failure(program + ": " + strerror(error));
    std::string said = read_to_end(output.get());
    int state = 0;
    while (waitpid(child, &state, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(state) && WEXITSTATUS(state) == 0) return said;
    if (WIFSIGNALED(state)) said = strsignal(WTERMSIG(state));
    throw Failure(program + " has failed: " + first_line(said));
}

}  // namespace vel::tool
