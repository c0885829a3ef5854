// The effect plug-ins: six slots, each for a library that changes the sound of a recording block by block.
//
// Host threads load and steer them; the recording prepares them for its format and runs them. Their functions are called
// without a lock held here.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include <cstdint>

#include "tolvane.h"

namespace tolvane {

// The sound that a buffer holds. More bytes than the buffer has are never believed, only remembered.
struct SoundBlock {
    uint8_t* data;
    DWORD length;
    DWORD bytes = 0;
    bool misreported = false;

    SoundBlock(uint8_t* data_, DWORD length_, DWORD reported) : data(data_), length(length_) {
        SetBytes(reported);
    }
    void SetBytes(DWORD reported) {
        misreported = misreported || reported > length;
        bytes = reported > length ? length : reported;
    }
};

// For the host; false for a slot that there is not, or a library that does not load.
bool LoadEffect(int32_t slot, const char* path);
bool EnableEffect(int32_t slot, uint32_t enabled);
bool SetEffectParameters(int32_t slot, const void* parameters, uint32_t size);
void ChangeEffects();

// For the recording. Makes the plug-ins' copies of their parameters anew where something has changed.
void PrepareEffects(const WAVEFORMATEX& format);
void ApplyEffects(SoundBlock& block);
void ReleaseEffects();

}  // namespace tolvane
