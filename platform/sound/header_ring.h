// The headers that a wave device holds, oldest first: their flags, and the message that tells of each one's
// return.
#ifndef TOLVANE_PLATFORM_SOUND_HEADER_RING_H
#define TOLVANE_PLATFORM_SOUND_HEADER_RING_H

#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include "platform/sound/wave_events.h"

namespace tolvane::platform {

// `Entry` is what a queue knows of a header, with the header itself in `header`.
template <typename Entry>
class HeaderRing {
  public:
    explicit HeaderRing(const WaveEvents& events) : events_(events) {}

    uint32_t Count() const { return count_; }
    Entry& At(uint32_t index) const { return ring_[(first_ + index) % room_]; }

    // Needed before each Add; false without memory.
    bool MakeRoom();
    void Add(Entry entry);
    // The header is no longer the device's once its owner has been told.
    void GiveBackOldest();

  private:
    const WaveEvents events_;
    // Doubled when full: a host that keeps its number of buffers makes it allocate nothing.
    std::unique_ptr<Entry[]> ring_;
    uint32_t room_ = 0, first_ = 0, count_ = 0;
};

template <typename Entry>
bool HeaderRing<Entry>::MakeRoom() {
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

template <typename Entry>
void HeaderRing<Entry>::Add(Entry entry) {
    WAVEHDR& header = *entry.header;
    At(count_++) = std::move(entry);
    header.dwFlags = (header.dwFlags & ~DWORD{WHDR_DONE}) | WHDR_INQUEUE;
}

template <typename Entry>
void HeaderRing<Entry>::GiveBackOldest() {
    WAVEHDR& header = *std::exchange(At(0), {}).header;
    first_ = (first_ + 1) % room_;
    count_--;
    header.dwFlags = (header.dwFlags & ~DWORD{WHDR_INQUEUE}) | WHDR_DONE;
    events_.TellDone(header);
}

}  // namespace tolvane::platform

#endif
