// Finds the card's device that a wave service's device identifier and format stand for.
#ifndef TOLVANE_PLATFORM_SOUND_WAVE_MAPPER_H
#define TOLVANE_PLATFORM_SOUND_WAVE_MAPPER_H

#include "platform/codecs/pcm_decoder.h"
#include "platform/sound/card.h"

namespace tolvane::platform {

struct DeviceTarget {
    uint32_t index;
    PcmFormat format;
};

struct OutputTarget : DeviceTarget {
    std::unique_ptr<PcmDecoder> decoder;  // null where the host's format is the device's
};

// `device` is an index or WAVE_MAPPER, which also takes what a codec decodes unless WAVE_FORMAT_DIRECT is among
// the flags of the opening.
MMRESULT FindOutput(Card* card, UINT device, const WAVEFORMATEX& record, DWORD flags, OutputTarget& target);

// An input is found for PCM alone, by its index or by WAVE_MAPPER.
MMRESULT FindInput(Card* card, UINT device, const WAVEFORMATEX& record, DeviceTarget& target);

// waveOutMessage and waveInMessage: what may be asked of the mapper.
MMRESULT MapperMessage(Direction direction, uintptr_t handle, UINT message, DWORD_PTR first,
                       DWORD_PTR second);

// The index that WAVE_MAPPER stands for, or the device itself; the card may have no such device.
std::optional<uint32_t> MapDevice(Card& card, Direction direction, UINT device);

}  // namespace tolvane::platform

#endif
