// The outline of a sound: of every channel the lowest and the highest sample of each column.
#ifndef TOLVANE_HOST_WAVEFORM_H
#define TOLVANE_HOST_WAVEFORM_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "sound_format.h"

namespace tolvane::host {

// Samples of any size count as ones of 16 bits.
struct Peaks {
    int16_t low = 0, high = 0;
};

struct Waveform {
    uint32_t columns = 0;
    uint16_t channels = 0;
    std::vector<Peaks> peaks;  // column by column, the channels of each beside one another

    const Peaks& At(uint32_t column, uint16_t channel) const {
        return peaks[size_t{column} * channels + channel];
    }
};

// Part of a sound in bytes, whole frames.
struct ByteSpan {
    uint32_t begin = 0, end = 0;
};

// Reads the file once, in pieces. A result code; TOLVANE_EMPTY_DATA for a span without a frame in the file,
// TOLVANE_CANNOT_SEEK for sound that the system does not hand out.
uint16_t ReadWaveform(const std::string& path, const SoundFormat& sound, ByteSpan span, uint32_t columns,
                      Waveform& waveform);

}  // namespace tolvane::host

#endif
