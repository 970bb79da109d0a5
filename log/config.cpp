// Configuration objects.
#include "log/config.h"

#include <cstring>
#include <new>

#include "log/lineage.h"
#include "log/toolkit.h"
#include "runtime/owned.h"

namespace vel::log {
namespace {

PmxStringToStringMap* writable_properties(PmxObjCfg* cfg) {
    if (cfg == nullptr) return nullptr;
    if (cfg->properties == nullptr) cfg->properties = StringToStringMap::alloc();
    return cfg->properties;
}

// Reads a property by its type where the configuration or the nearest of its ancestors has it.
template <auto Get>
auto get_inherited(PmxObjCfg* cfg, const char* name, int* found) {
    Lineage lineage(cfg);
    while (PmxObjCfg* const at = lineage.next()) {
        if (StringToStringMap::has(at->properties, name)) return Get(at->properties, name, found);
    }
    return Get(nullptr, name, found);
}

}  // namespace

bool record_parent(PmxObjCfg* cfg, const char* parent) {
    if (cfg->parent != nullptr && strcmp(cfg->parent, parent) == 0) return true;
    char* const copy = RakStringDup(parent);
    if (copy == nullptr) return false;
    RakMemoryFree(std::exchange(cfg->parent, copy));
    return true;
}

int adopt_child(PmxObjCfg* cfg, PmxObjCfg* child) {
    if (cfg->children == nullptr) cfg->children = StringGroup::alloc();
    if (cfg->children == nullptr) return 0;
    // As long as the tree is what the log manager made it, a name that is new is no child yet.
    const int added = toolkit.tree_changed_by_hand
                          ? StringGroup::add(cfg->children, child->name)
                          : StringGroup::add_new(cfg->children, child->name);
    record_parent(child, cfg->name);
    return added;
}

}  // namespace vel::log

using namespace vel::log;

PmxObjCfg* pmxIntlAllocObjCfg(const char* name) {
    if (name == nullptr) return nullptr;
    const size_t name_size = strlen(name) + 1;  // it lies behind the record
    void* const place = RakMemoryMalloc(sizeof(PmxObjCfg) + name_size);
    if (place == nullptr) return nullptr;
    auto* const cfg = new (place) PmxObjCfg{.references = 1};
    cfg->name = static_cast<char*>(memcpy(cfg + 1, name, name_size));
    return cfg;
}

PmxObjCfg* pmxIntlAcquireObjCfg(PmxObjCfg* cfg) {
    if (cfg != nullptr) ++cfg->references;
    return cfg;
}

void pmxIntlReleaseObjCfg(PmxObjCfg* cfg) {
    if (cfg == nullptr || --cfg->references != 0) return;
    RakMemoryFree(cfg->parent);
    StringGroup::free(cfg->children);
    StringToStringMap::free(cfg->properties);
    RakMemoryFree(cfg);
}

char* pmxIntlObjCfgGetName(const PmxObjCfg* cfg) {
    return cfg == nullptr ? nullptr : RakStringDup(cfg->name);
}

int pmxIntlObjCfgIsFromFile(const PmxObjCfg* cfg) { return cfg != nullptr && cfg->from_file != 0; }

void pmxIntlObjCfgSetFromFile(PmxObjCfg* cfg, int from_file) {
    if (cfg != nullptr) cfg->from_file = from_file != 0;
}

PmxObjCfg* pmxIntlObjCfgGetParent(const PmxObjCfg* cfg) {
    return cfg == nullptr ? nullptr : pmxIntlLogMgrGetCfg(cfg->parent);
}

void pmxIntlObjCfgSetParent(PmxObjCfg* cfg, const PmxObjCfg* parent) {
    if (cfg == nullptr || parent == nullptr) return;
    toolkit.tree_changed_by_hand = true;
    record_parent(cfg, parent->name);
}

int pmxIntlObjCfgAddChild(PmxObjCfg* cfg, PmxObjCfg* child) {
    if (cfg == nullptr || child == nullptr) return 0;
    toolkit.tree_changed_by_hand = true;
    return adopt_child(cfg, child);
}

int pmxIntlObjCfgRemChild(PmxObjCfg* cfg, const PmxObjCfg* child) {
    return cfg != nullptr && child != nullptr && StringGroup::rem(cfg->children, child->name);
}

PmxStringGroupLink* pmxIntlObjCfgChildrenNames(const PmxObjCfg* cfg) {
    return cfg == nullptr ? nullptr : StringGroup::begin(cfg->children);
}

PmxStringToStringMapLink* pmxIntlObjCfgProperties(const PmxObjCfg* cfg) {
    return cfg == nullptr ? nullptr : StringToStringMap::begin(cfg->properties);
}

int pmxIntlSetObjCfgProp(PmxObjCfg* cfg, const char* name, const char* text) {
    return pmxIntlSetMapProp(writable_properties(cfg), name, text);
}
int pmxIntlSetObjCfgPropBool(PmxObjCfg* cfg, const char* name, int value) {
    return pmxIntlSetMapPropBool(writable_properties(cfg), name, value);
}
int pmxIntlSetObjCfgPropInt(PmxObjCfg* cfg, const char* name, int32_t value) {
    return pmxIntlSetMapPropInt(writable_properties(cfg), name, value);
}
int pmxIntlSetObjCfgPropLong(PmxObjCfg* cfg, const char* name, int64_t value) {
    return pmxIntlSetMapPropLong(writable_properties(cfg), name, value);
}
int pmxIntlSetObjCfgPropFloat(PmxObjCfg* cfg, const char* name, float value) {
    return pmxIntlSetMapPropFloat(writable_properties(cfg), name, value);
}
int pmxIntlSetObjCfgPropDouble(PmxObjCfg* cfg, const char* name, double value) {
    return pmxIntlSetMapPropDouble(writable_properties(cfg), name, value);
}

char* pmxIntlGetInheritedObjCfgProp(PmxObjCfg* cfg, const char* name, int* found) {
    return get_inherited<pmxIntlGetMapProp>(cfg, name, found);
}
int pmxIntlGetObjCfgPropBool(PmxObjCfg* cfg, const char* name, int* found) {
    return get_inherited<pmxIntlGetMapPropBool>(cfg, name, found);
}
int32_t pmxIntlGetObjCfgPropInt(PmxObjCfg* cfg, const char* name, int* found) {
    return get_inherited<pmxIntlGetMapPropInt>(cfg, name, found);
}
int64_t pmxIntlGetObjCfgPropLong(PmxObjCfg* cfg, const char* name, int* found) {
    return get_inherited<pmxIntlGetMapPropLong>(cfg, name, found);
}
float pmxIntlGetObjCfgPropFloat(PmxObjCfg* cfg, const char* name, int* found) {
    return get_inherited<pmxIntlGetMapPropFloat>(cfg, name, found);
}
double pmxIntlGetObjCfgPropDouble(PmxObjCfg* cfg, const char* name, int* found) {
    return get_inherited<pmxIntlGetMapPropDouble>(cfg, name, found);
}
