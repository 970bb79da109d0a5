// The GUID library beside libuuid and beside the least that the work can cost. Only ratios within
// one run mean anything; bench/report.py makes them.
#include "guid/guid.h"

#include <benchmark/benchmark.h>
#include <pthread.h>
#include <sys/time.h>
#include <uuid/uuid.h>

#include <chrono>
#include <cstdlib>

#include "guid/vel_guid.h"

namespace {

// What every GUID needs: the address and the clock state under their mutexes, and the clock.
void floor_of_one_guid() {
    static pthread_mutex_t address = PTHREAD_MUTEX_INITIALIZER, clock = PTHREAD_MUTEX_INITIALIZER;
    timeval now;
    pthread_mutex_lock(&address);
    pthread_mutex_unlock(&address);
    pthread_mutex_lock(&clock);
    gettimeofday(&now, nullptr);
    pthread_mutex_unlock(&clock);
    benchmark::DoNotOptimize(now);
}

void generate() {
    uint8_t guid[16];
    vel_guid_generate(guid);
    benchmark::DoNotOptimize(guid);
}

void generate_libuuid() {
    uuid_t guid;
    uuid_generate_time(guid);
    benchmark::DoNotOptimize(guid);
}

void nothing() {}

template <void (*kWork)()>
void back_to_back(benchmark::State& state) {
    for (auto _ : state) kWork();
    state.SetItemsProcessed(state.iterations());
}

// One call at a time, so far apart that none waits for the clock. Subtract that of `nothing`.
template <void (*kWork)()>
void single(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    constexpr auto kApart = std::chrono::nanoseconds(1500);
    for (auto _ : state) {
        for (const auto since = Clock::now(); Clock::now() - since < kApart;) {
        }
        const auto before = Clock::now();
        kWork();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - before).count());
    }
}

constexpr char kText[] = "3c0a917e-5d1f-11d9-8a2b-000c294f1a33";
constexpr char kName[] = "www.example.com";

guid_record a_record() {
    guid_record record;
    guid_from_string(kText, &record, nullptr);
    return record;
}

void to_string(benchmark::State& state) {
    const guid_record record = a_record();
    for (auto _ : state) {
        char* text;
        guid_to_string(&record, &text, nullptr);
        benchmark::DoNotOptimize(text);
        free(text);
    }
}

void to_string_libuuid(benchmark::State& state) {
    uuid_t guid;
    uuid_parse(kText, guid);
    for (auto _ : state) {
        char text[37];
        uuid_unparse(guid, text);
        benchmark::DoNotOptimize(text);
    }
}

void from_string(benchmark::State& state) {
    for (auto _ : state) {
        guid_record record;
        guid_from_string(kText, &record, nullptr);
        benchmark::DoNotOptimize(record);
    }
}

void from_string_libuuid(benchmark::State& state) {
    for (auto _ : state) {
        uuid_t guid;
        uuid_parse(kText, guid);
        benchmark::DoNotOptimize(guid);
    }
}

void from_name(benchmark::State& state) {
    const guid_record name_space = a_record();
    for (auto _ : state) {
        guid_record record;
        guid_create_from_name(&record, kName, sizeof kName - 1, nullptr, name_space);
        benchmark::DoNotOptimize(record);
    }
}

void from_name_libuuid(benchmark::State& state) {
    uuid_t name_space;
    uuid_parse(kText, name_space);
    for (auto _ : state) {
        uuid_t guid;
        uuid_generate_md5(guid, name_space, kName, sizeof kName - 1);
        benchmark::DoNotOptimize(guid);
    }
}

BENCHMARK(back_to_back<generate>)->Name("generate");
BENCHMARK(back_to_back<generate>)->Name("generate_four")->Threads(4)->UseRealTime();
BENCHMARK(back_to_back<generate_libuuid>)->Name("generate_libuuid");
BENCHMARK(single<nothing>)->Name("single_nothing")->UseManualTime();
BENCHMARK(single<generate>)->Name("single")->UseManualTime();
BENCHMARK(single<floor_of_one_guid>)->Name("single_floor")->UseManualTime();
BENCHMARK(to_string);
BENCHMARK(to_string_libuuid);
BENCHMARK(from_string);
BENCHMARK(from_string_libuuid);
BENCHMARK(from_name);
BENCHMARK(from_name_libuuid);

}  // namespace

BENCHMARK_MAIN();
