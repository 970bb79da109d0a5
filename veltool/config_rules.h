// What the toolkit's classes make of the values of their properties.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "veltool/config_model.h"

namespace vel::tool::config {

// What becomes of a value.
struct Verdict {
    std::optional<std::string> effective;  // none: it stays as it was
    std::string finding;                   // empty: all is well
};

// A property of the objects that one source file of the toolkit sets up: its table of properties
// has the same keys, which scripts/check_names.py holds.
struct Rule {
    const char* owner;  // the source file
    const char* key;
    Verdict (*judge)(const Rule& rule, const std::string& value);
    const char* fallback;  // what counts as long as nothing is set; empty: nothing
    int64_t least = INT64_MIN;
    const char* otherwise = nullptr;   // what counts after a value that is none; null: that before
    const char* stands_for = nullptr;  // the key whose value counts instead
};

// The rules of a class, the nearest first: what it inherits in the toolkit comes behind its own.
std::vector<const Rule*> rules_of(const ObjectClass& cls);

// Null: the class does not know the key.
const Rule* rule_of(const ObjectClass& cls, std::string_view key);

// What counts of a property of an object, after all that it inherits has been set one by one.
std::string effective_value(const Configuration& configuration, const Rule& rule);
// The same of a key that its class need not know; empty: nothing.
std::string effective_value(const Configuration& configuration, std::string_view key);

// Whether blanks at the end of its values do not count.
bool skips_blanks(const Rule& rule);

// Why a key that a class knows does nothing for its objects; null: it does something.
const char* why_idle(const ObjectClass& cls, std::string_view key);

// A class of the toolkit's own that knows a key, and of all keys of a class the nearest to a word.
const char* class_with(std::string_view key);
std::string nearest_key(const ObjectClass& cls, std::string_view word);

}  // namespace vel::tool::config
