#include "playback/mixing.h"

#include <mmreg.h>

#include <algorithm>
#include <atomic>

namespace tolvane {

namespace {

// Each is read and written by itself: a block may meet an old gain beside a new one.
struct Volume {
    std::atomic<float> main_left = 1, main_right = 1, mixed_left = 1, mixed_right = 1;
    std::atomic<bool> clipped = false;
};

constinit Volume volume;

Gains MainGains() {
    return {volume.main_left, volume.main_right};
}

Gains MixedGains() {
    return {volume.mixed_left, volume.mixed_right};
}

}  // namespace

void SetSoftwareVolume(Gains main, Gains mixed) {
    volume.main_left = main.left;
    volume.main_right = main.right;
    volume.mixed_left = mixed.left;
    volume.mixed_right = mixed.right;
}

void ApplySoftwareGain(uint8_t* block, uint32_t length, const WAVEFORMATEX& format) {
    const FrameLayout layout{format.nChannels, format.wBitsPerSample};
    const Gains gains = MainGains();
    if (format.wFormatTag != WAVE_FORMAT_PCM || !layout.IsMixable() || gains.AreUnity()) return;
    GainFrames(block, length / layout.Bytes(), layout, gains);
}

bool MixInto(const MixBlocks& blocks) {
    const size_t frame = blocks.layout.Bytes();
    const size_t own = (blocks.length + frame - 1) / frame, mixed = blocks.mixed_length / frame;
    const size_t both = std::max(blocks.length, blocks.mixed_length) / frame;
    if (both > own) SilenceFrames(blocks.block + own * frame, both - own, blocks.layout);
    const Mix mix{blocks.layout, MainGains(), MixedGains(), blocks.average};
    return MixFrames(blocks.block, blocks.mixed, std::min(mixed, both), mix);
}

uint32_t ClipFlag() {
    return volume.clipped;
}

void NoteClipped() {
    volume.clipped = true;
}

}  // namespace tolvane
