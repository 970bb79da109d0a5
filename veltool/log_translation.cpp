#include "veltool/log_translation.h"

#include <charconv>
#include <optional>
#include <vector>

#include "runtime/cx_printf.h"
#include "runtime/format.h"
#include "runtime/owned.h"
#include "veltool/text.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

using runtime::ArgKind;

constexpr size_t kMostCatalogs = 64;  // that are kept open

// The whole text as a number; nothing when it is none.
template <class Number>
std::optional<Number> number_of(const std::string& text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

// Characters and truth values stand in records as the byte that they are, and as nothing when that
// is 0. A digit is taken for the number, unless the conversion is one of characters.
std::optional<CxPrintfArg> integer_of(const std::string& text, bool is_character) {
    const bool is_digit = text.size() == 1 && text[0] >= '0' && text[0] <= '9';
    if (text.empty()) return CxPrintfArg{is_character ? CX_ARG_UNSET : CX_ARG_INT32, {}};
    if (text.size() == 1 && (is_character || !is_digit))
        return CxPrintfArg{CX_ARG_INT32, {.integer = static_cast<unsigned char>(text[0])}};
    // As most are logged: "%x" shows a negative one of 32 bits with eight digits.
    if (const auto number = number_of<int32_t>(text))
        return CxPrintfArg{CX_ARG_INT32, {.integer = *number}};
    if (const auto number = number_of<int64_t>(text))
        return CxPrintfArg{CX_ARG_INT64, {.integer = *number}};
    if (const auto number = number_of<uint64_t>(text))
        return CxPrintfArg{CX_ARG_UINT64, {.natural = *number}};
    return {};
}

std::optional<CxPrintfArg> real_of(const std::string& text) {
    const auto number = number_of<double>(text);
    return number ? std::optional(CxPrintfArg{CX_ARG_DOUBLE, {.real = *number}}) : std::nullopt;
}

// A parameter as a conversion wants it; nothing when it cannot be had.
std::optional<CxPrintfArg> argument_of(const std::string& text, ArgKind kind, char letter) {
    if (letter == 'n') return CxPrintfArg{CX_ARG_UNSET, {}};
    if (kind == ArgKind::text) return CxPrintfArg{CX_ARG_TEXT, {.address = text.c_str()}};
    if (kind == ArgKind::real || kind == ArgKind::long_real) return real_of(text);
    if (runtime::is_integer(kind)) return integer_of(text, letter == 'c' || letter == 'C');
    return {};
}

// By place the parameters that a format demands; nothing when they are not those.
std::optional<std::vector<CxPrintfArg>> arguments_of(const char* format,
                                                     const std::vector<std::string>& parameters) {
    runtime::FormatList list;
    runtime::ArgList demanded;
    CxStatus status;
    if (CxPrintfProcessFmts(&list, &demanded, format, &status) == 0) return {};
    std::vector<CxPrintfArg> arguments(parameters.size(), {CX_ARG_UNSET, {}});
    const auto put = [&](int32_t place, ArgKind kind, char letter) {
        if (place < 0) return true;
        const auto i = static_cast<size_t>(place);
        const auto argument =
            i < parameters.size() ? argument_of(parameters[i], kind, letter) : std::nullopt;
        if (argument) arguments[i] = *argument;
        return argument.has_value();
    };
    for (const runtime::FormatItem& item : list.items) {
        if (item.begin != nullptr) continue;
        if (!put(item.width_argument, ArgKind::int32, '*') ||
            !put(item.precision_argument, ArgKind::int32, '*') ||
            !put(item.argument, item.kind, item.letter))
            return {};
    }
    arguments.push_back({CX_ARG_END, {}});
    return arguments;
}

std::optional<std::string> bound(const char* format, const std::vector<std::string>& parameters) {
    const auto arguments = arguments_of(format, parameters);
    runtime::StringBuff buff;
    if (!arguments || CxStringBuffPrintfA(nullptr, &buff, format, arguments->data()) == 0)
        return {};
    const char* const text = CxStringBuffPeekStr(&buff);
    return text == nullptr ? "" : text;
}

std::string search_path(const std::string& catalogs) {
    constexpr const char* kBelow = "/%L/%N.cat";
    if (catalogs.find('%') != std::string::npos) return catalogs;
    if (!catalogs.empty()) return catalogs + kBelow;
    const std::string path = mab_get_nlspath(), installed = VEL_INSTALL_DIRECTORY;
    return (path.empty() ? "" : path + ':') + installed + kBelow;
}

}  // namespace

LogTranslation::LogTranslation(const std::string& language, const std::string& catalogs)
    : language_(language), utf8_(mab_cs_new("UTF-8")) {
    mab_set_nlspath(search_path(catalogs).c_str());
}

LogTranslation::~LogTranslation() {
    close_catalogs();
    mab_cs_free(utf8_);
}

void LogTranslation::close_catalogs() {
    for (const auto& [name, catalog] : catalogs_) mab_catclose(catalog);
    catalogs_.clear();
}

mab_cat_t* LogTranslation::catalog(const std::string& name) {
    const auto known = catalogs_.find(name);
    if (known != catalogs_.end()) return known->second;
    if (catalogs_.size() == kMostCatalogs) close_catalogs();
    // A name from a log leads to no file of its choice; English is what "C" has, not a translation.
    const bool is_path = name.find_first_of("/\\") != std::string::npos;
    mab_cat_t* const catalog =
        is_path ? nullptr : mab_catopen(name.c_str(), MAB_CAT_NO_C, language_.c_str());
    catalogs_.emplace(name, catalog);
    return catalog;
}

void LogTranslation::translate(LogFields& fields) {
    if (fields.catalog.empty()) return;
    mab_cat_t* const found = catalog(fields.catalog);
    const char* const format = mab_catgets(found, fields.set, fields.key, nullptr, utf8_);
    const auto text = format == nullptr ? std::nullopt : bound(format, fields.parameters);
    if (text) {
        fields.message = *text;
        return;
    }
    if (has_complained_) return;
    has_complained_ = true;
    const std::string name = shown(fields.catalog);
    if (found == nullptr)
        return complain("no catalog " + name + " for the language " + shown(language_) + " along " +
                        shown(mab_get_nlspath()) + "; such messages stay as they are");
    complain("message " + std::to_string(fields.key) + " in set " + std::to_string(fields.set) +
             " of " + name +
             (format == nullptr ? ": there is none in this language"
                                : ": its parameters do not fit the translation") +
             "; such messages stay as they are");
}

}  // namespace vel::tool
