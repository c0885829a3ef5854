// Places in a sound and channels of it, as people name them, and as the library takes them.
#ifndef TOLVANE_HOST_EDIT_PLACES_H
#define TOLVANE_HOST_EDIT_PLACES_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "sound_format.h"
#include "time_text.h"

namespace tolvane::host {

// A time, or the end of the sound, wherever that is.
struct Place {
    Moment moment;
    bool is_end = false;
};

constexpr Place kBeginning{}, kEnd{{}, true};

// A time or "end"; nothing when the text is neither.
std::optional<Place> ParsePlace(std::string_view text);

// In bytes of the sound. It may lie behind the end: whether that matters is the library's to say.
uint32_t BytesAt(const SoundFormat& sound, const Place& place);

// The whole milliseconds next to a length; the library counts silence so.
uint32_t MillisecondsOf(const SoundFormat& sound, Moment length);

// A level as the library takes it; `percent` is from 0 to 100.
uint16_t HundredthsOf(double percent);

constexpr uint32_t kAllChannels = 0xFFFFFFFF;

// "left", "right", "all" or numbers (1,3) become one bit a channel; nothing when the text is none of them.
std::optional<uint32_t> ParseChannelMask(std::string_view text);

}  // namespace tolvane::host

#endif
