// Formatted printing and string buffers beside glibc's printf, {fmt} with run-time formats and the
// standard library. Before anything is timed, all of them have to produce the same bytes for the
// same values. Only ratios within one run mean anything; bench/report.py makes them.
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/cx_printf.h"

namespace {

// No compiler may read these: a format that it knows it works off itself.
const char* volatile positions = "%2$s is %1$d";
const char* volatile in_order = "%s is %d";
const char* volatile real = "%.2f";
const char* volatile record = "%2$s[%1$d]: %5$-12s took %6$.2f ms, code %3$08x, %4$d left";
const char* volatile fmt_positions = "{1} is {0}";
const char* volatile fmt_in_order = "{} is {}";

constexpr const char* kWords[] = {"log handler",    "console.port", "retry.limit",  "queue.length",
                                  "open files",     "connections",  "worker.count", "cache size",
                                  "free kilobytes", "port number",  "idle seconds", "message.rate"};

// The values of one call.
struct Sample {
    const char* text;
    int number;       // of 4 to 6 digits
    int64_t integer;  // of 1 to 18 digits
    double value;     // from 0.01 to some millions
    unsigned code;
};

constexpr size_t kSamples = 4000;  // too many for their order to be learnt
constexpr size_t kAppends = 50;    // into a buffer, until it is emptied

const std::vector<Sample> samples = [] {
    std::mt19937_64 random(1);
    const auto up_to = [&](double exponent) {
        return std::pow(10, std::uniform_real_distribution<>(0, exponent)(random));
    };
    const auto sign = [&] { return random() % 8 ? 1 : -1; };
    std::vector<Sample> made(kSamples);
    for (Sample& sample : made)
        sample = {kWords[random() % std::size(kWords)], int(1000 * up_to(2.5)) * sign(),
                  int64_t(up_to(18)) * sign(), 0.01 * up_to(8.5) * sign(), unsigned(random())};
    return made;
}();

// The ways to do one thing. What a way makes of a sample it shows to a callable.
class Contest {
  public:
    explicit Contest(const char* name) : name_(std::string(name) + ":") {}

    template <class Way>
    Contest& add(const char* who, Way way) {
        const std::string name = name_ + who;
        check(name, way);
        benchmark::RegisterBenchmark(name.c_str(), [way](benchmark::State& state) mutable {
            for (auto _ : state)
                for (size_t i = 0; i < kSamples; ++i)
                    way(i, samples[i], [](std::string_view made) {
                        benchmark::DoNotOptimize(made);
                        benchmark::ClobberMemory();
                    });
            state.SetItemsProcessed(state.iterations() * int64_t(kSamples));
        });
        return *this;
    }

  private:
    template <class Way>
    void check(const std::string& name, Way way) {
        std::vector<std::string> texts;
        for (size_t i = 0; i < kSamples; ++i)
            way(i, samples[i], [&](std::string_view made) { texts.emplace_back(made); });
        if (expected_.empty()) expected_ = texts;
        if (texts.size() == kSamples && texts == expected_) return;
        fprintf(stderr, "printf: %s: not the same text\n", name.c_str());
        exit(1);
    }

    std::string name_;
    std::vector<std::string> expected_;
};

std::string_view text_of(const CxStringBuff& buff) { return {buff.text, size_t(buff.length)}; }

// Prints into a buffer that starts empty and is given back.
template <class Print>
auto fresh_buff(Print print) {
    return [=](size_t, const Sample& sample, auto show) {
        CxStringBuff buff = {};
        print(&buff, sample);
        show(text_of(buff));
        CxStringBuffDiscard(&buff);
    };
}

constexpr size_t kRoom = 1024;  // the first size of a buffer

// The same for what prints into memory and answers the length.
template <class Print>
auto fresh_memory(Print print) {
    return [=](size_t, const Sample& sample, auto show) {
        char* const memory = static_cast<char*>(malloc(kRoom));
        show({memory, size_t(print(memory, sample))});
        free(memory);
    };
}

template <class... Arguments>
std::string fmt_text(const char* format, const Arguments&... arguments) {
    return fmt::vformat(format, fmt::make_format_args(arguments...));
}

template <class... Arguments>
void show_fmt_memory(auto show, const char* format, const Arguments&... arguments) {
    fmt::memory_buffer memory;
    fmt::vformat_to(std::back_inserter(memory), format, fmt::make_format_args(arguments...));
    show({memory.data(), memory.size()});
}

void add_text_and_int() {
    using Out = CxStringBuff*;
    using Values = const Sample&;
    Contest("text and int by position")
        .add("cx", fresh_buff([](Out out, Values v) {
                 CxStringBuffPrintf(nullptr, out, positions, v.number, v.text);
             }))
        .add("snprintf", fresh_memory([](char* out, Values v) {
                 return snprintf(out, kRoom, positions, v.number, v.text);
             }))
        .add("{fmt} to a string",
             [](size_t, Values v, auto show) { show(fmt_text(fmt_positions, v.number, v.text)); })
        .add("{fmt} to its buffer", [](size_t, Values v, auto show) {
            show_fmt_memory(show, fmt_positions, v.number, v.text);
        });
    Contest("text and int in order")
        .add("cx", fresh_buff([](Out out, Values v) {
                 CxStringBuffPrintf(nullptr, out, in_order, v.text, v.number);
             }))
        .add("snprintf", fresh_memory([](char* out, Values v) {
                 return snprintf(out, kRoom, in_order, v.text, v.number);
             }))
        .add("{fmt} to a string",
             [](size_t, Values v, auto show) { show(fmt_text(fmt_in_order, v.text, v.number)); });
}

void add_record() {
    Contest("six fields by position")
        .add("cx", fresh_buff([](CxStringBuff* out, const Sample& v) {
                 CxStringBuffPrintf(nullptr, out, record, v.number, v.text, v.code, v.number,
                                    kWords[0], v.value);
             }))
        .add("snprintf", fresh_memory([](char* out, const Sample& v) {
                 return snprintf(out, kRoom, record, v.number, v.text, v.code, v.number, kWords[0],
                                 v.value);
             }));
}

// A buffer that is kept from call to call; a copy of it starts empty.
struct KeptBuff : CxStringBuff {
    KeptBuff() : CxStringBuff{} {}
    KeptBuff(const KeptBuff&) : KeptBuff() {}
    ~KeptBuff() { CxStringBuffDiscard(this); }
};

void add_real() {
    Contest("real number to two places")
        .add("cx",
             [buff = KeptBuff()](size_t, const Sample& v, auto show) mutable {
                 CxStringBuffRestart(&buff);
                 CxStringBuffPrintf(nullptr, &buff, real, v.value);
                 show(text_of(buff));
             })
        .add("snprintf", [](size_t, const Sample& v, auto show) {
            char memory[kRoom];
            show({memory, size_t(snprintf(memory, sizeof memory, real, v.value))});
        });
}

void add_appends() {
    Contest("appending a text")
        .add("cx",
             [buff = KeptBuff()](size_t i, const Sample& v, auto show) mutable {
                 if (i % kAppends == 0) CxStringBuffRestart(&buff);
                 CxStringBuffAppendStr(&buff, v.text);
                 show(text_of(buff));
             })
        .add("std::string", [text = std::string()](size_t i, const Sample& v, auto show) mutable {
            if (i % kAppends == 0) {
                text.clear();
                text.reserve(kRoom);
            }
            text.append(v.text);
            show(text);
        });
    Contest("appending an integer")
        .add("cx",
             [buff = KeptBuff()](size_t i, const Sample& v, auto show) mutable {
                 if (i % kAppends == 0) CxStringBuffRestart(&buff);
                 const int32_t before = buff.length;
                 CxStringBuffAppendInt64(&buff, v.integer);
                 show(text_of(buff).substr(size_t(before)));
             })
        .add("std::to_chars", [](size_t, const Sample& v, auto show) {
            char digits[24];
            const auto end = std::to_chars(digits, std::end(digits), v.integer).ptr;
            show({digits, end});
        });
}

}  // namespace

int main(int argc, char** argv) {
    add_text_and_int();
    add_record();
    add_real();
    add_appends();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
