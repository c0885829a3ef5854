// An open input of the virtual card.
#ifndef TOLVANE_PLATFORM_SOUND_VIRTUAL_INPUT_H
#define TOLVANE_PLATFORM_SOUND_VIRTUAL_INPUT_H

#include "platform/sound/card.h"
#include "platform/sound/record_queue.h"
#include "platform/sound/virtual_stream.h"

namespace tolvane::platform {

class VirtualCard;

class VirtualInput final : public CardInput, public VirtualStream {
  public:
    VirtualInput(VirtualCard& card, uint32_t index, RecordQueue& queue, PlatformClock clock);

    void Lock() override;
    void Unlock() override;
    void RoomAdded() override { StartIfReady(); }
    void SetRunning(bool running) override { Hold(!running); }
    void Close() override;

    const PcmFormat& Format() const override { return queue_.Format(); }
    uint32_t Lengths(uint32_t* lengths, uint32_t room) const override {
        return queue_.Lengths(lengths, room);
    }
    // Locked: the device vanishes.
    void Unplug();

  private:
    uint64_t At() const override { return queue_.Recorded(); }
    uint64_t OldestEnd() const override { return queue_.Recorded() + queue_.Room().size(); }
    uint64_t End() const override { return queue_.End(); }
    void GoOnTo(uint64_t position) override;

    VirtualCard& card_;
    const uint32_t index_;
    RecordQueue& queue_;
};

}  // namespace tolvane::platform

#endif
