// An open device of the virtual card, of either direction: the clock that says how far its sound should be.
#ifndef TOLVANE_PLATFORM_SOUND_VIRTUAL_STREAM_H
#define TOLVANE_PLATFORM_SOUND_VIRTUAL_STREAM_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <platform.h>

#include "platform/sound/pcm_format.h"

namespace tolvane::platform {

// Every function is called with the card's lock held.
class VirtualStream {
  public:
    VirtualStream(std::mutex& lock, PlatformClock clock, bool paused)
        : lock_(lock), clock_(clock), paused_(paused) {}
    virtual ~VirtualStream() = default;
    VirtualStream(const VirtualStream&) = delete;
    VirtualStream& operator=(const VirtualStream&) = delete;

    bool IsPaused() const { return paused_; }
    bool IsMoved() const { return clock_ == PLATFORM_CLOCK_MOVED; }
    // Goes on by at most `bytes`, but no further than the end of the oldest header; returns by how many.
    uint64_t GoOnWithinOldest(uint64_t bytes);

    virtual const PcmFormat& Format() const = 0;
    // Lengths of the queued headers, oldest first.
    virtual uint32_t Lengths(uint32_t* lengths, uint32_t room) const = 0;
    bool HasHeaders() const { return Lengths(nullptr, 0) > 0; }

  protected:
    // Bytes that were played or recorded, where the oldest of the headers ends, and where the last does.
    virtual uint64_t At() const = 0;
    virtual uint64_t OldestEnd() const = 0;
    virtual uint64_t End() const = 0;
    virtual void GoOnTo(uint64_t position) = 0;

    // The clock runs while there are headers and nothing holds it.
    void StartClock();
    void StartIfReady();
    void Hold(bool paused);
    void Rest() { running_ = false; }
    void CatchUp();
    // Ends the clock; the thread of it is joined without the lock.
    void EndClock();
    void JoinClock();

  private:
    using Clock = std::chrono::steady_clock;

    void RunClock();
    void WaitForNextEnd(std::unique_lock<std::mutex>& lock);

    std::mutex& lock_;
    const PlatformClock clock_;
    bool paused_, closing_ = false;

    // While sound runs: it passed `from_position_` at `from_time_` (real time).
    bool running_ = false;
    Clock::time_point from_time_;
    uint64_t from_position_ = 0;

    std::condition_variable changed_;
    std::thread thread_;  // none when the clock is moved by a test
};

}  // namespace tolvane::platform

#endif
