// The queue of a wave-out device.
#include "platform/sound/wave_queue.h"

#include <algorithm>
#include <new>
#include <utility>

namespace tolvane::platform {

MMRESULT WaveQueue::Append(WAVEHDR& header) {
    const uint64_t bytes = format_.WholeFrames(header.dwBufferLength);
    if (!MakeRoom()) return MMSYSERR_NOMEM;
    return Add({&header,
                reinterpret_cast<const std::byte*>(header.lpData),
                accepted_,
                accepted_ + bytes,
                bytes,
                {}});
}

MMRESULT WaveQueue::Append(WAVEHDR& header, std::vector<uint8_t> sound) {
    const uint64_t bytes = format_.WholeFrames(sound.size());
    if (!MakeRoom()) return MMSYSERR_NOMEM;
    const auto* const data = reinterpret_cast<const std::byte*>(sound.data());
    return Add({&header, data, accepted_, accepted_ + bytes, header.dwBufferLength, std::move(sound)});
}

MMRESULT WaveQueue::Add(Entry entry) {
    if (lost_) return MMSYSERR_NODRIVER;
    WAVEHDR& header = *entry.header;
    accepted_ = entry.end;
    At(count_++) = std::move(entry);
    header.dwFlags = (header.dwFlags & ~DWORD{WHDR_DONE}) | WHDR_INQUEUE;
    // A header without a frame has nothing to take, and is done as soon as those before it are.
    Take(0);
    Played(played_);
    return MMSYSERR_NOERROR;
}

void WaveQueue::Reset() {
    while (count_)
        GiveBackOldest();
    accepted_ = taken_ = played_ = source_done_ = 0;
}

uint64_t WaveQueue::Entry::SourceAt(uint64_t position) const {
    if (position >= end) return source;
    return position > begin ? (position - begin) * source / (end - begin) : 0;
}

uint64_t WaveQueue::SourceAt(uint64_t position) const {
    uint64_t bytes = source_done_;
    for (uint32_t i = 0; i < count_ && At(i).begin <= position; i++)
        bytes += At(i).SourceAt(position);
    return bytes;
}

std::span<const std::byte> WaveQueue::Next() const {
    if (next_ == count_) return {};
    const Entry& entry = At(next_);
    return {entry.data + (taken_ - entry.begin), static_cast<size_t>(entry.end - taken_)};
}

void WaveQueue::Take(size_t bytes) {
    taken_ += bytes;
    while (next_ < count_ && At(next_).end <= taken_)
        next_++;
}

void WaveQueue::Played(uint64_t position) {
    played_ = std::clamp(position, played_, accepted_);
    while (count_ && At(0).end <= played_)
        GiveBackOldest();
}

uint32_t WaveQueue::Lengths(uint32_t* lengths, uint32_t room) const {
    for (uint32_t i = 0; lengths && i < std::min(room, count_); i++)
        lengths[i] = static_cast<uint32_t>(At(i).end - At(i).begin);
    return count_;
}

void WaveQueue::Lost() {
    lost_ = true;
    while (count_)
        GiveBackOldest();
}

bool WaveQueue::MakeRoom() {
    if (count_ < room_) return true;
    constexpr uint32_t kFirstRoom = 32;
    const uint32_t room = room_ ? room_ * 2 : kFirstRoom;
    std::unique_ptr<Entry[]> ring(new (std::nothrow) Entry[room]);
    if (!ring) return false;
    for (uint32_t i = 0; i < count_; i++)
        ring[i] = std::move(At(i));
    ring_ = std::move(ring);
    room_ = room;
    first_ = 0;
    return true;
}

// The header is no longer ours once its owner has been told.
void WaveQueue::GiveBackOldest() {
    WAVEHDR& header = *At(0).header;
    source_done_ += At(0).SourceAt(played_);
    At(0).sound = {};
    first_ = (first_ + 1) % room_;
    count_--;
    next_ -= next_ ? 1 : 0;
    header.dwFlags = (header.dwFlags & ~DWORD{WHDR_INQUEUE}) | WHDR_DONE;
    events_.Tell(MM_WOM_DONE, &header);
}

}  // namespace tolvane::platform
