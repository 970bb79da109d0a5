// What objects lack, and what they do that their entries do not say.
#include <algorithm>
#include <filesystem>
#include <map>

#include "log/ascii_text.h"
#include "veltool/config_findings.h"
#include "veltool/config_rules.h"

namespace vel::tool::config {

namespace fs = std::filesystem;

namespace {

// What objects of a class do not do their work without.
struct Need {
    std::string_view cls, key, what;
};
constexpr Need kNeeds[] = {
    {"pmx_filehandler", "fileName", "no fileName: it writes default.log, in any working directory"},
    {"pmx_multiproc_filehandler", "fileName",
     "no fileName: it writes default.log, in any working directory"},
    {"pmx_ffdc_trigger_handler", "baseDir", "no baseDir: nothing is captured"},
    {"pmx_ffdc_trigger_handler", "triggerFilter", "no triggerFilter: nothing is captured"},
    {"pmx_ffdc_filecopy_handler", "baseDir", "no baseDir: nothing is captured"},
    {"pmx_ffdc_filecopy_handler", "triggerFilter", "no triggerFilter: nothing is captured"},
    {"pmx_ffdc_filecopy_handler", "filesToCopy", "no filesToCopy: nothing is captured"},
};

bool is_file_handler(const Configuration& object) {
    return rule_of(*object.cls, "maxFileBytes") != nullptr;
}

// The directory or file that a property names, without what leads back.
std::string path_of(const Configuration& object, std::string_view key) {
    return fs::path(effective_value(object, key)).lexically_normal();
}

class Objects {
  public:
    Objects(const Model& model, std::vector<Finding>& findings)
        : model_(model), findings_(findings) {}

    void look();

  private:
    void find(size_t at, std::string what) { findings_.push_back({at, std::move(what)}); }
    void note(size_t at, std::string what) { findings_.push_back({at, std::move(what), true}); }

    void look_at_needs(const Configuration& object);
    void look_at_file(const Configuration& object);
    void look_at_inheritance(const Configuration& object);
    void look_at_logger(const Configuration& object);
    void look_at_object(const Configuration& object);
    void look_at_own_objects(const Configuration& object);
    void look_at_sharing(const Configuration& object);
    void look_at_captures(const Configuration& object);

    const Model& model_;
    std::vector<Finding>& findings_;
    std::map<std::string, const Configuration*> writers_;  // the first of each log
};

void Objects::look_at_needs(const Configuration& object) {
    const size_t at = object.own.front()->at;
    for (const Need& need : kNeeds) {
        if (need.cls == object.cls->name && !has(object, need.key))
            find(at, std::string(need.what));
    }
    if (!effective_value(object, "zipFileName").empty() && !has(object, "zipCmdPath"))
        find(at, "no zipCmdPath: nothing makes the archive");
    if (object.cls->kind == PMX_FILTER && object.listens && !has(object, kListeners))
        find(at, in_quotes(object.name) + " has no listeners: what it lets through goes nowhere");
}

void Objects::look_at_file(const Configuration& object) {
    const Entry* const bytes = source_of(object, "maxFileBytes").entry;
    if (bytes != nullptr && effective_value(object, "maxFiles") == "1")
        find(bytes->at,
             "maxFileBytes does nothing: where maxFiles is 1 the file grows without limit");
    if (bytes != nullptr && has(object, "maxFileSize"))
        find(bytes->at,
             "maxFileSize is another word for maxFileBytes: which counts depends on their order");
    const Entry* const internal = source_of(object, "logInternalErrs").entry;
    const std::string appending = effective_value(object, "appending");
    if (internal != nullptr && !log::same_ignoring_case(internal->value.c_str(), appending.c_str()))
        find(internal->at,
             "the value of logInternalErrs does not count: it takes that of appending, " +
                 appending);
}

void Objects::look_at_inheritance(const Configuration& object) {
    const Source listeners = source_of(object, kListeners);
    const bool from_logger = listeners.entry != nullptr && listeners.configuration != &object &&
                             is_logger(listeners.configuration);
    if (from_logger && !is_logger(&object))
        find(object.own.front()->at, in_quotes(object.name) +
                                         " inherits the listeners of the logger " +
                                         in_quotes(listeners.configuration->name));
}

void Objects::look_at_logger(const Configuration& object) {
    const bool is_base = std::ranges::any_of(object.children, is_logger);
    const bool quiet =
        effective_value(object, "level") == "OFF" || effective_value(object, "logging") == "off";
    if (!has(object, kListeners) && !is_base && !quiet)
        find(object.own.front()->at,
             in_quotes(object.name) + " has no listeners: PMXLG01E for each event");
}

void Objects::look_at_own_objects(const Configuration& object) {
    const Entry* const formatter = source_of(object, kFormatter).entry;
    const Entry* const listeners = source_of(object, kListeners).entry;
    if (object.has_fixed_formatter && formatter != nullptr)
        find(formatter->at, "its formatter is pmxlog.defaultFormatter whatever stands here");
    if (object.name != kErrorLogger || listeners == nullptr) return;
    const Configuration* const handler = model_.find(kStderrHandler);
    const std::vector<ObjectName> names = names_in(*listeners);
    const auto named = std::ranges::find(names, handler->name, &ObjectName::text);
    if (named != names.end() && !has(*handler, kClassName))
        find(named->at, "pmxlog.stderrHandler needs a className to be named here");
}

void Objects::look_at_object(const Configuration& object) {
    if (object.made_by_toolkit) return look_at_own_objects(object);
    if (object.own.empty() || object.cls->is_application_class) return;
    if (is_logger(&object)) return look_at_logger(object);
    look_at_inheritance(object);
    if (is_file_handler(object)) look_at_file(object);
    if (object.referred_to) return look_at_needs(object);
    if (object.children.empty())
        note(object.own.front()->at, "nothing refers to " + in_quotes(object.name));
}

// Only processes share a file, by the lock of one key.
void Objects::look_at_sharing(const Configuration& object) {
    const Entry* const name = source_of(object, "fileName").entry;
    const std::string path = path_of(object, "fileName");
    std::error_code error;
    if (name == nullptr || fs::is_other(fs::status(path, error))) return;  // as a terminal
    const auto [row, is_first] = writers_.emplace(path, &object);
    const Configuration& other = *row->second;
    const auto lock = [](const Configuration& each) {
        const bool is_idle = why_idle(*each.cls, "MPFileSemKey") != nullptr;
        return is_idle ? "" : effective_value(each, "MPFileSemKey");
    };
    if (is_first || (!lock(object).empty() && lock(object) == lock(other))) return;
    find(name->value_at, in_quotes(object.name) + " writes the file of " + in_quotes(other.name) +
                             ": records get lost, unless both are pmx_multiproc_filehandler of "
                             "the same MPFileSemKey");
}

void Objects::look_at_captures(const Configuration& object) {
    const Entry* const base = source_of(object, "baseDir").entry;
    if (base == nullptr || effective_value(object, "quotaPolicy") != "QUOTA_AUTODELETE") return;
    const std::string begin = fs::path(path_of(object, "baseDir")) / "";
    const auto log = writers_.lower_bound(begin);
    if (log != writers_.end() && log->first.starts_with(begin))
        find(base->value_at, "the log of " + in_quotes(log->second->name) +
                                 " is below: QUOTA_AUTODELETE may delete it");
}

void Objects::look() {
    std::vector<const Configuration*> objects;
    for (const Configuration& each : model_.configurations()) {
        if (each.cls == nullptr) continue;
        look_at_object(each);
        if (each.referred_to) objects.push_back(&each);
    }
    for (const Configuration* const object : objects) {
        if (is_file_handler(*object)) look_at_sharing(*object);
    }
    for (const Configuration* const object : objects) look_at_captures(*object);
}

}  // namespace

void find_in_objects(const Model& model, std::vector<Finding>& findings) {
    Objects(model, findings).look();
}

}  // namespace vel::tool::config
