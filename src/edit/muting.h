// Silence in PCM samples.
#pragma once

#include <cstdint>

#include "tolvane.h"

namespace tolvane {

// What silent sound consists of, byte by byte.
inline uint8_t SilenceOf(const InputFileInfo& format) {
    return format.wBitsPerSample == 8 ? 128 : 0;
}

// At most `length` (below 64 KiB) and `left` bytes that begin and end between frames.
uint32_t WholeFrames(uint32_t length, const InputFileInfo& format, uint32_t left);

// Silences the channels of `mask` (bit 0: the first channel) in `length` bytes, which begin with a frame. Samples of
// other sizes than 8 and 16 bits stay as they are.
void Mute(uint8_t* data, uint32_t length, const InputFileInfo& format, uint32_t mask);

}  // namespace tolvane
