// The disk space of first failure data capture: what is used of it, and how room is made.
#include <algorithm>
#include <cstring>

#include "log/ffdc.h"
#include "log/file_tree.h"
#include "log/message.h"
#include "log/object.h"

namespace vel::log {
namespace {

// What fits into an argument of a message, and the high bits lost.
int32_t low_bits(int64_t value) { return static_cast<int32_t>(value); }

// The limit as messages have it: times 1024, of which the low 32 bits remain. Programs that watch
// for these messages know it so.
int32_t kilo_limit(const FFDCVars& vars) {
    return static_cast<int32_t>(static_cast<uint64_t>(vars.max_disk_space) * 1024);
}

float percent(double fraction) { return static_cast<float>(fraction * 100); }

double limit(const FFDCVars& vars, double fraction) {
    return static_cast<double>(vars.max_disk_space) * fraction;
}

void warn(const PmxObject* handler, const FFDCVars& vars, int64_t used, int64_t needed) {
    const auto amount = static_cast<double>(used);
    const bool first_reached = amount >= limit(vars, vars.first_warning);
    if (!first_reached && amount < limit(vars, vars.second_warning)) return;
    // The percentage is the other limit's, as it always was in this message.
    const double named = first_reached ? vars.second_warning : vars.first_warning;
    report(PMX_WARN, Msg::space_warning, percent(named), kilo_limit(vars), low_bits(used),
           low_bits(needed), handler->name);
}

int clean_up(PmxObject* handler, const FFDCVars& vars) {
    // Success is enough, although what is needed may still not fit.
    if (pmxFFDCCleanup(handler)) return 1;
    if (vars.warn_on_disk_space) {
        report(PMX_WARN, Msg::oldest_files_not_deleted, vars.base_dir, percent(vars.first_warning),
               kilo_limit(vars), handler->name);
    }
    return 0;
}

int suspend(const PmxObject* handler, const FFDCVars& vars, int64_t used) {
    report(PMX_ERROR, Msg::space_exhausted, vars.base_dir, used, handler->name,
           vars.max_disk_space);
    return 0;
}

// Removes files until no excess remains. False: not all of that came off.
bool remove_files(const char* base, const FileDataList& files, int64_t excess) {
    bool all_removed = true;
    for (const FileData& file : files) {
        if (excess < 1) break;
        all_removed &= remove_from_tree(base, file.path);
        excess -= file.size;
    }
    return all_removed && excess < 1;
}

}  // namespace

int pmxIsFFDCSpaceAvailable(PmxObject* handler, int64_t needed) {
    const FFDCVars* const vars = ffdc_vars(handler);
    if (vars == nullptr) return 0;
    const Busy busy(handler);
    const int64_t used = pmxCountFFDCSpaceUsed(vars->base_dir);
    if (vars->warn_on_disk_space) warn(handler, *vars, used, needed);
    int64_t sum = 0;
    const bool beyond = __builtin_add_overflow(used, needed, &sum);
    if (!beyond && sum <= vars->max_disk_space) return 1;
    switch (vars->quota_policy) {
        case QuotaPolicy::ignore:
            return 1;
        case QuotaPolicy::autodelete:
            return clean_up(handler, *vars);
        case QuotaPolicy::suspend:
            break;
    }
    return suspend(handler, *vars, used);
}

int pmxFFDCCleanup(PmxObject* handler) {
    const FFDCVars* const vars = ffdc_vars(handler);
    if (vars == nullptr) return 0;
    const Busy busy(handler);
    const auto target = static_cast<int64_t>(limit(*vars, vars->first_warning));
    const int64_t excess = pmxCountFFDCSpaceUsed(vars->base_dir) - target;
    if (excess < 1) return 1;
    if (vars->warn_on_disk_space) {
        report(PMX_WARN, Msg::deleting_oldest_files, vars->base_dir, percent(vars->first_warning),
               low_bits(vars->max_disk_space), low_bits(excess), handler->name);
    }
    FileDataList files;
    if (!pmxFindAllFileData(vars->base_dir, files) || files.count() == 0) return 0;
    std::sort(files.begin(), files.end(),
              [](const FileData& a, const FileData& b) { return pmxCompareFileAges(a, b) < 0; });
    return remove_files(vars->base_dir, files, excess);
}

int64_t pmxCountFFDCSpaceUsed(const char* directory) {
    if (directory == nullptr) return 0;
    FileTreeWalk walk(directory);
    int64_t used = 0;
    while (walk.next()) {
        if (__builtin_add_overflow(used, walk.status().st_size, &used)) return INT64_MAX;
    }
    return used;
}

int pmxFindAllFileData(const char* directory, FileDataList& list) {
    if (directory == nullptr) return 1;
    FileTreeWalk walk(directory);
    while (walk.next()) {
        if (walk.path() == nullptr) continue;
        FileData* const file = list.add();
        if (file == nullptr) return 0;
        const struct stat& status = walk.status();
        file->size = status.st_size;
        file->change_time = status.st_ctim.tv_sec;
        file->modification_time = status.st_mtim.tv_sec;
        file->access_time = status.st_atim.tv_sec;
        strcpy(file->path, walk.path());
    }
    return !walk.lacked_memory();
}

int pmxCompareFileAges(const FileData& a, const FileData& b) {
    // The new files come first, though the messages speak of the oldest: what the first failures
    // left is kept.
    return (b.change_time > a.change_time) - (b.change_time < a.change_time);
}

}  // namespace vel::log
