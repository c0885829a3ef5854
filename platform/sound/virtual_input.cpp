// An open input of the virtual card: what was due by its clock is heard into the queue.
#include "platform/sound/virtual_input.h"

#include <algorithm>

#include "platform/sound/virtual_card.h"

namespace tolvane::platform {

VirtualInput::VirtualInput(VirtualCard& card, uint32_t index, RecordQueue& queue, PlatformClock clock)
    : VirtualStream(card.mutex_, clock, true), card_(card), index_(index), queue_(queue) {
    StartClock();
}

void VirtualInput::Lock() {
    card_.mutex_.lock();
}

void VirtualInput::Unlock() {
    card_.mutex_.unlock();
}

void VirtualInput::Close() {
    {
        const StreamLock lock(*this);
        EndClock();
        card_.inputs_[index_].open = nullptr;
    }
    JoinClock();
}

void VirtualInput::Unplug() {
    CatchUp();
    Rest();
    queue_.Lost();
}

void VirtualInput::GoOnTo(uint64_t position) {
    VirtualCard::Input& input = card_.inputs_[index_];
    while (queue_.Recorded() < position) {
        const auto room = queue_.Room();
        const auto due = room.first(std::min<size_t>(room.size(), position - queue_.Recorded()));
        input.sound.Hear(queue_.Format(), due);
        const auto claim = due.size() == room.size() ? input.misreport.OfNextFull() : std::nullopt;
        claim ? queue_.RecordClaiming(due.size(), *claim) : queue_.Record(due.size());
    }
}

}  // namespace tolvane::platform
