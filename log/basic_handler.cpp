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

// The formatter of a handler, held while one of its operations runs: what that reports may lead to
// another taking its place. None: the object is no handler, or has none.
ObjectRef formatter_of(const PmxObject* handler) {
    const bool any = is_kind(handler, PMX_HANDLER) && is_kind(handler->formatter, PMX_FORMATTER);
    return any ? ObjectRef::share(handler->formatter) : ObjectRef();
}

// What an operation of the handler's formatter makes; null: there is no such operation.
template <class Operation, class... Event>
char* make_text(const PmxObject* handler, Operation FormatterOps::*operation, Event... event) {
    const ObjectRef formatter = formatter_of(handler);
    if (!formatter) return nullptr;
    const Operation make = formatter->cls->formatter.*operation;
    return make == nullptr ? nullptr : make(formatter.get(), event...);
}

}  // namespace
}  // namespace vel::log

using namespace vel::log;

PmxObject* pmxIntlHandlerGetFormatter(PmxObject* handler) {
    return formatter_of(handler).release();
}

void pmxIntlHandlerSetFormatter(PmxObject* handler, PmxObject* formatter) {
    if (!is_kind(handler, PMX_HANDLER)) return;
    ObjectRef fresh = formatter == nullptr ? ObjectRef() : ObjectRef::share(formatter);
    pmxIntlReleaseObject(std::exchange(handler->formatter, nullptr));
    handler->formatter = fresh.release();
}

char* pmxIntlHandlerGetFmtHeader(PmxObject* handler) {
    return make_text(handler, &FormatterOps::get_header);
}

char* pmxIntlHandlerGetFmtTrailer(PmxObject* handler) {
    return make_text(handler, &FormatterOps::get_trailer);
}

char* pmxIntlHandlerDoFmt(PmxObject* handler, PmxEvent* event) {
    return make_text(handler, &FormatterOps::format, event);
}

void PmxBasicHandlerFCfgChange(PmxObject* handler, const char* property) {
    if (handler == nullptr || property == nullptr) return;
    if (!apply_property(kProperties, handler, property))
        PmxBasicObjectFCfgChange(handler, property);
}

void PmxBasicHandlerFProcess(PmxObject*, PmxEvent*, uint32_t) {}

void PmxBasicHandlerFOpen(PmxObject*) {}

void PmxBasicHandlerFClose(PmxObject*) {}
