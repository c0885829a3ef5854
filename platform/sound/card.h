// What a sound card does for the wave services: the contract that every card keeps.
//
// A card moves frames and nothing else. The queue of headers, their flags, the messages and every check of an
// argument are the services' own, so that a card is told only what is already valid: an index that existed a
// moment ago, a PCM format, whole frames.
#ifndef TOLVANE_PLATFORM_SOUND_CARD_H
#define TOLVANE_PLATFORM_SOUND_CARD_H

#include <memory>
#include <optional>

#include "platform/sound/mixer.h"
#include "platform/sound/pcm_format.h"
#include "platform/sound/wave_events.h"

namespace tolvane::platform {

class WaveQueue;
class RecordQueue;

// An open device. It owns the lock under which its queue and it are used: "locked" below means that lock is
// held.
class CardStream {
  public:
    virtual ~CardStream() = default;

    virtual void Lock() = 0;
    virtual void Unlock() = 0;

    // Not locked: ends playing or recording. The queue is not touched once this has returned, only Lock and
    // Unlock still work.
    virtual void Close() = 0;
};

class CardOutput : public CardStream {
  public:
    // Locked: the queue holds more bytes than before. Plays them unless paused.
    virtual void Filled() = 0;
    // Locked: holds the sound where it is, or lets it go on. A device is opened playing.
    virtual void SetPaused(bool paused) = 0;
    // Locked: the queue has been emptied. What was taken from it is forgotten, and positions count from 0
    // again.
    virtual void Flush() = 0;
    // Locked: bytes heard since the open or the last flush; never backwards, never more than the queue was
    // given.
    virtual uint64_t Position() = 0;
};

class CardInput : public CardStream {
  public:
    // Locked: the queue has more room than before.
    virtual void RoomAdded() = 0;
    // Locked: begins to record, or ends: what was heard before that is in the queue then, and nothing of it
    // comes later. A device is opened at rest.
    virtual void SetRunning(bool running) = 0;
};

// The lock of a device as a scope.
class StreamLock {
  public:
    explicit StreamLock(CardStream& stream) : stream_(stream) { stream_.Lock(); }
    ~StreamLock() { stream_.Unlock(); }
    StreamLock(const StreamLock&) = delete;
    StreamLock& operator=(const StreamLock&) = delete;

  private:
    CardStream& stream_;
};

struct CardDevice {
    char name[MAXPNAMELEN];
    uint16_t channels;
    DWORD formats;  // WAVE_FORMAT_1M08 and so on
};

// Every function may be called from any thread, at any time.
class Card {
  public:
    virtual ~Card() = default;

    virtual uint32_t Count(Direction direction) = 0;
    virtual std::optional<CardDevice> Describe(Direction direction, uint32_t index) = 0;
    // Nothing where the card has no preference to tell.
    virtual std::optional<uint32_t> Preferred(Direction direction) = 0;

    // MMSYSERR_BADDEVICEID, WAVERR_BADFORMAT or MMSYSERR_NOERROR.
    virtual MMRESULT Accepts(Direction direction, uint32_t index, const PcmFormat& format) = 0;
    // Opens a device that plays or fills `queue`, which outlives it. MMSYSERR_ALLOCATED where a device serves
    // one at a time.
    virtual MMRESULT OpenOutput(uint32_t index, const PcmFormat& format, WaveQueue& queue,
                                std::unique_ptr<CardOutput>& output) = 0;
    virtual MMRESULT OpenInput(uint32_t index, const PcmFormat& format, RecordQueue& queue,
                               std::unique_ptr<CardInput>& input) = 0;

    virtual CardMixer& Mixer() = 0;

    // Whether there is anything behind it that could have devices.
    virtual bool Answers() { return true; }
};

// The standard formats (WAVE_FORMAT_1M08 and so on) among those within the given limits.
DWORD StandardFormats(uint32_t min_rate, uint32_t max_rate, uint16_t max_channels, bool bits8, bool bits16);

// Copies a name into a field of a record, cut to what fits but not inside a character (UTF-8).
void CopyName(char* to, size_t size, const char* name);
void SetDeviceName(CardDevice& device, const char* name);

// The card chosen by the host, kept from being replaced while the lease lives. `card` is null without a card.
struct CardLease {
    CardLease();
    ~CardLease();
    CardLease(const CardLease&) = delete;
    CardLease& operator=(const CardLease&) = delete;

    Card* card;
};

}  // namespace tolvane::platform

#endif
