// The two environment variables that are this library's own.
#include "i18n/environment.h"

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "i18n/mab.h"

namespace vel::i18n {

// The strings last handed to putenv. The environment keeps pointing at them.
struct Environment {
    char* nls_path = nullptr;
    char* mabdir = nullptr;
};
static constinit Environment environment;

static bool in_environment(const char* text) {
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        if (*entry == text) return true;
    }
    return false;
}

// Frees a string, unless the environment still reads it.
static void release(char*& text) {
    if (text == nullptr || in_environment(text)) return;
    free(text);
    text = nullptr;
}

// Puts "name" + "=" + the parts into the environment, and lets go of what `held` was there before.
static int32_t put(char*& held, const char* name, const char* first, const char* second = "",
                   const char* third = "") {
    const char* const parts[] = {name, "=", first, second, third};
    size_t size = 1;
    for (const char* part : parts) size += strlen(part);
    char* text = static_cast<char*>(malloc(size));
    if (text == nullptr) return -1;
    char* end = text;
    for (const char* part : parts) end = stpcpy(end, part);
    if (putenv(text) != 0) {
        free(text);
        return -1;
    }
    release(held);
    held = text;
    return 0;
}

static const char* value_of(const char* name) {
    const char* value = getenv(name);
    return value == nullptr ? "" : value;
}

const char* variable(const char* name) {
    const char* value = getenv(name);
    return value != nullptr && value[0] != '\0' ? value : nullptr;
}

void forget_environment() {
    release(environment.nls_path);
    release(environment.mabdir);
}

}  // namespace vel::i18n

using namespace vel::i18n;

int32_t mab_set_nlspath(const char* path_list) {
    return path_list == nullptr ? -1 : put(environment.nls_path, "NLSPATH", path_list);
}

int32_t mab_prepend_nlspath(const char* path_list) {
    // The ":" stands even before an empty old value: an empty element then ends the list.
    return path_list == nullptr
               ? -1
               : put(environment.nls_path, "NLSPATH", path_list, ":", mab_get_nlspath());
}

const char* mab_get_nlspath(void) { return value_of("NLSPATH"); }

int32_t mab_set_dir(const char* directory) {
    return directory == nullptr ? -1 : put(environment.mabdir, "MABDIR", directory);
}

const char* mab_get_dir(void) { return value_of("MABDIR"); }
