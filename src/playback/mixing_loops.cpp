#include "playback/mixing_loops.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tolvane {

namespace {

constexpr uint8_t kMiddle = 128;  // the silence of 8-bit samples
constexpr size_t kRow = 16;       // samples that a compiler can keep in its vectors

// Beyond this factor every 16-bit sample but 0 is at its limit, so a larger one makes no difference.
constexpr float kLargestFactor = 65535;
// Nor do 8-bit samples that are multiplied beyond this, also when two of them are added.
constexpr double kLargestProduct = 1e15;

double Factor(float gain) {
    return std::isnan(gain) ? 0.0 : double{std::clamp(gain, -kLargestFactor, kLargestFactor)};
}

int32_t Limit16(int32_t value) {
    return std::clamp<int32_t>(value, INT16_MIN, INT16_MAX);
}

int32_t Scale16(int32_t sample, double factor) {
    return Limit16(static_cast<int32_t>(sample * factor));
}

// The factors of a row of samples whose channels take turns.
struct RowFactors {
    RowFactors(Gains gains, uint16_t channels) {
        for (size_t i = 0; i < kRow; ++i)
            factors[i] = Factor(channels == 2 && i % 2 ? gains.right : gains.left);
    }
    double factors[kRow];
};

// Calls `work` for each row of samples; the last one may be short.
template <class Work>
void ForEachRow(size_t samples, Work work) {
    size_t at = 0;
    for (; at + kRow <= samples; at += kRow)
        work(at, kRow);
    if (at < samples) work(at, samples - at);
}

// Calls `work` with the byte offset of each sample of the first two channels, and whether it is the right one.
template <class Work>
void ForEachSample(size_t count, FrameLayout layout, Work work) {
    const size_t width = layout.bits / 8, frame = layout.Bytes();
    for (size_t at = 0; at < count * frame; at += frame) {
        work(at, 0);
        if (layout.channels > 1) work(at + width, 1);
    }
}

int16_t Load16(const uint8_t* from) {
    int16_t sample;
    memcpy(&sample, from, sizeof sample);
    return sample;
}

void Store16(uint8_t* to, int32_t sample) {
    const auto stored = static_cast<int16_t>(sample);
    memcpy(to, &stored, sizeof stored);
}

void GainRow16(uint8_t* at, size_t count, const RowFactors& factors) {
    int16_t row[kRow] = {};
    memcpy(row, at, count * sizeof *row);
    for (size_t i = 0; i < kRow; ++i)
        row[i] = static_cast<int16_t>(Scale16(row[i], factors.factors[i]));
    memcpy(at, row, count * sizeof *row);
}

void Gain16(uint8_t* frames, size_t count, FrameLayout layout, Gains gains) {
    if (layout.channels <= 2) {
        const RowFactors factors(gains, layout.channels);
        return ForEachRow(count * layout.channels, [&](size_t at, size_t samples) {
            samples == kRow ? GainRow16(frames + at * 2, kRow, factors)
                            : GainRow16(frames + at * 2, samples, factors);
        });
    }
    const double factors[] = {Factor(gains.left), Factor(gains.right)};
    ForEachSample(count, layout, [&](size_t at, int channel) {
        Store16(frames + at, Scale16(Load16(frames + at), factors[channel]));
    });
}

// What a gain makes of each of the 256 samples, its sign taken about the middle; not limited to a sample's range.
struct Products {
    Products(Gains gains) {
        const float channels[] = {gains.left, gains.right};
        for (int channel = 0; channel < 2; ++channel)
            for (int sample = 0; sample < 256; ++sample)
                of[channel][sample] = Product(sample - kMiddle, channels[channel]);
    }
    static int64_t Product(int sample, float gain) {
        const double product = std::isnan(gain) || sample == 0 ? 0.0 : sample * double{gain};
        return static_cast<int64_t>(std::clamp(product, -kLargestProduct, kLargestProduct));
    }
    int64_t of[2][256];
};

uint8_t ToByte(int64_t value) {
    return static_cast<uint8_t>(std::clamp<int64_t>(value + kMiddle, 0, UINT8_MAX));
}

void Gain8(uint8_t* frames, size_t count, FrameLayout layout, Gains gains) {
    const Products products(gains);
    ForEachSample(count, layout,
                  [&](size_t at, int channel) { frames[at] = ToByte(products.of[channel][frames[at]]); });
}

bool Mix8(uint8_t* frames, const uint8_t* mixed, size_t count, const Mix& mix) {
    const Products main(mix.main), other(mix.mixed);
    bool limited = false;
    ForEachSample(count, mix.layout, [&](size_t at, int channel) {
        const int64_t a = main.of[channel][frames[at]], b = other.of[channel][mixed[at]];
        const int64_t sum = mix.average ? a / 2 + b / 2 : a + b;
        frames[at] = ToByte(sum);
        limited |= !mix.average && frames[at] - kMiddle != sum;
    });
    return limited;
}

struct Sum16 {
    int32_t sum;
    bool limited;
};

Sum16 Combine(int32_t a, int32_t b, bool average) {
    const int32_t whole = average ? a / 2 + b / 2 : a + b;
    return {Limit16(whole), Limit16(whole) != whole};
}

template <bool kAverage>
bool MixRow16(uint8_t* at, uint8_t* mixed_at, size_t count, const RowFactors& main, const RowFactors& other) {
    int16_t row[kRow] = {}, mixed[kRow] = {};
    memcpy(row, at, count * sizeof *row);
    memcpy(mixed, mixed_at, count * sizeof *mixed);
    int32_t limited = 0;
    for (size_t i = 0; i < kRow; ++i) {
        mixed[i] = static_cast<int16_t>(Scale16(mixed[i], other.factors[i]));
        const Sum16 sum = Combine(Scale16(row[i], main.factors[i]), mixed[i], kAverage);
        row[i] = static_cast<int16_t>(sum.sum);
        limited |= sum.limited;
    }
    memcpy(at, row, count * sizeof *row);
    memcpy(mixed_at, mixed, count * sizeof *mixed);
    return limited != 0;
}

// Without gains there is nothing to multiply, and nothing to write back.
template <bool kAverage>
bool AddRow16(uint8_t* at, const uint8_t* mixed_at, size_t count) {
    int16_t row[kRow] = {}, mixed[kRow] = {};
    memcpy(row, at, count * sizeof *row);
    memcpy(mixed, mixed_at, count * sizeof *mixed);
    int32_t limited = 0;
    for (size_t i = 0; i < kRow; ++i) {
        const Sum16 sum = Combine(row[i], mixed[i], kAverage);
        row[i] = static_cast<int16_t>(sum.sum);
        limited |= sum.limited;
    }
    memcpy(at, row, count * sizeof *row);
    return limited != 0;
}

template <bool kAverage>
bool MixRows16(uint8_t* frames, uint8_t* mixed, size_t samples, const Mix& mix) {
    const RowFactors main(mix.main, mix.layout.channels), other(mix.mixed, mix.layout.channels);
    const bool plain = mix.main.AreUnity() && mix.mixed.AreUnity();
    bool limited = false;
    ForEachRow(samples, [&](size_t at, size_t count) {
        uint8_t *to = frames + at * 2, *from = mixed + at * 2;
        if (plain)
            limited |=
                count == kRow ? AddRow16<kAverage>(to, from, kRow) : AddRow16<kAverage>(to, from, count);
        else
            limited |= count == kRow ? MixRow16<kAverage>(to, from, kRow, main, other)
                                     : MixRow16<kAverage>(to, from, count, main, other);
    });
    return limited;
}

bool Mix16(uint8_t* frames, uint8_t* mixed, size_t count, const Mix& mix) {
    if (mix.layout.channels <= 2) {
        const size_t samples = count * mix.layout.channels;
        return mix.average ? MixRows16<true>(frames, mixed, samples, mix)
                           : MixRows16<false>(frames, mixed, samples, mix);
    }
    const double main[] = {Factor(mix.main.left), Factor(mix.main.right)};
    const double other[] = {Factor(mix.mixed.left), Factor(mix.mixed.right)};
    bool limited = false;
    ForEachSample(count, mix.layout, [&](size_t at, int channel) {
        const int32_t b = Scale16(Load16(mixed + at), other[channel]);
        const Sum16 sum = Combine(Scale16(Load16(frames + at), main[channel]), b, mix.average);
        Store16(mixed + at, b);
        Store16(frames + at, sum.sum);
        limited |= sum.limited;
    });
    return limited;
}

}  // namespace

void GainFrames(uint8_t* frames, size_t count, FrameLayout layout, Gains gains) {
    layout.bits == 8 ? Gain8(frames, count, layout, gains) : Gain16(frames, count, layout, gains);
}

void SilenceFrames(uint8_t* frames, size_t count, FrameLayout layout) {
    ForEachSample(count, layout, [&](size_t at, int) {
        layout.bits == 8 ? static_cast<void>(frames[at] = kMiddle) : Store16(frames + at, 0);
    });
}

bool MixFrames(uint8_t* frames, uint8_t* mixed, size_t count, const Mix& mix) {
    return mix.layout.bits == 8 ? Mix8(frames, mixed, count, mix) : Mix16(frames, mixed, count, mix);
}

}  // namespace tolvane
