// The locked halves of the collections' calls, in the order of their header.
#include "log/api_lock.h"
#include "log/collections.h"
#include "log/pmx_collections.h"

using vel::log::locked;

// Texts by name
PmxStringToStringMap* PmxAllocStringToStringMap() {
    return locked<pmxIntlAllocStringToStringMap>();
}
void PmxFreeStringToStringMap(PmxStringToStringMap* map) {
    locked<pmxIntlFreeStringToStringMap>(map);
}
int PmxStringToStringMapPut(PmxStringToStringMap* map, const char* key, const char* value) {
    return locked<pmxIntlStringToStringMapPut>(map, key, value);
}
char* PmxStringToStringMapGet(const PmxStringToStringMap* map, const char* key) {
    return locked<pmxIntlStringToStringMapGet>(map, key);
}
int PmxStringToStringMapHasKey(const PmxStringToStringMap* map, const char* key) {
    return locked<pmxIntlStringToStringMapHasKey>(map, key);
}
void PmxStringToStringMapRem(PmxStringToStringMap* map, const char* key) {
    locked<pmxIntlStringToStringMapRem>(map, key);
}
PmxStringToStringMap* PmxCopyStringToStringMap(const PmxStringToStringMap* map) {
    return locked<pmxIntlCopyStringToStringMap>(map);
}
PmxStringToStringMapLink* PmxStringToStringMapIterator(const PmxStringToStringMap* map) {
    return locked<pmxIntlStringToStringMapIterator>(map);
}
int PmxStringToStringMapIterHasNext(const PmxStringToStringMapLink* it) {
    return locked<pmxIntlStringToStringMapIterHasNext>(it);
}
char* PmxStringToStringMapIterGetKey(const PmxStringToStringMapLink* it) {
    return locked<pmxIntlStringToStringMapIterGetKey>(it);
}
char* PmxStringToStringMapIterGetVal(const PmxStringToStringMapLink* it) {
    return locked<pmxIntlStringToStringMapIterGetVal>(it);
}
PmxStringToStringMapLink* PmxStringToStringMapIterNext(const PmxStringToStringMapLink* it) {
    return locked<pmxIntlStringToStringMapIterNext>(it);
}

// Objects by name
PmxStringToObjMap* PmxAllocStringToObjMap() { return locked<pmxIntlAllocStringToObjMap>(); }
void PmxFreeStringToObjMap(PmxStringToObjMap* map) { locked<pmxIntlFreeStringToObjMap>(map); }
int PmxStringToObjMapPut(PmxStringToObjMap* map, const char* key, PmxObject* value) {
    return locked<pmxIntlStringToObjMapPut>(map, key, value);
}
PmxObject* PmxStringToObjMapGet(const PmxStringToObjMap* map, const char* key) {
    return locked<pmxIntlStringToObjMapGet>(map, key);
}
int PmxStringToObjMapHasKey(const PmxStringToObjMap* map, const char* key) {
    return locked<pmxIntlStringToObjMapHasKey>(map, key);
}
void PmxStringToObjMapRem(PmxStringToObjMap* map, const char* key) {
    locked<pmxIntlStringToObjMapRem>(map, key);
}
PmxStringToObjMap* PmxCopyStringToObjMap(const PmxStringToObjMap* map) {
    return locked<pmxIntlCopyStringToObjMap>(map);
}
PmxStringToObjMapLink* PmxStringToObjMapIterator(const PmxStringToObjMap* map) {
    return locked<pmxIntlStringToObjMapIterator>(map);
}
int PmxStringToObjMapIterHasNext(const PmxStringToObjMapLink* it) {
    return locked<pmxIntlStringToObjMapIterHasNext>(it);
}
char* PmxStringToObjMapIterGetKey(const PmxStringToObjMapLink* it) {
    return locked<pmxIntlStringToObjMapIterGetKey>(it);
}
PmxObject* PmxStringToObjMapIterGetVal(const PmxStringToObjMapLink* it) {
    return locked<pmxIntlStringToObjMapIterGetVal>(it);
}
PmxStringToObjMapLink* PmxStringToObjMapIterNext(const PmxStringToObjMapLink* it) {
    return locked<pmxIntlStringToObjMapIterNext>(it);
}

// Configurations by name
PmxStringToObjCfgMap* PmxAllocStringToObjCfgMap() {
    return locked<pmxIntlAllocStringToObjCfgMap>();
}
void PmxFreeStringToObjCfgMap(PmxStringToObjCfgMap* map) {
    locked<pmxIntlFreeStringToObjCfgMap>(map);
}
int PmxStringToObjCfgMapPut(PmxStringToObjCfgMap* map, const char* key, PmxObjCfg* value) {
    return locked<pmxIntlStringToObjCfgMapPut>(map, key, value);
}
PmxObjCfg* PmxStringToObjCfgMapGet(const PmxStringToObjCfgMap* map, const char* key) {
    return locked<pmxIntlStringToObjCfgMapGet>(map, key);
}
int PmxStringToObjCfgMapHasKey(const PmxStringToObjCfgMap* map, const char* key) {
    return locked<pmxIntlStringToObjCfgMapHasKey>(map, key);
}
void PmxStringToObjCfgMapRem(PmxStringToObjCfgMap* map, const char* key) {
    locked<pmxIntlStringToObjCfgMapRem>(map, key);
}
PmxStringToObjCfgMap* PmxCopyStringToObjCfgMap(const PmxStringToObjCfgMap* map) {
    return locked<pmxIntlCopyStringToObjCfgMap>(map);
}
PmxStringToObjCfgMapLink* PmxStringToObjCfgMapIterator(const PmxStringToObjCfgMap* map) {
    return locked<pmxIntlStringToObjCfgMapIterator>(map);
}
int PmxStringToObjCfgMapIterHasNext(const PmxStringToObjCfgMapLink* it) {
    return locked<pmxIntlStringToObjCfgMapIterHasNext>(it);
}
char* PmxStringToObjCfgMapIterGetKey(const PmxStringToObjCfgMapLink* it) {
    return locked<pmxIntlStringToObjCfgMapIterGetKey>(it);
}
PmxObjCfg* PmxStringToObjCfgMapIterGetVal(const PmxStringToObjCfgMapLink* it) {
    return locked<pmxIntlStringToObjCfgMapIterGetVal>(it);
}
PmxStringToObjCfgMapLink* PmxStringToObjCfgMapIterNext(const PmxStringToObjCfgMapLink* it) {
    return locked<pmxIntlStringToObjCfgMapIterNext>(it);
}

// Class records by name
PmxStringToObjClassMap* PmxAllocStringToObjClassMap() {
    return locked<pmxIntlAllocStringToObjClassMap>();
}
void PmxFreeStringToObjClassMap(PmxStringToObjClassMap* map) {
    locked<pmxIntlFreeStringToObjClassMap>(map);
}
int PmxStringToObjClassMapPut(PmxStringToObjClassMap* map, const char* key, PmxObjClass* value) {
    return locked<pmxIntlStringToObjClassMapPut>(map, key, value);
}
PmxObjClass* PmxStringToObjClassMapGet(const PmxStringToObjClassMap* map, const char* key) {
    return locked<pmxIntlStringToObjClassMapGet>(map, key);
}
int PmxStringToObjClassMapHasKey(const PmxStringToObjClassMap* map, const char* key) {
    return locked<pmxIntlStringToObjClassMapHasKey>(map, key);
}
void PmxStringToObjClassMapRem(PmxStringToObjClassMap* map, const char* key) {
    locked<pmxIntlStringToObjClassMapRem>(map, key);
}
PmxStringToObjClassMap* PmxCopyStringToObjClassMap(const PmxStringToObjClassMap* map) {
    return locked<pmxIntlCopyStringToObjClassMap>(map);
}
PmxStringToObjClassMapLink* PmxStringToObjClassMapIterator(const PmxStringToObjClassMap* map) {
    return locked<pmxIntlStringToObjClassMapIterator>(map);
}
int PmxStringToObjClassMapIterHasNext(const PmxStringToObjClassMapLink* it) {
    return locked<pmxIntlStringToObjClassMapIterHasNext>(it);
}
char* PmxStringToObjClassMapIterGetKey(const PmxStringToObjClassMapLink* it) {
    return locked<pmxIntlStringToObjClassMapIterGetKey>(it);
}
PmxObjClass* PmxStringToObjClassMapIterGetVal(const PmxStringToObjClassMapLink* it) {
    return locked<pmxIntlStringToObjClassMapIterGetVal>(it);
}
PmxStringToObjClassMapLink* PmxStringToObjClassMapIterNext(const PmxStringToObjClassMapLink* it) {
    return locked<pmxIntlStringToObjClassMapIterNext>(it);
}

// Group of texts
PmxStringGroup* PmxAllocStringGroup() { return locked<pmxIntlAllocStringGroup>(); }
void PmxFreeStringGroup(PmxStringGroup* group) { locked<pmxIntlFreeStringGroup>(group); }
int PmxStringGroupAdd(PmxStringGroup* group, const char* text) {
    return locked<pmxIntlStringGroupAdd>(group, text);
}
int PmxStringGroupRem(PmxStringGroup* group, const char* text) {
    return locked<pmxIntlStringGroupRem>(group, text);
}
PmxStringGroupLink* PmxStringGroupGetLink(const PmxStringGroup* group, const char* text) {
    return locked<pmxIntlStringGroupGetLink>(group, text);
}
PmxStringGroupLink* PmxStringGroupIterator(const PmxStringGroup* group) {
    return locked<pmxIntlStringGroupIterator>(group);
}
int PmxStringGroupIterHasNext(const PmxStringGroupLink* it) {
    return locked<pmxIntlStringGroupIterHasNext>(it);
}
char* PmxStringGroupIterGet(const PmxStringGroupLink* it) {
    return locked<pmxIntlStringGroupIterGet>(it);
}
PmxStringGroupLink* PmxStringGroupIterNext(const PmxStringGroupLink* it) {
    return locked<pmxIntlStringGroupIterNext>(it);
}
PmxStringGroupLink* PmxStringGroupIterRem(PmxStringGroupLink* it) {
    return locked<pmxIntlStringGroupIterRem>(it);
}

// Group of listeners
PmxListenerGroup* PmxAllocListenerGroup() { return locked<pmxIntlAllocListenerGroup>(); }
void PmxFreeListenerGroup(PmxListenerGroup* group) { locked<pmxIntlFreeListenerGroup>(group); }
int PmxListenerGroupAdd(PmxListenerGroup* group, PmxObject* listener) {
    return locked<pmxIntlListenerGroupAdd>(group, listener);
}
int PmxListenerGroupRem(PmxListenerGroup* group, PmxObject* listener) {
    return locked<pmxIntlListenerGroupRem>(group, listener);
}
PmxListenerGroupLink* PmxListenerGroupGetLink(const PmxListenerGroup* group, PmxObject* listener) {
    return locked<pmxIntlListenerGroupGetLink>(group, listener);
}
PmxListenerGroupLink* PmxListenerGroupIterator(const PmxListenerGroup* group) {
    return locked<pmxIntlListenerGroupIterator>(group);
}
int PmxListenerGroupIterHasNext(const PmxListenerGroupLink* it) {
    return locked<pmxIntlListenerGroupIterHasNext>(it);
}
PmxObject* PmxListenerGroupIterGet(const PmxListenerGroupLink* it) {
    return locked<pmxIntlListenerGroupIterGet>(it);
}
PmxListenerGroupLink* PmxListenerGroupIterNext(const PmxListenerGroupLink* it) {
    return locked<pmxIntlListenerGroupIterNext>(it);
}
PmxListenerGroupLink* PmxListenerGroupIterRem(PmxListenerGroupLink* it) {
    return locked<pmxIntlListenerGroupIterRem>(it);
}

// List of texts
PmxStringList* PmxAllocStringList() { return locked<pmxIntlAllocStringList>(); }
void PmxFreeStringList(PmxStringList* list) { locked<pmxIntlFreeStringList>(list); }
int PmxStringListAppend(PmxStringList* list, const char* text) {
    return locked<pmxIntlStringListAppend>(list, text);
}
PmxStringListLink* PmxStringListGetLink(const PmxStringList* list, const char* text) {
    return locked<pmxIntlStringListGetLink>(list, text);
}
PmxStringListLink* PmxStringListGetIndex(const PmxStringList* list, int32_t n) {
    return locked<pmxIntlStringListGetIndex>(list, n);
}
int PmxStringListRemLink(PmxStringList* list, PmxStringListLink* link) {
    return locked<pmxIntlStringListRemLink>(list, link);
}
PmxStringList* PmxCopyStringList(const PmxStringList* list) {
    return locked<pmxIntlCopyStringList>(list);
}
void PmxSortStringList(PmxStringList* list, int (*compare)(const void*, const void*)) {
    locked<pmxIntlSortStringList>(list, compare);
}
PmxStringListLink* PmxStringListIterator(const PmxStringList* list) {
    return locked<pmxIntlStringListIterator>(list);
}
int PmxStringListIterHasNext(const PmxStringListLink* it) {
    return locked<pmxIntlStringListIterHasNext>(it);
}
char* PmxStringListIterGet(const PmxStringListLink* it) {
    return locked<pmxIntlStringListIterGet>(it);
}
PmxStringListLink* PmxStringListIterNext(const PmxStringListLink* it) {
    return locked<pmxIntlStringListIterNext>(it);
}
PmxStringListLink* PmxStringListIterRem(PmxStringListLink* it) {
    return locked<pmxIntlStringListIterRem>(it);
}

// List of parameters
PmxParmList* PmxAllocParmList() { return locked<pmxIntlAllocParmList>(); }
void PmxFreeParmList(PmxParmList* list) { locked<pmxIntlFreeParmList>(list); }
int PmxParmListAppend(PmxParmList* list, const PmxParm* parm) {
    return locked<pmxIntlParmListAppend>(list, parm);
}
PmxParmListLink* PmxParmListGetLink(const PmxParmList* list, const PmxParm* parm) {
    return locked<pmxIntlParmListGetLink>(list, parm);
}
PmxParmListLink* PmxParmListGetIndex(const PmxParmList* list, int32_t n) {
    return locked<pmxIntlParmListGetIndex>(list, n);
}
int PmxParmListRemLink(PmxParmList* list, PmxParmListLink* link) {
    return locked<pmxIntlParmListRemLink>(list, link);
}
PmxParmList* PmxCopyParmList(const PmxParmList* list) { return locked<pmxIntlCopyParmList>(list); }
void PmxSortParmList(PmxParmList* list, int (*compare)(const void*, const void*)) {
    locked<pmxIntlSortParmList>(list, compare);
}
PmxParmListLink* PmxParmListIterator(const PmxParmList* list) {
    return locked<pmxIntlParmListIterator>(list);
}
int PmxParmListIterHasNext(const PmxParmListLink* it) {
    return locked<pmxIntlParmListIterHasNext>(it);
}
PmxParm* PmxParmListIterGet(const PmxParmListLink* it) {
    return locked<pmxIntlParmListIterGet>(it);
}
PmxParmListLink* PmxParmListIterNext(const PmxParmListLink* it) {
    return locked<pmxIntlParmListIterNext>(it);
}
PmxParmListLink* PmxParmListIterRem(PmxParmListLink* it) {
    return locked<pmxIntlParmListIterRem>(it);
}

// Properties as typed values
int PmxSetMapProp(PmxStringToStringMap* map, const char* key, const char* text) {
    return locked<pmxIntlSetMapProp>(map, key, text);
}
int PmxSetMapPropBool(PmxStringToStringMap* map, const char* key, int value) {
    return locked<pmxIntlSetMapPropBool>(map, key, value);
}
int PmxSetMapPropChar(PmxStringToStringMap* map, const char* key, char value) {
    return locked<pmxIntlSetMapPropChar>(map, key, value);
}
int PmxSetMapPropInt(PmxStringToStringMap* map, const char* key, int32_t value) {
    return locked<pmxIntlSetMapPropInt>(map, key, value);
}
int PmxSetMapPropLong(PmxStringToStringMap* map, const char* key, int64_t value) {
    return locked<pmxIntlSetMapPropLong>(map, key, value);
}
int PmxSetMapPropFloat(PmxStringToStringMap* map, const char* key, float value) {
    return locked<pmxIntlSetMapPropFloat>(map, key, value);
}
int PmxSetMapPropDouble(PmxStringToStringMap* map, const char* key, double value) {
    return locked<pmxIntlSetMapPropDouble>(map, key, value);
}
char* PmxGetMapProp(const PmxStringToStringMap* map, const char* key, int* found) {
    return locked<pmxIntlGetMapProp>(map, key, found);
}
int PmxGetMapPropBool(const PmxStringToStringMap* map, const char* key, int* found) {
    return locked<pmxIntlGetMapPropBool>(map, key, found);
}
char PmxGetMapPropChar(const PmxStringToStringMap* map, const char* key, int* found) {
    return locked<pmxIntlGetMapPropChar>(map, key, found);
}
int32_t PmxGetMapPropInt(const PmxStringToStringMap* map, const char* key, int* found) {
    return locked<pmxIntlGetMapPropInt>(map, key, found);
}
int64_t PmxGetMapPropLong(const PmxStringToStringMap* map, const char* key, int* found) {
    return locked<pmxIntlGetMapPropLong>(map, key, found);
}
float PmxGetMapPropFloat(const PmxStringToStringMap* map, const char* key, int* found) {
    return locked<pmxIntlGetMapPropFloat>(map, key, found);
}
double PmxGetMapPropDouble(const PmxStringToStringMap* map, const char* key, int* found) {
    return locked<pmxIntlGetMapPropDouble>(map, key, found);
}

// Parameters
PmxParm* PmxCopyParm(const PmxParm* parm) { return locked<pmxIntlCopyParm>(parm); }
void PmxFreeParm(PmxParm* parm) { locked<pmxIntlFreeParm>(parm); }
int PmxCmpParms(const PmxParm* a, const PmxParm* b) { return locked<pmxIntlCmpParms>(a, b); }
