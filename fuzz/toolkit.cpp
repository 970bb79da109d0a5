// A whole toolkit: objects of a random configuration, changed and linked at random, events through
// them, and its end. Nothing hangs, nothing is left over, no object stays busy.
#include "log/toolkit.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>

#include "fuzz/target.h"
#include "log/object.h"
#include "log/pmx.h"

namespace {

constexpr std::array kNames = {"a",
                               "a.b",
                               "a.b.c",
                               "b",
                               "c",
                               "d",
                               "/",
                               "pmxlog.errorLogger",
                               "pmxlog.stderrHandler",
                               "pmxlog.defaultFormatter",
                               "msgFormatter"};
constexpr std::array kClasses = {
    "pmx_basiclogger",   "pmx_levelfilter",    "pmx_consolehandler",
    "pmx_stderrhandler", "pmx_basicformatter", "counting",
    "pmx_msgidfilter",   "pmx_msgidfilter",    "pmx_veltraceformatter"};
constexpr std::array kKeys = {
    "className",      "listenerNames",  "listenerNames", "level",           "logging",
    "formatterName",  "separator",      "description",   "descriptionFile", "locale",
    "dateTimeFormat", "descriptionKey", "mode",          "msgIds",          "msgIdRepeatTime"};
constexpr std::array kWords = {"on",   "off",           "warn",     "5",     "",
                               "%s%d", "fr_FR",         "a b",      "c d a", "a.b a.b.c",
                               "%Y",   "no such thing", "passthru", "*"};

int delivered = 0;

template <size_t N>
const char* one_of(Input& in, const std::array<const char*, N>& words) {
    return words[in.byte() % N];
}

// A value that goes with a key most of the time.
const char* value_for(Input& in, const std::string& key) {
    if (in.byte() % 8 == 0) return one_of(in, kWords);
    if (key == "className") return one_of(in, kClasses);
    if (key == "formatterName") return one_of(in, kNames);
    return one_of(in, kWords);
}

std::string properties(Input& in) {
    std::string text;
    for (int lines = in.byte() % 32; lines > 0; --lines) {
        const char* const key = one_of(in, kKeys);
        text += std::string(one_of(in, kNames)) + "." + key + "=" + value_for(in, key) + "\n";
        if (in.byte() == 0xFF) text += static_cast<char>(in.byte());  // spoils the next line
    }
    return text;
}

void change_something(Input& in, PmxObject* object) {
    PmxObject* const other = PmxGetObject(one_of(in, kNames), nullptr);
    const char* const key = one_of(in, kKeys);
    switch (in.byte() % 8) {
        case 0:
            PmxAddListener(object, other);
            break;
        case 1:
            PmxRemListener(object, other);
            break;
        case 2:
            PmxHandlerSetFormatter(object, other);
            break;
        case 3:
            PmxSetObjProp(object, key, value_for(in, key));
            break;
        case 4:
            PmxLogError(object, "no catalog", 1, 1, "%s", PMX_STRING, key, PMX_END);
            break;
        case 5:
            PmxLogDebugMin(object, key, nullptr, in.byte(), "%2$s", PMX_INT, 1, PMX_END);
            break;
        case 6:
            PmxLogText(object, "text", PMX_PROPERTY, "server", PMX_STRING, key, 508);
            break;
        default:
            PmxAcquireObject(other);  // never given back: closing ends it all the same
            break;
    }
    PmxReleaseObject(other);
}

void check_nobody_is_busy() {
    const PmxStringToObjMap* const objects = vel::log::toolkit.objects;
    for (auto* link = vel::log::StringToObjMap::begin(objects); link != nullptr;
         link = link->next) {
        require(!link->value->busy && !link->value->end_waits && link->value->cls != nullptr,
                "objects are at rest");
    }
    require(vel::log::toolkit.ending == nullptr && vel::log::toolkit.creation_depth == 0,
            "nothing is left half done");
}

// What the toolkit prints goes nowhere; the fuzzer's own words go around these streams.
struct Silence {
    Silence() : kept_out(stdout), kept_error(stderr) { stdout = stderr = null(); }
    ~Silence() {
        stdout = kept_out;
        stderr = kept_error;
    }
    static FILE* null() {
        static FILE* const stream = fopen("/dev/null", "w");
        return stream;
    }
    FILE* kept_out;
    FILE* kept_error;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in{data, size};
    const Silence silence;
    const std::string text = properties(in);
    const int file = memfd_create("properties", MFD_CLOEXEC);
    require(write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()), "written");
    PmxAddHandlerClass(
        "counting", nullptr, nullptr, nullptr, PmxBasicHandlerFCfgChange,
        [](PmxObject* handler, PmxEvent* event, uint32_t) {
            require(handler->busy, "a handler with an event is busy");
            ++delivered;
            PmxBasicObjectFLog(handler, event);
        },
        nullptr, nullptr);
    PmxOpenToolkit(("/proc/self/fd/" + std::to_string(file)).c_str());
    close(file);
    for (int steps = in.byte() % 32; steps > 0 && PmxIsToolkitOpen(); --steps) {
        PmxObject* const object = PmxGetObject(one_of(in, kNames), nullptr);
        change_something(in, object);
        if (in.byte() % 4 != 0) PmxReleaseObject(object);
        check_nobody_is_busy();
    }
    PmxCloseToolkit();
    require(vel::log::toolkit.objects == nullptr && vel::log::toolkit.shells == nullptr,
            "closing leaves nothing");
    return 0;
}
