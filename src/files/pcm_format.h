// The format record of PCM.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

namespace tolvane {

// For any numbers; the block size keeps its lower 16 bits, the bytes a second their lower 32.
constexpr WAVEFORMATEX PcmFormat(WORD channels, DWORD rate, WORD bits) {
    const DWORD block = channels * (bits / DWORD{8});
    return {WAVE_FORMAT_PCM, channels, rate, rate * block, static_cast<WORD>(block), bits, 0};
}

}  // namespace tolvane
