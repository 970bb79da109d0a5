// Variables by which the C library opens files of its own accord. The environment may be anybody's:
// at a pipe the run would stop for good, and a device might feel that it was opened.
#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "common/tool.h"

namespace {

constexpr const char* kZones = "/usr/share/zoneinfo";
constexpr int kMostLocales = 1000;    // to look at; there are some 500 in the world
constexpr int kMostDirectories = 16;  // the C library takes minutes for some thousands

// Conversions and host names do without these.
constexpr const char* kUnneeded[] = {"GCONV_PATH", "HOSTALIASES", "RESOLV_HOST_CONF"};

constexpr const char* kLocaleNames[] = {"LC_ALL", "LANG", "LANGUAGE"};
constexpr const char* kCategories[] = {
    "LC_ADDRESS", "LC_COLLATE",  "LC_CTYPE",   "LC_IDENTIFICATION", "LC_MEASUREMENT", "LC_MESSAGES",
    "LC_NAME",    "LC_MONETARY", "LC_NUMERIC", "LC_PAPER",          "LC_TELEPHONE",   "LC_TIME",
};

bool is_set(const char* value) { return value && *value; }

// Makes a path; false: it does not fit, so that nobody else can open it either.
template <class... Parts>
bool join(char (&path)[PATH_MAX], const char* format, Parts... parts) {
    return snprintf(path, sizeof path, format, parts...) < PATH_MAX;
}

// ---- The time zone --------------------------------------------------------------------------

// Something is there, and it is no regular file.
bool leads_astray(const char* directory, const char* name) {
    char path[PATH_MAX];
    struct stat status;
    const bool fits = *name == '/' ? join(path, "%s", name) : join(path, "%s/%s", directory, name);
    return fits && stat(path, &status) == 0 && !S_ISREG(status.st_mode);
}

void check_time_zone() {
    const char* zone = getenv("TZ");
    if (!zone) return;
    if (*zone == ':') ++zone;
    const char* const named = getenv("TZDIR");
    const char* const directory = is_set(named) ? named : kZones;
    // An empty zone is "Universal"; the rules of one that is spelled out may be in "posixrules".
    for (const char* name : {zone, "Universal", "posixrules"}) {
        if (!leads_astray(directory, name)) continue;
        unsetenv("TZ");
        unsetenv("TZDIR");
        return;
    }
}

// ---- Locales --------------------------------------------------------------------------------

// The files of a category are "LC_..." or, when that is a directory, "SYS_LC_..." in it.
bool is_harmless(int directory, const char* locale, const char* category) {
    char path[PATH_MAX];
    struct stat status;
    if (!join(path, "%s/%s", locale, category)) return true;
    if (fstatat(directory, path, &status, 0) != 0 || S_ISREG(status.st_mode)) return true;
    if (!S_ISDIR(status.st_mode) || !join(path, "%s/%s/SYS_%s", locale, category, category))
        return false;
    return fstatat(directory, path, &status, 0) != 0 || S_ISREG(status.st_mode);
}

// All locales are looked at, as aliases and shortened names may lead to any of them.
bool are_harmless(DIR* directory, int& locales) {
    while (const dirent* entry = readdir(directory)) {
        if (++locales > kMostLocales) return false;
        for (const char* category : kCategories) {
            if (!is_harmless(dirfd(directory), entry->d_name, category)) return false;
        }
    }
    return true;
}

bool is_harmless_path(const char* list) {
    int locales = 0;
    for (int directories = 0; *list; ++directories) {
        if (directories == kMostDirectories) return false;
        const size_t length = strcspn(list, ":");
        char path[PATH_MAX];
        if (length > 0 && join(path, "%.*s", static_cast<int>(length), list)) {
            DIR* const directory = opendir(path);
            const bool harmless = !directory || are_harmless(directory, locales);
            if (directory) closedir(directory);
            if (!harmless) return false;
        }
        list += length + (list[length] == ':');
    }
    return true;
}

// A locale's name may be the path of its directory, but that is nothing that an installation has.
void drop_path(const char* variable) {
    const char* const value = getenv(variable);
    if (value && strchr(value, '/')) unsetenv(variable);
}

void check_locales() {
    for (const char* variable : kLocaleNames) drop_path(variable);
    for (const char* variable : kCategories) drop_path(variable);
    const char* const list = getenv("LOCPATH");
    if (list && !is_harmless_path(list)) unsetenv("LOCPATH");
}

}  // namespace

void check_environment() {
    for (const char* variable : kUnneeded) unsetenv(variable);
    check_time_zone();
    check_locales();
}
