// Times as people write them (1:02.5, 12.5, 250ms, 44100s, 4096b) and as the program shows them (1:02.5).
#ifndef TOLVANE_HOST_TIME_TEXT_H
#define TOLVANE_HOST_TIME_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tolvane::host {

// The values are the position units of the library.
enum class Unit : uint16_t { kMilliseconds = 0, kSamples = 1, kBytes = 2 };

struct Moment {
    uint32_t value = 0;
    Unit unit = Unit::kMilliseconds;
};

// Nothing when the text is no time or too large for a position.
std::optional<Moment> ParseMoment(std::string_view text);

// 62500 -> "1:02.5" with one decimal place, "1:02.500" with three, "1:02" with none; hours only where there are any.
std::string TimeText(uint64_t milliseconds, int decimals = 1);

}  // namespace tolvane::host

#endif
