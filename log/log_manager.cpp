// The log manager: all configurations by name, and the tree that their dotted names make.
#include <cstring>

#include "log/config.h"
#include "log/lineage.h"
#include "log/properties_reader.h"
#include "log/toolkit.h"
#include "runtime/owned.h"

namespace vel::log {
namespace {

using runtime::OwnedText;

constexpr const char* kRoot = "/";

// Children of the parent that belong elsewhere by what they record as their parent move under the
// new configuration. As a rule a child records the parent whose child it is, and nothing moves;
// only where the tree was changed by hand is there anything to look at.
void take_over_children(PmxObjCfg* parent, const char* parent_name, PmxObjCfg* cfg) {
    if (!toolkit.tree_changed_by_hand) return;
    Walk<PmxStringGroupLink> walk(parent->children);
    while (const PmxStringGroupLink* const link = walk.next()) {
        const CfgRef child = CfgRef::adopt(pmxIntlLogMgrGetCfg(link->item));
        const OwnedText its_parent(pmxLogMgrGetParentConfigName(child.get()));
        if (its_parent == nullptr || strcmp(its_parent.get(), parent_name) == 0) continue;
        StringGroup::rem(parent->children, child->name);
        adopt_child(cfg, child.get());
    }
}

}  // namespace

bool open_log_manager() {
    if (toolkit.manager_ready) return true;
    toolkit.configuration_names = StringGroup::alloc();
    toolkit.configurations = StringToObjCfgMap::alloc();
    toolkit.manager_ready =
        toolkit.configuration_names != nullptr && toolkit.configurations != nullptr;
    if (!toolkit.manager_ready) close_log_manager();
    return toolkit.manager_ready;
}

void close_log_manager() {
    StringGroup::free(std::exchange(toolkit.configuration_names, nullptr));
    StringToObjCfgMap::free(std::exchange(toolkit.configurations, nullptr));
    toolkit.manager_ready = false;
    toolkit.tree_changed_by_hand = false;
}

}  // namespace vel::log

using namespace vel::log;

char* pmxLogMgrGetParentConfigName(PmxObjCfg* cfg) {
    if (cfg == nullptr) return nullptr;
    if (cfg->parent != nullptr) return RakStringDup(cfg->parent);
    OwnedText name(RakStringDup(cfg->name));
    if (name == nullptr) return nullptr;
    while (char* const dot = strrchr(name.get(), '.')) {
        *dot = '\0';
        if (!StringToObjCfgMap::has(toolkit.configurations, name.get())) continue;
        record_parent(cfg, name.get());
        return name.release();
    }
    return RakStringDup(kRoot);
}

int pmxIntlLogMgrHasCfg(const char* name) {
    return StringToObjCfgMap::has(toolkit.configurations, name);
}

PmxObjCfg* pmxIntlLogMgrGetCfg(const char* name) {
    if (name == nullptr || strcmp(name, kRoot) == 0 || !toolkit.manager_ready) return nullptr;
    if (PmxObjCfg* const present = StringToObjCfgMap::get(toolkit.configurations, name)) {
        return present;
    }
    CfgRef cfg = CfgRef::adopt(pmxIntlAllocObjCfg(name));
    return pmxIntlLogMgrAddCfg(cfg.get()) ? cfg.release() : nullptr;
}

int pmxIntlLogMgrAddCfg(PmxObjCfg* cfg) {
    if (cfg == nullptr || cfg->name == nullptr || pmxIntlLogMgrHasCfg(cfg->name)) return 0;
    if (!StringToObjCfgMap::put(toolkit.configurations, cfg->name, cfg)) return 0;
    const OwnedText parent_name(pmxLogMgrGetParentConfigName(cfg));
    const CfgRef parent = CfgRef::adopt(pmxIntlLogMgrGetCfg(parent_name.get()));
    if (parent) {
        record_parent(cfg, parent->name);
        take_over_children(parent.get(), parent_name.get(), cfg);
        adopt_child(parent.get(), cfg);
    }
    StringGroup::add_new(toolkit.configuration_names, cfg->name);  // as it is in the table
    return 1;
}

int pmxIntlLogMgrRemCfg(PmxObjCfg* cfg) {
    if (cfg == nullptr) return 0;
    const PmxStringToObjCfgMapLink* const entry =
        StringToObjCfgMap::find(toolkit.configurations, cfg->name);
    if (entry == nullptr) return 0;
    // Of one that has only the name, what it records need not be where that name is.
    if (entry->value != cfg) toolkit.tree_changed_by_hand = true;
    const CfgRef pin = CfgRef::share(cfg);
    StringToObjCfgMap::rem(toolkit.configurations, cfg->name);
    const bool own_parent =
        RakStringCmp(cfg->parent, cfg->name) == 0;  // it would come back by that
    const CfgRef parent = CfgRef::adopt(own_parent ? nullptr : pmxIntlObjCfgGetParent(cfg));
    pmxIntlObjCfgRemChild(parent.get(), cfg);
    PmxStringGroup* const children = std::exchange(cfg->children, nullptr);
    for (const PmxStringGroupLink* link = StringGroup::begin(children); link != nullptr && parent;
         link = link->next) {
        const CfgRef child = CfgRef::adopt(pmxIntlLogMgrGetCfg(link->item));
        if (child) adopt_child(parent.get(), child.get());
    }
    StringGroup::free(children);
    StringGroup::rem(toolkit.configuration_names, cfg->name);
    return 1;
}

int pmxIntlLogMgrUpdateCfg(PmxObjCfg* cfg) {
    return pmxIntlLogMgrRemCfg(cfg) && pmxIntlLogMgrAddCfg(cfg);
}

int pmxIntlLogMgrApplyCfg(PmxObject* object, const char* name) {
    if (object == nullptr) return 0;
    const CfgRef cfg = CfgRef::adopt(pmxIntlLogMgrGetCfg(name));
    if (!cfg) return 0;
    Lineage lineage(cfg.get());
    while (lineage.next() != nullptr) {
    }
    while (const PmxObjCfg* const at = lineage.previous()) {
        Walk<PmxStringToStringMapLink> walk(at->properties);
        while (const PmxStringToStringMapLink* const link = walk.next()) {
            pmxIntlSetObjProp(object, link->key, link->value);
        }
    }
    return 1;
}

PmxStringGroupLink* pmxIntlLogMgrConfigNames() {
    return StringGroup::begin(toolkit.configuration_names);
}

int pmxIntlLogMgrReadProps(const char* path) {
    return path != nullptr && pmxDoReadProps(path, nullptr);
}

int pmxLogMgrAddCfgFromFile(const char* cfg_name, const char* property, const char* value) {
    if (cfg_name == nullptr || *cfg_name == '\0' || property == nullptr || *property == '\0' ||
        value == nullptr) {
        return 0;
    }
    const bool was_there = pmxIntlLogMgrHasCfg(cfg_name) != 0;
    const CfgRef cfg = CfgRef::adopt(pmxIntlLogMgrGetCfg(cfg_name));
    if (!cfg || !pmxIntlSetObjCfgProp(cfg.get(), property, value)) return 0;
    if (!was_there) pmxIntlObjCfgSetFromFile(cfg.get(), 1);
    return 1;
}
