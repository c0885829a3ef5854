// The mixer of the virtual card: lines as a test describes them, and their values in memory.
#ifndef TOLVANE_PLATFORM_SOUND_VIRTUAL_MIXER_H
#define TOLVANE_PLATFORM_SOUND_VIRTUAL_MIXER_H

#include <mutex>

#include "platform/sound/mixer.h"

namespace tolvane::platform {

class VirtualMixer final : public CardMixer {
  public:
    static VirtualMixer& Get();

    std::shared_ptr<const MixerLines> ReadLines() override;
    std::shared_ptr<const MixerLines> KnownLines() override { return ReadLines(); }
    MMRESULT GetValues(const MixerControl& control, std::span<uint32_t> values) override;
    MMRESULT SetValues(const MixerControl& control, std::span<const uint32_t> values) override;

    // What platform.h offers.
    void Reset();
    int SetLines(std::span<const PlatformMixerLine> lines);
    uint32_t Values(uint32_t line, uint32_t control, std::span<uint32_t> values);
    int ChangeValues(uint32_t line, uint32_t control, std::span<const uint32_t> values);

  private:
    VirtualMixer() { Reset(); }
    std::vector<uint32_t>* Find(uint32_t line, uint32_t control);

    std::mutex mutex_;
    std::shared_ptr<const MixerLines> lines_;
    std::vector<std::vector<uint32_t>> values_;  // by the identifiers of controls, which count from 1
};

}  // namespace tolvane::platform

#endif
