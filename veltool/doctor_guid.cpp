#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "guid/host_guid.h"
#include "veltool/doctor.h"
#include "veltool/id.h"

namespace vel::tool {

static void check_origin(const Guid& guid, Findings& findings) {
    const auto [verdict, why] = origin_of(guid);
    if (verdict == Origin::kElsewhere) {
        findings.push_back({Finding::kNote, why,
                            "if this host is a copy of another one, give it a GUID of its own: "
                            "velguid -Write -New"});
    } else {
        findings.push_back({Finding::kOk, canonical_text(guid) + ": " + why, ""});
    }
}

void check_host_guid(const Host&, Findings& findings) {
    const std::string path = guid::kHostGuidFile;
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        const bool is_missing = errno == ENOENT;
        findings.push_back({is_missing ? Finding::kFix : Finding::kSkip,
                            path + ": " + strerror(errno), is_missing ? "velguid -Create" : ""});
        return;
    }
    if (S_ISLNK(status.st_mode)) {
        findings.push_back({Finding::kNote, path + " is a symbolic link", ""});
        if (stat(path.c_str(), &status) != 0) status = {};
    }
    if (!S_ISREG(status.st_mode)) {
        findings.push_back(
            {Finding::kFix, path + " is no regular file", "remove it; velguid -Create makes it"});
        return;
    }
    if (const std::string fault = ownership_fault(status); !fault.empty()) {
        findings.push_back({Finding::kFix, path + ": " + fault, ownership_advice(path)});
    }
    try {
        check_origin(read_guid_file(path), findings);
    } catch (const Failure& failure) {
        const bool is_hidden = (status.st_mode & S_IROTH) == 0;
        if (is_hidden && access(path.c_str(), R_OK) != 0) {
            findings.push_back({Finding::kSkip, failure.what(), ""});
        } else {
            findings.push_back({Finding::kFix, failure.what(), "velguid -Create"});
        }
    }
}

}  // namespace vel::tool
