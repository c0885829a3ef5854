// What trim and mute make of a sound in memory, for the models of the tests.
#pragma once

#include <algorithm>
#include <cstdlib>

#include "support/wave_files.h"

namespace tolvane::test {

// Bytes from a frame's first to behind another's last.
struct Selection {
    size_t low, high;
};

inline bool IsLoud(const Format& format, const uint8_t* frame, uint32_t level) {
    const size_t width = format.bits / 8;
    const auto threshold = static_cast<int>(level * (width == 2 ? 32767u : 127u) / 10000);
    for (const uint8_t* sample = frame; sample < frame + format.Block(); sample += width) {
        const int value = width == 2 ? static_cast<int16_t>(sample[0] | sample[1] << 8) : *sample - 128;
        if (std::abs(value) > threshold) return true;
    }
    return false;
}

// From the first loud frame to the last; where none is, the first frame.
inline Selection LoudPart(const Format& format, const Bytes& data, Selection all, uint32_t level) {
    const size_t frame = format.Block();
    Selection loud{all.high, all.low};
    for (size_t at = all.low; at < all.high; at += frame) {
        if (!IsLoud(format, &data[at], level)) continue;
        loud.low = std::min(loud.low, at);
        loud.high = at + frame;
    }
    return loud.low < loud.high ? loud : Selection{all.low, all.low + frame};
}

inline void TrimSilence(const Format& format, Bytes& data, Selection part, uint32_t level) {
    const Selection loud = LoudPart(format, data, part, level);
    data = Part(data, 0, part.low) + Part(data, loud.low, loud.high) + Part(data, part.high, data.size());
}

inline void MuteFrames(const Format& format, Bytes& data, Selection part, uint32_t mask) {
    const size_t width = format.bits / 8;
    for (size_t at = part.low; at < part.high; ++at)
        if (mask >> (at - part.low) % format.Block() / width & 1) data[at] = width == 1 ? 128 : 0;
}

}  // namespace tolvane::test
