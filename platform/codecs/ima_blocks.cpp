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

    // The code that comes nearest to the sample, or the one that comes second.
    int CodeFor(int sample, bool second) const {
        const int step = kImaSteps[static_cast<size_t>(index)];
        int distance = std::abs(sample - value), size = 0;
        for (int shift = 0; shift < 3; ++shift) {
            if (distance < step >> shift) continue;
            distance -= step >> shift;
            size |= 4 >> shift;
        }
        const int sign = sample < value ? 8 : 0;
        if (!second) return size | sign;
        size += distance >= step >> 3 ? 1 : -1;
        return size < 0 ? sign ^ 8 : size > 7 ? 6 | sign : size | sign;
    }
};

// A group as one of the ways makes it: each takes the second best code at another place, the first nowhere.
struct Attempt {
    Predictor predictor;
    uint8_t bytes[kImaHeader] = {};
    int error = 0;

    Attempt(const Predictor& start, size_t way, const int16_t* in, size_t channels) : predictor(start) {
        for (size_t i = 0; i < kImaGroup; ++i, in += channels) {
            const int code = predictor.CodeFor(*in, way == i + 1);
            error = std::min(error + std::abs(*in - predictor.Decode(code)), 0xFFFF);
            bytes[i / 2] = static_cast<uint8_t>(bytes[i / 2] | code << (i % 2 * 4));
        }
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
    in += channels;
    for (size_t frame = 1; frame < layout.frames; frame += kImaGroup, in += kImaGroup * channels) {
        Attempt best(predictor, 0, in, channels);
        for (size_t way = 1; way < kImaWays; ++way) {
            const Attempt other(predictor, way, in, channels);
            if (other.error < best.error) best = other;
        }
        predictor = best.predictor;
        std::copy_n(best.bytes, kImaHeader, out += kImaHeader * channels);
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
