// An open wave-out device.
#ifndef TOLVANE_PLATFORM_SOUND_WAVE_OUT_DEVICE_H
#define TOLVANE_PLATFORM_SOUND_WAVE_OUT_DEVICE_H

#include "platform/codecs/pcm_decoder.h"
#include "platform/sound/wave_device.h"
#include "platform/sound/wave_queue.h"

namespace tolvane::platform {

class WaveOutDevice final : public WaveDevice {
  public:
    static constexpr Direction kDirection = Direction::kOutput;

    // With a decoder, what is written is in the decoder's format.
    WaveOutDevice(const PcmFormat& format, std::unique_ptr<PcmDecoder> decoder, const WaveEvents& events)
        : WaveDevice(events), queue_(format, events), decoder_(std::move(decoder)) {}
    ~WaveOutDevice() override { Close(); }

    MMRESULT Open(uint32_t index) {
        return Lease().card->OpenOutput(index, queue_.Format(), queue_, output_);
    }
    CardStream* Stream() const override { return output_.get(); }

    // ---- Locked ----
    bool Empty() const override { return queue_.Empty(); }
    bool IsLost() const override { return queue_.IsLost(); }
    MMRESULT Add(WAVEHDR& header) override;
    void SetPaused(bool paused);
    void Reset();
    const WaveQueue& Queue() const { return queue_; }
    uint64_t Position() { return output_->Position(); }

  private:
    void Lose() override { queue_.Lost(); }
    MMRESULT Append(WAVEHDR& header);

    WaveQueue queue_;
    const std::unique_ptr<PcmDecoder> decoder_;
    std::unique_ptr<CardOutput> output_;
    bool paused_ = false;
};

}  // namespace tolvane::platform

#endif
