#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "guid/host_guid.h"
#include "i18n/catalog.h"
#include "i18n/locale_name.h"
#include "veltool/catalog.h"
#include "veltool/doctor.h"

namespace vel::tool {

namespace fs = std::filesystem;

namespace {

// The locale of messages, as catalogs are looked for by it.
std::string message_locale() {
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const value = getenv(name);
        if (value == nullptr || *value == '\0') continue;
        char canonical[i18n::kLocaleSize];
        (void)mab_canonical_loc(value, canonical, sizeof canonical);
        return canonical;
    }
    return "C";
}

bool is_english(const std::string& locale) {
    return locale == "C" || locale == "POSIX" || locale.starts_with("C.") ||
           locale.starts_with("en");
}

// Where an open catalog is.
std::string path_of(mab_cat_t* handle) {
    const int descriptor = i18n::catalog_of(handle)->file.descriptor();
    std::error_code error;
    return fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
}

void check_catalog(const char* name, const std::string& locale, Findings& findings) {
    mab_cat_t* const handle = mab_catopen(name, MAB_CAT_LC_MESSAGES, nullptr);
    if (handle == nullptr) {
        findings.push_back(
            {Finding::kFix,
             std::string(name) + " is not found along NLSPATH=" + mab_get_nlspath() +
                 ", or what is found is damaged; texts are the built-in English ones",
             "install velguid again, or take the damaged one away"});
        return;
    }
    const std::string path = path_of(handle);
    (void)mab_catclose_fully(handle);
    try {
        (void)read_catalog_file(path);
    } catch (const Failure& failure) {
        findings.push_back({Finding::kFix, failure.what(), "install velguid again"});
        return;
    }
    const bool falls_back = fs::path(path).parent_path().filename() == "C" && !is_english(locale);
    findings.push_back({falls_back ? Finding::kNote : Finding::kOk,
                        path + (falls_back ? " is English: there is none for " + locale : ""), ""});
}

}  // namespace

void check_catalogs(const Host&, Findings& findings) {
    const std::string locale = message_locale();
    (void)guid::psSetNlsPath();
    for (const char* const name : {"guidmsgs", "pmxmsg"}) check_catalog(name, locale, findings);
}

}  // namespace vel::tool
