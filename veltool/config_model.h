// What the entries of properties files make: configurations that inherit from each other, and the
// objects of these names.
#pragma once

#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "log/classes.h"
#include "veltool/config_file.h"

namespace vel::tool::config {

struct ObjectClass {
    std::string name;
    uint32_t kind;                      // PMX_LOGGER ...; 0: not known
    PmxCfgChangeOp takes = nullptr;     // what its properties go to
    bool is_application_class = false;  // its keys are not known
};

// The toolkit's own classes, and those that an application registers: NAME or NAME:KIND. Throws
// UsageError.
class Classes {
  public:
    explicit Classes(std::span<const std::string> of_application);
    const ObjectClass* find(std::string_view name) const;
    std::string nearest(std::string_view name) const;  // of the toolkit's own; empty: none is near

  private:
    std::deque<ObjectClass> classes_;
};

std::string_view kind_name(uint32_t kind);  // "handler"; empty: not known
std::string_view kind_word(uint32_t kind);  // "a handler"

// The nearest of some words, by the letters that differ; empty: none is near.
std::string nearest_word(std::string_view word, std::span<const std::string_view> words);

struct Configuration {
    std::string name;
    const Configuration* parent = nullptr;
    std::vector<const Entry*> own;                        // the last of each key
    std::unordered_map<std::string_view, size_t> by_key;  // where in them
    std::vector<const Configuration*> children;
    // What an object of this name is made of; null: there is none, or its class is not known.
    const ObjectClass* cls = nullptr;
    bool made_by_toolkit = false;      // whatever the file says
    bool has_fixed_formatter = false;  // the toolkit sets its own behind what the file says
    bool made_by_reference = false;    // it has no entries, but a name leads to it
    bool referred_to = false;
    bool listens = false;  // it is named as a listener
};

// Where a configuration gets a property from; no entry: nobody has it.
struct Source {
    const Configuration* configuration = nullptr;
    const Entry* entry = nullptr;
};
Source source_of(const Configuration& configuration, std::string_view key);
bool has(const Configuration& configuration, std::string_view key);
bool is_logger(const Configuration* configuration);

class Model {
  public:
    // With the log manager's lock, after it has read the file. Throws Failure.
    Model(const PropertiesFile& file, const Classes& classes);
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    // In the order of the file; those that the toolkit makes itself come last.
    const std::deque<Configuration>& configurations() const { return configurations_; }
    const std::vector<const Entry*>& overridden() const { return overridden_; }

    Configuration* find(std::string_view name) const;  // null: there is none
    size_t objects() const;

  private:
    Configuration& make(const std::string& name);
    void add(const Entry& entry);
    void find_parents();
    Configuration* nearest(std::string_view name) const;
    void make_referred(const std::string& name, bool listens);
    void look_at_stderr_handler();

    std::deque<Configuration> configurations_;
    std::unordered_map<std::string_view, Configuration*> by_name_;
    std::vector<const Entry*> overridden_;
};

// What the toolkit itself logs by.
constexpr const char* kErrorLogger = "pmxlog.errorLogger";
constexpr const char* kStderrHandler = "pmxlog.stderrHandler";
constexpr const char* kDefaultFormatter = "pmxlog.defaultFormatter";

constexpr std::string_view kClassName = "className";

// The keys whose values name other objects.
constexpr std::string_view kListeners = "listenerNames";
constexpr std::string_view kFormatter = "formatterName";
constexpr std::string_view kTrigger = "triggerFilter";

// The objects that an entry names: blanks are between those of a list.
struct ObjectName {
    std::string text;
    size_t at;  // where it stands in the file, or the value does
};
std::vector<ObjectName> names_in(const Entry& entry);

}  // namespace vel::tool::config
