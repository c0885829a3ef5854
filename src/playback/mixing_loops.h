// The loops of software volume and mixing over whole frames of 8- and 16-bit samples, of which the first two channels are
// left and right; what further channels a frame has stays as it is.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tolvane {

struct Gains {
    float left = 1, right = 1;

    bool AreUnity() const { return left == 1 && right == 1; }
};

struct FrameLayout {
    uint16_t channels, bits;

    bool IsMixable() const { return channels > 0 && (bits == 8 || bits == 16); }
    size_t Bytes() const { return size_t{channels} * (bits / 8); }
};

// Multiplies, truncates toward zero and limits to what a sample can be.
void GainFrames(uint8_t* frames, size_t count, FrameLayout layout, Gains gains);

void SilenceFrames(uint8_t* frames, size_t count, FrameLayout layout);

struct Mix {
    FrameLayout layout;
    Gains main, mixed;
    bool average = false;  // instead of adding
};

// Mixes `mixed` into `frames`; 16-bit samples of `mixed` become what their gain makes of them. True when a sum had to be
// limited.
bool MixFrames(uint8_t* frames, uint8_t* mixed, size_t count, const Mix& mix);

}  // namespace tolvane
