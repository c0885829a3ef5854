// An open output of the virtual card: what was due by its clock goes from the queue into the capture.
#include "platform/sound/virtual_output.h"

#include <algorithm>

#include "platform/sound/virtual_card.h"

namespace tolvane::platform {

VirtualOutput::VirtualOutput(VirtualCard& card, uint32_t index, WaveQueue& queue, PlatformClock clock)
    : VirtualStream(card.mutex_, clock, false), card_(card), index_(index), queue_(queue) {
    StartClock();
}

void VirtualOutput::Lock() {
    card_.mutex_.lock();
}

void VirtualOutput::Unlock() {
    card_.mutex_.unlock();
}

uint64_t VirtualOutput::Position() {
    CatchUp();
    return At();
}

void VirtualOutput::Close() {
    {
        const StreamLock lock(*this);
        EndClock();
        VirtualCard::Output& output = card_.outputs_[index_];
        output.capture.End();
        output.open = nullptr;
    }
    JoinClock();
}

void VirtualOutput::GoOnTo(uint64_t position) {
    while (queue_.Taken() < position) {
        const auto next = queue_.Next();
        const auto due = next.first(std::min<size_t>(next.size(), position - queue_.Taken()));
        card_.outputs_[index_].capture.Write(due);
        queue_.Take(due.size());
    }
    queue_.Played(position);
}

}  // namespace tolvane::platform
