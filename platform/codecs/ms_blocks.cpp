// The arithmetic of MS ADPCM.
#include "platform/codecs/ms_blocks.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace tolvane::platform {
namespace {

constexpr std::array<int, 16> kAdaptation{230, 230, 230, 230, 307, 409, 512, 614,
                                          768, 614, 512, 409, 307, 230, 230, 230};
constexpr int kSmallestStep = 16, kLargestStep = INT_MAX / 768;

// What both sides of the codec know of a channel.
struct Channel {
    MsPredictor predictor;
    int step;
    int last, before;

    int Expected() const {
        // Wraps where a strange predictor would overflow.
        const auto sum =
            static_cast<uint32_t>(last * predictor.first) + static_cast<uint32_t>(before * predictor.second);
        return static_cast<int>(sum) >> 8;
    }

    int16_t Decode(int code) {
        const int sample = std::clamp(Expected() + ((code ^ 8) - 8) * step, -32768, 32767);
        step = std::clamp(kAdaptation[static_cast<size_t>(code)] * step >> 8, kSmallestStep, kLargestStep);
        before = last;
        return static_cast<int16_t>(last = sample);
    }

    int Encode(int sample) {
        const int distance = sample - Expected(), size = (std::abs(distance) + step / 2) / step;
        const int code = (distance < 0 ? -std::min(size, 8) : std::min(size, 7)) & 15;
        Decode(code);
        return code;
    }
};

int16_t Word(const uint8_t* bytes) {
    return static_cast<int16_t>(bytes[0] | bytes[1] << 8);
}

void PutWord(uint8_t* bytes, int word) {
    bytes[0] = static_cast<uint8_t>(word);
    bytes[1] = static_cast<uint8_t>(word >> 8);
}

// The header's fields: predictors of all channels, then their steps, last samples and the samples before.
Channel ReadHeader(const uint8_t* block, size_t channel, const MsLayout& layout) {
    const size_t words = 2 * layout.channels;
    const uint8_t number = block[channel], *fields = block + layout.channels + 2 * channel;
    return {layout.predictors[number < layout.predictor_count ? number : 0], Word(fields),
            Word(fields + words), Word(fields + 2 * words)};
}

void WriteHeader(uint8_t* block, size_t channel, size_t channels, size_t number, const Channel& start) {
    uint8_t* fields = block + channels + 2 * channel;
    block[channel] = static_cast<uint8_t>(number);
    PutWord(fields, start.step);
    PutWord(fields + 2 * channels, start.last);
    PutWord(fields + 4 * channels, start.before);
}

template <size_t kChannels>
void DecodeBlock(const uint8_t* in, const MsLayout& layout, int16_t* out) {
    Channel left = ReadHeader(in, 0, layout), right = ReadHeader(in, kChannels - 1, layout);
    *out++ = static_cast<int16_t>(left.before);
    if (kChannels == 2) *out++ = static_cast<int16_t>(right.before);
    *out++ = static_cast<int16_t>(left.last);
    if (kChannels == 2) *out++ = static_cast<int16_t>(right.last);
    in += kMsHeader * kChannels;
    const size_t samples = (layout.frames - kMsFirstFrames) * kChannels;
    for (size_t i = 0; i + 1 < samples; i += 2, ++in) {
        *out++ = left.Decode(*in >> 4);
        *out++ = (kChannels == 2 ? right : left).Decode(*in & 15);
    }
    if (samples % 2) *out = left.Decode(*in >> 4);
}

// The step with which a predictor begins: as large as its first errors want it.
int StartStep(const int16_t* samples, size_t channels, size_t frames, MsPredictor predictor) {
    constexpr size_t kLookedAt = 16;
    const size_t count = std::min(kLookedAt, frames - kMsFirstFrames);
    int sum = 0;
    for (size_t i = 0; i < count; ++i) {
        const Channel at{predictor, 0, samples[(i + 1) * channels], samples[i * channels]};
        sum += std::abs(samples[(i + 2) * channels] - at.Expected());
    }
    return std::clamp(sum / static_cast<int>(2 * kLookedAt), kSmallestStep, SHRT_MAX);
}

Channel Start(const int16_t* samples, const MsLayout& layout, MsPredictor predictor) {
    return {predictor, StartStep(samples, layout.channels, layout.frames, predictor),
            samples[layout.channels], samples[0]};
}

float ErrorOf(Channel channel, const int16_t* samples, const MsLayout& layout) {
    float error = 0;
    for (size_t frame = kMsFirstFrames; frame < layout.frames; ++frame) {
        const int sample = samples[frame * layout.channels];
        channel.Encode(sample);
        const auto difference = static_cast<float>(sample - channel.last);
        error += difference * difference;
    }
    return error;
}

size_t BestPredictor(const int16_t* samples, const MsLayout& layout) {
    std::array<float, kMsPredictors> errors;
    for (size_t i = 0; i < kMsPredictors; ++i)
        errors[i] = ErrorOf(Start(samples, layout, layout.predictors[i]), samples, layout);
    return static_cast<size_t>(std::ranges::min_element(errors) - errors.begin());
}

void EncodeChannel(const int16_t* samples, size_t channel, const MsLayout& layout, uint8_t* block) {
    const size_t channels = layout.channels, number = BestPredictor(samples, layout);
    Channel state = Start(samples, layout, layout.predictors[number]);
    WriteHeader(block, channel, channels, number, state);
    block += kMsHeader * channels;
    for (size_t frame = kMsFirstFrames; frame < layout.frames; ++frame) {
        const size_t place = (frame - kMsFirstFrames) * channels + channel;
        const int code = state.Encode(samples[frame * channels]);
        block[place / 2] = static_cast<uint8_t>(block[place / 2] | (place % 2 ? code : code << 4));
    }
}

}  // namespace

void DecodeMsBlocks(const uint8_t* in, size_t blocks, const MsLayout& layout, int16_t* frames) {
    for (; blocks; --blocks, in += layout.block_size, frames += layout.frames * layout.channels)
        (layout.channels == 1 ? DecodeBlock<1> : DecodeBlock<2>)(in, layout, frames);
}

void EncodeMsBlocks(const int16_t* frames, size_t blocks, const MsLayout& layout, uint8_t* out) {
    std::memset(out, 0, blocks * layout.block_size);
    for (; blocks; --blocks, out += layout.block_size, frames += layout.frames * layout.channels)
        for (size_t channel = 0; channel < layout.channels; ++channel)
            EncodeChannel(frames + channel, channel, layout, out);
}

}  // namespace tolvane::platform
