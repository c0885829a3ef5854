// The clock of an open device of the virtual card.
#include "platform/sound/virtual_stream.h"

#include <algorithm>

namespace tolvane::platform {

void VirtualStream::StartClock() {
    if (!IsMoved()) thread_ = std::thread([this] { RunClock(); });
}

void VirtualStream::EndClock() {
    CatchUp();
    closing_ = true;
    changed_.notify_all();
}

void VirtualStream::JoinClock() {
    if (thread_.joinable()) thread_.join();
}

void VirtualStream::RunClock() {
    std::unique_lock lock(lock_);
    while (!closing_) {
        WaitForNextEnd(lock);
        CatchUp();
    }
}

// Sleeps until the oldest header should have ended, or until there is something to do.
void VirtualStream::WaitForNextEnd(std::unique_lock<std::mutex>& lock) {
    if (!running_) {
        changed_.wait(lock, [this] { return running_ || closing_; });
    } else if (clock_ == PLATFORM_CLOCK_REAL_TIME) {
        const uint64_t wait = Format().NanosecondsIn(OldestEnd() - from_position_);
        // Rounding down may be one frame short of the end.
        changed_.wait_until(lock, from_time_ + std::chrono::nanoseconds(wait) + std::chrono::microseconds(1));
    }
}

void VirtualStream::StartIfReady() {
    if (running_ || paused_ || closing_ || IsMoved() || !HasHeaders()) return;
    running_ = true;
    from_time_ = Clock::now();
    from_position_ = At();
    changed_.notify_all();
}

void VirtualStream::Hold(bool paused) {
    CatchUp();
    paused_ = paused;
    running_ = running_ && !paused;
    StartIfReady();
}

void VirtualStream::CatchUp() {
    if (!running_ || closing_) return;
    const auto passed = std::chrono::nanoseconds(Clock::now() - from_time_);
    const uint64_t by_now = from_position_ + Format().BytesIn(static_cast<uint64_t>(passed.count()));
    const uint64_t due = clock_ == PLATFORM_CLOCK_FREE_RUNNING ? End() : std::min(by_now, End());
    running_ = due < End();
    GoOnTo(due);
}

uint64_t VirtualStream::GoOnWithinOldest(uint64_t bytes) {
    const uint64_t from = At();
    const uint64_t to = std::min(from + bytes, OldestEnd());
    GoOnTo(to);
    return to - from;
}

}  // namespace tolvane::platform
