// The arithmetic of IMA ADPCM: whole blocks to frames of 16-bit samples and back.
//
// A block begins with four bytes a channel (first sample, step index, a spare byte); then come groups of eight
// samples, four bytes a channel in turn. Every block stands alone, so that many are worked on side by side.
#ifndef TOLVANE_PLATFORM_CODECS_IMA_BLOCKS_H
#define TOLVANE_PLATFORM_CODECS_IMA_BLOCKS_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace tolvane::platform {

constexpr size_t kImaHeader = 4;  // bytes a channel
constexpr size_t kImaGroup = 8;   // samples a channel that four bytes hold
constexpr size_t kImaWays = 4;
constexpr int kImaLastIndex = 88;

struct ImaLayout {
    size_t channels;  // 1 or 2
    size_t block_size;
    size_t frames;  // of a block: ImaFramesIn(block_size, channels), or fewer by whole groups
};

// How many frames so many bytes of a block hold; a block may be cut short.
constexpr size_t ImaFramesIn(size_t bytes, size_t channels) {
    const size_t header = kImaHeader * channels;
    return bytes < header ? 0 : (bytes - header) / header * kImaGroup + 1;
}

// The bytes of a block that hold its frames; any others are zero.
constexpr size_t ImaBytesOf(const ImaLayout& layout) {
    return (layout.frames / kImaGroup + 1) * kImaHeader * layout.channels;
}

// For any bytes: an index beyond the table counts as its last.
void DecodeImaBlocks(const uint8_t* in, size_t blocks, const ImaLayout& layout, int16_t* frames);
// Each group is encoded in several ways, of which the one with the smallest error stays.
void EncodeImaBlocks(const int16_t* frames, size_t blocks, const ImaLayout& layout, uint8_t* out);

// The index with which a channel's samples of a block are best begun.
int ImaStartIndex(const int16_t* samples, const ImaLayout& layout);

// The two ways to the same bytes; the second wants a processor with AVX2.
namespace plain {
void DecodeImaBlocks(const uint8_t* in, size_t blocks, const ImaLayout& layout, int16_t* frames);
void EncodeImaBlocks(const int16_t* frames, size_t blocks, const ImaLayout& layout, uint8_t* out);
}  // namespace plain
namespace avx2 {
void DecodeImaBlocks(const uint8_t* in, size_t blocks, const ImaLayout& layout, int16_t* frames);
void EncodeImaBlocks(const int16_t* frames, size_t blocks, const ImaLayout& layout, uint8_t* out);
}  // namespace avx2

constexpr std::array<int16_t, kImaLastIndex + 1> kImaSteps{
    7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
    31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
    130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
    544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
    2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
    9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};
constexpr std::array<int8_t, 16> kImaIndexChanges{-1, -1, -1, -1, 2, 4, 6, 8, -1, -1, -1, -1, 2, 4, 6, 8};

}  // namespace tolvane::platform
#endif
