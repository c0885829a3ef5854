// An open output of the virtual card.
#ifndef TOLVANE_PLATFORM_SOUND_VIRTUAL_OUTPUT_H
#define TOLVANE_PLATFORM_SOUND_VIRTUAL_OUTPUT_H

#include "platform/sound/card.h"
#include "platform/sound/virtual_stream.h"
#include "platform/sound/wave_queue.h"

namespace tolvane::platform {

class VirtualCard;

class VirtualOutput final : public CardOutput, public VirtualStream {
  public:
    VirtualOutput(VirtualCard& card, uint32_t index, WaveQueue& queue, PlatformClock clock);

    void Lock() override;
    void Unlock() override;
    void Filled() override { StartIfReady(); }
    void SetPaused(bool paused) override { Hold(paused); }
    void Flush() override { Rest(); }
    uint64_t Position() override;
    void Close() override;

    const PcmFormat& Format() const override { return queue_.Format(); }
    uint32_t Lengths(uint32_t* lengths, uint32_t room) const override {
        return queue_.Lengths(lengths, room);
    }

  private:
    uint64_t At() const override { return queue_.PlayedPosition(); }
    uint64_t OldestEnd() const override { return queue_.OldestEnd(); }
    uint64_t End() const override { return queue_.Accepted(); }
    void GoOnTo(uint64_t position) override;

    VirtualCard& card_;
    const uint32_t index_;
    WaveQueue& queue_;
};

}  // namespace tolvane::platform

#endif
