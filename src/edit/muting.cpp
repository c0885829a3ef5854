#include "edit/muting.h"

#include <algorithm>
#include <cstring>

namespace tolvane {

namespace {

constexpr uint32_t kMaskBits = 32;

uint32_t FrameOf(const InputFileInfo& format) {
    return std::max<uint32_t>(format.nChannels * (format.wBitsPerSample / 8u), 1);
}

template <class Sample>
void MuteChannel(uint8_t* data, uint32_t length, uint32_t frame, Sample silence) {
    for (uint32_t at = 0; at + sizeof silence <= length; at += frame)
        memcpy(data + at, &silence, sizeof silence);
}

bool CoversAll(uint32_t mask, uint32_t channels) {
    return channels < kMaskBits && (mask & ((1u << channels) - 1)) == (1u << channels) - 1;
}

}  // namespace

uint32_t WholeFrames(uint32_t length, const InputFileInfo& format, uint32_t left) {
    const uint32_t frame = FrameOf(format);
    return length >= left || frame > length ? length : length - length % frame;
}

void Mute(uint8_t* data, uint32_t length, const InputFileInfo& format, uint32_t mask) {
    const uint32_t width = format.wBitsPerSample / 8u, frame = FrameOf(format);
    if (format.wBitsPerSample != 8 && format.wBitsPerSample != 16) return;
    if (CoversAll(mask, format.nChannels)) {
        memset(data, SilenceOf(format), length);
        return;
    }
    for (uint32_t channel = 0; channel < std::min<uint32_t>(format.nChannels, kMaskBits); ++channel) {
        const uint32_t first = channel * width;
        if (!(mask >> channel & 1) || first >= length) continue;
        if (width == 1)
            MuteChannel(data + first, length - first, frame, SilenceOf(format));
        else
            MuteChannel(data + first, length - first, frame, uint16_t{0});
    }
}

}  // namespace tolvane
