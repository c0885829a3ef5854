// Software volume and mixing of whole rows of samples, which the compiler turns into vector instructions.
#pragma once

#include "playback/mixing_loops.h"

namespace tolvane {

// Whether there are rows for frames of such a layout, multiplied by such gains.
bool HasRows(FrameLayout layout, Gains gains);

// As GainFrames and MixFrames, where there are rows.
void GainRows(uint8_t* frames, size_t count, FrameLayout layout, Gains gains);
bool MixRows(uint8_t* frames, uint8_t* mixed, size_t count, const Mix& mix);

}  // namespace tolvane
