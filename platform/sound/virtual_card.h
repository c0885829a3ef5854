// The virtual card: no hardware; it plays into memory and wave files, by a clock that a test may hold in its
// hand.
#ifndef TOLVANE_PLATFORM_SOUND_VIRTUAL_CARD_H
#define TOLVANE_PLATFORM_SOUND_VIRTUAL_CARD_H

#include <mutex>
#include <vector>

#include <platform.h>

#include "platform/sound/capture.h"
#include "platform/sound/card.h"

namespace tolvane::platform {

class VirtualOutput;

class VirtualCard final : public Card {
  public:
    static VirtualCard& Get();

    uint32_t Count(Direction direction) override;
    std::optional<CardDevice> Describe(Direction direction, uint32_t index) override;
    std::optional<uint32_t> Preferred(Direction direction) override;
    MMRESULT Accepts(uint32_t index, const PcmFormat& format) override;
    MMRESULT Open(uint32_t index, const PcmFormat& format, WaveQueue& queue,
                  std::unique_ptr<CardOutput>& output) override;

    // What platform.h offers, under the same names.
    int Reset();
    int SetDevices(Direction direction, const PlatformVirtualDevice* devices, uint32_t count);
    int SetPreferred(uint32_t output, uint32_t input);
    int SetClock(PlatformClock clock);
    uint32_t Advance(uint32_t output, uint32_t frames);
    int GetState(uint32_t output, PlatformVirtualState& state);
    uint32_t Queued(uint32_t output, uint32_t* lengths, uint32_t count);
    int PlayInto(uint32_t output, const char* path);

    // Does something with the capture of an output, if there is such an output.
    template <typename Action>
    auto WithCapture(uint32_t output, Action action) {
        const std::lock_guard lock(mutex_);
        return output < outputs_.size() ? action(outputs_[output].capture)
                                        : decltype(action(outputs_[0].capture))();
    }

  private:
    friend class VirtualOutput;

    struct Output {
        PlatformVirtualDevice device = {};
        Capture capture;
        uint32_t opens = 0;
        VirtualOutput* open = nullptr;
    };

    VirtualCard();
    bool AnyOpen() const;
    void SetStandardDevices();
    const PlatformVirtualDevice* Find(Direction direction, uint32_t index) const;
    bool MayGoOn(const VirtualOutput* playing, uint32_t output, uint32_t opens) const;

    // One lock for all of it: also that of every open output.
    std::mutex mutex_;
    std::vector<Output> outputs_;
    std::vector<PlatformVirtualDevice> inputs_;
    uint32_t preferred_[2] = {};
    PlatformClock clock_ = PLATFORM_CLOCK_REAL_TIME;
};

}  // namespace tolvane::platform

#endif
