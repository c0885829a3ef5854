// What is recorded, or was last: also read by file information and by the record volume.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include <atomic>
#include <cstdint>

namespace tolvane {

// Written by the starts; the source also by the choice of a source.
struct RecordSettings {
    std::atomic<uint32_t> sample_rate = 0;
    std::atomic<uint16_t> bits = 0;
    std::atomic<uint16_t> channels = 0;
    std::atomic<uint16_t> source = 0;  // index of the source line whose volume is the record volume
};

RecordSettings& TheRecordSettings();

// The format that the settings name; anything, as long as nothing was checked.
WAVEFORMATEX RecordFormat();

inline uint8_t SilenceByte(const WAVEFORMATEX& format) {
    return format.wBitsPerSample == 8 ? 0x80 : 0;
}

}  // namespace tolvane
