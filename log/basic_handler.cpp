// What all handlers have: a formatter, and operations that do nothing.
#include "log/classes.h"
#include "log/object.h"

namespace vel::log {
namespace {

void set_formatter_name(PmxObject* handler, const char* key) {
    const char* const name = peek_object_property(handler, key);
    if (name == nullptr) return;
    const ObjectRef formatter = ObjectRef::adopt(pmxIntlGetObject(name, nullptr));
    pmxIntlHandlerSetFormatter(handler, formatter.get());
}

constexpr Property kProperties[] = {{"formatterName", set_formatter_name}};

// The operations of a handler's formatter; null: the object is no handler, or has none.
const FormatterOps* formatter_of(const PmxObject* handler) {
    if (!is_kind(handler, PMX_HANDLER) || !is_kind(handler->formatter, PMX_FORMATTER)) {
        return nullptr;
    }
    return &handler->formatter->cls->formatter;
}

}  // namespace
}  // namespace vel::log

using namespace vel::log;

PmxObject* pmxIntlHandlerGetFormatter(PmxObject* handler) {
    return is_kind(handler, PMX_HANDLER) ? pmxIntlAcquireObject(handler->formatter) : nullptr;
}

void pmxIntlHandlerSetFormatter(PmxObject* handler, PmxObject* formatter) {
    if (!is_kind(handler, PMX_HANDLER)) return;
    ObjectRef fresh = formatter == nullptr ? ObjectRef() : ObjectRef::share(formatter);
    pmxIntlReleaseObject(std::exchange(handler->formatter, nullptr));
    handler->formatter = fresh.release();
}

char* pmxIntlHandlerGetFmtHeader(PmxObject* handler) {
    const FormatterOps* const can = formatter_of(handler);
    return can == nullptr || can->get_header == nullptr ? nullptr : can->get_header();
}

char* pmxIntlHandlerGetFmtTrailer(PmxObject* handler) {
    const FormatterOps* const can = formatter_of(handler);
    return can == nullptr || can->get_trailer == nullptr ? nullptr : can->get_trailer();
}

char* pmxIntlHandlerDoFmt(PmxObject* handler, PmxEvent* event) {
    const FormatterOps* const can = formatter_of(handler);
    if (can == nullptr || can->format == nullptr) return nullptr;
    return can->format(handler->formatter, event);
}

void PmxBasicHandlerFCfgChange(PmxObject* handler, const char* property) {
    if (handler == nullptr || property == nullptr) return;
    if (!apply_property(kProperties, handler, property))
        PmxBasicObjectFCfgChange(handler, property);
}

void PmxBasicHandlerFProcess(PmxObject*, PmxEvent*, uint32_t) {}

void PmxBasicHandlerFOpen(PmxObject*) {}

void PmxBasicHandlerFClose(PmxObject*) {}
