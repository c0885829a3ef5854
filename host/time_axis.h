// Where the marks of a time axis stand and what they say.
#ifndef TOLVANE_HOST_TIME_AXIS_H
#define TOLVANE_HOST_TIME_AXIS_H

#include <cstdint>
#include <string>
#include <vector>

namespace tolvane::host {

struct TimeSpan {
    double begin_ms = 0, end_ms = 0;
};

struct TimeMark {
    uint32_t place;  // below the length of the axis
    std::string text;
};

// Round times along an axis of `length` cells, no two of them nearer than `distance`.
std::vector<TimeMark> TimeMarks(TimeSpan span, uint32_t length, uint32_t distance);

}  // namespace tolvane::host

#endif
