#include "files/peaks.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

namespace tolvane {

namespace {

constexpr int kSilence8 = 128;
constexpr uint16_t kFullScale8 = 128;
constexpr uint16_t kFullScale16 = 32767;

// Extremes by place in a run of samples. The places of a channel recur every few samples, so the fold at the
// end picks each channel's; until then all samples are treated alike, which the compiler turns into vector
// instructions.
template <class Sample>
struct Extremes {
    static constexpr uint32_t kPlaces = 64 / sizeof(Sample);
    Sample low[kPlaces], high[kPlaces];

    explicit Extremes(Sample silence) {
        std::fill_n(low, kPlaces, silence);
        std::fill_n(high, kPlaces, silence);
    }

    void Take(const uint8_t* data, uint32_t count) {
        const uint32_t whole = count - count % kPlaces;
        for (uint32_t i = 0; i < whole; i += kPlaces)
            TakeRun(data + i * sizeof(Sample));
        TakeRest(data + whole * sizeof(Sample), count - whole);
    }

    void TakeRun(const uint8_t* data) {
        Sample run[kPlaces];
        memcpy(run, data, sizeof run);
        for (uint32_t i = 0; i < kPlaces; ++i)
            TakeAt(i, run[i]);
    }

    void TakeRest(const uint8_t* data, uint32_t count) {
        Sample rest[kPlaces];
        memcpy(rest, data, count * sizeof(Sample));
        for (uint32_t i = 0; i < count; ++i)
            TakeAt(i, rest[i]);
    }

    void TakeAt(uint32_t place, Sample sample) {
        low[place] = std::min(low[place], sample);
        high[place] = std::max(high[place], sample);
    }

    // The largest distance from silence at place `first` and every `period` places on.
    uint16_t Peak(uint32_t first, uint32_t period, int silence) const {
        int peak = 0;
        for (uint32_t i = first; i < kPlaces; i += period)
            peak = std::max({peak, high[i] - silence, silence - low[i]});
        return static_cast<uint16_t>(peak);
    }
};

// `period` samples make up what recurs; the first of them is the left channel, the second the right one.
template <class Sample>
Peaks Measure(const void* data, uint32_t count, uint32_t period, Sample silence) {
    Extremes<Sample> extremes(silence);
    extremes.Take(static_cast<const uint8_t*>(data), count);
    Peaks peaks;
    peaks.left = extremes.Peak(0, period, silence);
    peaks.right = period == 1 ? peaks.left : extremes.Peak(1, period, silence);
    return peaks;
}

bool IsMeasured(uint16_t channels, uint16_t bits) {
    return (channels == 1 || channels == 2) && (bits == 8 || bits == 16);
}

void Store(uint32_t* to, uint32_t value) {
    if (to) *to = value;
}

// A sample byte of 0 has no positive counterpart; hosts are told 0 for it.
uint32_t ToHostPercent(uint16_t peak, uint16_t bits) {
    return bits == 8 && peak == kFullScale8 ? 0 : ToPercent(peak, bits);
}

}  // namespace

bool MeasurePeaks(const void* data, uint32_t length, uint16_t channels, uint16_t bits, Peaks* peaks) {
    if (!IsMeasured(channels, bits)) return false;
    if (bits == 8) {
        *peaks = Measure<uint8_t>(data, length - length % channels, channels, kSilence8);
    } else {
        uint32_t frame = 2u * channels;
        *peaks = Measure<int16_t>(data, length / frame * channels, channels == 2 ? 4 : 1, 0);
    }
    return true;
}

uint32_t ToPercent(uint16_t peak, uint16_t bits) {
    return peak * 100u / (bits == 8 ? kFullScale8 : kFullScale16);
}

void MeasureLevelInBuffer(const InputFileInfo& format, const uint8_t* data, uint32_t length, uint32_t* left,
                          uint32_t* right) {
    if (!data || length == 0 || !IsMeasured(format.nChannels, format.wBitsPerSample)) return;
    Peaks peaks;
    if (IsBadReadPtr(data, length)) {
        Store(left, 0);
        Store(right, 0);
    } else if (MeasurePeaks(data, length, format.nChannels, format.wBitsPerSample, &peaks)) {
        Store(left, ToHostPercent(peaks.left, format.wBitsPerSample));
        Store(right, ToHostPercent(peaks.right, format.wBitsPerSample));
    }
}

}  // namespace tolvane
