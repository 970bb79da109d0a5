// Configuration objects and their manager.
#pragma once

#include <cstdint>

#include "log/collections.h"
#include "log/object.h"
#include "log/pmx_toolkit.h"

struct PmxObjCfg {
    uint32_t references = 0;
    char* name = nullptr;
    char* parent = nullptr;                      // a name; null: none recorded; "/": the root
    PmxStringGroup* children = nullptr;          // names; null: none yet
    PmxStringToStringMap* properties = nullptr;  // null: none yet
    uint8_t from_file = 0;
    bool on_the_way = false;  // of a walk to the root that is going on
};

PmxObjCfg* pmxIntlAllocObjCfg(const char* name);
char* pmxIntlObjCfgGetName(const PmxObjCfg* cfg);
int pmxIntlObjCfgIsFromFile(const PmxObjCfg* cfg);
void pmxIntlObjCfgSetFromFile(PmxObjCfg* cfg, int from_file);
PmxObjCfg* pmxIntlObjCfgGetParent(const PmxObjCfg* cfg);
void pmxIntlObjCfgSetParent(PmxObjCfg* cfg, const PmxObjCfg* parent);
int pmxIntlObjCfgAddChild(PmxObjCfg* cfg, PmxObjCfg* child);
int pmxIntlObjCfgRemChild(PmxObjCfg* cfg, const PmxObjCfg* child);
PmxStringGroupLink* pmxIntlObjCfgChildrenNames(const PmxObjCfg* cfg);
PmxStringToStringMapLink* pmxIntlObjCfgProperties(const PmxObjCfg* cfg);
int pmxIntlSetObjCfgProp(PmxObjCfg* cfg, const char* name, const char* text);
int pmxIntlSetObjCfgPropBool(PmxObjCfg* cfg, const char* name, int value);
int pmxIntlSetObjCfgPropInt(PmxObjCfg* cfg, const char* name, int32_t value);
int pmxIntlSetObjCfgPropLong(PmxObjCfg* cfg, const char* name, int64_t value);
int pmxIntlSetObjCfgPropFloat(PmxObjCfg* cfg, const char* name, float value);
int pmxIntlSetObjCfgPropDouble(PmxObjCfg* cfg, const char* name, double value);
char* pmxIntlGetInheritedObjCfgProp(PmxObjCfg* cfg, const char* name, int* found);
int pmxIntlGetObjCfgPropBool(PmxObjCfg* cfg, const char* name, int* found);
int32_t pmxIntlGetObjCfgPropInt(PmxObjCfg* cfg, const char* name, int* found);
int64_t pmxIntlGetObjCfgPropLong(PmxObjCfg* cfg, const char* name, int* found);
float pmxIntlGetObjCfgPropFloat(PmxObjCfg* cfg, const char* name, int* found);
double pmxIntlGetObjCfgPropDouble(PmxObjCfg* cfg, const char* name, int* found);

int pmxIntlLogMgrHasCfg(const char* name);
PmxObjCfg* pmxIntlLogMgrGetCfg(const char* name);
int pmxIntlLogMgrAddCfg(PmxObjCfg* cfg);
int pmxIntlLogMgrRemCfg(PmxObjCfg* cfg);
int pmxIntlLogMgrUpdateCfg(PmxObjCfg* cfg);
int pmxIntlLogMgrApplyCfg(PmxObject* object, const char* name);
PmxStringGroupLink* pmxIntlLogMgrConfigNames();
int pmxIntlLogMgrReadProps(const char* path);

// Sets a property of a configuration, which is created as from a file when there is none of its
// name; 0: an empty or null name, a null value, no memory.
int pmxLogMgrAddCfgFromFile(const char* cfg_name, const char* property, const char* value);

// The nearest ancestor that there is, or "/"; a new text.
char* pmxLogMgrGetParentConfigName(PmxObjCfg* cfg);

namespace vel::log {

// The two halves of what joins a child to its parent.
bool record_parent(PmxObjCfg* cfg, const char* parent);
int adopt_child(PmxObjCfg* cfg, PmxObjCfg* child);

bool open_log_manager();
void close_log_manager();

}  // namespace vel::log
