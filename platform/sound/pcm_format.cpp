// Checks a wave format record and converts between bytes and time.
#include "platform/sound/pcm_format.h"

namespace tolvane::platform {
namespace {

constexpr uint64_t kSecond = 1'000'000'000;

// value * factor / divisor without overflow of the product; rounds down.
uint64_t Scale(uint64_t value, uint64_t factor, uint64_t divisor) {
    return value / divisor * factor + value % divisor * factor / divisor;
}

}  // namespace

std::optional<PcmFormat> PcmFormat::From(const WAVEFORMATEX& record) {
    const uint32_t bits_a_frame = uint32_t{record.nChannels} * record.wBitsPerSample;
    const bool consistent = bits_a_frame > 0 && record.wBitsPerSample % 8 == 0 && record.nSamplesPerSec > 0 &&
                            bits_a_frame == uint32_t{record.nBlockAlign} * 8;
    if (record.wFormatTag != WAVE_FORMAT_PCM || !consistent) return std::nullopt;
    return PcmFormat{record.nSamplesPerSec, record.nChannels, record.wBitsPerSample, record.nBlockAlign};
}

uint64_t PcmFormat::BytesIn(uint64_t nanoseconds) const {
    return Scale(nanoseconds, rate, kSecond) * frame_bytes;
}

uint64_t PcmFormat::NanosecondsIn(uint64_t bytes) const {
    return Scale(bytes / frame_bytes, kSecond, rate);
}

}  // namespace tolvane::platform
