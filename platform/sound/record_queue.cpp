// The queue of a wave-in device.
#include "platform/sound/record_queue.h"

#include <algorithm>

namespace tolvane::platform {

MMRESULT RecordQueue::Append(WAVEHDR& header) {
    if (lost_) return MMSYSERR_NODRIVER;
    if (!ring_.MakeRoom()) return MMSYSERR_NOMEM;
    const auto bytes = static_cast<uint32_t>(format_.WholeFrames(header.dwBufferLength));
    header.dwBytesRecorded = 0;
    ring_.Add({&header, bytes});
    room_ += bytes;
    GiveBackFull();
    return MMSYSERR_NOERROR;
}

void RecordQueue::Reset() {
    GiveBackAll();
    recorded_ = 0;
}

void RecordQueue::Lost() {
    lost_ = true;
    GiveBackAll();
}

void RecordQueue::GiveBackAll() {
    while (!Empty())
        GiveBackOldest(filled_);
}

std::span<std::byte> RecordQueue::Room() const {
    if (Empty()) return {};
    const Entry& oldest = ring_.At(0);
    return {reinterpret_cast<std::byte*>(oldest.header->lpData) + filled_, oldest.bytes - filled_};
}

void RecordQueue::Record(size_t bytes) {
    Count(bytes);
    GiveBackFull();
}

void RecordQueue::RecordClaiming(size_t bytes, uint32_t claimed) {
    Count(bytes);
    GiveBackOldest(claimed);
    GiveBackFull();
}

void RecordQueue::Count(size_t bytes) {
    filled_ += static_cast<uint32_t>(bytes);
    recorded_ += bytes;
    room_ -= bytes;
}

// A header without room for a frame is full as soon as it is the oldest.
void RecordQueue::GiveBackFull() {
    while (!Empty() && filled_ == ring_.At(0).bytes)
        GiveBackOldest(filled_);
}

void RecordQueue::GiveBackOldest(uint32_t claimed) {
    room_ -= ring_.At(0).bytes - std::exchange(filled_, 0);
    ring_.At(0).header->dwBytesRecorded = claimed;
    ring_.GiveBackOldest();
}

uint32_t RecordQueue::Lengths(uint32_t* lengths, uint32_t room) const {
    for (uint32_t i = 0; lengths && i < std::min(room, ring_.Count()); i++)
        lengths[i] = ring_.At(i).bytes;
    return ring_.Count();
}

}  // namespace tolvane::platform
