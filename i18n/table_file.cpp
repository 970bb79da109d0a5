// Finding and loading the tables of code sets.
#include <ctype.h>
#include <stdlib.h>
#include <unistd.h>

#include <new>

#include "i18n/code_set.h"
#include "i18n/data_file.h"
#include "i18n/environment.h"

namespace vel::i18n {

static constexpr int kMostReads = 5;            // a table, behind four aliases
static constexpr int32_t kMostAliasBytes = 32;  // of an alias, in the default code set

static bool is_table(const uint8_t* image, size_t size) {
    return size >= kHeaderSize && memcmp(image + kMagicOffset, kMagic, sizeof kMagic) == 0;
}

void free_table(LoadedTable* table) {
    table->~LoadedTable();
    free(table);
}

static LoadedTable* read_file(const char* path) {
    const DataFile file(path);
    if (!file.is_open()) return nullptr;
    const off_t size = file.status().st_size;
    if (size < 0 || static_cast<size_t>(size) > kMaxTableSize) return nullptr;
    const auto length = static_cast<size_t>(size);
    void* block = malloc(sizeof(LoadedTable) + length);
    if (block == nullptr) return nullptr;
    auto* table = new (block) LoadedTable;
    table->size = static_cast<uint32_t>(length);
    if (read(file.descriptor(), table->image(), length) != size) {
        free_table(table);
        return nullptr;
    }
    return table;
}

// Replaces the file name in a path by the one that an alias file holds. Nothing but a plain file
// name is taken, so that an alias leads nowhere else. False when there is none.
static bool follow_alias(LoadedTable& alias, char (&path)[kPathBufferSize]) {
    char text[kMostAliasBytes];
    const int32_t length = mab_from_utf8(nullptr, reinterpret_cast<const char*>(alias.image()),
                                         static_cast<int32_t>(alias.size), text, kMostAliasBytes);
    char* const slash = strrchr(path, '/');
    char* end = slash == nullptr ? path : slash + 1;
    const char* const last = path + kPathBufferSize - 1;
    for (int32_t i = 0; i < length && end < last; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte == '/') return false;
        if (!iscntrl(byte) && !isspace(byte)) *end++ = text[i];
    }
    *end = '\0';
    return true;
}

LoadedTable* load_table(const char* directory, const char* name) {
    char path[kPathBufferSize];
    if (strlen(directory) + strlen(name) + 2 > sizeof path) return nullptr;
    stpcpy(stpcpy(path, directory), name);
    for (int reads = 0; reads < kMostReads; ++reads) {
        LoadedTable* table = read_file(path);
        if (table == nullptr) return nullptr;
        if (is_table(table->image(), table->size)) {
            prepare(*table);
            return table;
        }
        const bool leads_on = follow_alias(*table, path);
        free_table(table);
        if (!leads_on) return nullptr;
    }
    return nullptr;
}

// Where tables are looked for. A variable is left out when it is too long for the margin.
struct Place {
    const char* variable;
    const char* below;
    size_t margin;
};
static constexpr Place kPlaces[] = {
    {"MABDIR", "/codeset/", 10},
    {"MABDIR", "/", 2},
    {"BINDIR", "/../generic/codeset/", 21},
};

LoadedTable* get_table(const char* name) {
    for (const Place& place : kPlaces) {
        const char* value = variable(place.variable);
        if (value == nullptr || strlen(value) + place.margin >= kPathBufferSize) continue;
        char directory[kPathBufferSize];
        stpcpy(stpcpy(directory, value), place.below);
        if (LoadedTable* table = load_table(directory, name); table != nullptr) return table;
    }
    return load_table("", name);
}

}  // namespace vel::i18n
