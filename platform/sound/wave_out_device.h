// The open wave-out devices, by their handles.
#ifndef TOLVANE_PLATFORM_SOUND_WAVE_OUT_DEVICE_H
#define TOLVANE_PLATFORM_SOUND_WAVE_OUT_DEVICE_H

#include <memory>

#include "platform/codecs/pcm_decoder.h"
#include "platform/sound/card.h"
#include "platform/sound/wave_queue.h"

namespace tolvane::platform {

class WaveOutDevice {
  public:
    // With a decoder, what is written is in the decoder's format.
    WaveOutDevice(UINT id, const PcmFormat& format, std::unique_ptr<PcmDecoder> decoder,
                  const WaveEvents& events)
        : id_(id), events_(events), queue_(format, events), decoder_(std::move(decoder)) {}
    ~WaveOutDevice() { Close(); }
    WaveOutDevice(const WaveOutDevice&) = delete;
    WaveOutDevice& operator=(const WaveOutDevice&) = delete;

    MMRESULT Open(const CardLease& lease, uint32_t index);
    // Ends playing and hands back what is still queued. Once.
    void Close();

    UINT Id() const { return id_; }
    CardOutput& Output() { return *output_; }

    // Locked.
    WaveQueue& Queue() { return queue_; }
    MMRESULT Write(WAVEHDR& header);
    void SetPaused(bool paused);
    void Reset();

  private:
    MMRESULT Append(WAVEHDR& header);

    const CardLease lease_;
    const UINT id_;
    const WaveEvents events_;
    WaveQueue queue_;
    const std::unique_ptr<PcmDecoder> decoder_;
    std::unique_ptr<CardOutput> output_;
    bool paused_ = false, closed_ = false;
};

// Handles are numbers that were never given out before, so that a stale one is known for what it is.
class WaveOutTable {
  public:
    static HWAVEOUT NewHandle();
    // False where too many are open.
    static bool Add(HWAVEOUT handle, std::shared_ptr<WaveOutDevice> device);
    static std::shared_ptr<WaveOutDevice> Find(HWAVEOUT handle);
    static std::shared_ptr<WaveOutDevice> Remove(HWAVEOUT handle);
};

}  // namespace tolvane::platform

#endif
