// An open output of the virtual card.
#ifndef TOLVANE_PLATFORM_SOUND_VIRTUAL_OUTPUT_H
#define TOLVANE_PLATFORM_SOUND_VIRTUAL_OUTPUT_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <platform.h>

#include "platform/sound/capture.h"
#include "platform/sound/card.h"
#include "platform/sound/wave_queue.h"

namespace tolvane::platform {

class VirtualCard;

class VirtualOutput final : public CardOutput {
  public:
    VirtualOutput(VirtualCard& card, uint32_t index, WaveQueue& queue, PlatformClock clock);
    ~VirtualOutput() override;

    void Lock() override;
    void Unlock() override;
    void Filled() override;
    void SetPaused(bool paused) override;
    void Flush() override;
    uint64_t Position() override;
    void Close() override;

    // Locked: plays at most `bytes`, but no further than the end of the oldest header; returns how many.
    uint64_t PlayWithinOldest(uint64_t bytes);
    bool IsPaused() const { return paused_; }
    bool IsMoved() const { return clock_ == PLATFORM_CLOCK_MOVED; }
    const WaveQueue& Queue() const { return queue_; }

  private:
    using Clock = std::chrono::steady_clock;

    void RunClock();
    void WaitForNextEnd(std::unique_lock<std::mutex>& lock);
    void StartIfReady();
    void CatchUp();
    void PlayTo(uint64_t position);

    VirtualCard& card_;
    const uint32_t index_;
    WaveQueue& queue_;
    const PlatformClock clock_;
    bool paused_ = false, closing_ = false;

    // While sound runs: it passed `from_position_` at `from_time_` (real time).
    bool running_ = false;
    Clock::time_point from_time_;
    uint64_t from_position_ = 0;

    std::condition_variable changed_;
    std::thread thread_;  // none when the clock is moved by a test
};

}  // namespace tolvane::platform

#endif
