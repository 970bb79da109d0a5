// Properties as typed values: how a value is written as text, and read from it.
#include <cerrno>
#include <charconv>
#include <concepts>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>

#include "log/c_locale.h"
#include "log/collections.h"
#include "runtime/cx_printf.h"
#include "runtime/owned.h"

namespace vel::log {
namespace {

int set_number(PmxStringToStringMap* map, const char* key, std::signed_integral auto number) {
    char text[std::numeric_limits<decltype(number)>::digits10 + 3];  // a digit, a sign, a zero more
    *std::to_chars(text, std::end(text) - 1, number).ptr = '\0';
    return StringToStringMap::put(map, key, text);
}
int set_number(PmxStringToStringMap* map, const char* key, double number) {
    const CLocale locale;
    runtime::StringBuff text;
    return locale && CxStringBuffPrintf(nullptr, &text, "%f", number) &&
           StringToStringMap::put(map, key, text.text);
}

// A bool, which is an int to its callers.
struct Bool {
    int value;
};

// Each reads a type from the start of a text; false: it is not of the type.
bool read(const char* text, Bool& value) {
    value.value = RakStringICmp(text, "true") == 0;
    return value.value != 0 || RakStringICmp(text, "false") == 0;
}
bool read(const char* text, char& value) {
    value = *text;
    return value != '\0';
}
template <std::signed_integral Number>
bool read(const char* text, Number& value) {
    text += strspn(text, " \t\n\v\f\r");
    if (*text == '+' && *++text == '-') return false;
    const std::from_chars_result result = std::from_chars(text, text + strlen(text), value);
    if (result.ec == std::errc::result_out_of_range) {
        using Limits = std::numeric_limits<Number>;
        value = *text == '-' ? Limits::min() : Limits::max();
    }
    return result.ec != std::errc::invalid_argument;
}
float convert(const char* text, char** end, float) { return strtof(text, end); }
double convert(const char* text, char** end, double) { return strtod(text, end); }
template <std::floating_point Number>
bool read(const char* text, Number& value) {
    const CLocale locale;
    char* end = nullptr;
    if (locale) value = convert(text, &end, value);
    return locale && end != text;
}

// 0 when there is none.
template <class Value>
Value get(const PmxStringToStringMap* map, const char* key, int* found) {
    const char* const text = peek_property(map, key);
    Value value{};
    const bool reads = text != nullptr && read(text, value);
    if (found != nullptr) *found = reads;
    return value;
}

}  // namespace
}  // namespace vel::log

using vel::log::get;
using vel::log::set_number;

int pmxIntlSetMapProp(PmxStringToStringMap* map, const char* key, const char* text) {
    return pmxIntlStringToStringMapPut(map, key, text);
}
// The low byte alone counts, and of its values only 1 is true.
int pmxIntlSetMapPropBool(PmxStringToStringMap* map, const char* key, int value) {
    return pmxIntlStringToStringMapPut(map, key, (value & 0xFF) == 1 ? "true" : "false");
}
int pmxIntlSetMapPropChar(PmxStringToStringMap* map, const char* key, char value) {
    const char text[] = {value, '\0'};
    return pmxIntlStringToStringMapPut(map, key, text);
}
int pmxIntlSetMapPropInt(PmxStringToStringMap* map, const char* key, int32_t value) {
    return set_number(map, key, value);
}
int pmxIntlSetMapPropLong(PmxStringToStringMap* map, const char* key, int64_t value) {
    return set_number(map, key, value);
}
int pmxIntlSetMapPropFloat(PmxStringToStringMap* map, const char* key, float value) {
    return set_number(map, key, double{value});
}
int pmxIntlSetMapPropDouble(PmxStringToStringMap* map, const char* key, double value) {
    return set_number(map, key, value);
}

char* pmxIntlGetMapProp(const PmxStringToStringMap* map, const char* key, int* found) {
    char* const text = pmxIntlStringToStringMapGet(map, key);
    if (found != nullptr) *found = text != nullptr;
    return text;
}
int pmxIntlGetMapPropBool(const PmxStringToStringMap* map, const char* key, int* found) {
    return get<vel::log::Bool>(map, key, found).value;
}
char pmxIntlGetMapPropChar(const PmxStringToStringMap* map, const char* key, int* found) {
    return get<char>(map, key, found);
}
int32_t pmxIntlGetMapPropInt(const PmxStringToStringMap* map, const char* key, int* found) {
    return get<int32_t>(map, key, found);
}
int64_t pmxIntlGetMapPropLong(const PmxStringToStringMap* map, const char* key, int* found) {
    return get<int64_t>(map, key, found);
}
float pmxIntlGetMapPropFloat(const PmxStringToStringMap* map, const char* key, int* found) {
    return get<float>(map, key, found);
}
double pmxIntlGetMapPropDouble(const PmxStringToStringMap* map, const char* key, int* found) {
    return get<double>(map, key, found);
}
