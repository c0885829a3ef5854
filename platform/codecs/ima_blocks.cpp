// The arithmetic of IMA ADPCM: one sample after the other, and the choice of the faster way.
#include "platform/codecs/ima_blocks.h"

#include "platform/codecs/processor.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace tolvane::platform {
namespace {

// What both sides of the codec know of a channel.
struct Predictor {
    int value;
    int index;

    int16_t Decode(int code) {
        const int step = kImaSteps[static_cast<size_t>(index)];
        const int size = ((code & 4) ? step : 0) + ((code & 2) ? step >> 1 : 0) +
                         ((code & 1) ? step >> 2 : 0) + (step >> 3);
        value = std::clamp((code & 8) ? value - size : value + size, -32768, 32767);
        index = std::clamp(index + kImaIndexChanges[static_cast<size_t>(code)], 0, kImaLastIndex);
        return static_cast<int16_t>(value);
    }

    int Encode(int sample) {
        int distance = std::abs(sample - value), step = kImaSteps[static_cast<size_t>(index)];
        int code = sample < value ? 8 : 0;
        for (int bit = 4; bit; bit >>= 1, step >>= 1) {
            if (distance < step) continue;
            code |= bit;
            distance -= step;
        }
        Decode(code);
        return code;
    }
};

void DecodeChannel(const uint8_t* in, const ImaLayout& layout, int16_t* out) {
    const size_t channels = layout.channels;
    Predictor predictor{static_cast<int16_t>(in[0] | in[1] << 8), std::min<int>(in[2], kImaLastIndex)};
    *out = static_cast<int16_t>(predictor.value);
    for (size_t frame = 1; frame < layout.frames; frame += kImaGroup) {
        in += kImaHeader * channels;
        for (size_t i = 0; i < kImaGroup; ++i)
            *(out += channels) = predictor.Decode(in[i / 2] >> (i % 2 * 4) & 15);
    }
}

void EncodeChannel(const int16_t* in, const ImaLayout& layout, uint8_t* out) {
    const size_t channels = layout.channels;
    Predictor predictor{*in, ImaStartIndex(in, layout)};
    out[0] = static_cast<uint8_t>(*in);
    out[1] = static_cast<uint8_t>(*in >> 8);
    out[2] = static_cast<uint8_t>(predictor.index);
    out[3] = 0;
    for (size_t frame = 1; frame < layout.frames; frame += kImaGroup) {
        out += kImaHeader * channels;
        for (size_t i = 0; i < kImaGroup; i += 2) {
            const int low = predictor.Encode(*(in += channels));
            const int high = predictor.Encode(*(in += channels));
            out[i / 2] = static_cast<uint8_t>(low | high << 4);
        }
    }
}

}  // namespace

int ImaStartIndex(const int16_t* samples, const ImaLayout& layout) {
    constexpr size_t kLookedAt = 8;
    int sum = 0;
    const size_t count = std::min(kLookedAt, layout.frames - 1);
    for (size_t i = 0; i < count; ++i)
        sum += std::abs(samples[(i + 1) * layout.channels] - samples[i * layout.channels]);
    const auto step = std::ranges::lower_bound(kImaSteps, sum / static_cast<int>(kLookedAt));
    return std::min(static_cast<int>(step - kImaSteps.begin()), kImaLastIndex);
}

namespace plain {

void DecodeImaBlocks(const uint8_t* in, size_t blocks, const ImaLayout& layout, int16_t* frames) {
    for (; blocks; --blocks, in += layout.block_size, frames += layout.frames * layout.channels)
        for (size_t channel = 0; channel < layout.channels; ++channel)
            DecodeChannel(in + channel * kImaHeader, layout, frames + channel);
}

void EncodeImaBlocks(const int16_t* frames, size_t blocks, const ImaLayout& layout, uint8_t* out) {
    const size_t used = ImaBytesOf(layout);
    for (; blocks; --blocks, out += layout.block_size, frames += layout.frames * layout.channels) {
        for (size_t channel = 0; channel < layout.channels; ++channel)
            EncodeChannel(frames + channel, layout, out + channel * kImaHeader);
        std::memset(out + used, 0, layout.block_size - used);
    }
}

}  // namespace plain

void DecodeImaBlocks(const uint8_t* in, size_t blocks, const ImaLayout& layout, int16_t* frames) {
    return (HasAvx2() ? avx2::DecodeImaBlocks : plain::DecodeImaBlocks)(in, blocks, layout, frames);
}

void EncodeImaBlocks(const int16_t* frames, size_t blocks, const ImaLayout& layout, uint8_t* out) {
    return (HasAvx2() ? avx2::EncodeImaBlocks : plain::EncodeImaBlocks)(frames, blocks, layout, out);
}

}  // namespace tolvane::platform
