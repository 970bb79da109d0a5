#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sstream>

#include "veltool/doctor.h"
#include "veltool/files.h"

namespace vel::tool {

namespace fs = std::filesystem;

namespace {

const std::string kPlace = VEL_INSTALL_DIRECTORY;
constexpr const char* kAgain = "install velguid again";

// What there is of it whoever has installed it. A package keeps a list of its own of the rest.
constexpr const char* kAlways[] = {
    "",         "/bin", "/bin/velguid",    "/bin/veltool",
    "/codeset", "/C",   "/C/guidmsgs.cat", "/C/pmxmsg.cat",
};

// The list that ./dev install leaves behind: files, and the folders of those that are ours alone.
std::vector<std::string> installed_files() {
    constexpr size_t kMostBytes = 1 << 20;
    std::vector<std::string> paths;
    for (const char* const name : kAlways) paths.push_back(kPlace + name);
    const std::string list = kPlace + "/installed-files";
    if (!fs::exists(list)) return paths;
    std::istringstream lines(read_file(list, kMostBytes));
    for (std::string path; std::getline(lines, path);) {
        if (path.starts_with('/')) paths.push_back(path);
    }
    std::ranges::sort(paths);
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    return paths;
}

// Nothing, when a file is as it should be.
Findings look_at(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        const bool is_hidden = errno == EACCES;
        return {
            {is_hidden ? Finding::kSkip : Finding::kFix, path + ": " + strerror(errno), kAgain}};
    }
    Findings findings;
    if (const std::string fault = ownership_fault(status); !fault.empty())
        findings.push_back({Finding::kFix, path + ": " + fault, ownership_advice(path)});
    if (S_ISLNK(status.st_mode) && stat(path.c_str(), &status) != 0)
        findings.push_back({Finding::kFix, path + " is a link that leads nowhere", kAgain});
    constexpr mode_t kAllRun = S_IXUSR | S_IXGRP | S_IXOTH;
    const bool is_program = fs::path(path).parent_path() == kPlace + "/bin";
    if (is_program && (status.st_mode & kAllRun) != kAllRun)
        findings.push_back(
            {Finding::kFix, path + " cannot be run by all", "chmod 755 " + shell_word(path)});
    return findings;
}

}  // namespace

void check_installation(const Host&, Findings& findings) {
    constexpr size_t kMostTold = 10;
    struct stat status {};
    if (lstat(kPlace.c_str(), &status) != 0 && errno == ENOENT) {
        findings.push_back({Finding::kFix, "there is no " + kPlace, "install velguid"});
        return;
    }
    size_t faulty = 0;
    std::vector<std::string> paths;
    try {
        paths = installed_files();
    } catch (const Failure& failure) {
        findings.push_back({Finding::kFix, failure.what(), kAgain});
        return;
    }
    for (const std::string& path : paths) {
        const Findings faults = look_at(path);
        if (faults.empty()) continue;
        if (++faulty <= kMostTold) std::ranges::copy(faults, std::back_inserter(findings));
    }
    if (faulty > kMostTold) {
        findings.push_back(
            {Finding::kFix, "and " + std::to_string(faulty - kMostTold) + " other files", kAgain});
    }
    if (faulty == 0) {
        findings.push_back({Finding::kOk,
                            std::to_string(paths.size()) + " files are there, and root's alone",
                            ""});
    }
}

}  // namespace vel::tool
