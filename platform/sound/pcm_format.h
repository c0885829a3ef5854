// The format of an open wave device, checked once and unchanged afterwards: every divisor of this folder
// comes from here.
#ifndef TOLVANE_PLATFORM_SOUND_PCM_FORMAT_H
#define TOLVANE_PLATFORM_SOUND_PCM_FORMAT_H

#include <mmsystem.h>

#include <cstdint>
#include <optional>

namespace tolvane::platform {

struct PcmFormat {
    uint32_t rate;
    uint16_t channels;
    uint16_t bits;
    uint16_t frame_bytes;

    // Nothing where the record is no PCM format, or contradicts itself.
    static std::optional<PcmFormat> From(const WAVEFORMATEX& record);
    bool operator==(const PcmFormat&) const = default;

    uint64_t BytesPerSecond() const { return uint64_t{rate} * frame_bytes; }
    uint64_t WholeFrames(uint64_t bytes) const { return bytes - bytes % frame_bytes; }
    uint8_t Silence() const { return bits == 8 ? 0x80 : 0; }

    // Whole frames only. Good for 2^64 / 10^9 seconds of time and any length of sound.
    uint64_t BytesIn(uint64_t nanoseconds) const;
    uint64_t NanosecondsIn(uint64_t bytes) const;
};

}  // namespace tolvane::platform

#endif
