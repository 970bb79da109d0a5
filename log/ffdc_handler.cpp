// "pmx_ffdc_trigger_handler": when an action of first failure data capture is due, and where to.
#include <fcntl.h>

#include <cerrno>
#include <ctime>
#include <utility>

#include "log/classes.h"
#include "log/event.h"
#include "log/ffdc.h"
#include "log/message.h"
#include "log/object.h"
#include "runtime/open_file.h"
#include "runtime/owned.h"

namespace vel::log {

constinit const ClassDefinition kFFDCTriggerHandlerClass{
    .name = "pmx_ffdc_trigger_handler",
    .kind = PMX_HANDLER,
    .description = Msg::ffdc_handler,
    .life = {PmxFFDCTriggerHandlerFAllocVars, PmxFFDCTriggerHandlerFFreeVars,
             PmxFFDCTriggerHandlerFCfgChange},
    .handler = {PmxBasicHandlerFProcess, PmxFFDCTriggerHandlerFOpen, PmxFFDCTriggerHandlerFClose},
};

namespace {

using runtime::OwnedText;

constexpr mode_t kDirectoryMode = 0771;

constexpr const char* kPolicyNames[] = {"QUOTA_IGNORE", "QUOTA_AUTODELETE", "QUOTA_SUSPEND"};

void make_directories(const char* path) {
    CxFilePath record{};
    CxInitFilePath(&record, path);
    CxFilePathMkdirs(&record, kDirectoryMode);  // without it the action fails, and tells so
}

// Whether somebody else may have planted a link there.
bool is_planted(const char* directory) {
    const runtime::OpenFile opened(runtime::open_file(directory, O_PATH | O_DIRECTORY));
    return !opened && errno == ELOOP;
}

// ---- Properties

// What 64 bits cannot hold is refused, also when it is written with an exponent.
template <void (*Set)(PmxObject*, int64_t)>
void apply_long(PmxObject* handler, const char* key) {
    constexpr double kBeyond = 0x1p63;
    int found = 0;
    const int64_t value = pmxIntlGetObjPropLong(handler, key, &found);
    if (found && pmxIntlGetObjPropDouble(handler, key, nullptr) < kBeyond) Set(handler, value);
}

template <void (*Set)(PmxObject*, double)>
void apply_fraction(PmxObject* handler, const char* key) {
    int found = 0;
    const double value = pmxIntlGetObjPropDouble(handler, key, &found);
    if (found) Set(handler, value);
}

void apply_warn_on_disk_space(PmxObject* handler, const char* key) {
    FFDCVars* const vars = ffdc_vars(handler);
    int found = 0;
    const double value = pmxIntlGetObjPropDouble(handler, key, &found);
    // On for what is 1 without its fraction, thus for "1.9" and not for "2".
    if (vars != nullptr && found) vars->warn_on_disk_space = value >= 1 && value < 2;
}

constexpr Property kProperties[] = {
    {"baseDir", apply_text<pmxIntlFFDCTriggerHandlerSetBaseDir>},
    {"maxDiskSpace", apply_long<pmxIntlFFDCTriggerHandlerSetMaxDisk>},
    {"triggerFilter", apply_text<pmxIntlFFDCTriggerHandlerSetFilterName>},
    {"triggerRepeatTime", apply_long<pmxIntlFFDCTriggerHandlerSetInterval>},
    {"quotaPolicy", apply_text<pmxIntlFFDCTriggerHandlerSetQuotaPolicy>},
    {"firstWarning", apply_fraction<pmxIntlFFDCTriggerHandlerSetFirstWarning>},
    {"secondWarning", apply_fraction<pmxIntlFFDCTriggerHandlerSetSecondWarning>},
    {"warnOnDiskSpace", apply_warn_on_disk_space},
};

// A member of the variables; of an object without any what stands for none.
template <class Value>
Value get(const PmxObject* handler, Value FFDCVars::*member) {
    const FFDCVars* const vars = ffdc_vars(handler);
    return vars == nullptr ? Value{} : vars->*member;
}

void set_fraction(const PmxObject* handler, double FFDCVars::*member, double fraction) {
    FFDCVars* const vars = ffdc_vars(handler);
    if (vars != nullptr && fraction > 0.0 && fraction < 1.0) vars->*member = fraction;
}

void set_amount(const PmxObject* handler, int64_t FFDCVars::*member, int64_t amount) {
    FFDCVars* const vars = ffdc_vars(handler);
    if (vars != nullptr && amount > 0) vars->*member = amount;
}

// ---- Trigger

// Whether the last action was so shortly before that there is none now.
bool is_too_early(const FFDCVars& vars, int64_t time) {
    if (vars.last_trigger_time == 0) return false;
    int64_t quiet_until = 0;
    if (__builtin_add_overflow(vars.last_trigger_time, vars.trigger_repeat_time, &quiet_until)) {
        quiet_until = INT64_MAX;
    }
    return quiet_until >= time;  // so even without an interval there is one action a millisecond
}

// The name of a day's directory. False: there is none for a year of more than four digits.
bool write_date(char (&date)[11], int64_t millis) {
    constexpr int64_t kMillis = 1000;  // of a second
    const time_t second = millis / kMillis - (millis % kMillis < 0);
    struct tm local {};
    return localtime_r(&second, &local) != nullptr &&
           strftime(date, sizeof date, "%Y.%m.%d", &local) != 0;
}

}  // namespace

FFDCVars* ffdc_vars(const PmxObject* handler) {
    FFDCVars* const own = vars<FFDCVars>(handler, PmxFFDCTriggerHandlerFFreeVars);
    return own != nullptr ? own : vars<FFDCVars>(handler, PmxFileCopyHandlerFFreeVars);
}

void free_ffdc_vars(FFDCVars& vars) {
    RakMemoryFree(std::exchange(vars.base_dir, nullptr));
    RakMemoryFree(std::exchange(vars.trigger_filter_name, nullptr));
    pmxIntlReleaseObject(std::exchange(vars.trigger_filter, nullptr));
}

int pmxShouldFFDCActionOccur(PmxObject* handler, PmxEvent* event) {
    FFDCVars* const vars = ffdc_vars(handler);
    if (vars == nullptr || event == nullptr || vars->trigger_filter == nullptr) return 0;
    const ObjectRef filter = ObjectRef::share(vars->trigger_filter);
    if (pmxIntlIsLoggableByFilter(filter.get(), event) != 1) return 0;
    if (is_too_early(*vars, event->time)) return 0;
    vars->last_trigger_time = event->time;
    return 1;
}

char* pmxMakeFFDCDir(PmxObject* handler, PmxEvent* event) {
    constexpr const char* kKey = "ffdcDir";
    const FFDCVars* const vars = ffdc_vars(handler);
    if (vars == nullptr || event == nullptr) return nullptr;
    if (const char* const made = peek_event_property(event, kKey)) return RakStringDup(made);
    char date[11];
    if (vars->base_dir == nullptr || is_planted(vars->base_dir)) return nullptr;
    if (!write_date(date, event->time)) return nullptr;
    const char* const parts[] = {vars->base_dir, "/", date, "/"};
    OwnedText path(pmxIntlStrACat(4, parts, nullptr));
    if (path == nullptr) return nullptr;
    make_directories(path.get());
    pmxIntlSetEventProp(event, kKey, path.get());
    return path.release();
}

}  // namespace vel::log

using namespace vel::log;

char* pmxIntlFFDCTriggerHandlerGetBaseDir(PmxObject* handler) {
    return RakStringDup(get(handler, &FFDCVars::base_dir));
}

void pmxIntlFFDCTriggerHandlerSetBaseDir(PmxObject* handler, const char* directory) {
    FFDCVars* const vars = ffdc_vars(handler);
    if (vars == nullptr || directory == nullptr) return;
    char local[CX_MAX_PATH + 1];
    CxFileNameLocalize(directory, local, sizeof local);  // and cuts it
    set_text(vars->base_dir, local);
}

int64_t pmxIntlFFDCTriggerHandlerGetMaxDisk(PmxObject* handler) {
    return get(handler, &FFDCVars::max_disk_space);
}

void pmxIntlFFDCTriggerHandlerSetMaxDisk(PmxObject* handler, int64_t bytes) {
    set_amount(handler, &FFDCVars::max_disk_space, bytes);
}

PmxObject* pmxIntlFFDCTriggerHandlerGetFilter(PmxObject* handler) {
    return pmxIntlAcquireObject(get(handler, &FFDCVars::trigger_filter));
}

void pmxIntlFFDCTriggerHandlerSetFilter(PmxObject* handler, PmxObject* filter) {
    FFDCVars* const vars = ffdc_vars(handler);
    if (vars == nullptr || filter == nullptr) return;
    pmxIntlAcquireObject(filter);  // first: it may be the old one
    pmxIntlReleaseObject(std::exchange(vars->trigger_filter, filter));
}

char* pmxIntlFFDCTriggerHandlerGetFilterName(PmxObject* handler) {
    return RakStringDup(get(handler, &FFDCVars::trigger_filter_name));
}

void pmxIntlFFDCTriggerHandlerSetFilterName(PmxObject* handler, const char* name) {
    FFDCVars* const vars = ffdc_vars(handler);
    if (vars != nullptr) set_text(vars->trigger_filter_name, name);
}

int64_t pmxIntlFFDCTriggerHandlerGetInterval(PmxObject* handler) {
    return get(handler, &FFDCVars::trigger_repeat_time);
}

void pmxIntlFFDCTriggerHandlerSetInterval(PmxObject* handler, int64_t milliseconds) {
    set_amount(handler, &FFDCVars::trigger_repeat_time, milliseconds);
}

char* pmxIntlFFDCTriggerHandlerGetQuotaPolicy(PmxObject* handler) {
    const FFDCVars* const vars = ffdc_vars(handler);
    if (vars == nullptr) return nullptr;
    return RakStringDup(kPolicyNames[static_cast<int32_t>(vars->quota_policy)]);
}

void pmxIntlFFDCTriggerHandlerSetQuotaPolicy(PmxObject* handler, const char* policy) {
    FFDCVars* const vars = ffdc_vars(handler);
    if (vars == nullptr || policy == nullptr) return;
    for (const QuotaPolicy each :
         {QuotaPolicy::ignore, QuotaPolicy::autodelete, QuotaPolicy::suspend}) {
        if (strcmp(policy, kPolicyNames[static_cast<int32_t>(each)]) == 0) {
            vars->quota_policy = each;
        }
    }
}

double pmxIntlFFDCTriggerHandlerGetFirstWarning(PmxObject* handler) {
    return get(handler, &FFDCVars::first_warning);
}

void pmxIntlFFDCTriggerHandlerSetFirstWarning(PmxObject* handler, double fraction) {
    set_fraction(handler, &FFDCVars::first_warning, fraction);
}

double pmxIntlFFDCTriggerHandlerGetSecondWarning(PmxObject* handler) {
    return get(handler, &FFDCVars::second_warning);
}

void pmxIntlFFDCTriggerHandlerSetSecondWarning(PmxObject* handler, double fraction) {
    set_fraction(handler, &FFDCVars::second_warning, fraction);
}

void* PmxFFDCTriggerHandlerFAllocVars(void) { return make_vars<FFDCVars>(); }

void PmxFFDCTriggerHandlerFFreeVars(void* vars) {
    if (vars == nullptr) return;
    free_ffdc_vars(*static_cast<FFDCVars*>(vars));
    RakMemoryFree(vars);
}

void PmxFFDCTriggerHandlerFCfgChange(PmxObject* handler, const char* property) {
    if (handler == nullptr || property == nullptr) return;
    if (!apply_property(kProperties, handler, property)) {
        PmxBasicHandlerFCfgChange(handler, property);
    }
}

void PmxFFDCTriggerHandlerFOpen(PmxObject* handler) {
    FFDCVars* const vars = ffdc_vars(handler);
    if (vars == nullptr || vars->is_open) return;
    const Busy busy(handler);
    if (vars->trigger_filter == nullptr && vars->trigger_filter_name == nullptr) {
        report(PMX_ERROR, Msg::no_trigger_filter, handler->name);
    } else if (vars->trigger_filter == nullptr) {
        const OwnedText name(RakStringDup(vars->trigger_filter_name));
        const ObjectRef filter = ObjectRef::adopt(pmxIntlGetObject(name.get(), nullptr));
        pmxIntlFFDCTriggerHandlerSetFilter(handler, filter.get());
    }
    if (vars->base_dir == nullptr) {
        report(PMX_ERROR, Msg::no_base_directory, handler->name);
    } else {
        make_directories(vars->base_dir);
    }
    vars->is_open = true;
}

void PmxFFDCTriggerHandlerFClose(PmxObject* handler) {
    FFDCVars* const vars = ffdc_vars(handler);
    if (vars == nullptr || !vars->is_open) return;
    pmxIntlReleaseObject(std::exchange(vars->trigger_filter, nullptr));
    vars->is_open = false;
}
