// Objects: how they come and go, and their properties.
#include "log/object.h"

#include <new>

#include "log/config.h"
#include "log/message.h"
#include "log/toolkit.h"
#include "runtime/owned.h"

namespace vel::log {
namespace {

using runtime::OwnedText;

// Gives back all that an object has, in this order. The record goes, too, unless somebody still
// holds a reference: it is left without a class then, which every call respects.
void free_parts(PmxObject* object) {
    StringToStringMap::free(std::exchange(object->properties, nullptr));
    ListenerGroup::free(std::exchange(object->listeners, nullptr));
    RakMemoryFree(std::exchange(object->name, nullptr));
    const PmxFreeVarsOp free_vars = object->cls->life.free_vars;
    void* const vars = std::exchange(object->vars, nullptr);
    if (free_vars != nullptr && vars != nullptr) free_vars(vars);
    pmxIntlReleaseObject(std::exchange(object->formatter, nullptr));
    RakMemoryFree(object->separator);
    RakMemoryFree(object->date_time_format);
    mab_loc_free(object->locale);
    if (object->references == 0) {
        RakMemoryFree(object);
    } else {
        object->cls = nullptr;
        object->next_ending = std::exchange(toolkit.shells, object);
    }
}

void end_object(PmxObject* object) {
    object->end_waits = true;  // not again, whatever its operations do
    StringToObjMap::rem(toolkit.objects, object->name);
    if (object->cls->kind == PMX_HANDLER && object->cls->handler.close != nullptr) {
        object->cls->handler.close(object);
    }
    free_parts(object);
}

// Ends the objects that wait for it and that nobody has taken up again meanwhile. One after the
// other: each may be the last holder of the next.
void end_waiting_objects() {
    toolkit.ending_one = true;
    while (PmxObject* const object = toolkit.ending) {
        toolkit.ending = std::exchange(object->next_ending, nullptr);
        if (toolkit.ending == nullptr) toolkit.last_ending = nullptr;
        object->end_waits = false;
        if (object->references == 1) end_object(object);
    }
    toolkit.ending_one = false;
}

// Null: there is none, or it is of another class, which is reported.
PmxObject* get_existing(PmxStringToObjMapLink* link, const char* name, const char* class_name) {
    ObjectRef object = ObjectRef::share(link->value);
    if (object->cls == nullptr) {
        report(PMX_ERROR, Msg::object_corrupt, name);
        return nullptr;
    }
    if (class_name != nullptr && strcmp(class_name, object->cls->name) != 0) {
        report(PMX_ERROR, Msg::object_of_other_class, name, object->cls->name, class_name);
        return nullptr;
    }
    return object.release();
}

// The class of an object that is to be created; null, which is reported: there is none.
PmxObjClass* class_for(const char* name, const char* class_name) {
    OwnedText configured;
    if (class_name == nullptr) {
        const CfgRef cfg = CfgRef::adopt(pmxIntlLogMgrGetCfg(name));
        configured.reset(pmxIntlGetInheritedObjCfgProp(cfg.get(), "className", nullptr));
        class_name = configured.get();
    }
    if (class_name == nullptr) {
        report(PMX_ERROR, Msg::class_not_specified, name);
        return nullptr;
    }
    PmxObjClass* const cls = pmxIntlGetClass(class_name);
    if (cls == nullptr) report(PMX_ERROR, Msg::class_not_defined, class_name, name);
    return cls;
}

PmxObject* make_object(PmxObjClass* cls, const char* name) {
    void* const place = RakMemoryMalloc(sizeof(PmxObject));
    char* const own_name = RakStringDup(name);
    if (place == nullptr || own_name == nullptr) {
        RakMemoryFree(place);
        RakMemoryFree(own_name);
        return nullptr;
    }
    auto* const object = new (place) PmxObject{};
    object->cls = cls;
    object->name = own_name;
    set_gate(object, 1, cls->kind == PMX_LOGGER ? PMX_DEBUG_MIN : PMX_ALL);
    if (cls->kind == PMX_HANDLER) {
        object->formatter = pmxIntlGetObject("pmxlog.defaultFormatter", "pmx_basicformatter");
    }
    if (cls->life.alloc_vars != nullptr) object->vars = cls->life.alloc_vars();
    return object;
}

// Enters a new object under its name and takes a reference for the caller; null when it cannot be.
PmxObject* enter_object(PmxObject* object, const char* class_name) {
    if (toolkit.objects == nullptr) toolkit.objects = StringToObjMap::alloc();
    if (const PmxStringToObjMapLink* const link =
            StringToObjMap::find(toolkit.objects, object->name)) {
        // What it is made of has taken the name.
        report(PMX_ERROR, Msg::object_of_other_class, object->name, link->value->cls->name,
               class_name);
    } else if (!StringToObjMap::put(toolkit.objects, object->name, object)) {
        report(PMX_ERROR, Msg::out_of_memory);
    } else {
        return pmxIntlAcquireObject(object);
    }
    free_parts(object);
    return nullptr;
}

template <auto Put, class Value>
int set_and_tell(PmxObject* object, const char* name, Value value) {
    if (object == nullptr || object->cls == nullptr) return 0;
    if (object->properties == nullptr) object->properties = StringToStringMap::alloc();
    if (!Put(object->properties, name, value)) return 0;
    const ObjectRef pin = ObjectRef::share(object);
    if (object->cls->life.cfg_change != nullptr) object->cls->life.cfg_change(object, name);
    return 1;
}

const PmxStringToStringMap* properties_of(const PmxObject* object) {
    return object == nullptr ? nullptr : object->properties;
}

}  // namespace

void end_objects() {
    toolkit.ending_all = true;
    while (toolkit.objects != nullptr && toolkit.objects->head != nullptr) {
        PmxObject* const object = toolkit.objects->head->value;
        // Its variables go first, so that its closing finds none; it is held by whoever holds it,
        // but comes to its end now.
        toolkit.ending_one = true;
        object->end_waits = true;  // it may be its own formatter
        const PmxFreeVarsOp free_vars = object->cls->life.free_vars;
        void* const vars = std::exchange(object->vars, nullptr);
        if (free_vars != nullptr && vars != nullptr) free_vars(vars);
        pmxIntlReleaseObject(std::exchange(object->formatter, nullptr));
        end_object(object);
        end_waiting_objects();
    }
    StringToObjMap::free(std::exchange(toolkit.objects, nullptr));
    while (PmxObject* const shell = toolkit.shells) {
        toolkit.shells = shell->next_ending;
        RakMemoryFree(shell);
    }
    toolkit.ending_all = false;
}

}  // namespace vel::log

using namespace vel::log;

PmxObject* pmxIntlGetObject(const char* name, const char* class_name) {
    if (name == nullptr) return nullptr;
    if (PmxStringToObjMapLink* const link = StringToObjMap::find(toolkit.objects, name)) {
        return get_existing(link, name, class_name);
    }
    if (toolkit.ending_all || toolkit.creation_depth >= kMaxCreationDepth) return nullptr;
    PmxObjClass* const cls = class_for(name, class_name);
    if (cls == nullptr) return nullptr;

    ++toolkit.creation_depth;
    PmxObject* object = make_object(cls, name);
    if (object == nullptr) {
        report(PMX_ERROR, Msg::out_of_memory);
    } else {
        object = enter_object(object, cls->name);
        if (object != nullptr) pmxIntlLogMgrApplyCfg(object, name);
    }
    --toolkit.creation_depth;
    return object;
}

PmxObject* pmxIntlAcquireObject(PmxObject* object) {
    if (object != nullptr) ++object->references;
    return object;
}

void pmxIntlReleaseObject(PmxObject* object) {
    if (object == nullptr || object->references == 0) return;
    --object->references;
    // The last one is the instance table's. A shell has no class any more.
    if (object->references != 1 || object->cls == nullptr || object->end_waits) return;
    object->end_waits = true;
    (toolkit.ending == nullptr ? toolkit.ending : toolkit.last_ending->next_ending) = object;
    toolkit.last_ending = object;
    if (!toolkit.ending_one) end_waiting_objects();
}

void* pmxIntlGetObjVars(const PmxObject* object) {
    return object == nullptr ? nullptr : object->vars;
}

char* pmxIntlGetObjectName(const PmxObject* object) {
    return object == nullptr ? nullptr : RakStringDup(object->name);
}

char* pmxIntlGetObjectDesc(PmxObject* object) {
    if (object == nullptr || object->cls == nullptr) return nullptr;
    return pmxIntlBindI18Msg(object->cls->description);
}

int pmxIntlAreObjectsEqual(const PmxObject* a, const PmxObject* b) { return a == b; }

int pmxIntlIsObjectEnabled(const PmxObject* object) {
    return object != nullptr && object->enabled != 0;
}

void pmxIntlSetObjectEnabled(PmxObject* object, int enabled) {
    if (object != nullptr) set_gate(object, enabled != 0, object->level);
}

char* pmxIntlGetObjProp(PmxObject* object, const char* name, int* found) {
    return pmxIntlGetMapProp(properties_of(object), name, found);
}
int pmxIntlGetObjPropBool(PmxObject* object, const char* name, int* found) {
    return pmxIntlGetMapPropBool(properties_of(object), name, found);
}
int32_t pmxIntlGetObjPropInt(PmxObject* object, const char* name, int* found) {
    return pmxIntlGetMapPropInt(properties_of(object), name, found);
}
int64_t pmxIntlGetObjPropLong(PmxObject* object, const char* name, int* found) {
    return pmxIntlGetMapPropLong(properties_of(object), name, found);
}
float pmxIntlGetObjPropFloat(PmxObject* object, const char* name, int* found) {
    return pmxIntlGetMapPropFloat(properties_of(object), name, found);
}
double pmxIntlGetObjPropDouble(PmxObject* object, const char* name, int* found) {
    return pmxIntlGetMapPropDouble(properties_of(object), name, found);
}
int pmxIntlSetObjProp(PmxObject* object, const char* name, const char* text) {
    return set_and_tell<pmxIntlSetMapProp>(object, name, text);
}
int pmxIntlSetObjPropBool(PmxObject* object, const char* name, int value) {
    return set_and_tell<pmxIntlSetMapPropBool>(object, name, value);
}
int pmxIntlSetObjPropInt(PmxObject* object, const char* name, int32_t value) {
    return set_and_tell<pmxIntlSetMapPropInt>(object, name, value);
}
int pmxIntlSetObjPropLong(PmxObject* object, const char* name, int64_t value) {
    return set_and_tell<pmxIntlSetMapPropLong>(object, name, value);
}
int pmxIntlSetObjPropFloat(PmxObject* object, const char* name, float value) {
    return set_and_tell<pmxIntlSetMapPropFloat>(object, name, value);
}
int pmxIntlSetObjPropDouble(PmxObject* object, const char* name, double value) {
    return set_and_tell<pmxIntlSetMapPropDouble>(object, name, value);
}
