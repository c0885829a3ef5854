// The queue of a wave-out device: the headers that a host has written, in order, how far they were handed to
// the card and how far they were heard. One engine for every card.
#ifndef TOLVANE_PLATFORM_SOUND_WAVE_QUEUE_H
#define TOLVANE_PLATFORM_SOUND_WAVE_QUEUE_H

#include <cstddef>
#include <span>
#include <vector>

#include "platform/sound/header_ring.h"
#include "platform/sound/pcm_format.h"

namespace tolvane::platform {

// Every function is called with the device's lock held. Positions are bytes of PCM since the open or the last
// reset.
class WaveQueue {
  public:
    WaveQueue(const PcmFormat& format, const WaveEvents& events) : format_(format), ring_(events) {}

    const PcmFormat& Format() const { return format_; }

    // ---- For the services ----

    MMRESULT Append(WAVEHDR& header);
    // A header whose bytes are of another format: `sound` is what they become.
    MMRESULT Append(WAVEHDR& header, std::vector<uint8_t> sound);
    // The bytes of the headers that make up the sound before `position`, in the host's own format.
    uint64_t SourceAt(uint64_t position) const;
    // Hands every header back, oldest first, and counts from 0 again.
    void Reset();
    bool Empty() const { return ring_.Count() == 0; }
    bool IsLost() const { return lost_; }

    // ---- For the card ----

    // The next bytes to play that were not taken yet, as far as they lie together; empty when there are none.
    std::span<const std::byte> Next() const;
    void Take(size_t bytes);
    uint64_t Accepted() const { return accepted_; }
    uint64_t Taken() const { return taken_; }

    // Everything before `position` has been heard (and taken): finished headers go back to the host.
    void Played(uint64_t position);
    uint64_t PlayedPosition() const { return played_; }
    // Where the oldest header ends; PlayedPosition() when nothing is queued.
    uint64_t OldestEnd() const { return Empty() ? played_ : ring_.At(0).end; }
    // Lengths of the queued headers, oldest first.
    uint32_t Lengths(uint32_t* lengths, uint32_t room) const;

    // The device is gone: every header goes back, and no other is taken.
    void Lost();

  private:
    struct Entry {
        WAVEHDR* header;
        const std::byte* data;
        uint64_t begin, end;
        uint64_t source;             // bytes of the header, in its own format
        std::vector<uint8_t> sound;  // what a codec made of them

        uint64_t SourceAt(uint64_t position) const;
    };

    MMRESULT Add(Entry entry);
    void GiveBackOldest();

    const PcmFormat format_;
    HeaderRing<Entry> ring_;
    uint32_t next_ = 0;  // index of the first entry with bytes that were not taken
    uint64_t accepted_ = 0, taken_ = 0, played_ = 0;
    uint64_t source_done_ = 0;  // of the headers given back
    bool lost_ = false;
};

}  // namespace tolvane::platform

#endif
