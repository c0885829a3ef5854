#include "playback/mixing_loops.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "playback/mixing_rows.h"

namespace tolvane {

namespace {

constexpr uint8_t kMiddle = 128;  // the silence of 8-bit samples

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

void Gain16(uint8_t* frames, size_t count, FrameLayout layout, Gains gains) {
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

bool Mix16(uint8_t* frames, uint8_t* mixed, size_t count, const Mix& mix) {
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
    if (HasRows(layout, gains)) return GainRows(frames, count, layout, gains);
    layout.bits == 8 ? Gain8(frames, count, layout, gains) : Gain16(frames, count, layout, gains);
}

void SilenceFrames(uint8_t* frames, size_t count, FrameLayout layout) {
    ForEachSample(count, layout, [&](size_t at, int) {
        layout.bits == 8 ? static_cast<void>(frames[at] = kMiddle) : Store16(frames + at, 0);
    });
}

bool MixFrames(uint8_t* frames, uint8_t* mixed, size_t count, const Mix& mix) {
    if (HasRows(mix.layout, mix.main) && HasRows(mix.layout, mix.mixed))
        return MixRows(frames, mixed, count, mix);
    return mix.layout.bits == 8 ? Mix8(frames, mixed, count, mix) : Mix16(frames, mixed, count, mix);
}

}  // namespace tolvane
