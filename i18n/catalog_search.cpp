// Finding a catalog's file along a path list.
#include <string.h>
#include <sys/stat.h>

#include <string_view>

#include "i18n/catalog.h"
#include "i18n/environment.h"
#include "i18n/locale_name.h"

namespace vel::i18n {

// A path in the making. What has no room is noticed, never cut off.
class Path {
  public:
    void clear() {
        length_ = 0;
        fits_ = true;
    }
    void append(std::string_view text) {
        fits_ = fits_ && text.size() < sizeof text_ - length_;
        if (!fits_) return;
        memcpy(text_ + length_, text.data(), text.size());
        length_ += text.size();
    }
    bool fits() const { return fits_; }
    const char* text() {
        text_[length_] = '\0';
        return text_;
    }

  private:
    char text_[1024];
    size_t length_ = 0;
    bool fits_ = true;
};

// What stands before the first of a character, or all of a text; and what stands behind it.
static std::string_view before(std::string_view text, char c) {
    return beginning(text, text.find(c));
}
static std::string_view behind(std::string_view text, char c) {
    const size_t at = text.find(c);
    text.remove_prefix(at == text.npos ? text.size() : at + 1);
    return text;
}

// What the letters behind a "%" stand for.
struct Names {
    std::string_view locale;
    std::string_view catalog;
};

static std::string_view copy_locale(const Names& names) { return names.locale; }
static std::string_view copy_name(const Names& names) { return names.catalog; }
static std::string_view copy_language(const Names& names) {
    const bool has_territory = names.locale.find('_') != names.locale.npos;
    return before(names.locale, has_territory ? '_' : '.');
}
static std::string_view copy_territory(const Names& names) {
    return before(behind(names.locale, '_'), '.');
}
static std::string_view copy_codeset(const Names& names) { return behind(names.locale, '.'); }

struct Field {
    char letter;
    std::string_view (*copy)(const Names& names);
};
static constexpr Field kFields[] = {
    {'L', copy_locale},    {'N', copy_name},    {'l', copy_language},
    {'t', copy_territory}, {'c', copy_codeset},
};

static const Field* field_of(char letter) {
    for (const Field& field : kFields) {
        if (field.letter == letter) return &field;
    }
    return nullptr;
}

// Expands an element; false: nothing is there, or the path does not fit.
static bool try_path(std::string_view element, const Names& names, Path& path) {
    path.clear();
    while (!element.empty()) {
        // Deliberate: "%%" is no escape, so "%%N" is "%" and the name.
        const bool may_stand = element[0] == '%' && element.size() > 1;
        const Field* field = may_stand ? field_of(element[1]) : nullptr;
        path.append(field != nullptr ? field->copy(names) : beginning(element, 1));
        element.remove_prefix(field != nullptr ? 2 : 1);
    }
    struct stat status;
    return path.fits() && (is_cached(path.text()) || stat(path.text(), &status) == 0);
}

// Cuts the first element off a list, which is null behind the last one; false: there is none.
static bool next_element(const char*& list, std::string_view& element) {
    for (size_t i = 0; list != nullptr; ++i) {
        const char c = list[i];
        // Deliberate: a ":" that is an element's second character belongs to it, as in "C:/texts";
        // so does the one that is thought to end the list.
        if (c == ';' || ((c == ':' || c == '\0') && i != 1)) {
            element = {list, i};
            list = c == '\0' ? nullptr : list + i + 1;
            return true;
        }
        if (c == '\0') list = nullptr;
    }
    return false;
}

struct Form {
    std::string_view locale;
    bool is_tried;
};

static Catalog* catopen2(const char* name, uint32_t flags, const char* list, const char* locale) {
    if (name == nullptr || name[0] == '\0') return nullptr;
    if (strpbrk(name, "/\\") != nullptr) return loadCat(name, flags);

    MadeName made;
    const std::string_view whole = canonical_loc(locale, made);
    const std::string_view canonical = canonical_lang(whole);
    // The beginning of some longer name would be another name.
    const bool cut = canonical.data() == whole.data() && canonical.size() == kCanonicalMost;
    const Form forms[] = {
        {whole, whole.size() < kLocaleSize},
        {beginning(whole, kLanguageLetters),
         whole.size() > kLanguageLetters && (flags & MAB_CAT_NO_LANGUAGE) == 0},
        {canonical, canonical != whole && !cut && (flags & MAB_CAT_NO_CANONICAL) == 0},
        {"C", (flags & MAB_CAT_NO_C) == 0},
    };
    Path path;
    for (std::string_view element; next_element(list, element);) {
        for (const Form& form : forms) {
            if (form.is_tried && try_path(element, {form.locale, name}, path))
                return loadCat(path.text(), flags);
        }
    }
    return nullptr;
}

static const char* locale_of_environment(uint32_t flags) {
    if ((flags & MAB_CAT_LC_MESSAGES) != 0) {
        for (const char* name : {"LC_ALL", "LC_MESSAGES"}) {
            if (const char* value = variable(name)) return value;
        }
    }
    return os_lang_name();
}

}  // namespace vel::i18n

using namespace vel::i18n;

mab_cat_t* mab_catopen(const char* name, uint32_t flags, const char* locale) {
    const char* list = variable("NLSPATH");
    const Catalog* catalog = catopen2(name, flags, list != nullptr ? list : "%N.cat",
                                      locale != nullptr ? locale : locale_of_environment(flags));
    return catalog != nullptr ? catalog->handle : nullptr;
}
