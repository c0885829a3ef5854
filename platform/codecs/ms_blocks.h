// The arithmetic of MS ADPCM: whole blocks to frames of 16-bit samples and back.
//
// A block begins with a predictor's number, a step and the first two samples for each channel (seven bytes); then come
// the codes of the other samples, half a byte each, the channels in turn.
#ifndef TOLVANE_PLATFORM_CODECS_MS_BLOCKS_H
#define TOLVANE_PLATFORM_CODECS_MS_BLOCKS_H

#include <array>
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

}  // namespace tolvane::platform
#endif
