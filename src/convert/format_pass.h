// One pass of the change of format: reads a whole PCM wave file and writes another that differs in one property.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include <cstdint>

#include "frame/worker.h"

namespace tolvane {

// What the change of format can change.
struct PcmShape {
    uint32_t rate = 0;
    uint16_t bits = 0;
    uint16_t channels = 0;
};

// What a file of 2 GiB has room for beside its headers.
inline constexpr uint64_t kMostSound = 0x7FFFFFFF - 64;

// Whether the passes handle it, and its bytes a second fit 32 bits.
bool IsPossibleShape(const PcmShape& shape);

// How far the whole job is while a pass runs: the percent it stands for, and those reached before it.
struct PassProgress {
    JobControl job;
    uint32_t share = 100;
    uint32_t base = 0;

    void Show(uint64_t done, uint64_t total) const;
};

// All of these return result codes.
//
// Reads the format of a PCM wave file with sound in it, of a possible shape.
uint16_t ReadPcmFormat(const char* path, WAVEFORMATEX* format, DWORD* sound_size);

// A pass changes one property: the rate to that of `wanted`, channels and size to the other there is. What it has
// written when it fails or is cancelled stays, as a valid wave file where the disk allows.
enum class Property { kRate, kChannels, kSampleSize };
uint16_t ChangeProperty(Property property, const char* input_path, const char* output_path,
                        const PcmShape& wanted, const PassProgress& progress);

}  // namespace tolvane
