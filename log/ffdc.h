// First failure data capture: what its handlers carry, and the machinery that they share.
#pragma once

#include <cstdint>
#include <utility>

#include "log/object.h"
#include "runtime/cx_os.h"
#include "runtime/format.h"

namespace vel::log {

// What becomes of an action for which there is no space.
enum class QuotaPolicy { ignore, autodelete, suspend };

struct FFDCVars {
    bool is_open = false;
    char* base_dir = nullptr;             // of the capture directories; null: not set
    int64_t max_disk_space = 10'485'760;  // bytes, of everything below it
    char* trigger_filter_name = nullptr;  // null: not set
    PmxObject* trigger_filter = nullptr;  // with a reference; looked up at opening
    int64_t trigger_repeat_time = 0;      // milliseconds from one action to the next; 0: any
    int64_t last_trigger_time = 0;        // of an event, in milliseconds since 1970; 0: none yet
    QuotaPolicy quota_policy = QuotaPolicy::autodelete;
    double first_warning = 0.75;  // as a fraction of max_disk_space; cleaning up leads below it
    double second_warning = 0.9;
    bool warn_on_disk_space = false;
};

// The variables of every handler of first failure data capture begin with these. Null: the object
// is none.
FFDCVars* ffdc_vars(const PmxObject* handler);

// Frees what they own, and not the record.
void free_ffdc_vars(FFDCVars& vars);

// Replaces a text by a copy; it stays when there is nothing to copy, or no memory.
inline void set_text(char*& own, const char* text) {
    char* const copy = RakStringDup(text);
    if (copy != nullptr) RakMemoryFree(std::exchange(own, copy));
}

// Has a property that is a text take effect by its setter.
template <void (*Set)(PmxObject*, const char*)>
void apply_text(PmxObject* handler, const char* key) {
    Set(handler, peek_object_property(handler, key));
}

// Whether the event triggers an action; if so, its time is noted.
int pmxShouldFFDCActionOccur(PmxObject* handler, PmxEvent* event);

// The capture directory of an event, with "/" at its end, for RakMemoryFree; it is made, and noted
// in the event. Null: no memory, no base directory or one behind a planted link, or a year of more
// than four digits.
char* pmxMakeFFDCDir(PmxObject* handler, PmxEvent* event);

// Whether an action may take so many bytes more; makes room where the policy says so.
int pmxIsFFDCSpaceAvailable(PmxObject* handler, int64_t needed);

// Deletes files until the space used is below the first warning limit; 0: that has not come off.
int pmxFFDCCleanup(PmxObject* handler);

// The bytes in all files below a directory; 0 for one that is missing. No link is followed.
int64_t pmxCountFFDCSpaceUsed(const char* directory);

struct FileData {
    int64_t size = 0;         // bytes
    int64_t change_time = 0;  // of the status; seconds since 1970
    int64_t modification_time = 0;
    int64_t access_time = 0;
    char path[CX_MAX_PATH] = "";
};
using FileDataList = runtime::GrowingList<FileData, 16>;

// Adds all files below a directory, but for those whose path does not fit; 0: no memory.
int pmxFindAllFileData(const char* directory, FileDataList& list);

// Below 0 when the status of a was changed after that of b, so that new files come first.
int pmxCompareFileAges(const FileData& a, const FileData& b);

}  // namespace vel::log
