// An open wave-in device.
#ifndef TOLVANE_PLATFORM_SOUND_WAVE_IN_DEVICE_H
#define TOLVANE_PLATFORM_SOUND_WAVE_IN_DEVICE_H

#include "platform/sound/record_queue.h"
#include "platform/sound/wave_device.h"

namespace tolvane::platform {

class WaveInDevice final : public WaveDevice {
  public:
    static constexpr Direction kDirection = Direction::kInput;

    WaveInDevice(const PcmFormat& format, const WaveEvents& events)
        : WaveDevice(events), queue_(format, events) {}
    ~WaveInDevice() override { Close(); }

    MMRESULT Open(uint32_t index) { return Lease().card->OpenInput(index, queue_.Format(), queue_, input_); }
    CardStream* Stream() const override { return input_.get(); }

    // ---- Locked ----
    bool Empty() const override { return queue_.Empty(); }
    bool IsLost() const override { return queue_.IsLost(); }
    MMRESULT Add(WAVEHDR& header) override;
    void Start();
    // Stops, hands every header back and counts from 0 again.
    void Reset();

  private:
    void Lose() override { queue_.Lost(); }

    RecordQueue queue_;
    std::unique_ptr<CardInput> input_;
    bool running_ = false;
};

}  // namespace tolvane::platform

#endif
