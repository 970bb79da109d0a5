// veltool: the table of verbs, help, and what becomes of a failure.
#include <csignal>
#include <iostream>

#include "veltool/tool.h"

namespace vel::tool {

namespace {

constexpr std::string_view kVersion = VEL_VERSION;

// A noun with verbs, or one that is a verb itself.
struct Noun {
    std::string_view name;
    std::string_view summary;
    const Verb* verb = nullptr;
};

const Noun kNouns[] = {
    {"capture", "first-failure captures: list, bundle and prune them"},
    {"catalog", "message catalogs: make, show and check them"},
    {"channel", "the channel to an application server: make, read and remove it"},
    {"codeset", "tables of code sets: make, show, check and list them"},
    {"config", "properties files: check them and show what they make"},
    {"doctor", kDoctor.summary, &kDoctor},
    {"id", kId.summary, &kId},
    {"log", kLog.summary, &kLog},
};

// In the order in which help shows them.
const Verb* const kVerbs[] = {&kCaptureList,    &kCaptureBundle, &kCapturePrune,  &kCatalogCheck,
                              &kCatalogCompile, &kCatalogDump,   &kCatalogPseudo, &kChannelCreate,
                              &kChannelRead,    &kChannelStat,   &kChannelRemove, &kCodesetCompile,
                              &kCodesetDump,    &kCodesetList,   &kCodesetVerify, &kConfigCheck};

void show_row(std::string_view name, std::string_view summary) {
    constexpr size_t kColumn = 10;
    std::cout << "  " << name << std::string(kColumn - name.size(), ' ') << summary << '\n';
}

void show_program_help() {
    std::cout << "Usage: veltool NOUN [VERB] [OPTION...] [OPERAND...]\n\nNouns:\n";
    for (const Noun& noun : kNouns) show_row(noun.name, noun.summary);
    std::cout << "\nveltool NOUN --help shows the verbs of a noun, or its options; veltool "
                 "--version the version.\n";
}

void show_noun_help(const Noun& noun) {
    std::cout << "Usage: veltool " << noun.name << " VERB [OPTION...] [OPERAND...]\n\nVerbs:\n";
    for (const Verb* verb : kVerbs) {
        if (verb->noun == noun.name) show_row(verb->name, verb->summary);
    }
    std::cout << "\nveltool " << noun.name << " VERB --help shows the options of a verb.\n";
}

const Noun* find_noun(std::string_view name) {
    for (const Noun& noun : kNouns) {
        if (noun.name == name) return &noun;
    }
    return nullptr;
}

const Verb* find_verb(const Noun& noun, std::string_view name) {
    for (const Verb* verb : kVerbs) {
        if (verb->noun == noun.name && verb->name == name) return verb;
    }
    return nullptr;
}

bool asks_for_help(std::string_view word) { return word == "--help" || word == "-h"; }

ExitStatus run_verb(const Verb& verb, std::span<char*> words) {
    std::vector<Option> options(verb.options.begin(), verb.options.end());
    options.push_back({"help", 'h', false});
    const CommandLine command_line(words, options);
    if (command_line.has("help")) {
        std::cout << verb.help;
        return kDone;
    }
    return verb.run(command_line);
}

ExitStatus run(std::span<char*> words) {
    if (words.size() < 2) throw UsageError("a noun is missing");
    const std::string_view word = words[1];
    if (asks_for_help(word)) {
        show_program_help();
        return kDone;
    }
    if (word == "--version") {
        std::cout << "veltool " << kVersion << '\n';
        return kDone;
    }
    const Noun* noun = find_noun(word);
    if (noun == nullptr) throw UsageError("no such noun: " + std::string(word));
    if (noun->verb != nullptr) return run_verb(*noun->verb, words.subspan(1));
    if (words.size() < 3) throw UsageError("a verb is missing");
    if (asks_for_help(words[2])) {
        show_noun_help(*noun);
        return kDone;
    }
    const Verb* verb = find_verb(*noun, words[2]);
    if (verb == nullptr) throw UsageError("no such verb: " + std::string(words[2]));
    return run_verb(*verb, words.subspan(2));
}

// The command that shows how the one with these words is used.
std::string usage_command(std::span<char*> words) {
    std::string command = "veltool";
    const Noun* const noun = words.size() > 1 ? find_noun(words[1]) : nullptr;
    if (noun != nullptr) command.append(" ").append(noun->name);
    const bool has_verb = noun != nullptr && noun->verb == nullptr && words.size() > 2;
    const Verb* const verb = has_verb ? find_verb(*noun, words[2]) : nullptr;
    if (verb != nullptr) command.append(" ").append(verb->name);
    return command + " --help";
}

// What was shown counts as done only when it has arrived.
ExitStatus finish(ExitStatus status) {
    if (std::cout.flush()) return status;
    complain("standard output: cannot be written");
    return kFinding;
}

}  // namespace

}  // namespace vel::tool

int main(int argc, char** argv) {
    using namespace vel::tool;
    signal(SIGXFSZ, SIG_IGN);  // a limit on the size of files is a write error like others
    const std::span<char*> words(argv, static_cast<size_t>(argc));
    const std::string usage = usage_command(words);  // before options are put in order
    try {
        return finish(run(words));
    } catch (const UsageError& error) {
        complain(std::string(error.what()) + " (" + usage + " shows the usage)");
        return kWrongUsage;
    } catch (const std::exception& error) {
        complain(error.what());
        return kFinding;
    }
}
