// Starting and stopping the services; handles.
#include "i18n/code_set.h"

#include <stdlib.h>

#include <new>

#include "i18n/environment.h"

namespace vel::i18n {

static constinit uc_ch_t utf8_handle{.kind = kUtf8, .name = "UTF8"};
static constinit uc_ch_t os_handle{.kind = kOs, .name = "OS"};
constinit CodeSets code_sets{
    .utf8_cs = &utf8_handle, .os_cs = &os_handle, .def_cs = &os_handle, .os_loc_cs = &os_handle};

static void let_go(LoadedTable* table) {
    if (table == nullptr || table->holders.fetch_sub(1, std::memory_order_acq_rel) > 1) return;
    free_table(table);
}

static void attach(uc_ch_t& cs, LoadedTable* table) {
    const uint8_t* image = table->image();
    cs.loaded = table;
    cs.table = image;
    cs.table_size = table->size;
    cs.table_flag = 1;
    cs.kind = kind_of(image);
    memcpy(cs.name, image + kNameOffset, kNameSize - 1);  // the field may lack its NUL
    cs.attr_a = load<uint16_t>(image + kAttrAOffset);
    cs.attr_b = load<uint16_t>(image + kAttrBOffset);
    memcpy(cs.attr_c, image + kAttrCOffset, sizeof cs.attr_c);
}

// A copy of a handle; null: no memory. (Not by new, which would bring in all that it takes to
// throw, and with it what the C++ library does before main.)
static uc_ch_t* new_handle(const uc_ch_t& model) {
    void* place = malloc(sizeof model);
    return place == nullptr ? nullptr : new (place) uc_ch_t(model);
}

// A handle for a normalised name or a path.
static uc_ch_t* cs_new(const char* name) {
    if (strcmp(name, "UTF8") == 0) return code_sets.utf8_cs;
    auto* cs = new_handle({});
    if (cs == nullptr) return nullptr;
    if (strcmp(name, "INTERNAL37") == 0) {
        cs->kind = kOs;
        return cs;
    }
    LoadedTable* table = get_table(name);
    if (table == nullptr) {
        free(cs);
        return nullptr;
    }
    attach(*cs, table);
    return cs;
}

}  // namespace vel::i18n

using namespace vel::i18n;

const char mab_version[16] = "MAB Version 2.3";

int32_t mab_init(void) {
    if (code_sets.mab_initialized) return 0;
    code_sets.mab_initialized = true;  // first: what is called below asks for it, too
    const char* named = variable("MAB_CODESET");
    char name[kNameBufferSize];
    get_table_name(named != nullptr ? named : "OS", name, sizeof name);
    uc_ch_t* cs = mab_cs_new(name);
    if (cs == nullptr) cs = mab_cs_new("DEFAULT");
    if (cs != nullptr) mab_set_def_cs(cs);

    mab_os_cs_name(name, sizeof name);
    cs = mab_cs_new(name);
    if (cs == nullptr) cs = mab_cs_new("OSDEFAULT");
    if (cs != nullptr) code_sets.os_loc_cs = cs;
    return 0;
}

int32_t mab_uninit(void) {
    if (!code_sets.mab_initialized) return 0;
    code_sets.mab_initialized = false;
    mab_cs_free(code_sets.def_cs);
    mab_cs_free(code_sets.os_loc_cs);
    forget_environment();
    return 0;
}

uc_ch_t* mab_cs_new(const char* name) {
    if (name == nullptr) return nullptr;
    if (strpbrk(name, "/\\") != nullptr) return cs_new(name);
    char normalised[kNameBufferSize];
    if (get_table_name(name, normalised, sizeof normalised) != 0) return nullptr;
    return cs_new(normalised);
}

int32_t mab_cs_free(uc_ch_t* cs) {
    if (cs == nullptr || cs == code_sets.utf8_cs || cs == code_sets.os_cs) return 0;
    if (cs == code_sets.def_cs) code_sets.def_cs = code_sets.os_cs;
    if (cs == code_sets.os_loc_cs) code_sets.os_loc_cs = code_sets.os_cs;
    let_go(cs->loaded);
    free(cs);
    return 0;
}

uc_ch_t* mab_dup_handle(uc_ch_t* cs) {
    auto* copy = new_handle(*or_default(cs));
    if (copy == nullptr) return nullptr;
    copy->from_state = 0;
    copy->to_state = 0;
    copy->subs_count = 0;
    copy->shared_table = 1;
    if (copy->loaded != nullptr) copy->loaded->holders.fetch_add(1, std::memory_order_relaxed);
    return copy;
}

const void* mab_cs_table(uc_ch_t* cs, uint32_t* size) {
    cs = or_default(cs);
    if (size != nullptr) *size = cs->table == nullptr ? 0 : cs->table_size;
    return cs->table;
}

int32_t mab_set_def_cs(uc_ch_t* cs) {
    mab_init();
    code_sets.def_cs = cs == nullptr ? code_sets.os_cs : cs;
    return 0;
}

uc_ch_t* mab_get_def_cs(void) {
    mab_init();
    return code_sets.def_cs;
}

const char* mab_get_cs_name(uc_ch_t* cs) { return or_default(cs)->name; }
