// Frames of PCM: between 8 and 16 bits, and between one and two channels.
#ifndef TOLVANE_PLATFORM_CODECS_FRAMES_H
#define TOLVANE_PLATFORM_CODECS_FRAMES_H

#include "platform/codecs/formats.h"

namespace tolvane::platform {

struct FrameLayout {
    WORD bits = 16, channels = 1;

    static FrameLayout Of(const FormatView& pcm) { return {pcm.head.wBitsPerSample, pcm.head.nChannels}; }
    size_t Size() const { return size_t{bits} / 8 * channels; }
    bool operator==(const FrameLayout&) const = default;
};

// Neither side needs to be aligned. One channel becomes two alike, two become their average.
using FrameLoop = void(const uint8_t* source, uint8_t* target, size_t frames);
FrameLoop* FindFrameLoop(FrameLayout source, FrameLayout target);

}  // namespace tolvane::platform
#endif
