// Software volume and mixing: four gains for the whole library, and what they do to the blocks that are played.
#pragma once

#include <windows.h>
#include <mmsystem.h>

#include <cstdint>

#include "playback/mixing_loops.h"

namespace tolvane {

void SetSoftwareVolume(Gains main, Gains mixed);

// The gains of the main file, applied in place to a block of whole frames of such a format; other formats stay as they
// are.
void ApplySoftwareGain(uint8_t* block, uint32_t length, const WAVEFORMATEX& format);

struct MixBlocks {
    uint8_t* block;  // room for the longer of both
    uint32_t length;
    uint8_t* mixed;
    uint32_t mixed_length;
    FrameLayout layout;
    bool average;
};

// Whole frames only. True when a sum had to be limited.
bool MixInto(const MixBlocks& blocks);

// Whether a sum of any playback has been limited since the library was loaded.
uint32_t ClipFlag();
void NoteClipped();

}  // namespace tolvane
