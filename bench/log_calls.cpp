// Logging calls, look-ups by name and opening with a properties file beside spdlog, log4cplus and
// std::unordered_map. What is looked up is made anew for each benchmark, the peer's as well as
// ours, so that the heap is in the same state for both. Only ratios within one run mean anything;
// bench/report.py makes them.
#include <benchmark/benchmark.h>
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench/peers.h"
#include "log/classes.h"
#include "runtime/rak.h"
#include "tests/support/scratch_directory.h"

// What the toolkit takes from the heap is counted. The peers are shared libraries: their calls do
// not come here.
static long allocations = 0;

extern "C" {
void* __real_malloc(size_t);
void* __real_realloc(void*, size_t);
void* __real_calloc(size_t, size_t);
void* __wrap_malloc(size_t size) { return ++allocations, __real_malloc(size); }
void* __wrap_realloc(void* block, size_t size) {
    return ++allocations, __real_realloc(block, size);
}
void* __wrap_calloc(size_t count, size_t size) { return ++allocations, __real_calloc(count, size); }
}

namespace {

using namespace bench;

constexpr size_t kNames = 10'000;

// ---- Calls ----------------------------------------------------------------------------------

std::shared_ptr<spdlog::logger> spd;
log4cplus::Logger l4c;

long processed = 0;

void process_nothing(PmxObject*, PmxEvent*, uint32_t) { ++processed; }

struct Toolkit : OpenToolkit {
    Toolkit() {
        PmxAddHandlerClass("bench_handler", nullptr, nullptr, nullptr, nullptr, process_nothing,
                           nullptr, nullptr);
        add_handler("bench_handler");
    }
};

// Writes to a file of its own, from its start; at "info" at first.
class Spdlog {
  public:
    Spdlog()
        : file_(directory_.path() / "log"), logger_(spdlog::basic_logger_mt(kLogger, file_, true)) {
        spd = logger_;
    }
    ~Spdlog() {
        spd.reset();
        spdlog::drop(kLogger);
    }
    Spdlog(const Spdlog&) = delete;
    Spdlog& operator=(const Spdlog&) = delete;

  private:
    ScratchDirectory directory_;
    std::string file_;
    std::shared_ptr<spdlog::logger> logger_;
};

struct Log4cplus {
    Log4cplus() {
        l4c = log4cplus::Logger::getInstance(kLogger);
        l4c.setLogLevel(log4cplus::INFO_LOG_LEVEL);
    }
};

void call_disabled(int number, const char* text) {
    PmxLogDebugMax(pmx, __FILE__, __func__, __LINE__, "%1$d %2$s", PMX_INT, number, PMX_STRING,
                   text, PMX_END);
}
void call_disabled_spdlog(int number, const char* text) { spd->debug("{} {}", number, text); }
void call_disabled_log4cplus(int number, const char* text) {
    LOG4CPLUS_DEBUG_FMT(l4c, "%d %s", number, text);
}
void call_event(int number, const char* text) {
    PmxLogDebugMin(pmx, __FILE__, __func__, __LINE__, "%1$d %2$s", PMX_INT, number, PMX_STRING,
                   text, PMX_END);
}
void call_event_spdlog(int number, const char* text) {
    SPDLOG_LOGGER_CALL(spd, spdlog::level::info, "{} {}", number, text);
}

template <class Library, auto Call>
void run_calls(benchmark::State& state) {
    const Library library;
    Call(0, kWords[0]);  // what only the first one has to do
    const long processed_before = processed, allocations_before = allocations;
    for (auto _ : state) {
        for (const Sample& sample : samples) Call(sample.number, sample.text);
        benchmark::ClobberMemory();
    }
    const int64_t calls = state.iterations() * int64_t(samples.size());
    state.counters["allocations"] = double(allocations - allocations_before) / double(calls);
    state.SetItemsProcessed(calls);
    require(processed - processed_before == (Call == call_event ? calls : 0), "not all processed");
}

// ---- Look-ups -------------------------------------------------------------------------------

std::mt19937 random_numbers(1);

// Names with dots, of 12 to 35 bytes.
const std::vector<std::string> names = [] {
    constexpr const char* kParts[] = {"app",   "cache", "handler", "connection", "scheduler",
                                      "trace", "audit", "pool",    "store",      "server"};
    const auto part = [&] { return kParts[random_numbers() % std::size(kParts)]; };
    std::vector<std::string> made;
    for (size_t i = 0; i < kNames; ++i)
        made.push_back(std::string(part()) + "." + part() + "." + part() + std::to_string(i));
    return made;
}();

const std::vector<std::string> wanted = [] {
    auto shuffled = names;
    std::ranges::shuffle(shuffled, random_numbers);
    return shuffled;
}();

// Each of the following makes its table, and looks up a name in it.
struct Objects : Toolkit {
    Objects() {
        for (const std::string& name : names) PmxGetObject(name.c_str(), "pmx_basiclogger");
    }
    static bool look_up(const char* name) {
        PmxObject* const object = PmxGetObject(name, nullptr);
        benchmark::DoNotOptimize(object);
        PmxReleaseObject(object);
        return object != nullptr;
    }
};

struct Properties : Toolkit {
    Properties() {
        for (const std::string& name : names) PmxSetObjProp(pmx, name.c_str(), name.c_str());
    }
    static bool look_up(const char* name) {
        int found = 0;
        char* const value = PmxGetObjProp(pmx, name, &found);
        benchmark::DoNotOptimize(value);
        RakMemoryFree(value);
        return found != 0;
    }
};

struct Classes : Toolkit {
    Classes() {
        for (const std::string& name : names)
            PmxAddLoggerClass(name.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
    }
    // Only the creation of an object looks for a class, inside the toolkit.
    static bool look_up(const char* name) {
        PmxObjClass* const found = pmxIntlGetClass(name);
        benchmark::DoNotOptimize(found);
        return found != nullptr;
    }
};

struct Configurations : Toolkit {
    Configurations() {
        for (const std::string& name : names) PmxReleaseObjCfg(PmxLogMgrGetCfg(name.c_str()));
    }
    static bool look_up(const char* name) {
        PmxObjCfg* const cfg = PmxLogMgrGetCfg(name);
        benchmark::DoNotOptimize(cfg);
        PmxReleaseObjCfg(cfg);
        return cfg != nullptr;
    }
};

struct Pointers {
    Pointers() {
        for (const std::string& name : names) map.emplace(name, &name);
    }
    bool look_up(const char* name) const {
        const auto at = map.find(name);
        benchmark::DoNotOptimize(at);
        return at != map.end();
    }
    std::unordered_map<std::string, const void*> map;
};

struct Strings {
    Strings() {
        for (const std::string& name : names) map.emplace(name, name);
    }
    bool look_up(const char* name) const {
        const auto at = map.find(name);
        if (at == map.end()) return false;
        std::string value = at->second;
        benchmark::DoNotOptimize(value);
        return true;
    }
    std::unordered_map<std::string, std::string> map;
};

template <class Table>
void run_look_ups(benchmark::State& state) {
    const Table table;
    size_t found = 0;
    for (auto _ : state)
        for (const std::string& name : wanted) found += table.look_up(name.c_str());
    require(found == size_t(state.iterations()) * kNames, "a name is not found");
    state.SetItemsProcessed(int64_t(found));
}

// ---- Properties files -----------------------------------------------------------------------

constexpr int kPropertiesEach = 5;

// With that many entries: some for each configuration, or one for each, all under one parent.
std::string properties_file(int entries, bool alone) {
    constexpr const char* kKeys[kPropertiesEach] = {"className", "level", "listenerNames",
                                                    "logging", "separator"};
    std::string text = "app.level=INFO\n";
    for (int i = 1; i < entries; ++i) {
        const int owner = alone ? i : i / kPropertiesEach;
        text.append("app.part").append(std::to_string(owner)).append(".");
        text.append(kKeys[i % kPropertiesEach])
            .append("=")
            .append(kWords[size_t(i) % std::size(kWords)]);
        text.append("\n");
    }
    return text;
}

void run_opening(benchmark::State& state, const std::string& path, const std::string& last) {
    require(PmxOpenToolkit(path.c_str()), "the properties are not read");
    require(PmxLogMgrHasCfg(last.c_str()), "the properties have no effect");
    PmxCloseToolkit();
    for (auto _ : state) {
        require(PmxOpenToolkit(path.c_str()), "the properties are not read");
        PmxCloseToolkit();
    }
    state.SetItemsProcessed(state.iterations());
}

void add_openings(const ScratchDirectory& directory) {
    for (const int entries : {10'000, 100'000}) {
        for (const bool alone : {false, true}) {
            const std::string name =
                (alone ? "open_alone_" : "open_shared_") + std::to_string(entries);
            const std::string path = directory.write(name, properties_file(entries, alone));
            const int last = alone ? entries - 1 : (entries - 1) / kPropertiesEach;
            benchmark::RegisterBenchmark(name.c_str(), run_opening, path,
                                         "app.part" + std::to_string(last));
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    const log4cplus::Initializer log4cplus_runs;
    const ScratchDirectory directory;
    benchmark::RegisterBenchmark("disabled", run_calls<Toolkit, call_disabled>);
    benchmark::RegisterBenchmark("disabled_spdlog", run_calls<Spdlog, call_disabled_spdlog>);
    benchmark::RegisterBenchmark("disabled_log4cplus",
                                 run_calls<Log4cplus, call_disabled_log4cplus>);
    benchmark::RegisterBenchmark("event", run_calls<Toolkit, call_event>);
    benchmark::RegisterBenchmark("event_spdlog", run_calls<Spdlog, call_event_spdlog>);
    benchmark::RegisterBenchmark("object", run_look_ups<Objects>);
    benchmark::RegisterBenchmark("property", run_look_ups<Properties>);
    benchmark::RegisterBenchmark("class", run_look_ups<Classes>);
    benchmark::RegisterBenchmark("configuration", run_look_ups<Configurations>);
    benchmark::RegisterBenchmark("find", run_look_ups<Pointers>);
    benchmark::RegisterBenchmark("find_text", run_look_ups<Strings>);
    add_openings(directory);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
