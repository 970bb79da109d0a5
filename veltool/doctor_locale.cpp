#include <clocale>
#include <cstdlib>

#include "i18n/code_set.h"
#include "runtime/owned.h"
#include "veltool/code_set.h"
#include "veltool/doctor.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

std::string variable(const char* name) {
    const char* const value = getenv(name);
    return value == nullptr ? "" : value;
}

bool is_installed(const std::string& locale) {
    const locale_t made = newlocale(LC_ALL_MASK, locale.c_str(), nullptr);
    if (made == nullptr) return false;
    freelocale(made);
    return true;
}

// Tells of a variable that names no locale; false: it is in order.
bool finds_fault(const char* name, const std::string& value, Findings& findings) {
    const std::string setting = std::string(name) + '=' + value;
    if (value.find('/') != value.npos) {
        findings.push_back({Finding::kFix, setting + " is a path, which velguid drops",
                            "name a locale that locale -a shows"});
        return true;
    }
    if (is_installed(value)) return false;
    findings.push_back(
        {Finding::kFix, setting + " is not installed, so that texts are taken for ASCII",
         "make it (Debian: dpkg-reconfigure locales), or name one that locale -a shows"});
    return true;
}

}  // namespace

void check_locale(const Host&, Findings& findings) {
    const char* const all[] = {"LC_ALL", "LC_CTYPE", "LC_MESSAGES", "LANG"};
    bool is_sound = true;
    for (const char* const name : all) {
        const std::string value = variable(name);
        if (value.empty()) continue;
        if (finds_fault(name, value, findings)) is_sound = false;
        if (name == all[0]) break;  // the others do not count then
    }
    if (!is_sound || setlocale(LC_ALL, "") == nullptr) return;
    const std::string texts = setlocale(LC_CTYPE, nullptr),
                      messages = setlocale(LC_MESSAGES, nullptr);
    findings.push_back(
        {Finding::kOk, texts == messages ? texts : texts + ", messages " + messages, ""});
}

void check_code_set(const Host&, Findings& findings) {
    const std::string own = variable("MAB_CODESET"), name = own.empty() ? "OS" : own;
    char table_name[i18n::kNameBufferSize] = "";
    (void)i18n::get_table_name(name.c_str(), table_name, sizeof table_name);
    const std::string what = std::string(table_name) + (own.empty() ? "" : ", as MAB_CODESET says");
    try {
        const CodeSet code_set(name);
        const i18n::LoadedTable* const table = code_set.handle()->loaded;
        if (table != nullptr && !table->whole) {
            findings.push_back({Finding::kFix, what + ": its table is damaged",
                                "install velguid again; veltool codeset verify tells more"});
        } else if (std::string_view(table_name) == "ANSIX341968") {
            findings.push_back({Finding::kNote, "ASCII: all other characters are shown as \"?\"",
                                "LANG=C.UTF-8 shows them"});
        } else {
            const std::string size = std::to_string(code_set.image().size());
            findings.push_back({Finding::kOk,
                                what + (table == nullptr ? "" : ", table of " + size + " bytes"),
                                ""});
        }
    } catch (const Failure&) {
        findings.push_back({Finding::kFix, what + ": no table, so that texts are not converted",
                            "make one by veltool codeset compile, or use a locale of UTF-8; "
                            "veltool codeset list shows what is there"});
    }
}

}  // namespace vel::tool
