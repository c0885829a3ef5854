// Times as people write them and as the program shows them.
#include "time_text.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <limits>

namespace tolvane::host {
namespace {

constexpr double kLargest = std::numeric_limits<uint32_t>::max();

template <typename Number>
std::optional<Number> ParseWhole(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

// Only the last part may have a fraction.
std::optional<double> ParseClockPart(std::string_view text, bool last) {
    if (text.find_first_not_of(last ? "0123456789." : "0123456789") != text.npos) return std::nullopt;
    return ParseWhole<double>(text);
}

// Hours and minutes before the seconds: every part but the first stays below 60.
std::optional<double> ParseClock(std::string_view text) {
    double total = 0;
    for (int part = 0; part < 3; ++part) {
        const size_t colon = text.find(':');
        const auto value = ParseClockPart(text.substr(0, colon), colon == text.npos);
        if (!value || (part > 0 && *value >= 60)) return std::nullopt;
        total = total * 60 + *value;
        if (colon == text.npos) return total;
        text.remove_prefix(colon + 1);
    }
    return std::nullopt;
}

std::optional<Moment> Count(std::string_view digits, Unit unit) {
    const auto number = ParseWhole<uint32_t>(digits);
    return number ? std::optional(Moment{*number, unit}) : std::nullopt;
}

}  // namespace

std::optional<Moment> ParseMoment(std::string_view text) {
    if (text.ends_with("ms")) return Count(text.substr(0, text.size() - 2), Unit::kMilliseconds);
    if (text.ends_with('s')) return Count(text.substr(0, text.size() - 1), Unit::kSamples);
    if (text.ends_with('b')) return Count(text.substr(0, text.size() - 1), Unit::kBytes);
    const auto seconds = ParseClock(text);
    if (!seconds) return std::nullopt;
    const double milliseconds = std::round(*seconds * 1000);
    if (!(milliseconds <= kLargest)) return std::nullopt;
    return Moment{static_cast<uint32_t>(milliseconds), Unit::kMilliseconds};
}

std::string TimeText(uint64_t milliseconds, int decimals) {
    const uint64_t seconds = milliseconds / 1000;
    std::string text = seconds >= 3600
                           ? fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60)
                           : fmt::format("{}:{:02}", seconds / 60, seconds % 60);
    if (decimals == 0) return text;
    return text + fmt::format(".{:03}", milliseconds % 1000).substr(0, 1 + static_cast<size_t>(decimals));
}

}  // namespace tolvane::host
