// The queue of a wave-out device.
#include "platform/sound/wave_queue.h"

#include <algorithm>
#include <utility>

namespace tolvane::platform {

MMRESULT WaveQueue::Append(WAVEHDR& header) {
    const uint64_t bytes = format_.WholeFrames(header.dwBufferLength);
    if (!ring_.MakeRoom()) return MMSYSERR_NOMEM;
    return Add({&header,
                reinterpret_cast<const std::byte*>(header.lpData),
                accepted_,
                accepted_ + bytes,
                bytes,
                {}});
}

MMRESULT WaveQueue::Append(WAVEHDR& header, std::vector<uint8_t> sound) {
    const uint64_t bytes = format_.WholeFrames(sound.size());
    if (!ring_.MakeRoom()) return MMSYSERR_NOMEM;
    const auto* const data = reinterpret_cast<const std::byte*>(sound.data());
    return Add({&header, data, accepted_, accepted_ + bytes, header.dwBufferLength, std::move(sound)});
}

MMRESULT WaveQueue::Add(Entry entry) {
    if (lost_) return MMSYSERR_NODRIVER;
    accepted_ = entry.end;
    ring_.Add(std::move(entry));
    // A header without a frame has nothing to take, and is done as soon as those before it are.
    Take(0);
    Played(played_);
    return MMSYSERR_NOERROR;
}

void WaveQueue::Reset() {
    while (!Empty())
        GiveBackOldest();
    accepted_ = taken_ = played_ = source_done_ = 0;
}

uint64_t WaveQueue::Entry::SourceAt(uint64_t position) const {
    if (position >= end) return source;
    return position > begin ? (position - begin) * source / (end - begin) : 0;
}

uint64_t WaveQueue::SourceAt(uint64_t position) const {
    uint64_t bytes = source_done_;
    for (uint32_t i = 0; i < ring_.Count() && ring_.At(i).begin <= position; i++)
        bytes += ring_.At(i).SourceAt(position);
    return bytes;
}

std::span<const std::byte> WaveQueue::Next() const {
    if (next_ == ring_.Count()) return {};
    const Entry& entry = ring_.At(next_);
    return {entry.data + (taken_ - entry.begin), static_cast<size_t>(entry.end - taken_)};
}

void WaveQueue::Take(size_t bytes) {
    taken_ += bytes;
    while (next_ < ring_.Count() && ring_.At(next_).end <= taken_)
        next_++;
}

void WaveQueue::Played(uint64_t position) {
    played_ = std::clamp(position, played_, accepted_);
    while (!Empty() && ring_.At(0).end <= played_)
        GiveBackOldest();
}

uint32_t WaveQueue::Lengths(uint32_t* lengths, uint32_t room) const {
    for (uint32_t i = 0; lengths && i < std::min(room, ring_.Count()); i++)
        lengths[i] = static_cast<uint32_t>(ring_.At(i).end - ring_.At(i).begin);
    return ring_.Count();
}

void WaveQueue::Lost() {
    lost_ = true;
    while (!Empty())
        GiveBackOldest();
}

void WaveQueue::GiveBackOldest() {
    source_done_ += ring_.At(0).SourceAt(played_);
    next_ -= next_ ? 1 : 0;
    ring_.GiveBackOldest();
}

}  // namespace tolvane::platform
