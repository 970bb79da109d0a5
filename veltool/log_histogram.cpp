#include "veltool/log_histogram.h"

#include <ctime>
#include <iterator>
#include <utility>

namespace vel::tool {

namespace {

constexpr int64_t kSecond = 1000, kMinute = 60 * kSecond, kHour = 60 * kMinute, kDay = 24 * kHour;

// Each is a multiple of the one before it, so that periods can be put together.
constexpr int64_t kPeriods[] = {kSecond,     5 * kSecond,  10 * kSecond, 30 * kSecond, kMinute,
                                5 * kMinute, 10 * kMinute, 30 * kMinute, kHour,        3 * kHour,
                                6 * kHour,   12 * kHour,   kDay,         7 * kDay,     28 * kDay,
                                364 * kDay,  3640 * kDay,  36400 * kDay, 364000 * kDay};
constexpr int64_t kMostPeriods = 24;

// From the first to the last year of four digits, and a day less for the zones.
constexpr int64_t kFirstTime = -62'135'510'400'000, kLastTime = 253'402'214'400'000;
static_assert((kLastTime - kFirstTime) / kPeriods[std::size(kPeriods) - 1] < kMostPeriods);

int64_t floor_of(int64_t time, int64_t period) {
    return time / period - (time % period < 0 ? 1 : 0);
}

int64_t local_offset(int64_t time) {
    const time_t seconds = floor_of(time, kSecond);
    struct tm parts {};
    localtime_r(&seconds, &parts);
    return parts.tm_gmtoff * kSecond;
}

}  // namespace

void LogHistogram::add(int64_t time) {
    if (time < kFirstTime || time > kLastTime) return;
    if (found_.empty()) offset_ = local_offset(time);
    ++found_[floor_of(time + offset_, period())];
    while (found_.rbegin()->first - found_.begin()->first >= kMostPeriods) widen();
}

void LogHistogram::widen() {
    const int64_t factor = kPeriods[width_ + 1] / kPeriods[width_];
    std::map<int64_t, uint64_t> wide;
    for (const auto& [number, count] : found_) wide[floor_of(number, factor)] += count;
    found_ = std::move(wide);
    ++width_;
}

int64_t LogHistogram::period() const { return kPeriods[width_]; }

std::map<int64_t, uint64_t> LogHistogram::counts() const {
    std::map<int64_t, uint64_t> counts;
    for (const auto& [number, count] : found_) counts[number * period() - offset_] = count;
    return counts;
}

}  // namespace vel::tool
