// velguid: creates, shows and writes the GUID of this host.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include "common/tool.h"
#include "guid/host_guid.h"
#include "guid/vel_guid.h"

namespace {

constexpr int kRefused = -1;
constexpr const char* kUsage = "usage";  // what Exit is told for all but a failing library call

using Guid = std::array<uint8_t, 16>;

struct Request {
    bool create = false;
    bool show = false;
    bool decimal = false;
    bool write = false;
    bool guid_at_hand = false;
    Guid guid_to_write{};
};

[[noreturn]] void Exit(const char* function, int32_t status) {
    log_exit(function, status);
    PmxCloseToolkit();
    (void)vel_guid_terminate();
    exit(status);
}

[[noreturn]] void refuse_option(const char* option) {
    DisplayMsg(ToolMsg::invalid_option, PMX_STRING, option, PMX_END);
    DisplayUsage();
    Exit(kUsage, kRefused);
}

// Lets a word pass that abbreviates the keyword; refuses any other. Upper-cases the word. The name
// is a fixed one, spelled so.
void VerfiyToken(char* token, const char* keyword, size_t minimum_length = 1) {
    if (!abbreviates(token, keyword, minimum_length)) refuse_option(token);
}

void verify_option(const char* word, size_t length, const OptionRow& row) {
    struct Free {
        void operator()(char* text) const { free(text); }
    };
    const std::unique_ptr<char, Free> token(strndup(word, length));
    if (!token) {
        DisplayMsg(ToolMsg::internal_error, PMX_END);
        Exit(kUsage, kRefused);
    }
    VerfiyToken(token.get(), row.keyword);
}

// A library call that failed: says so and leaves with its status.
void require(int32_t status, const char* call, ToolMsg message) {
    if (status == 0) return;
    DisplayMsg(message, PMX_END);
    Exit(call, status);
}

void scan_for_quiet(int argc, char** argv) {
    for (int i = 1; i < argc && argv[i][0] == '-'; ++i) {
        const OptionRow* row = find_option(argv[i][1]);
        if (!row || row->option != Option::kQuiet) continue;
        verify_option(argv[i] + 1, strlen(argv[i] + 1), *row);
        quiet = 1;
    }
}

void show_banner() {
    if (quiet) return;
    DisplayMsg(ToolMsg::version, PMX_INT, 1, PMX_INT, 3, PMX_INT, 1, PMX_END);
    DisplayMsg(ToolMsg::legal_notice, PMX_INT, 2005, PMX_END);
    puts("");
}

void take_guid_value(const char* value, Request& request) {
    if (!value || !parse_guid_value(value, request.guid_to_write)) {
        DisplayMsg(ToolMsg::invalid_guid, PMX_END);
        Exit(kUsage, kRefused);
    }
    request.guid_at_hand = true;
}

void generate(Guid& guid) {
    require(vel_guid_generate(guid.data()), "vel_guid_generate()", ToolMsg::guid_not_created);
}

void parse_argument(const char* argument, Request& request) {
    trace_text("main", kArgumentLine, "Command line parameter is >%s<", argument);
    const OptionRow* row = argument[0] == '-' ? find_option(argument[1]) : nullptr;
    if (!row) refuse_option(argument);
    const char* word = argument + 1;
    const char* value = row->option == Option::kGuid ? strchr(word, '=') : nullptr;
    verify_option(word, value ? static_cast<size_t>(value - word) : strlen(word), *row);
    switch (row->option) {
        case Option::kCreate:
            request.create = true;
            break;
        case Option::kDecimal:
            request.decimal = true;
            break;
        case Option::kShow:
            request.show = true;
            break;
        case Option::kWrite:
            request.write = true;
            break;
        case Option::kQuiet:
            break;  // taken beforehand
        case Option::kGuid:
            take_guid_value(value ? value + 1 : nullptr, request);
            break;
        case Option::kNew:
            generate(request.guid_to_write);
            request.guid_at_hand = true;
            break;
        case Option::kHelp:
            DisplayUsage();
            DisplayMsg(ToolMsg::help, PMX_END);
            Exit(kUsage, 0);
    }
}

[[noreturn]] void show_host_guid(bool decimal) {
    Guid guid;
    const int32_t status = vel_guid_read(guid.data());
    require(status, "vel_guid_read()",
            status == guid_s_not_found ? ToolMsg::guid_not_found : ToolMsg::guid_not_read);
    DisplayGuid(guid.data(), decimal);
    Exit(kUsage, 0);
}

[[noreturn]] void write_host_guid(const Guid& guid, bool decimal) {
    require(vel_guid_write(guid.data()), "vel_guid_write()", ToolMsg::guid_not_written);
    Guid stored;
    require(vel_guid_read(stored.data()), "vel_guid_read()", ToolMsg::guid_not_read);
    DisplayGuid(stored.data(), decimal);
    Exit(kUsage, 0);
}

// Of two runs that create a GUID at the same moment the later one must find that of the earlier.
// The lock is on the directory, so that it leaves nothing behind, and ends with the process.
// Anybody may take it, so it is not waited for without end.
void wait_for_other_creators() {
    constexpr timespec kPause{.tv_sec = 0, .tv_nsec = 10'000'000};
    constexpr int kMaxPauses = 100;
    const int directory =
        open(vel::guid::kHostGuidDirectory, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOCTTY);
    for (int pauses = 0; flock(directory, LOCK_EX | LOCK_NB) != 0; ++pauses) {
        if (errno != EWOULDBLOCK || pauses == kMaxPauses) return;
        nanosleep(&kPause, nullptr);
    }
}

[[noreturn]] void create_host_guid(bool decimal) {
    Guid guid;
    bool exists = vel_guid_read(guid.data()) == 0;
    if (!exists) {
        wait_for_other_creators();
        exists = vel_guid_read(guid.data()) == 0;
    }
    if (exists) {
        DisplayMsg(ToolMsg::guid_exists, PMX_END);
        DisplayGuid(guid.data(), decimal);
        Exit(kUsage, 0);
    }
    DisplayMsg(ToolMsg::creating_guid, PMX_END);
    generate(guid);
    write_host_guid(guid, decimal);
}

[[noreturn]] void perform(const Request& request, const char* last_argument) {
    if (request.show) show_host_guid(request.decimal);
    if (request.create) create_host_guid(request.decimal);
    if (!request.write) refuse_option(last_argument);
    if (!request.guid_at_hand) {
        DisplayMsg(ToolMsg::option_requires, PMX_STRING, "-Write", PMX_STRING, "-Guid=ff.ff...",
                   PMX_STRING, "-New", PMX_END);
        Exit(kUsage, kRefused);
    }
    write_host_guid(request.guid_to_write, request.decimal);
}

// A parent may have closed descriptors 0 to 2: fill them, or the GUID file would get one of them
// and the banner with it. Where there is no /dev/null a directory serves: it cannot be written to.
void fill_standard_descriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) >= 0) continue;
        if (open("/dev/null", O_RDWR) < 0) (void)open("/", O_RDONLY);
    }
}

}  // namespace

int main(int argc, char** argv) {
    fill_standard_descriptors();
    // What is written to a closed pipe, or beyond a limit on a file's size, must not stop the run.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);

    check_environment();

    if (vel::guid::psSetNlsPath() != 0) return kRefused;
    scan_for_quiet(argc, argv);
    if (start_logging() != 0) return kRefused;
    show_banner();
    if (argc < 2) {
        DisplayUsage();
        Exit(kUsage, kRefused);
    }
    if (getuid() != 0) {
        DisplayMsg(ToolMsg::root_required, PMX_END);
        log_bare(ToolMsg::root_required);  // deliberate: once more, and so also of a quiet run
        Exit(kUsage, kRefused);
    }
    require(vel_guid_init(), "vel_guid_init()", ToolMsg::internal_error);

    Request request;
    for (int i = 1; i < argc; ++i) parse_argument(argv[i], request);
    perform(request, argv[argc - 1]);
}
