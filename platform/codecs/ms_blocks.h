// The arithmetic of MS ADPCM: whole blocks to frames of 16-bit samples and back.
//
// A block begins with a predictor's number, a step and the first two samples for each channel (seven bytes); then come
// the codes of the other samples, half a byte each, the channels in turn.
#ifndef TOLVANE_PLATFORM_CODECS_MS_BLOCKS_H
#define TOLVANE_PLATFORM_CODECS_MS_BLOCKS_H

#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>

namespace tolvane::platform {

constexpr size_t kMsHeader = 7;       // bytes a channel
constexpr size_t kMsFirstFrames = 2;  // that the header holds

// A sample is expected to be (first * the one before + second * the one before that) / 256.
struct MsPredictor {
    int16_t first, second;
};
constexpr size_t kMsPredictors = 7;  // that every format has
constexpr size_t kMsMostPredictors = 256;
constexpr int kMsSmallestStep = 16, kMsLargestStep = INT_MAX / 768;

struct MsLayout {
    size_t channels;  // 1 or 2
    size_t block_size;
    size_t frames;  // of a block: at least 2, at most MsFramesIn(block_size, channels)
    std::array<MsPredictor, kMsMostPredictors> predictors;
    size_t predictor_count;  // at least kMsPredictors; blocks are made with these alone
};

// How many frames so many bytes of a block hold; a block may be cut short.
constexpr size_t MsFramesIn(size_t bytes, size_t channels) {
    const size_t header = kMsHeader * channels;
    return bytes < header ? 0 : (bytes - header) * 2 / channels + kMsFirstFrames;
}

// For any bytes: a predictor that does not exist counts as the first, and steps are bounded.
void DecodeMsBlocks(const uint8_t* in, size_t blocks, const MsLayout& layout, int16_t* frames);
void EncodeMsBlocks(const int16_t* frames, size_t blocks, const MsLayout& layout, uint8_t* out);

// What both sides of the codec know of a channel.
struct MsChannel {
    MsPredictor predictor{};
    int step = kMsSmallestStep;
    int last = 0, before = 0;
};

MsChannel ReadMsHeader(const uint8_t* block, size_t channel, const MsLayout& layout);
int16_t DecodeMsCode(MsChannel& channel, int code);

// A segment of at most eight samples is encoded in eight ways, each of which takes the second best code at another
// place, the first nowhere; the way with the smallest error stays. A few channels are worked on side by side.
constexpr size_t kMsWays = 8, kMsSegment = 8, kMsSideBySide = 4;

struct MsSegments {
    MsChannel channels[kMsSideBySide];
    const int16_t* samples[kMsSideBySide];
    uint32_t codes[kMsSideBySide];  // the first in the highest of `count` half bytes
    size_t used;                    // so many of them are wanted
};

// The two ways to the same bytes; the second wants a processor with AVX2. Samples lie `stride` apart.
namespace plain {
void DecodeMsBlocks(const uint8_t* in, size_t blocks, const MsLayout& layout, int16_t* frames);
void EncodeMsSegments(MsSegments& segments, size_t stride, size_t count);
void EncodeMsBlocks(const int16_t* frames, size_t blocks, const MsLayout& layout, uint8_t* out);
}  // namespace plain
namespace avx2 {
void DecodeMsBlocks(const uint8_t* in, size_t blocks, const MsLayout& layout, int16_t* frames);
void EncodeMsSegments(MsSegments& segments, size_t stride, size_t count);
void EncodeMsBlocks(const int16_t* frames, size_t blocks, const MsLayout& layout, uint8_t* out);
}  // namespace avx2

// How the step follows codes of 0 and 1, 2, 3 ... 8, up or down, in 256ths.
constexpr std::array<int, 8> kMsAdaptation{230, 230, 230, 307, 409, 512, 614, 768};

}  // namespace tolvane::platform
#endif
