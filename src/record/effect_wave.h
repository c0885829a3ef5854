// The effect wave: a wave file whose sound takes the place of what a running recording hears.
#pragma once

#include <windows.h>

#include <cstdint>

namespace tolvane {

// Lets a wave file play from its beginning. A result code.
uint16_t StartEffectWave(const char* path);

// At a recording's start: none plays any more; the lock, without which none can be started.
void ForgetEffectWave();
void MakeEffectWaveLock();

// In the callback thread: overwrites the beginning of a recorded block. A result code that nobody needs.
bool IsEffectWaveActive();
uint16_t PlayEffectWave(uint8_t* data, DWORD bytes);

// At unload.
void ReleaseEffectWave();

}  // namespace tolvane
