// Finds the card's device that a wave service's device identifier and format stand for.
#ifndef TOLVANE_PLATFORM_SOUND_WAVE_MAPPER_H
#define TOLVANE_PLATFORM_SOUND_WAVE_MAPPER_H

#include "platform/sound/card.h"

namespace tolvane::platform {

struct OutputTarget {
    uint32_t index;
    PcmFormat format;
};

// `device` is an index or WAVE_MAPPER.
MMRESULT FindOutput(Card* card, UINT device, const WAVEFORMATEX& record, OutputTarget& target);

// waveOutMessage and waveInMessage: what may be asked of the mapper.
MMRESULT MapperMessage(Direction direction, uintptr_t handle, UINT message, DWORD_PTR first,
                       DWORD_PTR second);

// The index that WAVE_MAPPER stands for, or the device itself; the card may have no such device.
std::optional<uint32_t> MapDevice(Card& card, Direction direction, UINT device);

}  // namespace tolvane::platform

#endif
