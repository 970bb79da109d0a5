// How the toolkit reads the values that are paths, and permissions of what is there.
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "log/ascii_text.h"
#include "log/file_copy.h"
#include "log/file_log.h"
#include "runtime/cx_os.h"
#include "veltool/config_values.h"
#include "veltool/program.h"
#include "veltool/tool.h"

namespace vel::tool::config::judge {

namespace {

namespace fs = std::filesystem;

constexpr size_t kMaxPath = CX_MAX_PATH - 1;  // bytes

// Who is above a path and there, but no directory; empty: nobody.
std::string obstacle_above(const fs::path& path) {
    std::error_code error;
    for (fs::path at = path; !at.empty(); at = at.parent_path()) {
        const fs::file_status status = fs::status(at, error);
        if (fs::exists(status)) return fs::is_directory(status) ? "" : at.string();
        if (at == at.parent_path()) break;
    }
    return "";
}

std::string with_slashes(std::string path) {
    std::ranges::replace(path, '\\', '/');
    return path;
}

// The parts that the file handler takes a name apart to.
class NameParts {
  public:
    explicit NameParts(std::string name) {
        const int32_t digit = log::pmxFHTrailingBaseDigit(name.c_str());
        if (digit >= 0) name.insert(static_cast<size_t>(digit) + 1, "_");
        has_digit_ = digit >= 0;
        log::pmxFHGetFileNameParts(name.c_str(), &vars_);
    }
    ~NameParts() {
        for (char* text : {vars_.dir_part, vars_.base_name, vars_.extension}) RakMemoryFree(text);
    }
    NameParts(const NameParts&) = delete;
    NameParts& operator=(const NameParts&) = delete;

    bool any() const { return vars_.base_name != nullptr; }
    bool has_digit() const { return has_digit_; }
    std::string directory() const { return vars_.dir_part == nullptr ? "" : vars_.dir_part; }
    bool ends_in_directory() const {
        return vars_.extension != nullptr &&
               std::string_view(vars_.extension).find('/') != std::string_view::npos;
    }
    std::string base() const {  // without the separator before it
        const std::string base = vars_.base_name;
        return base.starts_with('/') ? base.substr(1) : base;
    }
    std::string name() const {
        return base() + (vars_.extension == nullptr ? "" : "." + std::string(vars_.extension));
    }
    std::string full() const { return directory().empty() ? name() : directory() + '/' + name(); }

  private:
    log::FileVars vars_;
    bool has_digit_ = false;
};

// What a shell would put something else for; empty: there is no such thing in a path.
std::string shell_character(const std::string& path) {
    const bool is_home = path == "~" || path.starts_with("~/");
    if (!is_home && path.find('$') == path.npos) return "";
    return std::string(is_home ? "'~'" : "'$'") + " is not replaced: it belongs to the path";
}

// The owner has to keep some of them, unless it is root.
Verdict permission(const Rule& rule, const std::string& value, mode_t least,
                   const char* else_what) {
    constexpr size_t kMaxDigits = 4;
    const bool octal = value.find_first_not_of("01234567") == std::string::npos;
    if (!octal || value.empty() || value.size() > kMaxDigits)
        return refused(rule, in_quotes(value) + " is not one to four octal digits");
    const bool suffices = (std::stoul(value, nullptr, 8) & least) == least;
    return {value, suffices ? "" : "with " + value + ' ' + else_what};
}

std::string finding_in(const NameParts& parts, const std::string& value) {
    const std::string full = parts.full();
    if (full.size() > kMaxPath) return "a path of more than 255 bytes: no file can be opened";
    if (parts.ends_in_directory())
        return "the last '.' is in the name of a directory: the numbers of old files go there";
    if (parts.has_digit()) return "the digit at the end gets a '_': the file is " + in_quotes(full);
    if (std::string what = shell_character(value); !what.empty()) return what;
    const std::string native = with_slashes(value);
    if (native.rfind('/') == 0) return "a file right below '/' goes into the working directory";
    if (std::error_code error; value.ends_with('/') || fs::is_directory(full, error))
        return "a directory: there is no name of a file";
    if (parts.base().empty()) return "there is no name before the '.'";
    const std::string obstacle = obstacle_above(parts.directory());
    if (!obstacle.empty()) return in_quotes(obstacle) + " is no directory";
    if (native != value) return "a backslash is taken as '/': the file is " + in_quotes(full);
    return "";
}

}  // namespace

Verdict file_permission(const Rule& rule, const std::string& value) {
    return permission(rule, value, S_IRUSR | S_IWUSR, "its owner cannot open the file again");
}

Verdict directory_permission(const Rule& rule, const std::string& value) {
    return permission(rule, value, S_IWUSR | S_IXUSR, "its owner cannot make files in it");
}

Verdict file_name(const Rule& rule, const std::string& value) {
    if (value.empty()) return refused(rule, "the name is empty");
    const NameParts parts(value);
    if (!parts.any()) return {"", "a name of more than 256 bytes: nothing is written"};
    return {parts.full(), finding_in(parts, value)};
}

Verdict directory(const Rule&, const std::string& value) {
    const std::string native = with_slashes(value);
    if (native.size() > CX_MAX_PATH) return {native, "a path of more than 256 bytes is cut"};
    if (std::string what = shell_character(value); !what.empty()) return {native, what};
    const std::string obstacle = obstacle_above(native);
    if (!obstacle.empty()) return {native, in_quotes(obstacle) + " is no directory"};
    return {native, ""};
}

Verdict file_list(const Rule&, const std::string& value) {
    const std::string words = ' ' + value;
    if (std::ranges::count(value, '"') % 2 != 0)
        return {value, "a double quote that is not closed"};
    if (words.find(" '") != std::string::npos)
        return {value,
                "a single quote belongs to the name of a file: double ones may be around it"};
    if (value.find(",/") != std::string::npos)
        return {value, "a comma belongs to the name of a file: blanks alone stand between names"};
    if (value.find('*') != std::string::npos)
        return {value, "'*' is not replaced: it belongs to the name of a file"};
    return {value, ""};
}

Verdict archive(const Rule&, const std::string& value) {
    if (value.empty()) return {"", ""};
    const size_t dot = value.rfind('.');
    const bool complete =
        dot != std::string::npos && log::same_ignoring_case(value.c_str() + dot, ".zip");
    const bool has_place = value.find('/') != std::string::npos;
    return {complete ? value : value + ".zip",
            has_place ? "'/' does not belong here: the archive goes into the directory of the day"
                      : ""};
}

Verdict program(const Rule& rule, const std::string& value) {
    if (log::pmxIsFilenameUnsafe(value.c_str()))
        return refused(rule,
                       in_quotes(value) + " has characters that no path of a program may have");
    if (!log::pmxFileExists(value.c_str())) return refused(rule, in_quotes(value) + " is no file");
    return {value, is_program(value) ? "" : in_quotes(value) + " is no program that can be run"};
}

}  // namespace vel::tool::config::judge
