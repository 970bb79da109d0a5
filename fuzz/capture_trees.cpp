// Trees of directories, files and links below a base directory: what first failure data capture
// counts, collects and deletes there is what another walk finds, and nothing outside is touched.
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <vector>

#include "fuzz/target.h"
#include "log/ffdc.h"
#include "log/pmx.h"
#include "tests/support/scratch_directory.h"

namespace fs = std::filesystem;

namespace {

// Grows a tree by one entry, below one of the directories that it has.
void grow(Input& in, std::vector<fs::path>& directories, const fs::path& victim) {
    static constexpr const char* kNames[] = {"a", "b", "..c", "d e"};
    static const std::string long_name(120, 'l');
    const fs::path& parent = directories[in.byte() % directories.size()];
    const int which = in.byte() % 5;
    const fs::path path = parent / (which == 4 ? long_name : kNames[which]);
    const fs::path target =
        in.byte() % 2 == 0 ? victim : directories[in.byte() % directories.size()];
    std::error_code error;
    switch (in.byte() % 6) {
        case 0:
        case 1:
            if (mkdir(path.c_str(), 0700) == 0) directories.push_back(path);
            break;
        case 2:
        case 3:
            if (!fs::exists(fs::symlink_status(path)))
                std::ofstream(path) << std::string(in.byte(), 'x');
            break;
        case 4:
            fs::create_symlink(target, path, error);
            break;
        default:
            mkfifo(path.c_str(), 0600);
    }
}

std::map<std::string, int64_t> files_below(const fs::path& base) {
    std::map<std::string, int64_t> files;
    for (const auto& entry : fs::recursive_directory_iterator(base)) {
        if (!entry.is_regular_file() || entry.is_symlink()) continue;
        files[entry.path()] = static_cast<int64_t>(entry.file_size());
    }
    return files;
}

int64_t size_of(const std::map<std::string, int64_t>& files) {
    int64_t size = 0;
    for (const auto& [path, bytes] : files) size += bytes;
    return size;
}

void check(PmxObject* handler, const fs::path& base, int64_t limit) {
    auto files = files_below(base);
    const int64_t used = size_of(files);
    require(vel::log::pmxCountFFDCSpaceUsed(base.c_str()) == used, "all files are counted");
    std::erase_if(files, [](const auto& file) { return file.first.size() >= CX_MAX_PATH; });
    std::map<std::string, int64_t> found;
    vel::log::FileDataList list;
    require(vel::log::pmxFindAllFileData(base.c_str(), list) == 1, "there is memory");
    for (const auto& file : list) found[file.path] = file.size;
    require(found == files && list.count() == static_cast<int32_t>(files.size()), "all are found");

    PmxFFDCTriggerHandlerSetMaxDisk(handler, limit);
    const auto target = static_cast<int64_t>(static_cast<double>(limit) * 0.75);
    const bool possible = used <= target || (!files.empty() && used - size_of(files) <= target);
    require(vel::log::pmxFFDCCleanup(handler) == (possible ? 1 : 0), "the answer");
    const auto left = files_below(base);
    require(!possible || size_of(left) <= target, "enough is deleted");
    require(used > target || size_of(left) == used, "nothing is deleted without need");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in{data, size};
    const ScratchDirectory scratch("/dev/shm");
    const fs::path base = scratch.path() / "base", victim = scratch.path() / "victim";
    scratch.write("victim/a", "victim");
    std::vector<fs::path> directories{base};
    fs::create_directory(base);
    const int64_t limit = in.byte() * 4 + 1;
    for (int i = 0; in.left > 0 && i < 200; ++i) grow(in, directories, victim);
    PmxOpenToolkit(nullptr);
    PmxObject* const handler = PmxGetObject("h", "pmx_ffdc_trigger_handler");
    PmxFFDCTriggerHandlerSetBaseDir(handler, base.c_str());
    check(handler, base, limit);
    PmxCloseToolkit();
    const auto kept = files_below(victim);
    require(kept.size() == 1 && kept.begin()->second == 6, "what is outside stays");
    return 0;
}
