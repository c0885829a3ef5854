#include "files/positions.h"

#include <cstring>

namespace tolvane {

uint32_t Truncate(double value) {
    if (!(value > 0)) return 0;
    return value < 4294967296.0 ? static_cast<uint32_t>(value) : UINT32_MAX;
}

uint32_t PositionToBytes(uint32_t position, uint16_t unit, const InputFileInfo& format) {
    if (unit == TOLVANE_BYTES) return position;
    double frames =
        unit == TOLVANE_SAMPLES ? double{1} * position : position * (format.nSamplesPerSec / 1000.0);
    return Truncate(frames * (format.wBitsPerSample / 8.0) * format.nChannels);
}

uint32_t BytesToPosition(uint32_t bytes, uint16_t unit, const InputFileInfo& format) {
    if (unit == TOLVANE_BYTES) return bytes;
    if (unit == TOLVANE_SAMPLES) return format.nBlockAlign ? bytes / format.nBlockAlign : 0;
    double bits_per_second = double{1} * format.nSamplesPerSec * format.wBitsPerSample * format.nChannels;
    return bits_per_second > 0 ? Truncate(bytes / bits_per_second * 8000) : 0;
}

InputFileInfo ToInputFileInfo(const WAVEFORMATEX& format) {
    InputFileInfo info;
    memcpy(&info, &format, sizeof info);
    return info;
}

}  // namespace tolvane
