// An open output of the virtual card: what was due by its clock goes from the queue into the capture.
#include "platform/sound/virtual_output.h"

#include <algorithm>

#include "platform/sound/virtual_card.h"

namespace tolvane::platform {

VirtualOutput::VirtualOutput(VirtualCard& card, uint32_t index, WaveQueue& queue, PlatformClock clock)
    : card_(card), index_(index), queue_(queue), clock_(clock) {
    if (!IsMoved()) thread_ = std::thread([this] { RunClock(); });
}

VirtualOutput::~VirtualOutput() = default;

void VirtualOutput::Lock() {
    card_.mutex_.lock();
}

void VirtualOutput::Unlock() {
    card_.mutex_.unlock();
}

void VirtualOutput::Filled() {
    StartIfReady();
}

void VirtualOutput::SetPaused(bool paused) {
    CatchUp();
    paused_ = paused;
    running_ = running_ && !paused;
    StartIfReady();
}

void VirtualOutput::Flush() {
    running_ = false;
}

uint64_t VirtualOutput::Position() {
    CatchUp();
    return queue_.PlayedPosition();
}

void VirtualOutput::Close() {
    {
        const OutputLock lock(*this);
        CatchUp();
        closing_ = true;
        VirtualCard::Output& output = card_.outputs_[index_];
        output.capture.End();
        output.open = nullptr;
        changed_.notify_all();
    }
    if (thread_.joinable()) thread_.join();
}

void VirtualOutput::RunClock() {
    std::unique_lock lock(card_.mutex_);
    while (!closing_) {
        WaitForNextEnd(lock);
        CatchUp();
    }
}

// Sleeps until the oldest header should have ended, or until there is something to play.
void VirtualOutput::WaitForNextEnd(std::unique_lock<std::mutex>& lock) {
    if (!running_) {
        changed_.wait(lock, [this] { return running_ || closing_; });
    } else if (clock_ == PLATFORM_CLOCK_REAL_TIME) {
        const uint64_t wait = queue_.Format().NanosecondsIn(queue_.OldestEnd() - from_position_);
        // Rounding down may be one frame short of the end.
        changed_.wait_until(lock, from_time_ + std::chrono::nanoseconds(wait) + std::chrono::microseconds(1));
    }
}

void VirtualOutput::StartIfReady() {
    if (running_ || paused_ || closing_ || IsMoved() || queue_.Empty()) return;
    running_ = true;
    from_time_ = Clock::now();
    from_position_ = queue_.PlayedPosition();
    changed_.notify_all();
}

void VirtualOutput::CatchUp() {
    if (!running_ || closing_) return;
    const auto passed = std::chrono::nanoseconds(Clock::now() - from_time_);
    const uint64_t heard = queue_.Format().BytesIn(static_cast<uint64_t>(passed.count()));
    const uint64_t due = clock_ == PLATFORM_CLOCK_FREE_RUNNING
                             ? queue_.Accepted()
                             : std::min(from_position_ + heard, queue_.Accepted());
    running_ = due < queue_.Accepted();
    PlayTo(due);
}

void VirtualOutput::PlayTo(uint64_t position) {
    while (queue_.Taken() < position) {
        const auto next = queue_.Next();
        const auto due = next.first(std::min<size_t>(next.size(), position - queue_.Taken()));
        card_.outputs_[index_].capture.Write(due);
        queue_.Take(due.size());
    }
    queue_.Played(position);
}

uint64_t VirtualOutput::PlayWithinOldest(uint64_t bytes) {
    const uint64_t from = queue_.PlayedPosition();
    PlayTo(std::min(from + bytes, queue_.OldestEnd()));
    return queue_.PlayedPosition() - from;
}

}  // namespace tolvane::platform
