#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>

#include "veltool/catalog.h"
#include "veltool/message_format.h"
#include "veltool/utf8.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp =
    R"(Usage: veltool catalog check [--codeset NAME] [--shown-in NAME,...] REFERENCE TRANSLATION...

Compares translations with a reference: source texts or catalogs, each. A line on standard output tells
of each message that is missing or not in the reference, whose parameters or identifier differ, that is
not UTF-8, or that some code set has no characters or no room for.

  -c, --codeset NAME       the code set of the source texts; without it they are UTF-8
  -s, --shown-in NAME,...  the code sets in which the texts are to be shown; without it, that of the
                           source texts
)";

constexpr Option kOptions[] = {{"codeset", 'c', true}, {"shown-in", 's', true}};

using CodeSets = std::vector<std::unique_ptr<CodeSet>>;

// The words of a list with commas between them.
std::vector<std::string> words_of(const std::string& list) {
    std::vector<std::string> words;
    for (size_t begin = 0; begin <= list.size();) {
        const size_t end = std::min(list.find(',', begin), list.size());
        words.push_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
    return words;
}

// The findings about one translation.
class Check {
  public:
    Check(const std::string& name, const CodeSets& shown_in) : name_(name), shown_in_(shown_in) {}

    void compare(const CatalogSets& reference, const CatalogSets& translation) {
        const CatalogMessages none;
        for (const auto& [set, messages] : reference) {
            set_ = set;
            const auto found = translation.find(set);
            compare_sets(messages, found == translation.end() ? none : found->second);
        }
        for (const auto& [set, messages] : translation) {
            set_ = set;
            if (!reference.contains(set)) compare_sets(none, messages);
        }
    }

    bool has_found() const { return found_; }

  private:
    void compare_sets(const CatalogMessages& reference, const CatalogMessages& translation) {
        for (const auto& [number, message] : reference) {
            if (!translation.contains(number)) say(number, {"", 0}, "missing");
        }
        for (const auto& [number, message] : translation) {
            const auto original = reference.find(number);
            if (original == reference.end()) {
                say(number, message, "not in the reference");
            } else {
                compare_identifiers(number, original->second, message);
                compare_parameters(number, original->second, message);
            }
            check_text(number, message);
        }
    }

    void compare_identifiers(int32_t number, const CatalogMessage& original,
                             const CatalogMessage& message) {
        const std::string expected = identifier_of(original.text);
        const std::string actual = identifier_of(message.text);
        if (actual == expected) return;
        if (actual.empty()) {
            say(number, message, "identifier " + expected + " is missing");
        } else if (expected.empty()) {
            say(number, message, "identifier " + actual + " is not in the reference");
        } else {
            say(number, message, "identifier " + actual + " instead of " + expected);
        }
    }

    void compare_parameters(int32_t number, const CatalogMessage& original,
                            const CatalogMessage& message) {
        const auto expected = parameters_of(original.text);
        const auto actual = parameters_of(message.text);
        if (!expected) return;  // no format, and not meant as one
        if (!actual) return say(number, message, "no format, but the reference is one");
        for (const auto& [index, parameter] : *expected) {
            const auto found = actual->find(index);
            if (found == actual->end()) {
                say(number, message, "parameter " + parameter + " is missing");
            } else if (found->second != parameter) {
                say(number, message, "parameter " + found->second + " instead of " + parameter);
            }
        }
        for (const auto& [index, parameter] : *actual) {
            if (!expected->contains(index))
                say(number, message, "parameter " + parameter + " is not in the reference");
        }
    }

    void check_text(int32_t number, const CatalogMessage& message) {
        if (const size_t end = utf8_end(message.text); end < message.text.size()) {
            if (message.line > 0) return;  // an error of the source, told already
            return say(number, message, "not UTF-8, at byte " + std::to_string(end + 1));
        }
        for (const auto& code_set : shown_in_) check_room(number, message, *code_set);
    }

    // Whether the library shows all of a text: it has room for twice its bytes.
    void check_room(int32_t number, const CatalogMessage& message, const CodeSet& code_set) {
        const size_t room = 2 * message.text.size() + 1;
        const uint16_t replaced = code_set.replaced();
        const size_t whole = converted_size(message.text, code_set, 4 * room);
        const auto missing = static_cast<uint16_t>(code_set.replaced() - replaced);
        if (missing > 0) {
            say(number, message,
                "characters that are not in " + code_set.name() + ": " + std::to_string(missing));
        }
        if (converted_size(message.text, code_set, room) < whole) {
            say(number, message,
                "cut off in " + code_set.name() + ": takes " + std::to_string(whole) +
                    " bytes and has room for " + std::to_string(room));
        }
    }

    static size_t converted_size(const std::string& text, const CodeSet& code_set, size_t room) {
        std::string out(room, '\0');
        const int32_t size = mab_from_utf8(code_set.handle(), text.c_str(), -1, out.data(),
                                           static_cast<int32_t>(room));
        return static_cast<size_t>(size);
    }

    void say(int32_t number, const CatalogMessage& message, const std::string& what) {
        std::cout << name_ << ':';
        if (message.line > 0) std::cout << message.line << ':';
        std::cout << " set " << set_ << ", message " << number << ": " << what << '\n';
        found_ = true;
    }

    const std::string& name_;
    const CodeSets& shown_in_;
    int32_t set_ = 0;
    bool found_ = false;
};

ExitStatus check(const CatalogSets& reference, const std::string& name, const CodeSet* code_set,
                 const CodeSets& shown_in) {
    CatalogSets translation;
    SourceErrors errors;
    take_catalog_input(name, code_set, translation, errors);
    for (const std::string& error : errors) std::cout << error << '\n';
    Check findings(name, shown_in);
    findings.compare(reference, translation);
    return errors.empty() && !findings.has_found() ? kDone : kFinding;
}

ExitStatus run(const CommandLine& line) {
    const std::vector<std::string>& names = line.operands();
    if (names.size() < 2) throw UsageError("check takes a reference and a translation or more");
    std::optional<CodeSet> code_set;
    if (line.has("codeset")) code_set.emplace(line.value("codeset"));
    const CodeSet* sources = code_set ? &*code_set : nullptr;
    CodeSets shown_in;
    if (line.has("shown-in") || line.has("codeset")) {
        const char* option = line.has("shown-in") ? "shown-in" : "codeset";
        for (const std::string& name : words_of(line.value(option)))
            shown_in.push_back(std::make_unique<CodeSet>(name));
    }
    CatalogSets reference;
    SourceErrors errors;
    take_catalog_input(names[0], sources, reference, errors);
    if (complain(errors) != kDone) return kFinding;
    ExitStatus status = kDone;
    for (size_t i = 1; i < names.size(); ++i) {
        const auto step = [&] { return check(reference, names[i], sources, shown_in); };
        status = std::max(status, attempt(names[i], step));
    }
    return status;
}

}  // namespace

constinit const Verb kCatalogCheck{"catalog", "check",  "compare translations with a reference",
                                   kHelp,     kOptions, run};

}  // namespace vel::tool
