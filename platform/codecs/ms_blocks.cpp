// The arithmetic of MS ADPCM: one sample after the other, and the choice of the faster way.
#include "platform/codecs/ms_blocks.h"

#include "platform/codecs/processor.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace tolvane::platform {
namespace {

int Expected(const MsChannel& channel) {
    // Wraps where a strange predictor would overflow.
    const auto sum = static_cast<uint32_t>(channel.last * channel.predictor.first) +
                     static_cast<uint32_t>(channel.before * channel.predictor.second);
    return static_cast<int>(sum) >> 8;
}

int16_t Word(const uint8_t* bytes) {
    return static_cast<int16_t>(bytes[0] | bytes[1] << 8);
}

}  // namespace

int16_t DecodeMsCode(MsChannel& channel, int code) {
    const int change = (code ^ 8) - 8;
    const auto speed = static_cast<size_t>(std::max(std::abs(change) - 1, 0));
    const int sample = std::clamp(Expected(channel) + change * channel.step, -32768, 32767);
    channel.step = std::clamp(kMsAdaptation[speed] * channel.step >> 8, kMsSmallestStep, kMsLargestStep);
    channel.before = channel.last;
    return static_cast<int16_t>(channel.last = sample);
}

// The header's fields: predictors of all channels, then their steps, last samples and the samples before.
MsChannel ReadMsHeader(const uint8_t* block, size_t channel, const MsLayout& layout) {
    const size_t words = 2 * layout.channels;
    const uint8_t number = block[channel], *fields = block + layout.channels + 2 * channel;
    return {layout.predictors[number < layout.predictor_count ? number : 0], Word(fields),
            Word(fields + words), Word(fields + 2 * words)};
}

namespace {

// The code that comes nearest to the sample, or the one that comes second.
int CodeFor(const MsChannel& channel, int sample, bool second) {
    const int distance = sample - Expected(channel), far = std::abs(distance);
    const int limit = distance < 0 ? 8 : 7, nearest = (far + channel.step / 2) / channel.step;
    const int other = nearest + (far < nearest * channel.step ? -1 : 1);
    const int size = second ? (other > limit ? limit - 1 : other) : std::min(nearest, limit);
    return (distance < 0 ? -size : size) & 15;
}

struct Attempt {
    MsChannel channel;
    uint32_t codes = 0;
    float error = 0;

    Attempt(const MsChannel& start, size_t way, const int16_t* samples, size_t stride, size_t count)
        : channel(start) {
        for (size_t i = 0; i < count; ++i, samples += stride) {
            const int code = CodeFor(channel, *samples, way == i + 1);
            const auto difference = static_cast<float>(*samples - DecodeMsCode(channel, code));
            error += difference * difference;
            codes = codes << 4 | static_cast<uint32_t>(code);
        }
    }
};

void PutWord(uint8_t* bytes, int word) {
    bytes[0] = static_cast<uint8_t>(word);
    bytes[1] = static_cast<uint8_t>(word >> 8);
}

void WriteHeader(uint8_t* block, size_t channel, size_t channels, size_t number, const MsChannel& start) {
    uint8_t* fields = block + channels + 2 * channel;
    block[channel] = static_cast<uint8_t>(number);
    PutWord(fields, start.step);
    PutWord(fields + 2 * channels, start.last);
    PutWord(fields + 4 * channels, start.before);
}

template <size_t kChannels>
void DecodeBlock(const uint8_t* in, const MsLayout& layout, int16_t* out) {
    MsChannel left = ReadMsHeader(in, 0, layout), right = ReadMsHeader(in, kChannels - 1, layout);
    *out++ = static_cast<int16_t>(left.before);
    if (kChannels == 2) *out++ = static_cast<int16_t>(right.before);
    *out++ = static_cast<int16_t>(left.last);
    if (kChannels == 2) *out++ = static_cast<int16_t>(right.last);
    in += kMsHeader * kChannels;
    const size_t samples = (layout.frames - kMsFirstFrames) * kChannels;
    for (size_t i = 0; i + 1 < samples; i += 2, ++in) {
        *out++ = DecodeMsCode(left, *in >> 4);
        *out++ = DecodeMsCode(kChannels == 2 ? right : left, *in & 15);
    }
    if (samples % 2) *out = DecodeMsCode(left, *in >> 4);
}

// The step with which a predictor begins: as large as its first errors want it.
int StartStep(const int16_t* samples, const MsLayout& layout, MsPredictor predictor) {
    constexpr size_t kLookedAt = 16;
    const size_t stride = layout.channels, count = std::min(kLookedAt, layout.frames - kMsFirstFrames);
    int64_t sum = 0;
    for (size_t i = 0; i < count; ++i, samples += stride)
        sum += std::abs(samples[2 * stride] - Expected({predictor, 0, samples[stride], samples[0]}));
    const auto step = static_cast<int>(sum / static_cast<int>(2 * kLookedAt));
    return std::clamp(step, kMsSmallestStep, SHRT_MAX);
}

// Products of samples and those before them, summed over a block: they tell every predictor's squared error.
struct Correlation {
    int64_t own[3] = {};  // [i] of samples i back
    int64_t one_back = 0, one_back_before = 0, two_back = 0;

    Correlation(const int16_t* samples, const MsLayout& layout) {
        const size_t stride = layout.channels, end = (layout.frames - 1) * stride;
        const auto product = [samples](size_t a, size_t b) { return samples[a] * samples[b]; };
        for (size_t i = 2 * stride; i <= end; i += stride) {
            own[0] += product(i, i);
            one_back += product(i, i - stride);
            two_back += product(i, i - 2 * stride);
        }
        own[1] = own[0] - product(end, end) + product(stride, stride);
        own[2] = own[1] - product(end - stride, end - stride) + product(0, 0);
        one_back_before = one_back - product(end, end - stride) + product(stride, 0);
    }

    double ErrorOf(MsPredictor predictor) const {
        const double a = predictor.first / 256.0, b = predictor.second / 256.0;
        const auto sum = [](int64_t value) { return static_cast<double>(value); };
        return sum(own[0]) + a * a * sum(own[1]) + b * b * sum(own[2]) - 2 * a * sum(one_back) -
               2 * b * sum(two_back) + 2 * a * b * sum(one_back_before);
    }
};

size_t BestPredictor(const int16_t* samples, const MsLayout& layout) {
    const Correlation correlation(samples, layout);
    std::array<double, kMsPredictors> errors;
    for (size_t i = 0; i < kMsPredictors; ++i)
        errors[i] = correlation.ErrorOf(layout.predictors[i]);
    return static_cast<size_t>(std::ranges::min_element(errors) - errors.begin());
}

MsChannel StartBlock(const int16_t* samples, size_t channel, const MsLayout& layout, uint8_t* block) {
    const size_t number = BestPredictor(samples, layout);
    const MsPredictor predictor = layout.predictors[number];
    const MsChannel start{predictor, StartStep(samples, layout, predictor), samples[layout.channels],
                          samples[0]};
    WriteHeader(block, channel, layout.channels, number, start);
    return start;
}

// Puts codes of a segment into a block, half a byte each, from a place that is even.
void PutCodes(uint32_t codes, size_t count, size_t channels, size_t place, uint8_t* bytes) {
    for (size_t i = 0; i < count; ++i, place += channels) {
        const auto code = static_cast<uint8_t>(codes >> (count - 1 - i) * 4 & 15);
        bytes[place / 2] = static_cast<uint8_t>(place % 2 ? bytes[place / 2] | code : code << 4);
    }
}

// Whole blocks, as many as the channels of segments have room for.
void EncodeFew(const int16_t* frames, size_t blocks, const MsLayout& layout, uint8_t* out,
               decltype(plain::EncodeMsSegments)* encode) {
    const size_t channels = layout.channels;
    MsSegments segments{};
    segments.used = blocks * channels;
    for (size_t i = 0; i < kMsSideBySide; ++i) {
        const size_t from = std::min(i, segments.used - 1), block = from / channels,
                     channel = from % channels;
        const int16_t* samples = frames + block * layout.frames * channels + channel;
        segments.samples[i] = samples + kMsFirstFrames * channels;
        segments.channels[i] = StartBlock(samples, channel, layout, out + block * layout.block_size);
    }
    for (size_t frame = 0; frame + kMsFirstFrames < layout.frames; frame += kMsSegment) {
        const size_t count = std::min(kMsSegment, layout.frames - kMsFirstFrames - frame);
        encode(segments, channels, count);
        for (size_t i = 0; i < segments.used; ++i) {
            uint8_t* bytes = out + i / channels * layout.block_size + kMsHeader * channels;
            PutCodes(segments.codes[i], count, channels, frame * channels + i % channels, bytes);
            segments.samples[i] += count * channels;
        }
    }
}

void EncodeAll(const int16_t* frames, size_t blocks, const MsLayout& layout, uint8_t* out,
               decltype(plain::EncodeMsSegments)* encode) {
    std::memset(out, 0, blocks * layout.block_size);
    for (size_t count; blocks > 0; blocks -= count) {
        count = std::min(blocks, kMsSideBySide / layout.channels);
        EncodeFew(frames, count, layout, out, encode);
        frames += count * layout.frames * layout.channels;
        out += count * layout.block_size;
    }
}

}  // namespace

namespace plain {

void DecodeMsBlocks(const uint8_t* in, size_t blocks, const MsLayout& layout, int16_t* frames) {
    for (; blocks; --blocks, in += layout.block_size, frames += layout.frames * layout.channels)
        (layout.channels == 1 ? DecodeBlock<1> : DecodeBlock<2>)(in, layout, frames);
}

void EncodeMsSegments(MsSegments& segments, size_t stride, size_t count) {
    for (size_t i = 0; i < segments.used; ++i) {
        Attempt best(segments.channels[i], 0, segments.samples[i], stride, count);
        for (size_t way = 1; way < kMsWays; ++way) {
            const Attempt other(segments.channels[i], way, segments.samples[i], stride, count);
            if (other.error < best.error) best = other;
        }
        segments.channels[i] = best.channel;
        segments.codes[i] = best.codes;
    }
}

void EncodeMsBlocks(const int16_t* frames, size_t blocks, const MsLayout& layout, uint8_t* out) {
    EncodeAll(frames, blocks, layout, out, EncodeMsSegments);
}

}  // namespace plain

void avx2::EncodeMsBlocks(const int16_t* frames, size_t blocks, const MsLayout& layout, uint8_t* out) {
    EncodeAll(frames, blocks, layout, out, EncodeMsSegments);
}

void EncodeMsBlocks(const int16_t* frames, size_t blocks, const MsLayout& layout, uint8_t* out) {
    EncodeAll(frames, blocks, layout, out, HasAvx2() ? avx2::EncodeMsSegments : plain::EncodeMsSegments);
}

void DecodeMsBlocks(const uint8_t* in, size_t blocks, const MsLayout& layout, int16_t* frames) {
    (HasAvx2() ? avx2::DecodeMsBlocks : plain::DecodeMsBlocks)(in, blocks, layout, frames);
}

}  // namespace tolvane::platform
