// Any file under the check of properties files: it finds a fault where the toolkit does, has read
// the values that the toolkit has, and knows a place for each finding.
#include "veltool/config_check.h"

#include <unistd.h>

#include <cstring>
#include <string>

#include "fuzz/target.h"
#include "log/api_lock.h"
#include "log/config.h"
#include "log/properties_reader.h"
#include "veltool/config_tree.h"

using namespace vel::tool::config;

namespace {

void compare(const Model& model) {
    for (const Configuration& each : model.configurations()) {
        for (const Entry* const entry : each.own) {
            const auto cfg = vel::log::CfgRef::adopt(pmxIntlLogMgrGetCfg(each.name.c_str()));
            const char* const value =
                vel::log::peek_property(cfg->properties, entry->property.c_str());
            require(value != nullptr && entry->value == value, "the value is that of the toolkit");
        }
    }
}

// Reads the bytes again as an ordinary file into the log manager, with its lock.
// What the reader says of an escape is not of interest.
bool read_as_file(const std::string& bytes) {
    FILE* const file = tmpfile();
    require(file != nullptr && fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size() &&
                fflush(file) == 0,
            "the input is put down");
    const std::string path = "/proc/self/fd/" + std::to_string(fileno(file));
    const int standard_error = dup(STDERR_FILENO);
    require(freopen("/dev/null", "w", stderr) != nullptr, "standard error is put aside");
    const bool read = pmxDoReadProps(path.c_str(), nullptr) != 0;
    fflush(stderr);
    dup2(standard_error, STDERR_FILENO);
    close(standard_error);
    fclose(file);
    return read;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string kOwn[] = {"recent:handler", "any"};
    static const Classes classes(kOwn);
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const ConfigCheck check(bytes, classes);
    for (const Finding& finding : check.findings()) {
        const Places::Place place = check.places().of(finding.at);
        require(finding.at <= size && place.line >= 1 && place.column <= size + 1, "a place");
        require(finding.what.find('\n') == std::string::npos, "one line");
    }
    draw(check.model(), check.places(), Lines::boxes);
    objects_as_json(check.model(), check.places());
    if (check.leaves_out()) return 0;
    const vel::log::ApiLock lock;
    require(vel::log::open_log_manager(), "there is a log manager");
    require(read_as_file(bytes) == check.is_whole(), "the fault is that of the toolkit");
    compare(check.model());
    vel::log::close_log_manager();
    return 0;
}
