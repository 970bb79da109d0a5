// What is looked at on a host, each topic by a check of its own.
#pragma once

#include <sys/stat.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "veltool/config_check.h"

namespace vel::tool {

struct Finding {
    enum State {
        kOk,
        kNote,  // as it may well be meant
        kSkip,  // cannot be looked at by this user
        kFix,
    };
    State state;
    std::string what;
    std::string advice;  // what to do
};
using Findings = std::vector<Finding>;

// A properties file as veltool config check sees it.
struct Properties {
    std::string path;
    Finding::State state = Finding::kOk;  // of the reading
    std::string fault;
    std::unique_ptr<const config::ConfigCheck> check;  // null: it cannot be read

    // What counts of a key, by the names of the objects that have it.
    std::map<std::string, std::string> values_of(std::string_view key) const;
};

struct Host {
    config::Classes classes;
    std::vector<Properties> properties;
};

Properties read_properties(const std::string& path, const config::Classes& classes);

// A name in the place of a command's operand, whatever it has in it.
std::string shell_word(const std::string& name);

// Why somebody other than root can change a file; empty: nobody can.
std::string ownership_fault(const struct stat& status);
std::string ownership_advice(const std::string& path);

void check_locale(const Host& host, Findings& findings);
void check_code_set(const Host& host, Findings& findings);
void check_catalogs(const Host& host, Findings& findings);
void check_installation(const Host& host, Findings& findings);
void check_host_guid(const Host& host, Findings& findings);
void check_properties(const Host& host, Findings& findings);
void check_log_places(const Host& host, Findings& findings);
void check_zip(const Host& host, Findings& findings);
void check_ipc_limits(const Host& host, Findings& findings);
void check_locks(const Host& host, Findings& findings);
void check_channels(const Host& host, Findings& findings);

}  // namespace vel::tool
