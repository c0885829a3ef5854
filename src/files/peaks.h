// Peak levels of blocks of PCM samples.
#pragma once

#include <cstdint>

#include "tolvane.h"

namespace tolvane {

// Magnitudes: 0 to 128 for 8-bit data, 0 to 32,768 for 16-bit data.
struct Peaks {
    uint16_t left = 0;
    uint16_t right = 0;
};

// Measures a block; false, and `peaks` untouched, for formats other than 1 or 2 channels of 8 or 16 bits. Of
// 16-bit stereo every second frame is examined.
bool MeasurePeaks(const void* data, uint32_t length, uint16_t channels, uint16_t bits, Peaks* peaks);

// A peak in percent of full scale.
uint32_t ToPercent(uint16_t peak, uint16_t bits);

// The measurement for a block of the host's; `left` and `right` may be null.
void MeasureLevelInBuffer(const InputFileInfo& format, const uint8_t* data, uint32_t length, uint32_t* left,
                          uint32_t* right);

}  // namespace tolvane
