/* pmx_collections.h — the toolkit's maps, groups and lists, properties as typed values, a
 * tokenizer. The conventions are those of pmx_types.h. The tokenizer takes no lock.
 *
 * A walk, of any container:
 *
 *     PmxStringGroupLink* it = PmxStringGroupIterator(group);
 *     for (; PmxStringGroupIterHasNext(it); it = PmxStringGroupIterNext(it)) {
 *         char* text = PmxStringGroupIterGet(it);
 *         ...
 *         RakMemoryFree(text);
 *     }
 *
 * A link lasts until its element is removed; ...IterRem removes it and returns the one that
 * follows. Look-ups by name or element cost the same however many there are (lists excepted).
 */
#ifndef PMX_COLLECTIONS_H
#define PMX_COLLECTIONS_H

#include "pmx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Maps ----------------------------------------------------------------------------------
 * Values by keys, which are compared byte by byte and copied, in the order in which the keys were
 * first put.
 *  Put       the value takes the place of the key's old one; 0: null, no memory
 *  Get       the value of a key, or null: a text as a copy, an object or
 *            configuration with a reference for you
 *  Copy      a map of the same keys and values in the same order
 *  IterGet.. as Get; the key always as a copy
 */

/* Texts by name: a table of properties. */
typedef struct PmxStringToStringMap PmxStringToStringMap;
PmxStringToStringMap* PmxAllocStringToStringMap(void);
void PmxFreeStringToStringMap(PmxStringToStringMap* map);
int PmxStringToStringMapPut(PmxStringToStringMap* map, const char* key, const char* value);
char* PmxStringToStringMapGet(const PmxStringToStringMap* map, const char* key);
int PmxStringToStringMapHasKey(const PmxStringToStringMap* map, const char* key);
void PmxStringToStringMapRem(PmxStringToStringMap* map, const char* key);
PmxStringToStringMap* PmxCopyStringToStringMap(const PmxStringToStringMap* map);
PmxStringToStringMapLink* PmxStringToStringMapIterator(const PmxStringToStringMap* map);
int PmxStringToStringMapIterHasNext(const PmxStringToStringMapLink* it);
char* PmxStringToStringMapIterGetKey(const PmxStringToStringMapLink* it);
char* PmxStringToStringMapIterGetVal(const PmxStringToStringMapLink* it);
PmxStringToStringMapLink* PmxStringToStringMapIterNext(const PmxStringToStringMapLink* it);

/* Objects by name; the map holds a reference on each. */
typedef struct PmxStringToObjMapLink PmxStringToObjMapLink;
typedef struct PmxStringToObjMap PmxStringToObjMap;
PmxStringToObjMap* PmxAllocStringToObjMap(void);
void PmxFreeStringToObjMap(PmxStringToObjMap* map);
int PmxStringToObjMapPut(PmxStringToObjMap* map, const char* key, PmxObject* value);
PmxObject* PmxStringToObjMapGet(const PmxStringToObjMap* map, const char* key);
int PmxStringToObjMapHasKey(const PmxStringToObjMap* map, const char* key);
void PmxStringToObjMapRem(PmxStringToObjMap* map, const char* key);
PmxStringToObjMap* PmxCopyStringToObjMap(const PmxStringToObjMap* map);
PmxStringToObjMapLink* PmxStringToObjMapIterator(const PmxStringToObjMap* map);
int PmxStringToObjMapIterHasNext(const PmxStringToObjMapLink* it);
char* PmxStringToObjMapIterGetKey(const PmxStringToObjMapLink* it);
PmxObject* PmxStringToObjMapIterGetVal(const PmxStringToObjMapLink* it);
PmxStringToObjMapLink* PmxStringToObjMapIterNext(const PmxStringToObjMapLink* it);

/* Configurations by name; the map holds a reference on each. */
typedef struct PmxStringToObjCfgMapLink PmxStringToObjCfgMapLink;
typedef struct PmxStringToObjCfgMap PmxStringToObjCfgMap;
PmxStringToObjCfgMap* PmxAllocStringToObjCfgMap(void);
void PmxFreeStringToObjCfgMap(PmxStringToObjCfgMap* map);
int PmxStringToObjCfgMapPut(PmxStringToObjCfgMap* map, const char* key, PmxObjCfg* value);
PmxObjCfg* PmxStringToObjCfgMapGet(const PmxStringToObjCfgMap* map, const char* key);
int PmxStringToObjCfgMapHasKey(const PmxStringToObjCfgMap* map, const char* key);
void PmxStringToObjCfgMapRem(PmxStringToObjCfgMap* map, const char* key);
PmxStringToObjCfgMap* PmxCopyStringToObjCfgMap(const PmxStringToObjCfgMap* map);
PmxStringToObjCfgMapLink* PmxStringToObjCfgMapIterator(const PmxStringToObjCfgMap* map);
int PmxStringToObjCfgMapIterHasNext(const PmxStringToObjCfgMapLink* it);
char* PmxStringToObjCfgMapIterGetKey(const PmxStringToObjCfgMapLink* it);
PmxObjCfg* PmxStringToObjCfgMapIterGetVal(const PmxStringToObjCfgMapLink* it);
PmxStringToObjCfgMapLink* PmxStringToObjCfgMapIterNext(const PmxStringToObjCfgMapLink* it);

/* Class records by name, which stay whose they are. */
typedef struct PmxStringToObjClassMapLink PmxStringToObjClassMapLink;
typedef struct PmxStringToObjClassMap PmxStringToObjClassMap;
PmxStringToObjClassMap* PmxAllocStringToObjClassMap(void);
void PmxFreeStringToObjClassMap(PmxStringToObjClassMap* map);
int PmxStringToObjClassMapPut(PmxStringToObjClassMap* map, const char* key, PmxObjClass* value);
PmxObjClass* PmxStringToObjClassMapGet(const PmxStringToObjClassMap* map, const char* key);
int PmxStringToObjClassMapHasKey(const PmxStringToObjClassMap* map, const char* key);
void PmxStringToObjClassMapRem(PmxStringToObjClassMap* map, const char* key);
PmxStringToObjClassMap* PmxCopyStringToObjClassMap(const PmxStringToObjClassMap* map);
PmxStringToObjClassMapLink* PmxStringToObjClassMapIterator(const PmxStringToObjClassMap* map);
int PmxStringToObjClassMapIterHasNext(const PmxStringToObjClassMapLink* it);
char* PmxStringToObjClassMapIterGetKey(const PmxStringToObjClassMapLink* it);
PmxObjClass* PmxStringToObjClassMapIterGetVal(const PmxStringToObjClassMapLink* it);
PmxStringToObjClassMapLink* PmxStringToObjClassMapIterNext(const PmxStringToObjClassMapLink* it);

/* ---- Groups --------------------------------------------------------------------------------
 * Each element once, in the order of addition.
 *  Add       at the end; 0 also when it is there
 *  Rem       0 also when it is not there
 *  GetLink   the link of an element, or null
 *  IterGet   a text as a copy, an object with a reference for you
 */

/* Texts, copied in. */
typedef struct PmxStringGroup PmxStringGroup;
PmxStringGroup* PmxAllocStringGroup(void);
void PmxFreeStringGroup(PmxStringGroup* group);
int PmxStringGroupAdd(PmxStringGroup* group, const char* text);
int PmxStringGroupRem(PmxStringGroup* group, const char* text);
PmxStringGroupLink* PmxStringGroupGetLink(const PmxStringGroup* group, const char* text);
PmxStringGroupLink* PmxStringGroupIterator(const PmxStringGroup* group);
int PmxStringGroupIterHasNext(const PmxStringGroupLink* it);
char* PmxStringGroupIterGet(const PmxStringGroupLink* it);
PmxStringGroupLink* PmxStringGroupIterNext(const PmxStringGroupLink* it);
PmxStringGroupLink* PmxStringGroupIterRem(PmxStringGroupLink* it);

/* Objects; the group holds a reference on each. */
typedef struct PmxListenerGroup PmxListenerGroup;
PmxListenerGroup* PmxAllocListenerGroup(void);
void PmxFreeListenerGroup(PmxListenerGroup* group);
int PmxListenerGroupAdd(PmxListenerGroup* group, PmxObject* listener);
int PmxListenerGroupRem(PmxListenerGroup* group, PmxObject* listener);
PmxListenerGroupLink* PmxListenerGroupGetLink(const PmxListenerGroup* group, PmxObject* listener);
PmxListenerGroupLink* PmxListenerGroupIterator(const PmxListenerGroup* group);
int PmxListenerGroupIterHasNext(const PmxListenerGroupLink* it);
PmxObject* PmxListenerGroupIterGet(const PmxListenerGroupLink* it);
PmxListenerGroupLink* PmxListenerGroupIterNext(const PmxListenerGroupLink* it);
PmxListenerGroupLink* PmxListenerGroupIterRem(PmxListenerGroupLink* it);

/* ---- Lists ---------------------------------------------------------------------------------
 * Elements in order; the same one any number of times.
 *  Append    at the end
 *  GetLink   the first link of an equal element, or null
 *  GetIndex  the link at a place, from 0; null: there is none
 *  RemLink   0: the link is none of this list
 *  Sort      by a comparison as for qsort(3), of pointers to elements
 *            (char* const*, PmxParm* const*), which must not change the list.
 *            Elements change places, links stay; without memory all stays
 *  IterGet   as a copy
 */

/* Texts, copied in. */
typedef struct PmxStringListLink PmxStringListLink;
typedef struct PmxStringList PmxStringList;
PmxStringList* PmxAllocStringList(void);
void PmxFreeStringList(PmxStringList* list);
int PmxStringListAppend(PmxStringList* list, const char* text);
PmxStringListLink* PmxStringListGetLink(const PmxStringList* list, const char* text);
PmxStringListLink* PmxStringListGetIndex(const PmxStringList* list, int32_t n);
int PmxStringListRemLink(PmxStringList* list, PmxStringListLink* link);
PmxStringList* PmxCopyStringList(const PmxStringList* list);
void PmxSortStringList(PmxStringList* list, int (*compare)(const void*, const void*));
PmxStringListLink* PmxStringListIterator(const PmxStringList* list);
int PmxStringListIterHasNext(const PmxStringListLink* it);
char* PmxStringListIterGet(const PmxStringListLink* it);
PmxStringListLink* PmxStringListIterNext(const PmxStringListLink* it);
PmxStringListLink* PmxStringListIterRem(PmxStringListLink* it);

/* Parameters of messages, copied in. A parameter that IterGet returns goes to PmxFreeParm. */
typedef struct PmxParmListLink PmxParmListLink;
PmxParmList* PmxAllocParmList(void);
void PmxFreeParmList(PmxParmList* list);
int PmxParmListAppend(PmxParmList* list, const PmxParm* parm);
PmxParmListLink* PmxParmListGetLink(const PmxParmList* list, const PmxParm* parm);
PmxParmListLink* PmxParmListGetIndex(const PmxParmList* list, int32_t n);
int PmxParmListRemLink(PmxParmList* list, PmxParmListLink* link);
PmxParmList* PmxCopyParmList(const PmxParmList* list);
void PmxSortParmList(PmxParmList* list, int (*compare)(const void*, const void*));
PmxParmListLink* PmxParmListIterator(const PmxParmList* list);
int PmxParmListIterHasNext(const PmxParmListLink* it);
PmxParm* PmxParmListIterGet(const PmxParmListLink* it);
PmxParmListLink* PmxParmListIterNext(const PmxParmListLink* it);
PmxParmListLink* PmxParmListIterRem(PmxParmListLink* it);

/* ---- Properties as typed values ------------------------------------------------------------
 * Setting puts a text: "true" for a bool whose low byte is 1, else "false"; the byte of a char;
 * the decimal digits of an integer; a real number as "%f" prints it in the "C" locale. Reading
 * takes what is at the start of a text: "true" and "false" in any case, and nothing else; the
 * first byte; a number as scanf takes it, in the "C" locale. A number that does not fit its type
 * is the nearest that does. 0 with found 0: there is no such property, or it does not read so. */

int PmxSetMapProp(PmxStringToStringMap* map, const char* key, const char* text);
int PmxSetMapPropBool(PmxStringToStringMap* map, const char* key, int value);
int PmxSetMapPropChar(PmxStringToStringMap* map, const char* key, char value);
int PmxSetMapPropInt(PmxStringToStringMap* map, const char* key, int32_t value);
int PmxSetMapPropLong(PmxStringToStringMap* map, const char* key, int64_t value);
int PmxSetMapPropFloat(PmxStringToStringMap* map, const char* key, float value);
int PmxSetMapPropDouble(PmxStringToStringMap* map, const char* key, double value);

char* PmxGetMapProp(const PmxStringToStringMap* map, const char* key, int* found);
int PmxGetMapPropBool(const PmxStringToStringMap* map, const char* key, int* found);
char PmxGetMapPropChar(const PmxStringToStringMap* map, const char* key, int* found);
int32_t PmxGetMapPropInt(const PmxStringToStringMap* map, const char* key, int* found);
int64_t PmxGetMapPropLong(const PmxStringToStringMap* map, const char* key, int* found);
float PmxGetMapPropFloat(const PmxStringToStringMap* map, const char* key, int* found);
double PmxGetMapPropDouble(const PmxStringToStringMap* map, const char* key, int* found);

/* ---- Parameters ---------------------------------------------------------------------------- */

/* A copy, with its text; null: no memory, or a type that is none. */
PmxParm* PmxCopyParm(const PmxParm* parm);
void PmxFreeParm(PmxParm* parm);

/* 1 when both are null, or are of the same type and value; not-a-number equals nothing. */
int PmxCmpParms(const PmxParm* a, const PmxParm* b);

/* ---- Tokenizer -----------------------------------------------------------------------------
 * A walk over the tokens of a text, which stays the caller's: what is left of it is the iterator.
 * Tokens are separated by any number of delimiter bytes. With null or empty delimiters each byte is
 * a token.
 *
 *     PmxStrTokIter it = PmxStrTokIterator(text, " ");
 *     for (; PmxStrTokIterHasNext(it.text, it.delimiters);
 *          it.text = PmxStrTokIterNext(it.text, it.delimiters)) ... */

typedef struct PmxStrTokIter {
    const char* text;
    const char* delimiters;
} PmxStrTokIter;

PmxStrTokIter PmxStrTokIterator(const char* text, const char* delimiters);
int PmxStrTokIterHasNext(const char* text, const char* delimiters);

/* A copy of the token; null when there is none. */
char* PmxStrTokIterGet(const char* text, const char* delimiters);

/* What is left behind the token; null for null. */
const char* PmxStrTokIterNext(const char* text, const char* delimiters);

#ifdef __cplusplus
}
#endif

#endif
