// veltool: its verbs, their command lines, and how they fail.
#pragma once

#include <functional>
#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vel::tool {

enum ExitStatus : int { kDone = 0, kFinding = 1, kWrongUsage = 2 };

// Ends a verb: something is wrong with what it works on (kFinding), or with the command line.
struct Failure : std::runtime_error {
    using runtime_error::runtime_error;
};
struct UsageError : std::runtime_error {
    using runtime_error::runtime_error;
};

struct Option {
    const char* name;  // the long one
    char letter;       // 0: none
    bool takes_value;
};

// What stands behind a verb: options as GNU programs take them, in any order, and operands.
class CommandLine {
  public:
    // The word at 0 is the verb itself. Throws UsageError.
    CommandLine(std::span<char*> words, std::span<const Option> options);

    bool has(std::string_view option) const { return values_.contains(option); }
    std::string value(std::string_view option) const;  // the last one; empty when it is not given
    std::vector<std::string> values(std::string_view option) const;  // all, in their order
    const std::vector<std::string>& operands() const { return operands_; }

  private:
    std::multimap<std::string, std::string, std::less<>> values_;
    std::vector<std::string> operands_;
};

struct Verb {
    std::string_view noun;
    std::string_view name;  // empty: the noun is the verb
    std::string_view summary;
    std::string_view help;
    std::span<const Option> options;
    ExitStatus (*run)(const CommandLine&);
};

extern const Verb kCaptureBundle;
extern const Verb kCaptureList;
extern const Verb kCapturePrune;
extern const Verb kCatalogCheck;
extern const Verb kCatalogCompile;
extern const Verb kCatalogDump;
extern const Verb kCatalogPseudo;
extern const Verb kChannelCreate;
extern const Verb kChannelRead;
extern const Verb kChannelRemove;
extern const Verb kChannelStat;
extern const Verb kCodesetCompile;
extern const Verb kCodesetDump;
extern const Verb kCodesetList;
extern const Verb kCodesetVerify;
extern const Verb kConfigCheck;
extern const Verb kDoctor;
extern const Verb kId;
extern const Verb kLog;

// Says on standard error that something is wrong.
void complain(const std::string& message);

// Does one of several steps: its Failure becomes a complaint that begins with the name.
ExitStatus attempt(const std::string& name, const std::function<ExitStatus()>& step);

// Calls it at the first SIGINT or SIGTERM; the next one ends the process. What is ignored, as in
// the background of a shell, stays so.
void call_on_stop_signals(void (*call)(int));

}  // namespace vel::tool
