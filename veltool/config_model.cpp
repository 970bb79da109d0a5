#include "veltool/config_model.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

#include "log/ascii_text.h"
#include "log/config.h"
#include "log/pmx_classes.h"
#include "veltool/report.h"
#include "veltool/tool.h"

namespace vel::tool::config {

namespace {

constexpr size_t kMaxReferences = 1'000'000;

struct KindRow {
    uint32_t kind;
    std::string_view name, word;
};
constexpr KindRow kKinds[] = {{PMX_LOGGER, "logger", "a logger"},
                              {PMX_FILTER, "filter", "a filter"},
                              {PMX_HANDLER, "handler", "a handler"},
                              {PMX_FORMATTER, "formatter", "a formatter"},
                              {0, "", "an object"}};

// The objects that the toolkit makes, whatever their className.
struct OwnObject {
    const char* name;
    const log::ClassDefinition& definition;
    bool always;  // when it is opened; else for an object that needs it
};
const OwnObject kOwnObjects[] = {
    {kErrorLogger, log::kBasicLoggerClass, true},
    {kStderrHandler, log::kStderrHandlerClass, true},
    {kDefaultFormatter, log::kBasicFormatterClass, true},
    {"pmxlog.pdMsgIdFormatter", log::kXMLFormatterClass, false},
    {"msgFormatter", log::kXMLFormatterClass, false},
};

ObjectClass application_class(const std::string& text) {
    const size_t colon = text.rfind(':');
    const std::string kind = colon == std::string::npos ? "" : text.substr(colon + 1);
    const auto row = std::ranges::find(kKinds, kind, &KindRow::name);
    if (row == std::end(kKinds)) throw UsageError("no kind of class: " + kind);
    if (colon == 0 || text.empty()) throw UsageError("a class has no name");
    return {text.substr(0, colon), row->kind, nullptr, true};
}

// How many letters have to be put in, taken out or exchanged to make one word of the other.
size_t distance(std::string_view a, std::string_view b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i + 1);
        for (size_t j = 0; j < b.size(); ++j) {
            const bool same = log::ascii_lower(a[i]) == log::ascii_lower(b[j]);
            const size_t exchanged = diagonal + (same ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({exchanged, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

}  // namespace

Classes::Classes(std::span<const std::string> of_application) {
    for (const log::ClassDefinition* const own : log::builtin_classes()) {
        classes_.push_back({own->name, own->kind, own->life.cfg_change});
    }
    std::ranges::transform(of_application, std::back_inserter(classes_), application_class);
}

const ObjectClass* Classes::find(std::string_view name) const {
    const auto found = std::ranges::find(classes_, name, &ObjectClass::name);
    return found == classes_.end() ? nullptr : &*found;
}

std::string Classes::nearest(std::string_view name) const {
    std::vector<std::string_view> names;
    std::ranges::transform(classes_, std::back_inserter(names), &ObjectClass::name);
    return nearest_word(name, names);
}

std::string_view kind_name(uint32_t kind) {
    return std::ranges::find(kKinds, kind, &KindRow::kind)->name;
}

std::string_view kind_word(uint32_t kind) {
    return std::ranges::find(kKinds, kind, &KindRow::kind)->word;
}

std::string nearest_word(std::string_view word, std::span<const std::string_view> words) {
    constexpr size_t kLongest = 64, kFar = 3;
    std::string_view nearest;
    size_t least = std::min(kFar, word.size() / 2 + 1);
    if (word.size() > kLongest) return "";
    for (const std::string_view candidate : words) {
        const size_t its = distance(word, candidate);
        if (its >= least) continue;
        least = its;
        nearest = candidate;
    }
    return std::string(nearest);
}

Source source_of(const Configuration& configuration, std::string_view key) {
    for (const Configuration* at = &configuration; at != nullptr; at = at->parent) {
        const auto found = at->by_key.find(key);
        if (found != at->by_key.end()) return {at, at->own[found->second]};
    }
    return {};
}

bool has(const Configuration& configuration, std::string_view key) {
    return source_of(configuration, key).entry != nullptr;
}

bool is_logger(const Configuration* configuration) {
    return configuration->cls != nullptr && configuration->cls->kind == PMX_LOGGER;
}

std::vector<ObjectName> names_in(const Entry& entry) {
    const std::string_view list = entry.value, blanks = log::kBlanks;
    if (entry.property == kFormatter || entry.property == kTrigger)
        return {{entry.value, entry.value_at}};
    std::vector<ObjectName> names;
    if (entry.property != kListeners) return names;
    for (size_t at = list.find_first_not_of(blanks); at != std::string_view::npos;) {
        const size_t end = list.find_first_of(blanks, at);
        const size_t place = entry.value_at + (entry.is_plain ? at : 0);
        names.push_back({std::string(list.substr(at, end - at)), place});
        at = list.find_first_not_of(blanks, end);
    }
    return names;
}

Configuration& Model::make(const std::string& name) {
    Configuration& made = configurations_.emplace_back();
    made.name = name;
    by_name_.emplace(made.name, &made);
    return made;
}

void Model::add(const Entry& entry) {
    const auto found = by_name_.find(entry.configuration);
    Configuration& its = found == by_name_.end() ? make(entry.configuration) : *found->second;
    const auto [slot, is_new] = its.by_key.emplace(entry.property, its.own.size());
    if (is_new) return its.own.push_back(&entry);
    // The place in the order stays that of the first, as in the map of the toolkit.
    overridden_.push_back(std::exchange(its.own[slot->second], &entry));
}

// The tree is the log manager's: what came later in the file may not be in between.
void Model::find_parents() {
    for (Configuration& configuration : configurations_) {
        const log::CfgRef record =
            log::CfgRef::adopt(pmxIntlLogMgrGetCfg(configuration.name.c_str()));
        if (!record || record->parent == nullptr) continue;
        Configuration* const parent = find(record->parent);
        if (parent == nullptr) continue;
        configuration.parent = parent;
        parent->children.push_back(&configuration);
    }
}

Model::Model(const PropertiesFile& file, const Classes& classes) {
    for (const Entry& entry : file.entries) add(entry);
    for (const OwnObject& own : kOwnObjects) {
        Configuration* const present = find(own.name);
        if (present == nullptr && !own.always) continue;
        Configuration& its = present == nullptr ? make(own.name) : *present;
        its.made_by_toolkit = true;
        its.cls = classes.find(own.definition.name);
    }
    find_parents();
    for (Configuration& configuration : configurations_) {
        const Source source = source_of(configuration, kClassName);
        if (configuration.made_by_toolkit || source.entry == nullptr) continue;
        configuration.cls = classes.find(source.entry->value);
    }
    look_at_stderr_handler();
    size_t references = 0;
    for (const Entry& entry : file.entries) {
        const std::vector<ObjectName> names = names_in(entry);
        references += names.size();
        if (references > kMaxReferences)
            throw Failure("more than " + with_commas(kMaxReferences) + " names of objects");
        for (const ObjectName& name : names) make_referred(name.text, entry.property == kListeners);
    }
}

// Unless the error logger has already made it as the file says, it gets the default formatter.
void Model::look_at_stderr_handler() {
    Configuration& handler = *find(kStderrHandler);
    const Entry* const listeners = source_of(*find(kErrorLogger), kListeners).entry;
    const std::vector<ObjectName> names =
        listeners == nullptr ? std::vector<ObjectName>() : names_in(*listeners);
    const bool named = std::ranges::find(names, handler.name, &ObjectName::text) != names.end();
    handler.has_fixed_formatter = !named || source_of(handler, kClassName).entry == nullptr;
}

// A name without entries makes an object where it inherits a class.
void Model::make_referred(const std::string& name, bool listens) {
    if (Configuration* const present = find(name)) {
        present->referred_to = true;
        present->listens = present->listens || listens;
        return;
    }
    Configuration* const parent = nearest(name);
    if (parent == nullptr || source_of(*parent, kClassName).entry == nullptr) return;
    Configuration& made = make(name);
    made.parent = parent;
    made.cls = parent->cls;
    made.made_by_reference = made.referred_to = true;
    made.listens = listens;
    parent->children.push_back(&made);
}

Configuration* Model::find(std::string_view name) const {
    const auto found = by_name_.find(name);
    return found == by_name_.end() ? nullptr : found->second;
}

Configuration* Model::nearest(std::string_view name) const {
    for (;;) {
        if (Configuration* const found = find(name)) return found;
        const size_t dot = name.rfind('.');
        if (dot == std::string_view::npos) return nullptr;
        name = name.substr(0, dot);
    }
}

size_t Model::objects() const {
    return static_cast<size_t>(std::ranges::count_if(
        configurations_, [](const Configuration& each) { return each.cls != nullptr; }));
}

}  // namespace vel::tool::config
