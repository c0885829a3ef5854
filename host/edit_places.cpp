// Places in a sound and channels of it.
#include "edit_places.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace tolvane::host {
namespace {

constexpr uint64_t kLargest = std::numeric_limits<uint32_t>::max();
constexpr uint32_t kMaskBits = 32;

uint64_t Unbounded(const SoundFormat& sound, Moment moment) {
    const uint64_t frame = sound.format.nBlockAlign;
    if (moment.unit == Unit::kBytes) return moment.value;
    if (moment.unit == Unit::kSamples) return moment.value * frame;
    return uint64_t{moment.value} * sound.format.nSamplesPerSec / 1000 * frame;
}

std::optional<uint32_t> ParseChannel(std::string_view text) {
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && number >= 1 && number <= kMaskBits ? std::optional(1u << (number - 1)) : std::nullopt;
}

}  // namespace

std::optional<Place> ParsePlace(std::string_view text) {
    if (text == "end") return kEnd;
    const auto moment = ParseMoment(text);
    return moment ? std::optional(Place{*moment}) : std::nullopt;
}

uint32_t BytesAt(const SoundFormat& sound, const Place& place) {
    if (place.is_end) return sound.data_size;
    return static_cast<uint32_t>(std::min(Unbounded(sound, place.moment), kLargest));
}

uint32_t MillisecondsOf(const SoundFormat& sound, Moment length) {
    const uint64_t rate = sound.BytesPerSecond();
    if (length.unit == Unit::kMilliseconds || rate == 0) return length.value;
    return static_cast<uint32_t>(std::min((Unbounded(sound, length) * 1000 + rate / 2) / rate, kLargest));
}

uint16_t HundredthsOf(double percent) {
    return static_cast<uint16_t>(std::lround(percent * 100));
}

std::optional<uint32_t> ParseChannelMask(std::string_view text) {
    if (text == "all") return kAllChannels;
    if (text == "left") return 1u;
    if (text == "right") return 2u;
    uint32_t mask = 0;
    for (;;) {
        const size_t comma = text.find(',');
        const auto bit = ParseChannel(text.substr(0, comma));
        if (!bit) return std::nullopt;
        mask |= *bit;
        if (comma == text.npos) return mask;
        text.remove_prefix(comma + 1);
    }
}

}  // namespace tolvane::host
