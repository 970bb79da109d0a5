// The registry of classes.
#include <new>

#include "log/classes.h"
#include "log/collections.h"
#include "log/message.h"
#include "log/toolkit.h"

namespace vel::log {
namespace {

PmxStringGroup* names_of(uint32_t kind) { return toolkit.class_names[kind - PMX_LOGGER]; }

template <class Operation>
void set_default(Operation& operation, Operation usual) {
    if (operation == nullptr) operation = usual;
}

void fill_empty_places(PmxObjClass* cls) {
    switch (cls->kind) {
        case PMX_LOGGER:
            set_default(cls->logger.log, PmxBasicObjectFLog);
            break;
        case PMX_FILTER:
            set_default(cls->filter.process, PmxBasicFilterFProcess);
            set_default(cls->filter.is_loggable, PmxLevelFilterFIsLoggable);
            set_default(cls->filter.log, PmxBasicObjectFLog);
            break;
        case PMX_HANDLER:
            set_default(cls->handler.process, PmxBasicHandlerFProcess);
            set_default(cls->handler.open, PmxBasicHandlerFOpen);
            set_default(cls->handler.close, PmxBasicHandlerFClose);
            break;
        case PMX_FORMATTER:
            set_default(cls->formatter.format, PmxBasicFormatterFFormat);
            set_default(cls->formatter.get_header, PmxBasicFormatterFGetHeader);
            set_default(cls->formatter.get_trailer, PmxBasicFormatterFGetTrailer);
            set_default(cls->formatter.bind_message, pmxIntlBindI18Msg);
            break;
        default:
            break;
    }
}

void free_class(PmxObjClass* cls) {
    if (cls == nullptr) return;
    RakMemoryFree(cls->name);
    pmxIntlFreeI18Msg(cls->description);
    RakMemoryFree(cls);
}

PmxObjClass* make_class(const ClassDefinition& definition, const PmxI18Msg* description) {
    void* const place = RakMemoryMalloc(sizeof(PmxObjClass));
    if (place == nullptr) return nullptr;
    auto* const cls = new (place) PmxObjClass{.kind = definition.kind,
                                              .name = RakStringDup(definition.name),
                                              .description = pmxIntlCopyI18Msg(description),
                                              .logger = definition.logger,
                                              .filter = definition.filter,
                                              .handler = definition.handler,
                                              .formatter = definition.formatter,
                                              .life = definition.life};
    fill_empty_places(cls);
    const bool complete =
        cls->name != nullptr && (description == nullptr || cls->description != nullptr);
    if (complete) return cls;
    free_class(cls);
    return nullptr;
}

}  // namespace

void register_builtin_classes() {
    if (toolkit.classes != nullptr) return;
    toolkit.classes = StringToObjClassMap::alloc();
    if (toolkit.classes == nullptr) {
        print_error(text_of(Msg::toolkit_not_initialized), nullptr);
        return;
    }
    for (PmxStringGroup*& names : toolkit.class_names) names = StringGroup::alloc();
    for (const ClassDefinition* const definition : builtin_classes()) {
        OwnedMsg description;
        if (definition->description != Msg::catalog_name) {
            description.reset(pmxIntlAllocI18Msg(text_of(Msg::catalog_name), kMessageSet,
                                                 static_cast<uint32_t>(definition->description),
                                                 text_of(definition->description)));
        }
        pmxIntlAddClass(definition, description.get());
    }
}

PmxProcessOp process_of(const PmxObjClass* cls) {
    if (cls == nullptr) return nullptr;
    if (cls->kind == PMX_FILTER) return cls->filter.process;
    return cls->kind == PMX_HANDLER ? cls->handler.process : nullptr;
}

void free_classes() {
    for (PmxStringToObjClassMapLink* link = StringToObjClassMap::begin(toolkit.classes);
         link != nullptr; link = link->next) {
        free_class(link->value);
    }
    StringToObjClassMap::free(std::exchange(toolkit.classes, nullptr));
    for (PmxStringGroup*& names : toolkit.class_names) {
        StringGroup::free(std::exchange(names, nullptr));
    }
}

}  // namespace vel::log

using namespace vel::log;

void pmxIntlAddClass(const ClassDefinition* definition, const PmxI18Msg* description) {
    if (definition->name == nullptr) return;
    register_builtin_classes();
    if (StringToObjClassMap::has(toolkit.classes, definition->name)) return;
    PmxObjClass* const cls = make_class(*definition, description);
    if (cls == nullptr || !StringToObjClassMap::put(toolkit.classes, cls->name, cls)) {
        free_class(cls);
        return report(PMX_ERROR, Msg::out_of_memory);
    }
    StringGroup::add(names_of(cls->kind), cls->name);
}

PmxObjClass* pmxIntlGetClass(const char* name) {
    return StringToObjClassMap::get(toolkit.classes, name);
}

PmxStringGroupLink* pmxIntlGetClassNames(uint32_t kind) {
    return StringGroup::begin(names_of(kind));
}
