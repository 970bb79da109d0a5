// The names of log files, and a file handler in a directory whose files others remove, rename, cut
// and replace: both are what a model makes of them.
#include "log/file_log.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <memory>

#include "fuzz/target.h"
#include "log/object.h"
#include "log/pmx.h"
#include "runtime/owned.h"
#include "tests/support/scratch_directory.h"

namespace fs = std::filesystem;

namespace {

std::string text_or(const char* text, const char* none) { return text == nullptr ? none : text; }

void check_names(std::string name) {
    vel::log::FileVars parts;
    parts.log_internal_errs = false;
    const int32_t digit = vel::log::pmxFHTrailingBaseDigit(name.c_str());
    pmxFHGetFileNameParts(name.c_str(), &parts);
    const bool fits = name.size() <= 256;
    const size_t dot = std::min(name.rfind('.'), name.size());
    const size_t end = name.find_last_not_of("0123456789", dot - 1) + 1;  // of the base
    const bool has_digits = dot > 0 && end < dot;
    require(digit == (has_digits ? static_cast<int32_t>(dot) - 1 : -1), "the digit at the end");
    std::replace(name.begin(), name.end(), '\\', '/');
    const std::string digits = has_digits ? name.substr(end, dot - end) : "0";
    const size_t from = std::min(digits.find_first_not_of('0'), digits.size() - 1);
    const int64_t number = digits.size() - from > 10 ? 0 : std::stoll(digits.substr(from));
    const std::string path = name.substr(0, has_digits ? end : dot);
    const size_t slash = path.rfind('/');
    const std::string base = slash == std::string::npos ? path : path.substr(slash);
    const bool here = slash == std::string::npos || slash == 0;
    const std::string expected =
        (here ? fs::current_path().string() : path.substr(0, slash)) + "/" + base +
        (number == 0 || number > INT32_MAX ? "" : std::to_string(number)) + name.substr(dot);
    const vel::runtime::OwnedText joined(vel::log::pmxSetFileNameParts(
        parts.dir_part, parts.base_name, parts.start_index, parts.extension));
    require(text_or(joined.get(), "-") == (fits ? expected : "-"), "the parts make the name");
    require(text_or(parts.base_name, "-") == (fits ? base : "-"), "the base");
    for (char* part : {parts.dir_part, parts.base_name, parts.extension}) RakMemoryFree(part);
}

using Content = std::shared_ptr<std::string>;  // null: a directory

// A directory of logs, and the handler in it. The records stand between "<" and ">".
struct Model {
    std::map<std::string, Content> names;
    std::string base, extension;
    int64_t max_files = 3, max_bytes = 1 << 20;
    bool appending = true, is_open = false;
    Content file;
    size_t offset = 0;

    std::string name(int64_t number) const {
        return base + (number == 0 ? "" : std::to_string(number)) + extension;
    }
    bool is_full() const {
        return max_files > 1 && static_cast<int64_t>(file->size()) >= max_bytes;
    }
    void put(const std::string& text) {
        if (text.empty()) return;
        const size_t at = appending ? file->size() : offset;
        offset = at + text.size();
        file->resize(std::max(file->size(), offset));
        file->replace(at, text.size(), text);
    }
    void close() {
        if (is_open) put(">");
        is_open = false;
    }
    void rename(const std::string& from, const std::string& to) {
        const auto old = names.find(from), other = names.find(to);
        if (old == names.end() || from == to) return;
        const bool free = other == names.end();
        const bool one_kind = !free && !old->second == !other->second;
        if (!free && (!one_kind || (old->second && old->second == other->second))) return;
        names[to] = old->second;
        names.erase(from);
    }
    void roll() {
        close();
        names.erase(name(max_files - 1));
        constexpr int64_t kBeyond = 1100;  // no file has such a number
        for (int64_t number = std::min(max_files - 2, kBeyond); number >= 0; --number) {
            rename(name(number), name(number + 1));
        }
    }
    void begin() {
        const auto [place, fresh] = names.try_emplace(name(0), std::make_shared<std::string>());
        file = place->second;
        offset = 0;
        if (!file) return;
        if (!appending) file->clear();
        is_open = true;
    }
    void open() {
        const auto place = names.find(name(0));
        const bool in_place = is_open && place != names.end() && place->second == file;
        if (in_place && !is_full()) return;
        in_place ? roll() : close();
        begin();
        if (is_open && is_full()) {
            roll();
            begin();
        }
        if (is_open) put("<");
    }
};

std::map<std::string, std::string> contents(const fs::path& directory) {
    std::map<std::string, std::string> all;
    for (const auto& entry : fs::directory_iterator(directory)) {
        std::ifstream in(entry.path(), std::ios::binary);
        all[entry.path().filename()] =
            entry.is_directory() ? "/" : std::string(std::istreambuf_iterator<char>(in), {});
    }
    return all;
}

// What is done to the handler and to the directory, and to the model of both.
struct Trial {
    Input in;
    fs::path directory;
    PmxObject* logger;
    PmxObject* handler;
    Model model;
    bool disturbed = false;
    int records = 0;

    fs::path path(const std::string& name) const { return directory / name; }
    std::string any_name() { return model.name(in.byte() % 5 - (in.byte() == 0 ? -998 : 0)); }

    void set(const char* key, const std::string& value) {
        model.close();
        PmxSetObjProp(handler, key, value.c_str());
    }
    void set_name(int which) {
        static constexpr const char* kNames[][3] = {
            {"t.log", "t", ".log"}, {"u1.log", "u1_", ".log"}, {"v", "v", ""}, {"w.1", "w", ".1"}};
        set("fileName", path(kNames[which % 4][0]));
        model.base = kNames[which % 4][1];
        model.extension = kNames[which % 4][2];
    }
    // The size of a file that others have written to is looked for when the directory changes.
    void log() {
        if (disturbed) rmdir((mkdir(path("nudge").c_str(), 0700), path("nudge").c_str()));
        const std::string text(in.byte(), static_cast<char>('a' + records++ % 26));
        PmxLogText(logger, text.c_str(), PMX_END);
        model.open();
        if (model.is_open) model.put(text);
        std::map<std::string, std::string> expected;
        for (const auto& [name, content] : model.names) expected[name] = content ? *content : "/";
        require(contents(directory) == expected, "the directory is as it should be");
    }
    void log_until_watched() {
        for (int i = 0; i < 20; ++i) PmxLogText(logger, "", PMX_END);
        model.open();
    }
    void change_property() {
        static constexpr int32_t kCounts[] = {1, 2, 3, 5, 1001, 1002, INT32_MAX, 0};
        static constexpr int32_t kSizes[] = {1, 8, 40, 300, INT32_MAX, 0, -5, INT32_MIN};
        const size_t which = in.byte() % 8;
        const int32_t count = kCounts[which], size = kSizes[which];
        switch (in.byte() % 5) {
            case 0:
                set("maxFiles", std::to_string(count));
                model.max_files = count < 1 ? 3 : count;
                break;
            case 1:
                set("maxFileBytes", std::to_string(size));
                model.max_bytes = size < 1 ? 1024 : size;
                break;
            case 2:
                set("maxFileSize", which == 3 ? "x" : std::to_string(size));
                model.max_bytes = which == 3 ? 1024 : size;
                break;
            case 3:
                set("appending", which % 2 == 0 ? "true" : "false");
                model.appending = which % 2 == 0;
                break;
            default:
                set_name(static_cast<int>(which));
        }
    }
    void disturb() {
        const std::string a = any_name(), b = any_name();
        const auto place = model.names.find(a);
        const Content content = place == model.names.end() ? nullptr : place->second;
        disturbed = true;
        switch (in.byte() % 5) {
            case 0:
                fs::remove(path(a));
                model.names.erase(a);
                break;
            case 1:
                rename(path(a).c_str(), path(b).c_str());
                return model.rename(a, b);
            case 2:
                if (mkdir(path(a).c_str(), 0700) == 0) model.names[a] = nullptr;
                break;
            case 3:
                if (content && link(path(a).c_str(), path(b).c_str()) == 0)
                    model.names[b] = content;
                break;
            default:
                if (!content) break;
                content->resize(in.byte());
                fs::resize_file(path(a), content->size());
        }
    }
    void step() {
        const int what = in.byte() % 8;
        if (what < 4) return log();
        if (what < 6) return disturb();
        if (what == 6) return change_property();
        model.close();
        PmxFileHandlerFClose(handler);
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in{data, size};
    if (in.byte() % 4 == 0) {
        check_names(std::string(reinterpret_cast<const char*>(in.data), in.left).c_str());
        return 0;
    }
    static const ScratchDirectory scratch;
    PmxAddFormatterClass(
        "plain", nullptr, nullptr, nullptr, nullptr,
        [](PmxObject*, PmxEvent* event) { return pmxIntlBindEventMsg(event, pmxIntlBindI18Msg); },
        [](PmxObject*) { return RakStringDup("<"); }, [](PmxObject*) { return RakStringDup(">"); },
        nullptr);
    PmxOpenToolkit(nullptr);
    PmxSetObjectEnabled(PmxGetObject("pmxlog.errorLogger", nullptr), 0);
    Trial trial{in,
                scratch.path(),
                PmxGetObject("log", "pmx_basiclogger"),
                PmxGetObject("h", "pmx_filehandler"),
                {}};
    PmxHandlerSetFormatter(trial.handler, PmxGetObject("f", "plain"));
    PmxAddListener(trial.logger, trial.handler);
    trial.set_name(0);
    if (trial.in.byte() % 4 == 0) trial.log_until_watched();
    for (int steps = 0; trial.in.left > 0 && steps < 64; ++steps) trial.step();
    PmxCloseToolkit();
    for (const auto& entry : fs::directory_iterator(scratch.path())) fs::remove(entry);
    return 0;
}
