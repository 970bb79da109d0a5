/* pmx_toolkit.h — the toolkit: opening and closing, classes, objects, configurations.
 * The conventions are those of pmx_types.h.
 */
#ifndef PMX_TOOLKIT_H
#define PMX_TOOLKIT_H

#include "pmx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- The toolkit --------------------------------------------------------------------------- */

/* Opens the toolkit with a properties file (velguid.properties(5)), or without one when the path is
 * null. 1 also when it is open already; the path is not read then. 0: the file cannot be read or is
 * malformed, which is said on standard error, and the toolkit is closed. */
int PmxOpenToolkit(const char* path);

/* Ends all objects, configurations and classes. The toolkit can be opened again. */
void PmxCloseToolkit(void);

/* Takes no lock. */
int PmxIsToolkitOpen(void);

/* Reads one more properties file; a null path is done at once. 0 when it cannot be read; what it
 * said before the fault stays in effect. Opens a toolkit that is not open. */
int PmxLoadAdditionalProperties(const char* path);

/* ---- Classes ------------------------------------------------------------------------------- */

/* Register a class of the application, before or after opening. The description is copied and may
 * be null. A null operation is the default of its place, or none (AllocVars, FreeVars, CfgChange).
 * A class whose name is null or taken already is ignored. */
void PmxAddLoggerClass(const char* name, const PmxI18Msg* description, PmxAllocVarsOp alloc_vars,
                       PmxFreeVarsOp free_vars, PmxCfgChangeOp cfg_change, PmxLogOp log);
void PmxAddFilterClass(const char* name, const PmxI18Msg* description, PmxAllocVarsOp alloc_vars,
                       PmxFreeVarsOp free_vars, PmxCfgChangeOp cfg_change, PmxProcessOp process,
                       PmxIsLoggableOp is_loggable, PmxLogOp log);
void PmxAddHandlerClass(const char* name, const PmxI18Msg* description, PmxAllocVarsOp alloc_vars,
                        PmxFreeVarsOp free_vars, PmxCfgChangeOp cfg_change, PmxProcessOp process,
                        PmxOpenOp open, PmxCloseOp close);
void PmxAddFormatterClass(const char* name, const PmxI18Msg* description, PmxAllocVarsOp alloc_vars,
                          PmxFreeVarsOp free_vars, PmxCfgChangeOp cfg_change, PmxFormatOp format,
                          PmxGetHeaderOp get_header, PmxGetTrailerOp get_trailer,
                          PmxBindMsgOp bind_message);

/* The names of the classes of a kind, in the order of their registration. */
PmxStringGroupLink* PmxGetLoggerClasses(void);
PmxStringGroupLink* PmxGetFilterClasses(void);
PmxStringGroupLink* PmxGetHandlerClasses(void);
PmxStringGroupLink* PmxGetFormatterClasses(void);

/* ---- Objects ------------------------------------------------------------------------------- */

/* The object of a name; it is created when there is none, of the class named or else of that which
 * its configuration's "className" (its own or inherited) names, and configured. Null, which is
 * reported: there is no such class, or none is named, or the object is of another class than the
 * one named; no memory. Also null, silently, for an object that is the 257th of a chain of objects
 * of which each creates the next. */
PmxObject* PmxGetObject(const char* name, const char* class_name);
PmxObject* PmxAcquireObject(PmxObject* object);

/* The last reference but the toolkit's own ends the object. */
void PmxReleaseObject(PmxObject* object);

char* PmxGetObjectName(const PmxObject* object);

/* The description of the object's class, or null. */
char* PmxGetObjectDesc(PmxObject* object);

/* Whether they are one and the same; two nulls are. */
int PmxAreObjectsEqual(const PmxObject* a, const PmxObject* b);

/* A disabled logger or handler takes no events, a disabled filter lets none through. */
int PmxIsObjectEnabled(const PmxObject* object);
void PmxSetObjectEnabled(PmxObject* object, int enabled);

/* The object's properties: those of its configuration when it was created, and those set since.
 * Setting one tells the object's class. Typed reading and writing are as PmxGetMapProp... and
 * PmxSetMapProp... of pmx_collections.h have them. */
char* PmxGetObjProp(PmxObject* object, const char* name, int* found);
int PmxGetObjPropBool(PmxObject* object, const char* name, int* found);
int32_t PmxGetObjPropInt(PmxObject* object, const char* name, int* found);
int64_t PmxGetObjPropLong(PmxObject* object, const char* name, int* found);
float PmxGetObjPropFloat(PmxObject* object, const char* name, int* found);
double PmxGetObjPropDouble(PmxObject* object, const char* name, int* found);
int PmxSetObjProp(PmxObject* object, const char* name, const char* text);
int PmxSetObjPropBool(PmxObject* object, const char* name, int value);
int PmxSetObjPropInt(PmxObject* object, const char* name, int32_t value);
int PmxSetObjPropLong(PmxObject* object, const char* name, int64_t value);
int PmxSetObjPropFloat(PmxObject* object, const char* name, float value);
int PmxSetObjPropDouble(PmxObject* object, const char* name, double value);

/* What receives the events that pass the object: filters and handlers, each once, in order of their
 * addition. A formatter has no listeners. */
PmxListenerGroupLink* PmxGetListeners(PmxObject* object);
int PmxAddListener(PmxObject* object, PmxObject* listener);
int PmxRemListener(PmxObject* object, PmxObject* listener);

/* The answer of the filter's class; 0 for anything but a filter. */
int PmxIsLoggableByFilter(PmxObject* filter, PmxEvent* event);

/* ---- Configuration objects ----------------------------------------------------------------- */

/* A configuration of no place in the log manager, with a reference for you. Null: a null name, no
 * memory. The last reference that is released frees a configuration. */
PmxObjCfg* PmxAllocObjCfg(const char* name);
PmxObjCfg* PmxAcquireObjCfg(PmxObjCfg* cfg);
void PmxReleaseObjCfg(PmxObjCfg* cfg);

char* PmxObjCfgGetName(const PmxObjCfg* cfg);
int PmxObjCfgIsFromFile(const PmxObjCfg* cfg);
void PmxObjCfgSetFromFile(PmxObjCfg* cfg, int from_file);

/* The configuration that is recorded as the parent, created when there is none of its name; null
 * for none recorded. Setting null changes nothing. Parents that form a ring end inheritance where
 * the ring closes. */
PmxObjCfg* PmxObjCfgGetParent(const PmxObjCfg* cfg);
void PmxObjCfgSetParent(PmxObjCfg* cfg, const PmxObjCfg* parent);

/* Adding also makes cfg the child's parent; removing leaves the child's record of its parent. */
int PmxObjCfgAddChild(PmxObjCfg* cfg, PmxObjCfg* child);
int PmxObjCfgRemChild(PmxObjCfg* cfg, const PmxObjCfg* child);
PmxStringGroupLink* PmxObjCfgChildrenNames(const PmxObjCfg* cfg);

/* The configuration's own properties, without inherited ones. */
PmxStringToStringMapLink* PmxObjCfgProperties(const PmxObjCfg* cfg);

/* Set a property of its own. Objects that exist do not learn of it. */
int PmxSetObjCfgProp(PmxObjCfg* cfg, const char* name, const char* text);
int PmxSetObjCfgPropBool(PmxObjCfg* cfg, const char* name, int value);
int PmxSetObjCfgPropInt(PmxObjCfg* cfg, const char* name, int32_t value);
int PmxSetObjCfgPropLong(PmxObjCfg* cfg, const char* name, int64_t value);
int PmxSetObjCfgPropFloat(PmxObjCfg* cfg, const char* name, float value);
int PmxSetObjCfgPropDouble(PmxObjCfg* cfg, const char* name, double value);

/* A property of the configuration, or else of the nearest of its parents that has it. The first two
 * are the same. */
char* PmxGetInheritedObjCfgProp(PmxObjCfg* cfg, const char* name, int* found);
char* PmxGetObjCfgProp(PmxObjCfg* cfg, const char* name, int* found);
int PmxGetObjCfgPropBool(PmxObjCfg* cfg, const char* name, int* found);
int32_t PmxGetObjCfgPropInt(PmxObjCfg* cfg, const char* name, int* found);
int64_t PmxGetObjCfgPropLong(PmxObjCfg* cfg, const char* name, int* found);
float PmxGetObjCfgPropFloat(PmxObjCfg* cfg, const char* name, int* found);
double PmxGetObjCfgPropDouble(PmxObjCfg* cfg, const char* name, int* found);

/* ---- The log manager: all configurations by name, while the toolkit is open ------------------ */

int PmxLogMgrHasCfg(const char* name);

/* Creates what there is not, so that every name but null and "/" leads to a configuration. */
PmxObjCfg* PmxLogMgrGetCfg(const char* name);

/* Enters the configuration under the nearest ancestor by its dotted name; 0 when its name is there
 * already. Removing moves its children up. Updating does both, for a name that is there. */
int PmxLogMgrAddCfg(PmxObjCfg* cfg);
int PmxLogMgrRemCfg(PmxObjCfg* cfg);
int PmxLogMgrUpdateCfg(PmxObjCfg* cfg);

/* Sets on the object each property of the configuration of a name, those of its ancestors first. */
int PmxLogMgrApplyCfg(PmxObject* object, const char* name);

/* The names, in the order of their addition. */
PmxStringGroupLink* PmxLogMgrConfigNames(void);

/* Reads a properties file into the configurations. */
int PmxLogMgrReadProps(const char* path);

#ifdef __cplusplus
}
#endif

#endif
