// The queue of a wave-in device: the headers that a host has added, in order, and how far the oldest is filled.
// One engine for every card.
#ifndef TOLVANE_PLATFORM_SOUND_RECORD_QUEUE_H
#define TOLVANE_PLATFORM_SOUND_RECORD_QUEUE_H

#include <cstddef>
#include <span>

#include "platform/sound/header_ring.h"
#include "platform/sound/pcm_format.h"

namespace tolvane::platform {

// Every function is called with the device's lock held. Positions are bytes since the open or the last reset.
class RecordQueue {
  public:
    RecordQueue(const PcmFormat& format, const WaveEvents& events) : format_(format), ring_(events) {}

    const PcmFormat& Format() const { return format_; }

    // ---- For the services ----

    MMRESULT Append(WAVEHDR& header);
    // Hands every header back, oldest first, and counts from 0 again.
    void Reset();
    bool Empty() const { return ring_.Count() == 0; }
    bool IsLost() const { return lost_; }

    // ---- For the card ----

    // What is left of the oldest header: whole frames, none only where there is no header.
    std::span<std::byte> Room() const;
    // So much was put there; a header that is full by it goes back to the host.
    void Record(size_t bytes);
    // The same for what fills the oldest header, which is to claim that it holds `claimed` bytes.
    void RecordClaiming(size_t bytes, uint32_t claimed);
    uint64_t Recorded() const { return recorded_; }
    // Where the headers end that are queued now.
    uint64_t End() const { return recorded_ + room_; }
    // Lengths of the queued headers, oldest first.
    uint32_t Lengths(uint32_t* lengths, uint32_t room) const;

    // The device is gone: every header goes back, and no other is taken.
    void Lost();

  private:
    struct Entry {
        WAVEHDR* header;
        uint32_t bytes;  // whole frames of its length
    };

    void Count(size_t bytes);
    void GiveBackOldest(uint32_t claimed);
    void GiveBackFull();
    void GiveBackAll();

    const PcmFormat format_;
    HeaderRing<Entry> ring_;
    uint32_t filled_ = 0;  // of the oldest header
    uint64_t room_ = 0;    // in all of them
    uint64_t recorded_ = 0;
    bool lost_ = false;
};

}  // namespace tolvane::platform

#endif
