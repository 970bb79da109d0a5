// Lists of files to capture, of which just the regular files come into the directory, and names
// that are safe or not.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <vector>

#include "fuzz/target.h"
#include "log/file_copy.h"
#include "log/pmx.h"
#include "tests/support/scratch_directory.h"

namespace fs = std::filesystem;

namespace {

std::string content(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::vector<std::string> split(const std::string& list) {
    std::vector<std::string> paths;
    bool quoted = false, in_path = false;
    for (const char byte : list) {
        if (byte == ' ' && !quoted) {
            in_path = false;
            continue;
        }
        if (!in_path) paths.emplace_back();
        in_path = true;
        quoted = quoted != (byte == '"');
        if (byte != '"') paths.back() += byte == '\\' ? '/' : byte;
    }
    return paths;
}

bool is_file(const std::string& path) {
    std::error_code ignored;
    return path.size() < 256 && fs::is_regular_file(path, ignored);
}

// A directory; in the one below it in which inputs run are "a", "b c", "s/a", "s/-d", a link and a
// pipe.
const fs::path& scratch() {
    static const ScratchDirectory directory("/dev/shm");
    static const bool made = [] {
        for (const char* name : {"from/a", "from/b c", "from/s/a", "from/s/-d", "to/none"}) {
            directory.write(name, std::string("content of ") + name);
        }
        fs::remove(directory.path() / "to/none");
        fs::create_symlink("b c", directory.path() / "from/l");
        return mkfifo((directory.path() / "from/p").c_str(), 0600) == 0;
    }();
    require(made, "there are files");
    return directory.path();
}

void check_copies(const std::string& list) {
    const fs::path to = scratch() / "to";
    std::map<std::string, std::string> expected, copies;
    int64_t bytes = 0;
    const std::vector<std::string> paths = split(list);
    for (const std::string& path : paths) {
        // Others than the files above are none of this target's business.
        if (path.rfind('/', 0) == 0 || path.find("..") != path.npos) return;
        if (!is_file(path)) continue;
        const std::string text = content(path);
        std::string& copy = expected[path.substr(path.rfind('/') + 1)];
        copy.replace(0, std::min(copy.size(), text.size()), text);
        bytes += static_cast<int64_t>(text.size());
    }
    const vel::log::ListedFiles listed = vel::log::look_at_files(list.c_str());
    require(listed.count == paths.size() && listed.bytes == bytes, "the list has its sizes");
    vel::log::pmxFileCopyHandlerCopyToDir(list.c_str(), (to.string() + "/").c_str(), "h");
    for (const auto& entry : fs::directory_iterator(to)) {
        copies[entry.path().filename()] = content(entry.path());
        fs::remove(entry);
    }
    require(copies == expected, "just the listed files are there");
}

void check_name(const std::string& name) {
    const bool safe = std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '+' && c <= ':') ||
               std::string("_ \"'%=@\\~").find(c) != std::string::npos;
    });
    require(vel::log::pmxIsFilenameUnsafe(name.c_str()) == !safe, "it is told whether it is safe");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in{data, size};
    const bool is_name = in.byte() % 2 == 1;
    const std::string text = std::string(reinterpret_cast<const char*>(in.data), in.left).c_str();
    if (is_name) {
        check_name(text);
        return 0;
    }
    const fs::path before = fs::current_path();  // to which the fuzzer's own paths are relative
    fs::current_path(scratch() / "from");
    PmxOpenToolkit(nullptr);
    PmxSetObjectEnabled(PmxGetObject("pmxlog.errorLogger", nullptr), 0);
    check_copies(text);
    PmxCloseToolkit();
    fs::current_path(before);
    return 0;
}
