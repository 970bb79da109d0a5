#include <algorithm>
#include <iterator>

#include "veltool/config_findings.h"
#include "veltool/config_rules.h"
#include "veltool/config_values.h"

namespace vel::tool::config {

namespace {

// A key whose value names objects, and the kinds that these have to be of.
struct Reference {
    std::string_view key;
    std::vector<uint32_t> kinds;
    const char* wanted;
};
const Reference kReferences[] = {
    {kListeners, {PMX_FILTER, PMX_HANDLER}, "a listener is a filter or a handler"},
    {kFormatter, {PMX_FORMATTER}, "without a formatter nothing is written"},
    {kTrigger, {PMX_FILTER}, "nothing but a filter triggers"},
};

bool ends_with_blank(const std::string& value) {
    return !value.empty() && std::string_view(" \t\v\f").find(value.back()) != std::string::npos;
}

std::string meant(const std::string& near) {
    return near.empty() ? "" : "; " + in_quotes(near) + " is near";
}

bool is_quoted(const std::string& value) {
    const bool quote = value.starts_with('"') || value.starts_with('\'');
    return quote && value.size() > 2 && value.back() == value.front();
}

class Inspection {
  public:
    Inspection(const Model& model, const Classes& classes, const Places& places,
               std::vector<Finding>& findings)
        : model_(model), classes_(classes), places_(places), findings_(findings) {}

    void inspect();

  private:
    using ClassSet = std::vector<const ObjectClass*>;

    void find(size_t at, std::string what) { findings_.push_back({at, std::move(what)}); }

    ClassSet takers_of(const Configuration& configuration) const;
    void look_at_class(const Configuration& configuration, const Entry& entry);
    void look_at_entry(const Configuration& configuration, const Entry& entry,
                       const ClassSet& takers);
    void tell_unknown(const Entry& entry, const ObjectClass& cls);
    void look_at_names(const Entry& entry);
    void look_at_name(const ObjectName& name, const Reference& reference);
    std::string near_name(const std::string& name);
    void look_at_place(const Configuration& configuration);
    void look_at_configuration(const Configuration& configuration);

    const Model& model_;
    const Classes& classes_;
    const Places& places_;
    std::vector<Finding>& findings_;
    int unknown_names_ = 0;
};

// The classes of all objects that take the properties of a configuration: its own, and those below.
Inspection::ClassSet Inspection::takers_of(const Configuration& configuration) const {
    ClassSet takers;
    std::vector<const Configuration*> waiting{&configuration};
    while (!waiting.empty()) {
        const Configuration* const at = waiting.back();
        waiting.pop_back();
        const bool is_new = std::ranges::find(takers, at->cls) == takers.end();
        if (at->cls != nullptr && is_new) takers.push_back(at->cls);
        waiting.insert(waiting.end(), at->children.begin(), at->children.end());
    }
    return takers;
}

void Inspection::look_at_class(const Configuration& configuration, const Entry& entry) {
    const ObjectClass* const cls = classes_.find(entry.value);
    if (configuration.made_by_toolkit && cls != configuration.cls)
        return find(entry.value_at, "it is a " + configuration.cls->name + " whatever stands here");
    if (cls != nullptr) return;
    const std::string& value = entry.value;
    const std::string trimmed = value.substr(0, value.find_last_not_of(" \t\v\f") + 1);
    if (classes_.find(trimmed) != nullptr)
        return find(entry.value_at,
                    in_quotes(value) + " is no class: the blanks at the end belong to it");
    find(entry.value_at, "no class " + in_quotes(value) + meant(classes_.nearest(value)));
}

void Inspection::tell_unknown(const Entry& entry, const ObjectClass& cls) {
    std::string what = cls.name + " does not know " + in_quotes(entry.property);
    const char* const other = class_with(entry.property);
    if (cls.takes == nullptr)
        what = cls.name + " has no properties: " + in_quotes(entry.property) + " does nothing";
    else if (other != nullptr)
        what += ", which is one of " + std::string(other);
    else
        what += meant(nearest_key(cls, entry.property));
    find(entry.at, std::move(what));
}

void Inspection::look_at_entry(const Configuration& configuration, const Entry& entry,
                               const ClassSet& takers) {
    const ObjectClass* knows = nullptr;
    const ObjectClass* idles = nullptr;
    for (const ObjectClass* const cls : takers) {
        if (cls->is_application_class) return look_at_names(entry);
        if (rule_of(*cls, entry.property) == nullptr) continue;
        (why_idle(*cls, entry.property) == nullptr ? knows : idles) = cls;
    }
    if (knows == nullptr && idles == nullptr) {
        const ObjectClass* const cls = configuration.cls;
        return tell_unknown(entry, cls == nullptr ? *takers.front() : *cls);
    }
    if (knows == nullptr)
        return find(entry.at, in_quotes(entry.property) + " does nothing for a " + idles->name +
                                  ": " + why_idle(*idles, entry.property));
    const Rule& rule = *rule_of(*knows, entry.property);
    const Verdict verdict = rule.judge(rule, entry.value);
    if (!verdict.finding.empty()) {
        find(entry.value_at, verdict.finding);
    } else if (entry.is_plain && is_quoted(entry.value) && rule.judge != judge::file_list) {
        find(entry.value_at, "the quotes belong to the value");
    } else if (entry.is_plain && !skips_blanks(rule) && ends_with_blank(entry.value)) {
        find(entry.value_at, "the blanks at the end belong to the value");
    }
    look_at_names(entry);
}

// Only for the first ones: each is held against all names.
std::string Inspection::near_name(const std::string& name) {
    constexpr int kMost = 20;
    if (++unknown_names_ > kMost) return "";
    std::vector<std::string_view> names;
    for (const Configuration& each : model_.configurations()) {
        if (each.cls != nullptr && each.name != name) names.emplace_back(each.name);
    }
    return meant(nearest_word(name, names));
}

void Inspection::look_at_name(const ObjectName& name, const Reference& reference) {
    const Configuration* const target = model_.find(name.text);
    const std::string its = in_quotes(name.text);
    if (target == nullptr)
        return find(name.at, "no object " + its + ": there is no configuration of this name" +
                                 near_name(name.text));
    if (target->cls == nullptr)
        return find(name.at,
                    its + (has(*target, kClassName) ? " has a class that is not known"
                                                    : " has no className, nor inherits one"));
    const uint32_t kind = target->cls->kind;
    if (kind == 0 || std::ranges::find(reference.kinds, kind) != reference.kinds.end()) return;
    std::string what = its + " is " + std::string(kind_word(kind));
    if (target->made_by_reference)
        what += ", which it inherits from " + in_quotes(target->parent->name);
    find(name.at, what + ": " + reference.wanted);
}

void Inspection::look_at_names(const Entry& entry) {
    const auto row = std::ranges::find(kReferences, entry.property, &Reference::key);
    if (row == std::end(kReferences)) return;
    for (const ObjectName& name : names_in(entry)) look_at_name(name, *row);
}

// The log manager puts a configuration below the nearest that it has when it comes to it.
void Inspection::look_at_place(const Configuration& configuration) {
    for (size_t dot = configuration.name.rfind('.'); dot != std::string::npos;) {
        const Configuration* const above = model_.find(configuration.name.substr(0, dot));
        if (above == configuration.parent && above != nullptr) return;
        if (above != nullptr && !above->own.empty())
            return find(configuration.own.front()->at,
                        in_quotes(configuration.name) + " does not inherit from " +
                            in_quotes(above->name) + ", whose first entry comes later");
        if (dot == 0) return;
        dot = configuration.name.rfind('.', dot - 1);
    }
}

void Inspection::look_at_configuration(const Configuration& configuration) {
    if (configuration.own.empty()) return;
    if (('.' + configuration.name + '.').find("..") != std::string::npos)
        find(configuration.own.front()->at,
             in_quotes(configuration.name) + " has two full stops together, or one at an end");
    look_at_place(configuration);
    const ClassSet takers = takers_of(configuration);
    for (const Entry* const entry : configuration.own) {
        if (entry->property == kClassName)
            look_at_class(configuration, *entry);
        else if (!takers.empty())
            look_at_entry(configuration, *entry, takers);
        else if (!has(configuration, kClassName) && classes_.find(entry->value) != nullptr)
            find(entry->at, in_quotes(entry->property) + " is not className");
    }
    if (!takers.empty() || has(configuration, kClassName)) return;
    const std::string near = near_name(configuration.name);
    const std::string what = in_quotes(configuration.name) + " has no className, nor inherits one";
    findings_.push_back({configuration.own.front()->at, what + near, near.empty()});
}

void Inspection::inspect() {
    for (const Entry* const entry : model_.overridden()) {
        const Configuration& its = *model_.find(entry->configuration);
        const Entry& last = *its.own[its.by_key.at(entry->property)];
        find(entry->at, "this does not count: line " + std::to_string(places_.of(last.at).line) +
                            " sets it again");
    }
    for (const Configuration& each : model_.configurations()) look_at_configuration(each);
}

}  // namespace

void find_in_entries(const Model& model, const Classes& classes, const Places& places,
                     std::vector<Finding>& findings) {
    Inspection(model, classes, places, findings).inspect();
}

}  // namespace vel::tool::config
