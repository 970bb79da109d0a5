// What every object does: its listeners, its basic properties, handing on an event.
#include "log/ascii_text.h"
#include "log/message.h"
#include "log/object.h"
#include "runtime/owned.h"

namespace vel::log {
namespace {

using runtime::OwnedText;

// The message that describes the object's class, and with it all objects of the class.
PmxI18Msg* description_of(PmxObject* object) {
    if (object->cls->description == nullptr) {
        object->cls->description = pmxIntlAllocI18Msg(nullptr, 0, 0, nullptr);
    }
    return object->cls->description;
}

void set_description(PmxObject* object, const char* key) {
    pmxIntlSetI18MsgTxt(description_of(object), peek_object_property(object, key));
}

void set_description_file(PmxObject* object, const char* key) {
    pmxIntlSetI18MsgCat(description_of(object), peek_object_property(object, key));
}

void set_description_set(PmxObject* object, const char* key) {
    pmxIntlSetI18MsgSet(description_of(object),
                        static_cast<uint32_t>(pmxIntlGetObjPropInt(object, key, nullptr)));
}

void set_description_key(PmxObject* object, const char* key) {
    pmxIntlSetI18MsgKey(description_of(object),
                        static_cast<uint32_t>(pmxIntlGetObjPropInt(object, key, nullptr)));
}

void set_logging(PmxObject* object, const char* key) {
    const char* const value = peek_object_property(object, key);
    if (value == nullptr) return;
    const bool on = same_ignoring_case(value, "on") || same_ignoring_case(value, "true");
    const bool off = same_ignoring_case(value, "off") || same_ignoring_case(value, "false");
    if (on || off) set_gate(object, on, object->level);
}

void set_listeners(PmxObject* object, const char* key) {
    if (object->cls->kind == PMX_FORMATTER) return;
    const OwnedText names(pmxIntlGetObjProp(object, key, nullptr));  // creating may change the map
    if (names == nullptr) return;
    ListenerGroup::free(std::exchange(object->listeners, nullptr));
    for (char* name = names.get() + strspn(names.get(), kBlanks); *name != '\0';) {
        char* const end = name + strcspn(name, kBlanks);
        char* const following = end + strspn(end, kBlanks);
        *end = '\0';
        const ObjectRef listener = ObjectRef::adopt(pmxIntlGetObject(name, nullptr));
        pmxIntlAddListener(object, listener.get());
        name = following;
    }
}

constexpr Property kProperties[] = {
    {"description", set_description},
    {"descriptionFile", set_description_file},
    {"descriptionSet", set_description_set},
    {"descriptionKey", set_description_key},
    {"logging", set_logging},
    {"listenerNames", set_listeners},
};

void deliver(PmxObject* listener, PmxEvent* event) {
    const PmxProcessOp process = process_of(listener->cls);
    if (process == nullptr) return;
    const Delivery delivery(listener);
    if (delivery) process(listener, event, listener->cls->kind);
}

}  // namespace
}  // namespace vel::log

using namespace vel::log;

PmxListenerGroupLink* pmxIntlGetListeners(PmxObject* object) {
    return object == nullptr ? nullptr : ListenerGroup::begin(object->listeners);
}

int pmxIntlAddListener(PmxObject* object, PmxObject* listener) {
    if (object == nullptr || object->cls == nullptr || object->cls->kind == PMX_FORMATTER) return 0;
    if (object->listeners == nullptr) object->listeners = ListenerGroup::alloc();
    return ListenerGroup::add(object->listeners, listener);
}

int pmxIntlRemListener(PmxObject* object, PmxObject* listener) {
    return object == nullptr ? 0 : ListenerGroup::rem(object->listeners, listener);
}

int pmxIntlIsLoggableByFilter(PmxObject* filter, PmxEvent* event) {
    if (!is_kind(filter, PMX_FILTER) || filter->cls->filter.is_loggable == nullptr) return 0;
    return filter->cls->filter.is_loggable(filter, event);
}

void PmxBasicObjectFCfgChange(PmxObject* object, const char* property) {
    if (object == nullptr || object->cls == nullptr || property == nullptr) return;
    apply_property(kProperties, object, property);
}

void PmxBasicObjectFLog(PmxObject* object, PmxEvent* event) {
    if (object == nullptr || object->cls == nullptr || event == nullptr || !object->enabled) return;
    const PmxListenerGroup* const listeners = object->listeners;
    if (object->cls->kind == PMX_LOGGER && (listeners == nullptr || listeners->head == nullptr)) {
        report(PMX_ERROR, Msg::no_listeners, object->name);
    }
    Walk<PmxListenerGroupLink> walk(object->listeners);
    while (const PmxListenerGroupLink* const link = walk.next()) deliver(link->item, event);
}
