#include "veltool/doctor.h"

#include <algorithm>
#include <iostream>

#include "veltool/json_object.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp = R"(Usage: veltool doctor [OPTION...] [FILE...]

Looks for what keeps velguid and programs that log by the toolkit from working as they should: locale,
code set, catalogs, installed files, the GUID of the host, properties files (the installed one, and
each FILE), places of logs, zip, semaphores and shared memory. A line each: "ok", "note", "skip" for
what this user cannot look at, or "FIX" with what to do. The exit status is 1 when there is a "FIX".

  -c, --class NAME[:KIND]  a class that an application registers, as veltool config check takes it
  -j, --json               show each line as a JSON object
  -q, --quiet              show what is to be fixed only
)";

constexpr Option kOptions[] = {{"class", 'c', true}, {"json", 'j', false}, {"quiet", 'q', false}};

constexpr const char* kInstalledProperties = VEL_INSTALL_DIRECTORY "/velguid.properties";

struct Check {
    std::string_view topic;
    void (*look)(const Host&, Findings&);
};

// The catalogs go behind the locale: looking for them changes LANG, as velguid does.
constexpr Check kChecks[] = {
    {"locale", check_locale},
    {"code set", check_code_set},
    {"catalog", check_catalogs},
    {"installation", check_installation},
    {"host GUID", check_host_guid},
    {"properties", check_properties},
    {"place of logs", check_log_places},
    {"zip", check_zip},
    {"limits", check_ipc_limits},
    {"lock", check_locks},
    {"channel", check_channels},
};

constexpr std::string_view kStates[] = {"ok", "note", "skip", "FIX"};

void show(std::string_view topic, const Finding& finding, bool is_json) {
    constexpr size_t kColumn = 6;
    const std::string_view state = kStates[finding.state];
    if (is_json) {
        JsonObject object;
        object.text("state", state).text("topic", topic).text("what", finding.what);
        if (!finding.advice.empty()) object.text("advice", finding.advice);
        std::cout << object.str() << '\n';
        return;
    }
    std::cout << state << std::string(kColumn - state.size(), ' ') << topic << ": "
              << shown(finding.what);
    if (!finding.advice.empty()) std::cout << ": " << shown(finding.advice);
    std::cout << '\n';
}

ExitStatus run(const CommandLine& line) {
    const std::vector<std::string> names = line.values("class");
    Host host{config::Classes(names), {}};
    host.properties.push_back(read_properties(kInstalledProperties, host.classes));
    for (const std::string& path : line.operands())
        host.properties.push_back(read_properties(path, host.classes));
    ExitStatus status = kDone;
    for (const auto& [topic, look] : kChecks) {
        Findings findings;
        look(host, findings);
        for (const Finding& finding : findings) {
            if (finding.state == Finding::kFix) status = kFinding;
            if (finding.state == Finding::kFix || !line.has("quiet"))
                show(topic, finding, line.has("json"));
        }
    }
    return status;
}

}  // namespace

std::string shell_word(const std::string& name) {
    constexpr std::string_view kPlain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,-./:=@_";
    std::string word = name;
    if (name.find_first_not_of(kPlain) != name.npos) {
        for (size_t at = 0; (at = word.find('\'', at)) != word.npos; at += 4)
            word.replace(at, 1, "'\\''");
        word = '\'' + word + '\'';
    }
    return name.starts_with('-') ? "-- " + word : word;
}

std::string ownership_fault(const struct stat& status) {
    constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH, kAllModes = 07777;
    if (status.st_uid != 0) return "belongs to user " + std::to_string(status.st_uid);
    if (S_ISLNK(status.st_mode) || (status.st_mode & kOthersWrite) == 0) return "";
    return "others can write to it (mode " + formatted("%04o", status.st_mode & kAllModes) + ')';
}

std::string ownership_advice(const std::string& path) {
    const std::string word = shell_word(path);
    return "chown -h root " + word + " && chmod go-w " + word;
}

constinit const Verb kDoctor{"doctor", "",       "look for what is wrong on this host",
                             kHelp,    kOptions, run};

}  // namespace vel::tool
