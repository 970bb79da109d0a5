// Path lists, locales and names of any form: the search looks at the paths that a plain expansion
// yields, one after another up to the first that exists, and opens that; and names of locales take
// the form that they have there.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/target.h"
#include "i18n/mab.h"
#include "tests/support/catalog_image.h"

using Strings = std::vector<std::string>;

// ---- The file system ------------------------------------------------------------------------

struct Files {
    bool watched;
    std::string existing;  // "": nothing is there
    bool readable;
    Strings looked_at;
    Strings opened;
};
static Files files;

static int catalog_file() {
    static const int file = [] {
        const std::string image = catalog_image({{1, {{1, "text"}}}});
        const int memory = memfd_create("catalog", 0);
        require(pwrite(memory, image.data(), image.size(), 0) > 0, "the catalog is written");
        return memory;
    }();
    return file;
}

extern "C" int __real_stat(const char* path, struct stat* status);
extern "C" int __real_open(const char* path, int flags, ...);

extern "C" int __wrap_stat(const char* path, struct stat* status) {
    if (!files.watched) return __real_stat(path, status);
    files.looked_at.emplace_back(path);
    return path[0] != '\0' && path == files.existing ? fstat(catalog_file(), status) : -1;
}

extern "C" int __wrap_open(const char* path, int flags, mode_t mode) {
    if (!files.watched) return __real_open(path, flags, mode);
    files.opened.emplace_back(path);
    const std::string there = "/proc/self/fd/" + std::to_string(catalog_file());
    return files.readable ? __real_open(there.c_str(), flags, mode) : -1;
}

// ---- The plain expansion --------------------------------------------------------------------

using Map = std::map<std::string, std::string>;

static const Map older_locales = {{"C", "C"},        {"american", "C"}, {"ar_AA", "ar"},
                                  {"Ar_AA", "ar"},   {"cz", "cs"},      {"japanese", "ja_JP"},
                                  {"Jp_JP", "ja_JP"}};
static const Map languages = {{"C", "C"},      {"en", "C"},       {"fr", "fr_FR"},
                              {"ja", "ja_JP"}, {"pt", "pt_BR"},   {"pt_BR", "pt_BR"},
                              {"zh", "zh_CN"}, {"zh_TW", "zh_TW"}};

static std::string cased(const std::string& text, size_t at, int (*to_case)(int)) {
    return {static_cast<char>(to_case(text[at])), static_cast<char>(to_case(text[at + 1]))};
}

static std::string canonical_locale(const std::string& name) {
    if (older_locales.count(name) != 0) return older_locales.at(name);
    const auto byte = [&](size_t i) { return i < name.size() ? static_cast<uint8_t>(name[i]) : 0; };
    const auto digit = [&](size_t i) { return byte(i) >= '0' && byte(i) <= '9'; };
    const auto letter = [&](size_t i) { return byte(i) < 0x80 && isalpha(byte(i)) != 0; };
    if (!letter(0) || !letter(1)) return name;
    const bool separated = byte(2) == '-' || byte(2) == '_';
    const bool joined = letter(2) && letter(3) && digit(4);
    if (joined || (separated && letter(3) && letter(4) && !letter(5) && !digit(5)))
        return cased(name, 0, tolower) + "_" + cased(name, joined ? 2 : 3, toupper);
    return separated || letter(2) || digit(2) ? name : cased(name, 0, tolower);
}

// The language of a locale's canonical name.
static std::string canonical_language(const std::string& locale) {
    const std::string first = locale.substr(0, 5), language = locale.substr(0, 2);
    if (languages.count(first) != 0) return languages.at(first);
    if (first.size() < 3 || first[2] != '_') return first;
    return languages.count(language) != 0 ? languages.at(language) : language;
}

static std::string expanded(const std::string& element, const std::string& name,
                            const std::string& locale) {
    const size_t line = locale.find('_'), dot = locale.find('.');
    const std::string rest = line != locale.npos ? locale.substr(line + 1) : "";
    const std::map<char, std::string> fields = {
        {'L', locale},
        {'N', name},
        {'l', locale.substr(0, line != locale.npos ? line : dot)},
        {'t', rest.substr(0, rest.find('.'))},
        {'c', dot != locale.npos ? locale.substr(dot + 1) : ""}};
    std::string path;
    for (size_t i = 0; i < element.size(); ++i) {
        const bool is_field =
            element[i] == '%' && i + 1 < element.size() && fields.count(element[i + 1]) != 0;
        path += is_field ? fields.at(element[++i]) : element.substr(i, 1);
    }
    return path;
}

// What a search is about. No value: unset, or null.
struct Search {
    uint32_t flags;
    std::optional<std::string> locale, lang, all, messages, list, name;
};

static std::string or_else(const std::optional<std::string>& value, const std::string& other) {
    return value.value_or("").empty() ? other : *value;
}

static std::string locale_of(const Search& search) {
    const std::string lang = or_else(search.lang, "C");
    if (search.locale || (search.flags & 1) == 0) return search.locale.value_or(lang);
    return or_else(search.all, or_else(search.messages, lang));
}

// All the paths, in the order in which they are tried.
static Strings paths_of(const Search& search) {
    const std::string name = search.name.value_or("");
    if (name.empty()) return {};
    if (name.find_first_of("/\\") != name.npos) return {name};
    const std::string locale = canonical_locale(locale_of(search));
    const std::string language = canonical_language(locale);
    Strings forms = {locale};
    if (locale.size() > 2 && (search.flags & 2) == 0) forms.push_back(locale.substr(0, 2));
    // The first five letters of another name are no language.
    const bool is_name = language.size() < 5 || language[2] == '_';
    if (is_name && language != locale && (search.flags & 4) == 0) forms.push_back(language);
    if ((search.flags & 8) == 0) forms.push_back("C");

    Strings paths;
    std::string element;
    for (const char c : or_else(search.list, "%N.cat") + ":") {
        if (c != ';' && (c != ':' || element.size() == 1)) {
            element += c;
            continue;
        }
        for (const std::string& form : forms) {
            const std::string path = expanded(element, name, form);
            if (form.size() <= 31 && path.size() <= 1023) paths.push_back(path);
        }
        element.clear();
    }
    return paths;
}

// ---- The runs -------------------------------------------------------------------------------

// A form in blocks of all sizes that matter: cut and ended, and nothing behind it is touched.
template <class Call>
static void check_form(Call call, const std::string& form) {
    const size_t length = form.size();
    for (const size_t size : {size_t{0}, size_t{1}, size_t{2}, size_t{4}, length, length + 1}) {
        std::string out(length + 4, '#');
        require(call(out.data(), size) == 0, "there is a form");
        std::string expected = size == 0 ? "" : form.substr(0, size - 1) + '\0';
        expected.resize(out.size(), '#');
        require(out == expected, "it is that form");
    }
}

static void check_forms(const std::string& name) {
    const std::string locale = canonical_locale(name);
    const auto to_locale = [&](char* out, size_t size) {
        return mab_canonical_loc(name.c_str(), out, size);
    };
    const auto to_language = [&](char* out, size_t size) {
        return mab_canonical_lang(name.c_str(), out, size);
    };
    check_form(to_locale, locale);
    check_form(to_language, canonical_language(locale));
    std::string out = "#" + name + std::string(8, '\0');
    mab_canonical_loc(out.data() + 1, out.data(), out.size());
    require(out.c_str() == locale, "the name may lie where its form goes");
    char* object = mab_loc_new(name.c_str());
    require(object == locale.substr(0, 31), "an object holds 31 bytes of it");
    mab_loc_free(object);
}

// Puts a variable into the environment; the value is not copied, so that many runs leave nothing.
static void set_variable(const std::string& name, const std::optional<std::string>& value) {
    static std::map<std::string, std::string> held;
    unsetenv(name.c_str());
    held[name] = name + "=" + value.value_or("");
    if (value) putenv(held[name].data());
}

static mab_cat_t* open_catalog(const Search& search) {
    const auto text = [](const std::optional<std::string>& value) {
        return value ? value->c_str() : nullptr;
    };
    files.looked_at.clear();
    files.opened.clear();
    files.watched = true;
    mab_cat_t* catalog = mab_catopen(text(search.name), search.flags, text(search.locale));
    files.watched = false;
    return catalog;
}

static void check_search(const Search& search) {
    const Strings paths = paths_of(search);
    const auto end = std::find(paths.begin(), paths.end(), files.existing);
    const bool found = end != paths.end() && !files.existing.empty();
    const Strings before(paths.begin(), found ? end : paths.end());
    mab_cat_t* catalog = open_catalog(search);
    require((catalog != nullptr) == (found && files.readable), "what exists is opened");
    require(files.opened == (found ? Strings{files.existing} : Strings{}), "and nothing else");
    // The file that was found may be looked at again.
    while (found && !files.looked_at.empty() && files.looked_at.back() == files.existing)
        files.looked_at.pop_back();
    require(files.looked_at == before, "the paths are tried in their order");
    if (catalog == nullptr) return;
    for (int i = 0; i < 2; ++i) {
        require(open_catalog(search) == catalog && files.opened.empty(), "it is kept");
        require(files.looked_at == before, "and not looked at");
        require(mab_catclose(catalog) == 0, "it is closed");
    }
    require(mab_catclose_fully(catalog) == 0, "it is closed for good");
}

// A line; "~", or no line: no value. High bytes make what matters likely.
static std::optional<std::string> line_from(Input& input) {
    static constexpr char kLikely[] = "%%%%LNltc:;/.__--aCfrenAB1\\";
    if (input.left == 0) return {};
    std::string line;
    while (input.left > 0) {
        const uint8_t byte = input.byte();
        if (byte == '\n') break;
        const bool is_high = byte >= 0x80 && byte < 0xF0;
        const char c = is_high ? kLikely[byte % (sizeof kLikely - 1)] : static_cast<char>(byte);
        if (byte != '^') line += c;
        if (byte == '^' && !line.empty() && line.size() < 2000) line.append(100, line.back());
    }
    line = line.c_str();
    if (line == "~") return {};
    return line;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input{data, size};
    Search search{};
    search.flags = input.byte();
    files.readable = (search.flags & 64) == 0;
    const size_t existing = input.byte() - size_t{'0'};
    std::optional<std::string>* const values[] = {&search.locale,   &search.lang, &search.all,
                                                  &search.messages, &search.list, &search.name};
    for (auto* value : values) *value = line_from(input);
    set_variable("LANG", search.lang);
    set_variable("LC_ALL", search.all);
    set_variable("LC_MESSAGES", search.messages);
    set_variable("NLSPATH", search.list);
    const Strings paths = paths_of(search);
    files.existing = existing < paths.size() ? paths[existing] : "";
    check_search(search);
    for (const auto* value : values) check_forms(value->value_or(""));
    check_form(mab_os_lang_name, or_else(search.lang, "C"));
    return 0;
}
