// What is recorded, or was last: also read by file information and by the record volume.
#pragma once

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

}  // namespace tolvane
