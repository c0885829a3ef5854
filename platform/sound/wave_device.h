// What open wave devices of both directions have in common, and the table of them by their handles.
#ifndef TOLVANE_PLATFORM_SOUND_WAVE_DEVICE_H
#define TOLVANE_PLATFORM_SOUND_WAVE_DEVICE_H

#include <memory>

#include "platform/sound/card.h"

namespace tolvane::platform {

class WaveDevice {
  public:
    explicit WaveDevice(const WaveEvents& events) : events_(events) {}
    virtual ~WaveDevice() = default;
    WaveDevice(const WaveDevice&) = delete;
    WaveDevice& operator=(const WaveDevice&) = delete;

    const WaveEvents& Events() const { return events_; }
    // Null until the card has opened it.
    virtual CardStream* Stream() const = 0;
    // Ends playing or recording and hands back what is still queued. Once; destructors call it.
    void Close();

    // ---- Locked ----

    // Whether it holds no header.
    virtual bool Empty() const = 0;
    // Whether the card's device has gone.
    virtual bool IsLost() const = 0;
    virtual MMRESULT Add(WAVEHDR& header) = 0;

  protected:
    // Hands every header back and takes no other.
    virtual void Lose() = 0;
    const CardLease& Lease() const { return lease_; }

  private:
    const CardLease lease_;
    const WaveEvents events_;
    bool closed_ = false;
};

// Handles are numbers that were never given out before, so that a stale one, or one of the other direction, is
// known for what it is.
class OpenDevices {
  public:
    static HWAVE NewHandle();
    // False where too many are open.
    static bool Add(std::shared_ptr<WaveDevice> device);
    static std::shared_ptr<WaveDevice> Find(Direction direction, HWAVE handle);
    static std::shared_ptr<WaveDevice> Remove(Direction direction, HWAVE handle);
};

}  // namespace tolvane::platform

#endif
