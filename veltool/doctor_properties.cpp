#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "veltool/config_rules.h"
#include "veltool/doctor.h"
#include "veltool/files.h"
#include "veltool/program.h"
#include "veltool/report.h"

namespace vel::tool {

namespace fs = std::filesystem;

namespace {

// Where a log is to be: the directory, or as much of the way to it as is there.
fs::path existing_part(fs::path path) {
    std::error_code error;
    while (!fs::exists(path, error) && path.has_relative_path()) path = path.parent_path();
    return path;
}

void look_at_place(const std::string& key, const fs::path& directory, Findings& findings) {
    constexpr uint64_t kLeastFree = 16 << 20;  // bytes
    const fs::path place = existing_part(directory);
    struct statvfs system {};
    if (statvfs(place.c_str(), &system) != 0) {
        findings.push_back(
            {Finding::kSkip, key + ": " + place.string() + ": " + strerror(errno), ""});
        return;
    }
    std::error_code error;
    if (!fs::is_directory(place, error)) return;  // a finding of the file
    const uint64_t free = uint64_t{system.f_bavail} * system.f_frsize;
    const std::string room = std::to_string(free >> 20) + " MiB free";
    if (free < kLeastFree) {
        findings.push_back({Finding::kFix, key + ": " + place.string() + ": " + room,
                            "make room, or name another place"});
    } else if ((system.f_flag & ST_RDONLY) != 0) {
        findings.push_back({Finding::kFix, key + ": " + place.string() + " is read-only",
                            "name another place, or mount it for writing"});
    } else {
        findings.push_back({Finding::kOk, key + ": " + place.string() + ", " + room, ""});
    }
}

// It names programs that are run, and files that are written.
void look_at_owner(const std::string& path, Findings& findings) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return;
    const bool is_own = status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    const std::string fault = is_own ? "" : ownership_fault(status);
    if (!fault.empty())
        findings.push_back({Finding::kFix, path + ": " + fault, ownership_advice(path)});
}

void look_at_file(const Properties& file, Findings& findings) {
    if (file.check == nullptr) {
        const bool is_missing = file.state == Finding::kFix;
        findings.push_back({file.state, file.fault,
                            is_missing ? "nothing is logged without it; put one there" : ""});
        return;
    }
    const size_t before = findings.size();
    look_at_owner(file.path, findings);
    if (const size_t faults = file.check->faults(); faults > 0) {
        findings.push_back({Finding::kFix, file.path + ": " + counted(faults, "finding"),
                            "veltool config check " + shell_word(file.path) +
                                (faults == 1 ? " shows it" : " shows them")});
    }
    if (findings.size() == before) {
        findings.push_back({Finding::kOk,
                            file.path + ": " + counted(file.check->entries(), "entry", "entries") +
                                ", " + counted(file.check->model().objects(), "object"),
                            ""});
    }
}

}  // namespace

std::map<std::string, std::string> Properties::values_of(std::string_view key) const {
    std::map<std::string, std::string> found;
    if (check == nullptr) return found;
    for (const config::Configuration& each : check->model().configurations()) {
        const bool counts = each.cls != nullptr && config::has(each, key) &&
                            config::why_idle(*each.cls, key) == nullptr;
        std::string value = counts ? config::effective_value(each, key) : "";
        if (!value.empty()) found.emplace(each.name, std::move(value));
    }
    return found;
}

Properties read_properties(const std::string& path, const config::Classes& classes) {
    Properties file{.path = path, .fault = "", .check = nullptr};
    try {
        std::string text = read_file(path, config::kMaxFileBytes);
        file.check = std::make_unique<config::ConfigCheck>(std::move(text), classes);
    } catch (const Failure& failure) {
        const bool is_hidden = access(path.c_str(), R_OK) != 0 && errno == EACCES;
        file.state = is_hidden ? Finding::kSkip : Finding::kFix;
        const std::string what = failure.what();
        file.fault = what.starts_with(path) ? what : path + ": " + what;
    }
    return file;
}

void check_properties(const Host& host, Findings& findings) {
    for (const Properties& file : host.properties) look_at_file(file, findings);
}

void check_log_places(const Host& host, Findings& findings) {
    for (const Properties& file : host.properties) {
        for (const auto& [name, value] : file.values_of("fileName")) {
            if (value.starts_with('/'))
                look_at_place(name + ".fileName", fs::path(value).parent_path(), findings);
        }
        for (const auto& [name, value] : file.values_of("baseDir")) {
            if (value.starts_with('/')) look_at_place(name + ".baseDir", value, findings);
        }
    }
}

void check_zip(const Host& host, Findings& findings) {
    for (const Properties& file : host.properties) {
        for (const auto& [name, value] : file.values_of("zipCmdPath")) {
            if (!is_program(value)) continue;  // a finding of the file
            findings.push_back({Finding::kOk, name, ""});
            findings.back().what.append(".zipCmdPath: ").append(value);
        }
    }
    if (!findings.empty()) return;
    const std::string program = find_program("zip");
    findings.push_back(program.empty() ? Finding{Finding::kNote, "there is none",
                                                 "install zip to have captures in archives"}
                                       : Finding{Finding::kOk, program, ""});
}

}  // namespace vel::tool
