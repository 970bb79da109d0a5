// What code sets are called.
#include <ctype.h>
#include <langinfo.h>
#include <locale.h>

#include "i18n/code_set.h"

namespace vel::i18n {

int32_t get_cs_name(char* out, size_t size) {
    if (size == 0) return 1;
    setlocale(LC_ALL, "");  // each time: the process locale is meant to follow the environment
    const char* code_set = nl_langinfo(CODESET);
    if (code_set == nullptr || code_set[0] == '\0') code_set = "ISO88591";
    const size_t length = strnlen(code_set, size - 1);
    memcpy(out, code_set, length);
    out[length] = '\0';
    return 0;
}

// The place for a table of other names; there is none, aliases are files.
static int32_t get_alias(char*, size_t) { return 1; }

// Letters are what the C library calls letters: in a Turkish single-byte locale "win" is no "WIN".
static char upper(char c) { return static_cast<char>(toupper(static_cast<unsigned char>(c))); }

static bool means_os(const char* name) {
    static constexpr const char* kWords[] = {"DOS", "WIN", "OS"};
    for (const char* word : kWords) {
        size_t i = 0;
        while (word[i] != '\0' && upper(name[i]) == word[i]) ++i;
        if (word[i] == '\0' && name[i] == '\0') return true;
    }
    return false;
}

static bool has_prefix(const char* name) {
    return upper(name[0]) == 'O' && upper(name[1]) == 'R' && upper(name[2]) == 'X';
}

int32_t get_table_name(const char* name, char* out, size_t size) {
    if (size == 0) return 1;
    out[0] = '\0';
    char os_name[kNameBufferSize];
    if (means_os(name)) {
        get_cs_name(os_name, sizeof os_name);
        name = os_name;
    }
    if (has_prefix(name)) name += 3;
    size_t length = 0;
    for (; *name != '\0'; ++name) {
        const char c = upper(*name);
        if (!isalnum(static_cast<unsigned char>(c))) continue;
        if (length + 1 == size) {
            out[0] = '\0';
            return 1;
        }
        out[length++] = c;
    }
    out[length] = '\0';
    (void)get_alias(out, size);  // it never has one
    return 0;
}

}  // namespace vel::i18n

int32_t mab_os_cs_name(char* out, size_t size) {
    if (out == nullptr) return 1;
    return vel::i18n::get_table_name("OS", out, size);
}
