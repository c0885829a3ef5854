// Where the marks of a time axis stand and what they say.
#include "time_axis.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "time_text.h"

namespace tolvane::host {
namespace {

constexpr uint32_t kMinute = 60'000, kHour = 60 * kMinute;
constexpr uint32_t kSteps[] = {
    1,      2,         5,           10,          20,           50,           100,
    200,    500,       1'000,       2'000,       5'000,        10'000,       15'000,
    30'000, kMinute,   2 * kMinute, 5 * kMinute, 10 * kMinute, 15 * kMinute, 30 * kMinute,
    kHour,  6 * kHour, 24 * kHour};

int DecimalsOf(uint32_t step) {
    return step % 1000 == 0 ? 0 : step % 100 == 0 ? 1 : step % 10 == 0 ? 2 : 3;
}

}  // namespace

std::vector<TimeMark> TimeMarks(TimeSpan span, uint32_t length, uint32_t distance) {
    std::vector<TimeMark> marks;
    const double cells = length / std::max(span.end_ms - span.begin_ms, 1e-6);  // a millisecond
    const auto* step = std::ranges::find_if(kSteps, [&](uint32_t one) { return one * cells >= distance; });
    if (step == std::end(kSteps)) return marks;
    const auto first = static_cast<uint64_t>(std::ceil(span.begin_ms / *step)) * *step;
    const auto end = static_cast<uint64_t>(std::ceil(span.end_ms));
    for (uint64_t time = first; time < end; time += *step)
        marks.push_back({static_cast<uint32_t>((static_cast<double>(time) - span.begin_ms) * cells),
                         TimeText(time, DecimalsOf(*step))});
    return marks;
}

}  // namespace tolvane::host
