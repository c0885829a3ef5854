// The virtual card: no hardware; it plays into memory and wave files and hears what it is given, by a clock that
// a test may hold in its hand.
#ifndef TOLVANE_PLATFORM_SOUND_VIRTUAL_CARD_H
#define TOLVANE_PLATFORM_SOUND_VIRTUAL_CARD_H

#include <mutex>
#include <vector>

#include <platform.h>

#include "platform/sound/capture.h"
#include "platform/sound/card.h"
#include "platform/sound/heard_sound.h"

namespace tolvane::platform {

class VirtualInput;
class VirtualOutput;
class VirtualStream;

class VirtualCard final : public Card {
  public:
    static VirtualCard& Get();

    uint32_t Count(Direction direction) override;
    std::optional<CardDevice> Describe(Direction direction, uint32_t index) override;
    std::optional<uint32_t> Preferred(Direction direction) override;
    MMRESULT Accepts(Direction direction, uint32_t index, const PcmFormat& format) override;
    MMRESULT OpenOutput(uint32_t index, const PcmFormat& format, WaveQueue& queue,
                        std::unique_ptr<CardOutput>& output) override;
    MMRESULT OpenInput(uint32_t index, const PcmFormat& format, RecordQueue& queue,
                       std::unique_ptr<CardInput>& input) override;
    CardMixer& Mixer() override;

    // What platform.h offers, under the same names.
    int Reset();
    int SetDevices(Direction direction, const PlatformVirtualDevice* devices, uint32_t count);
    int SetPreferred(uint32_t output, uint32_t input);
    int SetClock(PlatformClock clock);
    uint32_t Advance(Direction direction, uint32_t index, uint32_t frames);
    int GetState(Direction direction, uint32_t index, PlatformVirtualState& state);
    uint32_t Queued(Direction direction, uint32_t index, uint32_t* lengths, uint32_t count);
    int PlayInto(uint32_t output, const char* path);
    int RecordFrom(uint32_t input, const char* path);
    int Misreport(uint32_t input, uint32_t skip, uint32_t bytes);
    int Unplug(uint32_t input);

    // Does something with the capture of an output, if there is such an output.
    template <typename Action>
    auto WithCapture(uint32_t output, Action action) {
        const std::lock_guard lock(mutex_);
        return output < outputs_.size() ? action(outputs_[output].capture)
                                        : decltype(action(outputs_[0].capture))();
    }

    // Does something with what an input hears, if there is such an input.
    template <typename Action>
    auto WithSound(uint32_t input, Action action) {
        const std::lock_guard lock(mutex_);
        return input < inputs_.size() ? action(inputs_[input].sound) : decltype(action(inputs_[0].sound))();
    }

  private:
    friend class VirtualInput;
    friend class VirtualOutput;

    struct Device {
        PlatformVirtualDevice description = {};
        uint32_t opens = 0;
        VirtualStream* open = nullptr;
    };
    struct Output : Device {
        Capture capture;
    };
    // A wrong count of recorded bytes, told in some buffers' time.
    struct LieAboutBytes {
        bool wanted = false;
        uint32_t skip = 0, bytes = 0;

        std::optional<uint32_t> OfNextFull();
    };
    struct Input : Device {
        HeardSound sound;
        LieAboutBytes misreport;
    };

    VirtualCard();
    bool AnyOpen() const;
    void SetStandardDevices();
    Device* Find(Direction direction, uint32_t index);
    bool MayGoOn(const Device* device, const VirtualStream* stream, uint32_t opens) const;

    // One lock for all of it: also that of every open output.
    std::mutex mutex_;
    std::vector<Output> outputs_;
    std::vector<Input> inputs_;
    uint32_t preferred_[2] = {};
    PlatformClock clock_ = PLATFORM_CLOCK_REAL_TIME;
};

}  // namespace tolvane::platform

#endif
