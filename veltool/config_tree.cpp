#include "veltool/config_tree.h"

#include <algorithm>
#include <unordered_set>

#include "veltool/config_rules.h"
#include "veltool/text.h"

namespace vel::tool::config {

namespace {

// A property of an object with what counts of it, and where that comes from.
struct Property {
    std::string key;
    std::string value;
    Source source;  // of nothing: it is the default
};

// Whether it is drawn as a branch.
bool names_others(std::string_view key) {
    return key == kListeners || key == kFormatter || key == kTrigger;
}

// Of classes that an application registers all that is set, of others all that counts.
std::vector<Property> properties_of(const Configuration& object) {
    std::vector<Property> properties;
    for (const Rule* const rule : rules_of(*object.cls)) {
        const Source source = source_of(object, rule->key);
        std::string value = effective_value(object, *rule);
        const bool counts = source.entry != nullptr || !value.empty();
        if (counts && why_idle(*object.cls, rule->key) == nullptr)
            properties.push_back({rule->key, std::move(value), source});
        if (object.has_fixed_formatter && rule->key == kFormatter)
            properties.back() = {rule->key, kDefaultFormatter, {}};
    }
    std::unordered_set<std::string_view> seen{kClassName};
    const Configuration* at = object.cls->is_application_class ? &object : nullptr;
    for (; at != nullptr; at = at->parent) {
        for (const Entry* const entry : at->own) {
            if (seen.insert(entry->property).second)
                properties.push_back({entry->property, entry->value, {at, entry}});
        }
    }
    return properties;
}

// What another object is to this one, and its name.
struct Branch {
    std::string label;
    std::string name;
};

std::vector<Branch> branches_of(const Configuration& object,
                                const std::vector<Property>& properties) {
    std::vector<Branch> branches;
    for (const Property& property : properties) {
        if (!names_others(property.key) || property.value.empty()) continue;
        if (property.key != kListeners) {
            const char* const label = property.key == kFormatter ? "formatter" : "trigger";
            branches.push_back({label, property.value});
            continue;
        }
        for (const ObjectName& name : names_in(*property.source.entry))
            branches.push_back({"", name.text});
    }
    const bool named = std::ranges::find(branches, kStderrHandler, &Branch::name) != branches.end();
    if (object.made_by_toolkit && object.name == kErrorLogger && !named)
        branches.push_back({"", kStderrHandler});
    return branches;
}

size_t line_of(const Source& source, const Places& places) {
    return places.of(source.entry->at).line;
}

// ---- The drawing

struct Strokes {
    const char *branch, *last, *beside, *none;
};
constexpr Strokes kAscii{"+- ", "`- ", "|  ", "   "};
constexpr Strokes kBoxes{"├─ ", "└─ ", "│  ", "   "};

class Drawing {
  public:
    Drawing(const Model& model, const Places& places, Lines lines)
        : model_(model), places_(places), strokes_(lines == Lines::ascii ? kAscii : kBoxes) {}

    std::string draw();

  private:
    void draw_root(const Configuration& object);
    void draw_object(const Configuration& object, const std::string& margin);
    void draw_properties(const std::vector<Property>& properties, const std::string& margin);
    void draw_branch(const Branch& branch, const std::string& margin, bool is_last);
    std::string origin(const Property& property) const;
    std::string title(const Configuration& object) const;

    const Model& model_;
    const Places& places_;
    const Strokes strokes_;
    std::string text_;
    std::unordered_set<const Configuration*> drawn_;
    std::vector<const Configuration*> way_;
};

std::string Drawing::title(const Configuration& object) const {
    std::string title = shown(object.name) + ": " + shown(object.cls->name);
    if (object.made_by_toolkit) return title + " (the toolkit makes it)";
    const Source source = source_of(object, kClassName);
    if (source.configuration == &object) return title;
    return title + " (inherited from " + shown(source.configuration->name) + ")";
}

std::string Drawing::origin(const Property& property) const {
    if (property.source.entry == nullptr) return "default";
    const std::string& written = property.source.entry->value;
    const std::string line = "line " + std::to_string(line_of(property.source, places_));
    return line + (written == property.value ? "" : ": " + in_quotes(written));
}

void Drawing::draw_properties(const std::vector<Property>& properties, const std::string& margin) {
    for (const Property& property : properties) {
        if (names_others(property.key)) continue;
        text_ += margin + "  " + shown(property.key) + " = " + in_quotes(property.value) + "  (" +
                 origin(property);
        const Configuration* const from = property.source.configuration;
        if (from != nullptr && from != way_.back()) text_ += ", from " + shown(from->name);
        text_ += ")\n";
    }
}

void Drawing::draw_branch(const Branch& branch, const std::string& margin, bool is_last) {
    constexpr size_t kMaxDepth = 48;
    const Configuration* const object = model_.find(branch.name);
    text_ += margin + (is_last ? strokes_.last : strokes_.branch);
    if (!branch.label.empty()) text_ += branch.label + " ";
    if (object == nullptr || object->cls == nullptr) {
        text_ += shown(branch.name) + ": not made\n";
        return;
    }
    text_ += title(*object);
    const bool round = std::ranges::find(way_, object) != way_.end();
    if (round || drawn_.contains(object) || way_.size() >= kMaxDepth) {
        text_ += round ? ", comes round\n" : drawn_.contains(object) ? ", as above\n" : ", ...\n";
        return;
    }
    text_ += '\n';
    draw_object(*object, margin + (is_last ? strokes_.none : strokes_.beside));
}

void Drawing::draw_object(const Configuration& object, const std::string& margin) {
    drawn_.insert(&object);
    way_.push_back(&object);
    const std::vector<Property> properties = properties_of(object);
    const std::vector<Branch> branches = branches_of(object, properties);
    draw_properties(properties, margin + (branches.empty() ? strokes_.none : strokes_.beside));
    for (size_t i = 0; i < branches.size(); ++i) {
        draw_branch(branches[i], margin, i + 1 == branches.size());
    }
    way_.pop_back();
}

void Drawing::draw_root(const Configuration& object) {
    text_ += title(object) + '\n';
    draw_object(object, "");
}

std::string Drawing::draw() {
    for (const Configuration& each : model_.configurations()) {
        const bool is_logger = each.cls != nullptr && each.cls->kind == PMX_LOGGER;
        if (is_logger && !each.made_by_reference) draw_root(each);
    }
    for (const Configuration& each : model_.configurations()) {
        if (each.cls != nullptr && !drawn_.contains(&each)) draw_root(each);
    }
    return std::move(text_);
}

// ---- JSON

std::string json_of(const Property& property, const Configuration& object, const Places& places) {
    std::string json = json_text(property.key) + ":{\"value\":" + json_text(property.value);
    if (property.source.entry == nullptr) return json + ",\"origin\":\"default\"}";
    const bool own = property.source.configuration == &object;
    json += std::string(",\"origin\":") + (own ? "\"own\"" : "\"inherited\"") +
            ",\"from\":" + json_text(property.source.configuration->name) +
            ",\"line\":" + std::to_string(line_of(property.source, places));
    return json + ",\"written\":" + json_text(property.source.entry->value) + '}';
}

std::string json_of(const Configuration& object, const Places& places) {
    const std::vector<Property> properties = properties_of(object);
    std::string json = "{\"name\":" + json_text(object.name) +
                       ",\"class\":" + json_text(object.cls->name) +
                       ",\"kind\":" + json_text(kind_name(object.cls->kind)) +
                       ",\"madeByToolkit\":" + (object.made_by_toolkit ? "true" : "false");
    const auto add = [&json](const char* key, char open, const std::string& items, char close) {
        json += std::string(",\"") + key + "\":" + open + items + close;
    };
    std::string items;
    for (const Property& property : properties)
        items += (items.empty() ? "" : ",") + json_of(property, object, places);
    add("properties", '{', items, '}');
    items.clear();
    for (const Branch& branch : branches_of(object, properties))
        items += std::string(items.empty() ? "" : ",") +
                 "{\"as\":" + json_text(branch.label.empty() ? "listener" : branch.label) +
                 ",\"name\":" + json_text(branch.name) + '}';
    add("refersTo", '[', items, ']');
    return json + '}';
}

}  // namespace

std::string draw(const Model& model, const Places& places, Lines lines) {
    return Drawing(model, places, lines).draw();
}

std::string objects_as_json(const Model& model, const Places& places) {
    std::string json = "[";
    for (const Configuration& each : model.configurations()) {
        if (each.cls == nullptr) continue;
        json += (json.size() > 1 ? "," : "") + json_of(each, places);
    }
    return json + ']';
}

}  // namespace vel::tool::config
