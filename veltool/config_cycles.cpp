// Objects that come back to themselves, and chains that are too long.
#include <algorithm>
#include <unordered_set>

#include "log/toolkit.h"
#include "veltool/config_findings.h"
#include "veltool/tool.h"

namespace vel::tool::config {

namespace {

// Goes the ways on which objects make each other, and hand events on.
class Walk {
  public:
    Walk(const Model& model, std::vector<Finding>& findings) : model_(model), findings_(findings) {}
    void from(const Configuration& root);

  private:
    struct Step {
        const Configuration* object;
        const Entry* listeners;
        std::vector<ObjectName> names;
        size_t next = 0;
    };
    void enter(const Configuration& object);
    void follow(const ObjectName& name);
    std::string way_to(const Configuration& object) const;

    const Model& model_;
    std::vector<Finding>& findings_;
    std::vector<Step> way_;
    std::unordered_set<const Configuration*> entered_;
    std::unordered_set<const Configuration*> on_way_;
    static constexpr int kMostCycles = 100;  // to tell of
    int cycles_ = 0;
    size_t budget_ = 1'000'000;  // of names to follow: many objects may inherit a long list
};

void Walk::enter(const Configuration& object) {
    if (!entered_.insert(&object).second) return;
    const bool has_listeners = object.cls->kind != PMX_FORMATTER;
    const Entry* const listeners = has_listeners ? source_of(object, kListeners).entry : nullptr;
    Step step{&object, listeners, {}};
    if (listeners != nullptr) step.names = names_in(*listeners);
    if (step.names.size() > budget_) throw Failure("too many listeners to follow");
    budget_ -= step.names.size();
    on_way_.insert(&object);
    way_.push_back(std::move(step));
    if (way_.size() == log::kMaxCreationDepth + 1 && listeners != nullptr)
        findings_.push_back({listeners->at,
                             "the chain of objects is longer than 256: what is behind "
                             "is not made"});
}

std::string Walk::way_to(const Configuration& object) const {
    constexpr size_t kMostShown = 8;
    const auto begin = std::ranges::find(way_, &object, &Step::object);
    const auto length = static_cast<size_t>(way_.end() - begin);
    std::string way;
    for (auto at = begin; at != way_.end(); ++at) {
        if (static_cast<size_t>(at - begin) == kMostShown && length > kMostShown) {
            way += "... -> ";
            break;
        }
        way += in_quotes(at->object->name) + " -> ";
    }
    return way + in_quotes(object.name);
}

void Walk::follow(const ObjectName& name) {
    const Configuration* const target = model_.find(name.text);
    if (target == nullptr || target->cls == nullptr) return;
    if (!on_way_.contains(target)) return enter(*target);
    // No event is handed to a logger, which is told elsewhere.
    if (is_logger(target) || ++cycles_ > kMostCycles) return;
    findings_.push_back({name.at, "events come round: " + way_to(*target)});
}

void Walk::from(const Configuration& root) {
    enter(root);
    while (!way_.empty()) {
        Step& step = way_.back();
        if (step.next < step.names.size()) {
            const ObjectName name = step.names[step.next++];
            follow(name);  // step may be elsewhere from here on
            continue;
        }
        on_way_.erase(step.object);
        way_.pop_back();
    }
}

}  // namespace

void find_cycles(const Model& model, std::vector<Finding>& findings) {
    Walk walk(model, findings);
    for (const Configuration& each : model.configurations()) {
        if (is_logger(&each)) walk.from(each);
    }
    for (const Configuration& each : model.configurations()) {
        if (each.cls != nullptr) walk.from(each);
    }
}

}  // namespace vel::tool::config
