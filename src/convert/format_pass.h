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
uint16_t ReadPcmFormat(const char* path, WAVEFORMATEX* format);

// The passes change the one property: the rate to that of `wanted`, channels and size to the other there is. What
// they have written when they fail or are cancelled stays, as a valid wave file where the disk allows.
uint16_t ChangeSampleRate(const char* input, const char* output, const PcmShape& wanted, const PassProgress&);
uint16_t ChangeChannels(const char* input, const char* output, const PcmShape& wanted, const PassProgress&);
uint16_t ChangeSampleSize(const char* input, const char* output, const PcmShape& wanted, const PassProgress&);

}  // namespace tolvane
