// Any format with arguments of any kinds: what is printed is what snprintf makes of it, one
// conversion at a time. The input is a format, a zero, and the arguments.
#include <algorithm>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstring>
#include <cwchar>
#include <deque>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "fuzz/target.h"
#include "runtime/cx_printf.h"

// What arguments point to, each in just its size, so that reading beyond it is seen.
using Places = std::deque<std::vector<char>>;

template <class Unit>
static CxPrintfArg keep(Places& places, int32_t kind, const Unit* units, size_t count) {
    const auto* bytes = reinterpret_cast<const char*>(units);
    return {kind, {.address = places.emplace_back(bytes, bytes + count * sizeof *units).data()}};
}

static CxPrintfArg take_text(Input& input, Places& places, int32_t kind) {
    const auto size = static_cast<size_t>(input.number(1) % 20);
    if (size == 19) return {kind, {.address = nullptr}};
    std::string text;
    std::wstring wide;  // of one to three bytes, and half a surrogate pair, which is no character
    for (size_t i = 0; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(input.number(1));
        text += static_cast<char>(byte);
        wide += static_cast<wchar_t>(byte < 0x80 ? byte : byte == 0xFF ? 0xD800 : byte * 15);
    }
    const size_t count = strlen(text.c_str()) + 1;
    return kind == CX_ARG_TEXT ? keep(places, kind, text.c_str(), count)
                               : keep(places, kind, wide.c_str(), count);
}

static CxPrintfArg take_argument(Input& input, Places& places) {
    static constexpr int32_t kKinds[] = {
        CX_ARG_INT32,       CX_ARG_INT64, CX_ARG_UINT32,    CX_ARG_UINT64,  CX_ARG_DOUBLE,
        CX_ARG_LONG_DOUBLE, CX_ARG_TEXT,  CX_ARG_WIDE_TEXT, CX_ARG_POINTER, CX_ARG_UNSET};
    const int32_t kind = kKinds[input.number(1) % std::size(kKinds)];
    if (kind == CX_ARG_TEXT || kind == CX_ARG_WIDE_TEXT) return take_text(input, places, kind);
    const auto bytes = static_cast<unsigned>(input.number(1) % 8 + 1);
    const uint64_t top = input.number(bytes) << (64 - 8 * bytes);
    const auto real = std::bit_cast<double>(top);
    const int64_t integer = static_cast<int64_t>(top) >> (64 - 8 * bytes);
    if (kind == CX_ARG_DOUBLE) return {kind, {.real = real}};
    if (kind == CX_ARG_INT32) return {kind, {.integer = static_cast<int32_t>(integer)}};
    if (kind == CX_ARG_UINT32) return {kind, {.natural = static_cast<uint32_t>(integer)}};
    if (kind != CX_ARG_LONG_DOUBLE) return {kind, {.integer = integer}};
    const auto exponent = static_cast<int16_t>(input.number(2));
    const long double number = std::ldexp(static_cast<long double>(integer), exponent);
    return keep(places, kind, &number, 1);
}

static bool is_integer(const CxPrintfArg& arg) {
    return arg.kind >= CX_ARG_INT32 && arg.kind <= CX_ARG_UINT64;
}

using Printed = std::optional<std::string>;  // nothing: it fails

// A conversion, taken apart, and what it takes from the arguments.
struct Conversion {
    std::string flags, length;
    char letter;
    int width = 0, precision = -1;

    Printed with(const char* modifier, char standard, auto value) const {
        const std::string format = "%" + flags + "*.*" + modifier + standard;
        const int size = snprintf(nullptr, 0, format.c_str(), width, precision, value);
        if (size < 0) return {};
        std::string text(static_cast<size_t>(size), '\0');
        snprintf(text.data(), text.size() + 1, format.c_str(), width, precision, value);
        return text;
    }
    Printed print(const CxPrintfArg& arg) const;
};

// With the standard conversion that takes an argument of this type.
Printed Conversion::print(const CxPrintfArg& arg) const {
    const auto is = [this](const char* letters) { return strchr(letters, letter) != nullptr; };
    const bool wide = length == "l" || is("CS"), real = is("aAeEfFgG");
    const auto small = static_cast<int>(arg.value.integer);
    const void* address = arg.value.address;
    if (is_integer(arg) && is("cC")) {
        return wide ? with("l", 'c', static_cast<wint_t>(small)) : with("", 'c', small);
    }
    if (is_integer(arg) && is("dioxXu")) {
        if (length == "h" || length == "hh") return with(length.c_str(), letter, small);
        const bool has_32_bits = arg.kind == CX_ARG_INT32 || arg.kind == CX_ARG_UINT32;
        const bool narrow = has_32_bits && (length.empty() || length == "L");
        return narrow ? with("", letter, small) : with("l", letter, arg.value.integer);
    }
    if (real && arg.kind == CX_ARG_DOUBLE) return with("", letter, arg.value.real);
    if (real && arg.kind == CX_ARG_LONG_DOUBLE) {
        return with("L", letter, *static_cast<const long double*>(address));
    }
    const bool fits = is("p") ? arg.kind == CX_ARG_POINTER
                              : is("sS") && arg.kind == (wide ? CX_ARG_WIDE_TEXT : CX_ARG_TEXT);
    return fits ? with(wide && is("sS") ? "l" : "", is("p") ? 'p' : 's', address) : "";
}

struct Oracle {
    const std::vector<CxPrintfArg>& args;
    size_t next = 0;

    // The number in a part of a format, above all limits when it is long; 0: there is none.
    static int number_in(const std::string& part) {
        const size_t first = std::min(part.find_first_of("123456789"), part.size());
        return part.size() - first > 7 ? 1'000'000 : std::atoi(part.c_str() + first);
    }
    const CxPrintfArg* argument(const std::string& position) {
        const int number = number_in(position);
        const size_t index = number > 0 ? static_cast<size_t>(number) - 1 : next++;
        return index < args.size() ? &args[index] : nullptr;
    }
    Printed convert(const std::smatch& match);
    Printed print(const std::string& format);
};

Printed Oracle::convert(const std::smatch& match) {
    Conversion conversion{match.str(2), match.str(5), *match[6].first};
    bool prints = true, fits = true;
    for (const size_t group : {3U, 4U}) {  // the width, the precision
        const std::string part = match.str(group);
        if (part.empty()) continue;
        const CxPrintfArg given{CX_ARG_INT32, {.integer = number_in(part)}};
        const CxPrintfArg* arg = part[0] == '*' ? argument(part) : &given;
        if (arg == nullptr) return {};
        if (!is_integer(*arg)) prints = false;
        const bool negative = arg->kind <= CX_ARG_INT64 && arg->value.integer < 0;
        if (negative && group == 4) continue;  // as if there were none
        const bool small = (negative ? 0 - arg->value.natural : arg->value.natural) <= 65535;
        if (!small && arg == &given) return {};
        fits = fits && small;
        (group == 3 ? conversion.width : conversion.precision) =
            static_cast<int>(arg->value.integer);
    }
    const CxPrintfArg* arg = argument(match.str(1));
    if (arg == nullptr) return {};
    if (!prints) return "";
    return fits ? conversion.print(*arg) : Printed();
}

Printed Oracle::print(const std::string& format) {
    static const std::regex pattern(
        R"([^%]+|%%|%([1-9]\d*\$)?([-+ #0']*)(\*(?:[1-9]\d*\$)?|[1-9]\d*)?)"
        R"((?:\.(\*(?:[1-9]\d*\$)?|[1-9]\d*)?)?)"
        R"((hh|h|ll|l|L|I64|j|q|t|z|Z)?([ACEFGSXacdefginopsux]))");
    std::string all;
    std::smatch match;
    for (auto at = format.begin(); at != format.end(); at = match[0].second) {
        const auto here = std::regex_constants::match_continuous;
        if (!std::regex_search(at, format.end(), match, pattern, here)) return {};
        const std::string text = match.str() == "%%" ? "%" : match.str();
        const Printed part = match[6].matched ? convert(match) : text;
        if (!part) return {};
        all += *part;
    }
    return all;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const char* const locale = setlocale(LC_CTYPE, "C.UTF-8");
    require(locale != nullptr, "characters are of several bytes");
    const auto* bytes = reinterpret_cast<const char*>(data);
    const std::string format(bytes, strnlen(bytes, std::min<size_t>(size, 256)));
    const std::vector<char> copy(format.c_str(), format.c_str() + format.size() + 1);
    Input input{data + format.size(), size - format.size()};
    input.number(1);
    Places places;
    std::vector<CxPrintfArg> args;
    while (input.left > 0 && args.size() < 12) args.push_back(take_argument(input, places));
    const Printed expected = Oracle{args}.print(format);
    args.push_back({CX_ARG_END, {.integer = 0}});
    args.shrink_to_fit();

    CxStringBuff buff{};
    require(CxStringBuffAppendStr(&buff, "kept ") == 1, "there is a text");
    const int result = CxStringBuffPrintfA(nullptr, &buff, copy.data(), args.data());
    require(result == (expected ? 1 : 0), "it is a format with its arguments");
    const std::string whole = "kept " + expected.value_or("");
    require(buff.length == static_cast<int32_t>(whole.size()), "it is as long");
    require(buff.length < buff.capacity, "it is in its memory");
    require(memcmp(buff.text, whole.c_str(), whole.size() + 1) == 0, "it is what snprintf prints");
    CxStringBuffDiscard(&buff);
    return 0;
}
