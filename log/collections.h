// The eight families of containers, and the names of their calls inside the toolkit.
#pragma once

#include "log/chain.h"
#include "log/pmx_classes.h"
#include "log/pmx_collections.h"

PmxObjClass* pmxReturnObjClass(PmxObjClass* record);
void pmxIgnoreObjClass(PmxObjClass* record);
PmxObjCfg* pmxIntlAcquireObjCfg(PmxObjCfg* cfg);
void pmxIntlReleaseObjCfg(PmxObjCfg* cfg);

namespace vel::log {

bool same_parms(const PmxParm* a, const PmxParm* b);

using Object = Counted<PmxObject, pmxIntlAcquireObject, pmxIntlReleaseObject>;
using Configuration = Counted<PmxObjCfg, pmxIntlAcquireObjCfg, pmxIntlReleaseObjCfg>;
using ClassRecord = AsStored<PmxObjClass, pmxReturnObjClass, pmxIgnoreObjClass>;

// Null: no memory, or a type that is none. Inline, as each event does it for all of its parameters.
inline PmxParm* copy_parm(Arena* arena, const PmxParm* parm) {
    if (parm == nullptr || parm->type < PMX_BOOL || parm->type > PMX_STRING) return nullptr;
    auto* const copy = static_cast<PmxParm*>(allocate_in(arena, sizeof(PmxParm)));
    if (copy == nullptr) return nullptr;
    copy->type = parm->type;
    copy->value = parm->value;
    if (parm->type != PMX_STRING) return copy;
    copy->value.text = copy_text_in(arena, parm->value.text == nullptr ? "" : parm->value.text);
    if (copy->value.text != nullptr) return copy;
    release_in(arena, copy);
    return nullptr;
}

inline void free_parm(Arena* arena, PmxParm* parm) {
    if (parm == nullptr) return;
    if (parm->type == PMX_STRING) release_in(arena, parm->value.text);
    release_in(arena, parm);
}

struct Parm {
    using In = const PmxParm*;
    using Stored = PmxParm*;
    using Out = PmxParm*;
    static Stored take(Arena* arena, In parm, void*) { return copy_parm(arena, parm); }
    static void drop(Arena* arena, Stored parm) { free_parm(arena, parm); }
    static Out lend(Stored parm) { return copy_parm(nullptr, parm); }
    static bool same(const PmxParm* stored, In parm) { return same_parms(stored, parm); }
};

}  // namespace vel::log

// clang-format off
struct PmxStringToStringMapLink
    : vel::log::EntryLink<PmxStringToStringMapLink, PmxStringToStringMap, char*> {};
struct PmxStringToObjMapLink
    : vel::log::EntryLink<PmxStringToObjMapLink, PmxStringToObjMap, PmxObject*> {};
struct PmxStringToObjCfgMapLink
    : vel::log::EntryLink<PmxStringToObjCfgMapLink, PmxStringToObjCfgMap, PmxObjCfg*> {};
struct PmxStringToObjClassMapLink
    : vel::log::EntryLink<PmxStringToObjClassMapLink, PmxStringToObjClassMap, PmxObjClass*> {};
struct PmxStringGroupLink : vel::log::ItemLink<PmxStringGroupLink, PmxStringGroup, char*> {};
struct PmxListenerGroupLink : vel::log::ItemLink<PmxListenerGroupLink, PmxListenerGroup, PmxObject*> {};
struct PmxStringListLink : vel::log::ItemLink<PmxStringListLink, PmxStringList, char*> {};
struct PmxParmListLink : vel::log::ItemLink<PmxParmListLink, PmxParmList, PmxParm*> {};

struct PmxStringToStringMap : vel::log::Chain<PmxStringToStringMapLink> {};
struct PmxStringToObjMap : vel::log::Chain<PmxStringToObjMapLink> {};
struct PmxStringToObjCfgMap : vel::log::Chain<PmxStringToObjCfgMapLink> {};
struct PmxStringToObjClassMap : vel::log::Chain<PmxStringToObjClassMapLink> {};
struct PmxStringGroup : vel::log::Chain<PmxStringGroupLink> {};
struct PmxListenerGroup : vel::log::Chain<PmxListenerGroupLink> {};
struct PmxStringList : vel::log::Chain<PmxStringListLink> {};
struct PmxParmList : vel::log::Chain<PmxParmListLink> {};
// clang-format on

namespace vel::log {

using StringToStringMap = Map<PmxStringToStringMap, Text>;
using StringToObjMap = Map<PmxStringToObjMap, Object>;
using StringToObjCfgMap = Map<PmxStringToObjCfgMap, Configuration>;
using StringToObjClassMap = Map<PmxStringToObjClassMap, ClassRecord>;
using StringGroup = Group<PmxStringGroup, Text>;
using ListenerGroup = Group<PmxListenerGroup, Object>;
using StringList = List<PmxStringList, Text>;
using ParmList = List<PmxParmList, Parm>;

// The text of a property, which stays the map's; null: there is none.
inline const char* peek_property(const PmxStringToStringMap* map, const char* key) {
    const PmxStringToStringMapLink* const link = StringToStringMap::find(map, key);
    return link == nullptr ? nullptr : link->value;
}

}  // namespace vel::log

// Texts by name
inline constexpr auto pmxIntlAllocStringToStringMap = vel::log::StringToStringMap::alloc;
inline constexpr auto pmxIntlFreeStringToStringMap = vel::log::StringToStringMap::free;
inline constexpr auto pmxIntlStringToStringMapPut = vel::log::StringToStringMap::put;
inline constexpr auto pmxIntlStringToStringMapGet = vel::log::StringToStringMap::get;
inline constexpr auto pmxIntlStringToStringMapHasKey = vel::log::StringToStringMap::has;
inline constexpr auto pmxIntlStringToStringMapRem = vel::log::StringToStringMap::rem;
inline constexpr auto pmxIntlCopyStringToStringMap = vel::log::StringToStringMap::copy;
inline constexpr auto pmxIntlStringToStringMapIterator = vel::log::StringToStringMap::begin;
inline constexpr auto pmxIntlStringToStringMapIterHasNext = vel::log::StringToStringMap::has_next;
inline constexpr auto pmxIntlStringToStringMapIterGetKey = vel::log::StringToStringMap::get_key;
inline constexpr auto pmxIntlStringToStringMapIterGetVal = vel::log::StringToStringMap::get_val;
inline constexpr auto pmxIntlStringToStringMapIterNext = vel::log::StringToStringMap::next;

// Objects by name
inline constexpr auto pmxIntlAllocStringToObjMap = vel::log::StringToObjMap::alloc;
inline constexpr auto pmxIntlFreeStringToObjMap = vel::log::StringToObjMap::free;
inline constexpr auto pmxIntlStringToObjMapPut = vel::log::StringToObjMap::put;
inline constexpr auto pmxIntlStringToObjMapGet = vel::log::StringToObjMap::get;
inline constexpr auto pmxIntlStringToObjMapHasKey = vel::log::StringToObjMap::has;
inline constexpr auto pmxIntlStringToObjMapRem = vel::log::StringToObjMap::rem;
inline constexpr auto pmxIntlCopyStringToObjMap = vel::log::StringToObjMap::copy;
inline constexpr auto pmxIntlStringToObjMapIterator = vel::log::StringToObjMap::begin;
inline constexpr auto pmxIntlStringToObjMapIterHasNext = vel::log::StringToObjMap::has_next;
inline constexpr auto pmxIntlStringToObjMapIterGetKey = vel::log::StringToObjMap::get_key;
inline constexpr auto pmxIntlStringToObjMapIterGetVal = vel::log::StringToObjMap::get_val;
inline constexpr auto pmxIntlStringToObjMapIterNext = vel::log::StringToObjMap::next;

// Configurations by name
inline constexpr auto pmxIntlAllocStringToObjCfgMap = vel::log::StringToObjCfgMap::alloc;
inline constexpr auto pmxIntlFreeStringToObjCfgMap = vel::log::StringToObjCfgMap::free;
inline constexpr auto pmxIntlStringToObjCfgMapPut = vel::log::StringToObjCfgMap::put;
inline constexpr auto pmxIntlStringToObjCfgMapGet = vel::log::StringToObjCfgMap::get;
inline constexpr auto pmxIntlStringToObjCfgMapHasKey = vel::log::StringToObjCfgMap::has;
inline constexpr auto pmxIntlStringToObjCfgMapRem = vel::log::StringToObjCfgMap::rem;
inline constexpr auto pmxIntlCopyStringToObjCfgMap = vel::log::StringToObjCfgMap::copy;
inline constexpr auto pmxIntlStringToObjCfgMapIterator = vel::log::StringToObjCfgMap::begin;
inline constexpr auto pmxIntlStringToObjCfgMapIterHasNext = vel::log::StringToObjCfgMap::has_next;
inline constexpr auto pmxIntlStringToObjCfgMapIterGetKey = vel::log::StringToObjCfgMap::get_key;
inline constexpr auto pmxIntlStringToObjCfgMapIterGetVal = vel::log::StringToObjCfgMap::get_val;
inline constexpr auto pmxIntlStringToObjCfgMapIterNext = vel::log::StringToObjCfgMap::next;

// Class records by name
inline constexpr auto pmxIntlAllocStringToObjClassMap = vel::log::StringToObjClassMap::alloc;
inline constexpr auto pmxIntlFreeStringToObjClassMap = vel::log::StringToObjClassMap::free;
inline constexpr auto pmxIntlStringToObjClassMapPut = vel::log::StringToObjClassMap::put;
inline constexpr auto pmxIntlStringToObjClassMapGet = vel::log::StringToObjClassMap::get;
inline constexpr auto pmxIntlStringToObjClassMapHasKey = vel::log::StringToObjClassMap::has;
inline constexpr auto pmxIntlStringToObjClassMapRem = vel::log::StringToObjClassMap::rem;
inline constexpr auto pmxIntlCopyStringToObjClassMap = vel::log::StringToObjClassMap::copy;
inline constexpr auto pmxIntlStringToObjClassMapIterator = vel::log::StringToObjClassMap::begin;
inline constexpr auto pmxIntlStringToObjClassMapIterHasNext =
    vel::log::StringToObjClassMap::has_next;
inline constexpr auto pmxIntlStringToObjClassMapIterGetKey = vel::log::StringToObjClassMap::get_key;
inline constexpr auto pmxIntlStringToObjClassMapIterGetVal = vel::log::StringToObjClassMap::get_val;
inline constexpr auto pmxIntlStringToObjClassMapIterNext = vel::log::StringToObjClassMap::next;

// Group of texts
inline constexpr auto pmxIntlAllocStringGroup = vel::log::StringGroup::alloc;
inline constexpr auto pmxIntlFreeStringGroup = vel::log::StringGroup::free;
inline constexpr auto pmxIntlStringGroupAdd = vel::log::StringGroup::add;
inline constexpr auto pmxIntlStringGroupRem = vel::log::StringGroup::rem;
inline constexpr auto pmxIntlStringGroupGetLink = vel::log::StringGroup::find;
inline constexpr auto pmxIntlStringGroupIterator = vel::log::StringGroup::begin;
inline constexpr auto pmxIntlStringGroupIterHasNext = vel::log::StringGroup::has_next;
inline constexpr auto pmxIntlStringGroupIterGet = vel::log::StringGroup::get;
inline constexpr auto pmxIntlStringGroupIterNext = vel::log::StringGroup::next;
inline constexpr auto pmxIntlStringGroupIterRem = vel::log::StringGroup::rem_at;

// Group of listeners
inline constexpr auto pmxIntlAllocListenerGroup = vel::log::ListenerGroup::alloc;
inline constexpr auto pmxIntlFreeListenerGroup = vel::log::ListenerGroup::free;
inline constexpr auto pmxIntlListenerGroupAdd = vel::log::ListenerGroup::add;
inline constexpr auto pmxIntlListenerGroupRem = vel::log::ListenerGroup::rem;
inline constexpr auto pmxIntlListenerGroupGetLink = vel::log::ListenerGroup::find;
inline constexpr auto pmxIntlListenerGroupIterator = vel::log::ListenerGroup::begin;
inline constexpr auto pmxIntlListenerGroupIterHasNext = vel::log::ListenerGroup::has_next;
inline constexpr auto pmxIntlListenerGroupIterGet = vel::log::ListenerGroup::get;
inline constexpr auto pmxIntlListenerGroupIterNext = vel::log::ListenerGroup::next;
inline constexpr auto pmxIntlListenerGroupIterRem = vel::log::ListenerGroup::rem_at;

// List of texts
inline constexpr auto pmxIntlAllocStringList = vel::log::StringList::alloc;
inline constexpr auto pmxIntlFreeStringList = vel::log::StringList::free;
inline constexpr auto pmxIntlStringListAppend = vel::log::StringList::append;
inline constexpr auto pmxIntlStringListGetLink = vel::log::StringList::find;
inline constexpr auto pmxIntlStringListGetIndex = vel::log::StringList::at;
inline constexpr auto pmxIntlStringListRemLink = vel::log::StringList::rem;
inline constexpr auto pmxIntlCopyStringList = vel::log::StringList::copy;
inline constexpr auto pmxIntlSortStringList = vel::log::StringList::sort;
inline constexpr auto pmxIntlStringListIterator = vel::log::StringList::begin;
inline constexpr auto pmxIntlStringListIterHasNext = vel::log::StringList::has_next;
inline constexpr auto pmxIntlStringListIterGet = vel::log::StringList::get;
inline constexpr auto pmxIntlStringListIterNext = vel::log::StringList::next;
inline constexpr auto pmxIntlStringListIterRem = vel::log::StringList::rem_at;

// List of parameters
inline constexpr auto pmxIntlAllocParmList = vel::log::ParmList::alloc;
inline constexpr auto pmxIntlFreeParmList = vel::log::ParmList::free;
inline constexpr auto pmxIntlParmListAppend = vel::log::ParmList::append;
inline constexpr auto pmxIntlParmListGetLink = vel::log::ParmList::find;
inline constexpr auto pmxIntlParmListGetIndex = vel::log::ParmList::at;
inline constexpr auto pmxIntlParmListRemLink = vel::log::ParmList::rem;
inline constexpr auto pmxIntlCopyParmList = vel::log::ParmList::copy;
inline constexpr auto pmxIntlSortParmList = vel::log::ParmList::sort;
inline constexpr auto pmxIntlParmListIterator = vel::log::ParmList::begin;
inline constexpr auto pmxIntlParmListIterHasNext = vel::log::ParmList::has_next;
inline constexpr auto pmxIntlParmListIterGet = vel::log::ParmList::get;
inline constexpr auto pmxIntlParmListIterNext = vel::log::ParmList::next;
inline constexpr auto pmxIntlParmListIterRem = vel::log::ParmList::rem_at;

// Properties as typed values
int pmxIntlSetMapProp(PmxStringToStringMap* map, const char* key, const char* text);
int pmxIntlSetMapPropBool(PmxStringToStringMap* map, const char* key, int value);
int pmxIntlSetMapPropChar(PmxStringToStringMap* map, const char* key, char value);
int pmxIntlSetMapPropInt(PmxStringToStringMap* map, const char* key, int32_t value);
int pmxIntlSetMapPropLong(PmxStringToStringMap* map, const char* key, int64_t value);
int pmxIntlSetMapPropFloat(PmxStringToStringMap* map, const char* key, float value);
int pmxIntlSetMapPropDouble(PmxStringToStringMap* map, const char* key, double value);
char* pmxIntlGetMapProp(const PmxStringToStringMap* map, const char* key, int* found);
int pmxIntlGetMapPropBool(const PmxStringToStringMap* map, const char* key, int* found);
char pmxIntlGetMapPropChar(const PmxStringToStringMap* map, const char* key, int* found);
int32_t pmxIntlGetMapPropInt(const PmxStringToStringMap* map, const char* key, int* found);
int64_t pmxIntlGetMapPropLong(const PmxStringToStringMap* map, const char* key, int* found);
float pmxIntlGetMapPropFloat(const PmxStringToStringMap* map, const char* key, int* found);
double pmxIntlGetMapPropDouble(const PmxStringToStringMap* map, const char* key, int* found);

// Parameters
PmxParm* pmxIntlCopyParm(const PmxParm* parm);
void pmxIntlFreeParm(PmxParm* parm);
int pmxIntlCmpParms(const PmxParm* a, const PmxParm* b);
