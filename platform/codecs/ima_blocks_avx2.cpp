// The arithmetic of IMA ADPCM for 32 channels of blocks at a time.
//
// One run takes 16 pairs of channels: the two of a stereo block, or those of mono blocks 16 apart. Samples lie in
// words of two vectors, pairs 0-7 and 8-15, the first of each pair in a vector's lower half and the second in the
// upper. Codes and step indexes lie in the bytes of one vector in the order in which packing two such vectors leaves
// them: 16 firsts, 16 seconds.
#include "platform/codecs/ima_blocks.h"

#include "platform/codecs/processor.h"

#include <immintrin.h>

#include <algorithm>
#include <cstring>

namespace tolvane::platform::avx2 {
namespace {

constexpr size_t kPairs = 16, kChains = 2 * kPairs;
using Vector = __m256i;

struct Words {
    Vector a, b;
};

// The low and high bytes of the steps, sixteen steps a part.
struct StepParts {
    static constexpr size_t kCount = 6;
    alignas(16) uint8_t low[kCount][16] = {}, high[kCount][16] = {};

    constexpr StepParts() {
        for (size_t i = 0; i < kImaSteps.size(); ++i) {
            low[i / 16][i % 16] = static_cast<uint8_t>(kImaSteps[i]);
            high[i / 16][i % 16] = static_cast<uint8_t>(kImaSteps[i] >> 8);
        }
    }
};
constexpr StepParts kParts;

TOLVANE_AVX2_INLINE Vector Repeated(const void* bytes) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(bytes)));
}

TOLVANE_AVX2_INLINE Vector Joined(const void* lower, const void* upper) {
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(lower))),
        _mm_loadu_si128(static_cast<const __m128i*>(upper)), 1);
}

TOLVANE_AVX2_INLINE void Split(Vector vector, void* lower, void* upper) {
    _mm_storeu_si128(static_cast<__m128i*>(lower), _mm256_castsi256_si128(vector));
    _mm_storeu_si128(static_cast<__m128i*>(upper), _mm256_extracti128_si256(vector, 1));
}

// A part answers only for its own indexes: any other gets its top bit set, for which a shuffle gives zero.
TOLVANE_AVX2_INLINE Words StepsAt(Vector indexes) {
    Vector low = _mm256_setzero_si256(), high = low;
    for (size_t part = 0; part < StepParts::kCount; ++part) {
        const Vector within = _mm256_sub_epi8(indexes, _mm256_set1_epi8(static_cast<char>(part * 16)));
        const Vector own = _mm256_adds_epu8(within, _mm256_set1_epi8(0x70));
        low = _mm256_or_si256(low, _mm256_shuffle_epi8(Repeated(kParts.low[part]), own));
        high = _mm256_or_si256(high, _mm256_shuffle_epi8(Repeated(kParts.high[part]), own));
    }
    return {_mm256_unpacklo_epi8(low, high), _mm256_unpackhi_epi8(low, high)};
}

TOLVANE_AVX2_INLINE Vector HasBit(Vector codes, int bit) {
    const Vector mask = _mm256_set1_epi16(static_cast<short>(bit));
    return _mm256_cmpeq_epi16(_mm256_and_si256(codes, mask), mask);
}

TOLVANE_AVX2_INLINE Vector Bit(Vector mask, short bit) {
    return _mm256_and_si256(mask, _mm256_set1_epi16(bit));
}

TOLVANE_AVX2_INLINE Vector AtLeast(Vector distance, Vector step) {
    return _mm256_cmpeq_epi16(_mm256_max_epu16(distance, step), distance);
}

// The change may need 17 bits, so it is made in two steps, each within 16; both saturate on the same side.
TOLVANE_AVX2_INLINE Vector Moved(Vector value, Vector large, Vector small, Vector negative) {
    const Vector sign = _mm256_or_si256(negative, _mm256_set1_epi16(1));
    return _mm256_adds_epi16(_mm256_adds_epi16(value, _mm256_sign_epi16(large, sign)),
                             _mm256_sign_epi16(small, sign));
}

TOLVANE_AVX2_INLINE Vector DecodeWords(Vector& value, Vector step, Vector codes) {
    const Vector large = _mm256_and_si256(HasBit(codes, 4), step);
    const Vector half = _mm256_and_si256(HasBit(codes, 2), _mm256_srli_epi16(step, 1));
    const Vector quarter = _mm256_and_si256(HasBit(codes, 1), _mm256_srli_epi16(step, 2));
    const Vector small = _mm256_add_epi16(_mm256_add_epi16(half, quarter), _mm256_srli_epi16(step, 3));
    return value = Moved(value, large, small, HasBit(codes, 8));
}

TOLVANE_AVX2_INLINE Vector EncodeWords(Vector& value, Vector step, Vector samples) {
    const Vector negative = _mm256_cmpgt_epi16(value, samples);
    Vector distance = _mm256_sub_epi16(_mm256_max_epi16(value, samples), _mm256_min_epi16(value, samples));
    const Vector has4 = AtLeast(distance, step), large = _mm256_and_si256(has4, step);
    distance = _mm256_sub_epi16(distance, large);
    const Vector step2 = _mm256_srli_epi16(step, 1);
    const Vector has2 = AtLeast(distance, step2), half = _mm256_and_si256(has2, step2);
    distance = _mm256_sub_epi16(distance, half);
    const Vector step1 = _mm256_srli_epi16(step, 2);
    const Vector has1 = AtLeast(distance, step1), quarter = _mm256_and_si256(has1, step1);
    const Vector small = _mm256_add_epi16(_mm256_add_epi16(half, quarter), _mm256_srli_epi16(step, 3));
    value = Moved(value, large, small, negative);
    return _mm256_or_si256(_mm256_or_si256(Bit(negative, 8), Bit(has4, 4)),
                           _mm256_or_si256(Bit(has2, 2), Bit(has1, 1)));
}

struct Predictors {
    Words values;
    Vector indexes;

    TOLVANE_AVX2_INLINE void Adapt(Vector codes) {
        const Vector change = _mm256_shuffle_epi8(Repeated(kImaIndexChanges.data()), codes);
        indexes = _mm256_min_epi8(_mm256_max_epi8(_mm256_add_epi8(indexes, change), _mm256_setzero_si256()),
                                  _mm256_set1_epi8(kImaLastIndex));
    }

    TOLVANE_AVX2_INLINE Words Decode(Vector codes) {
        const Words steps = StepsAt(indexes);
        const Vector zero = _mm256_setzero_si256();
        Adapt(codes);
        return {DecodeWords(values.a, steps.a, _mm256_unpacklo_epi8(codes, zero)),
                DecodeWords(values.b, steps.b, _mm256_unpackhi_epi8(codes, zero))};
    }

    TOLVANE_AVX2_INLINE Vector Encode(const Words& samples) {
        const Words steps = StepsAt(indexes);
        const Vector codes = _mm256_packus_epi16(EncodeWords(values.a, steps.a, samples.a),
                                                 EncodeWords(values.b, steps.b, samples.b));
        Adapt(codes);
        return codes;
    }
};

// Turns rows of eight words into columns, in both halves of the vectors.
TOLVANE_AVX2_INLINE void Transpose(Vector (&rows)[8]) {
    Vector pairs[8], quads[8];
    for (size_t i = 0; i < 4; ++i) {
        pairs[i] = _mm256_unpacklo_epi16(rows[2 * i], rows[2 * i + 1]);
        pairs[i + 4] = _mm256_unpackhi_epi16(rows[2 * i], rows[2 * i + 1]);
    }
    for (size_t i = 0; i < 4; ++i) {
        quads[i] = _mm256_unpacklo_epi32(pairs[2 * i], pairs[2 * i + 1]);
        quads[i + 4] = _mm256_unpackhi_epi32(pairs[2 * i], pairs[2 * i + 1]);
    }
    constexpr size_t kColumns[4] = {0, 4, 2, 6};  // of quads 2i: columns 0-1, 4-5, 2-3, 6-7
    for (size_t i = 0; i < 4; ++i) {
        rows[kColumns[i]] = _mm256_unpacklo_epi64(quads[2 * i], quads[2 * i + 1]);
        rows[kColumns[i] + 1] = _mm256_unpackhi_epi64(quads[2 * i], quads[2 * i + 1]);
    }
}

// Four codes pairs, a byte of each chain in a vector, become four bytes a chain, and back.
TOLVANE_AVX2_INLINE void StoreGroup(const Vector (&bytes)[4], uint32_t (&groups)[kChains]) {
    const Vector low01 = _mm256_unpacklo_epi8(bytes[0], bytes[1]),
                 low23 = _mm256_unpacklo_epi8(bytes[2], bytes[3]);
    const Vector high01 = _mm256_unpackhi_epi8(bytes[0], bytes[1]),
                 high23 = _mm256_unpackhi_epi8(bytes[2], bytes[3]);
    Split(_mm256_unpacklo_epi16(low01, low23), &groups[0], &groups[kPairs]);
    Split(_mm256_unpackhi_epi16(low01, low23), &groups[4], &groups[kPairs + 4]);
    Split(_mm256_unpacklo_epi16(high01, high23), &groups[8], &groups[kPairs + 8]);
    Split(_mm256_unpackhi_epi16(high01, high23), &groups[12], &groups[kPairs + 12]);
}

TOLVANE_AVX2_INLINE void LoadGroup(const uint32_t (&groups)[kChains], Vector (&bytes)[4]) {
    constexpr uint8_t kByPlace[16] = {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};
    Vector fours[4];
    for (size_t i = 0; i < 4; ++i)
        fours[i] = _mm256_shuffle_epi8(Joined(&groups[4 * i], &groups[kPairs + 4 * i]), Repeated(kByPlace));
    const Vector low01 = _mm256_unpacklo_epi32(fours[0], fours[1]),
                 low23 = _mm256_unpacklo_epi32(fours[2], fours[3]);
    const Vector high01 = _mm256_unpackhi_epi32(fours[0], fours[1]),
                 high23 = _mm256_unpackhi_epi32(fours[2], fours[3]);
    bytes[0] = _mm256_unpacklo_epi64(low01, low23);
    bytes[1] = _mm256_unpackhi_epi64(low01, low23);
    bytes[2] = _mm256_unpacklo_epi64(high01, high23);
    bytes[3] = _mm256_unpackhi_epi64(high01, high23);
}

// Eight samples of both chains of a pair; the two of a stereo block lie interleaved.
constexpr uint8_t kApart[16] = {0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15};
constexpr uint8_t kTogether[16] = {0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15};
constexpr int kMiddleSwapped = 0b11'01'10'00;

template <size_t kChannels>
TOLVANE_AVX2_INLINE Vector LoadPair(const int16_t* first, const int16_t* second) {
    if (kChannels == 1) return Joined(first, second);
    const Vector frames = _mm256_loadu_si256(reinterpret_cast<const Vector*>(first));
    return _mm256_permute4x64_epi64(_mm256_shuffle_epi8(frames, Repeated(kApart)), kMiddleSwapped);
}

template <size_t kChannels>
TOLVANE_AVX2_INLINE void StorePair(Vector samples, int16_t* first, int16_t* second) {
    if (kChannels == 1) return Split(samples, first, second);
    const Vector frames = _mm256_permute4x64_epi64(samples, kMiddleSwapped);
    _mm256_storeu_si256(reinterpret_cast<Vector*>(first), _mm256_shuffle_epi8(frames, Repeated(kTogether)));
}

// The headers of all chains, and where their next samples and bytes are: firsts, then seconds.
template <class Sample, class Byte>
struct Chains {
    Sample* samples[kChains];
    Byte* bytes[kChains];
    alignas(32) int16_t values[kChains];
    alignas(32) uint8_t indexes[kChains];

    // Where there are fewer blocks than places, the last block is worked on more than once.
    Chains(Sample* frames, Byte* blocks, size_t count, const ImaLayout& layout) {
        for (size_t i = 0; i < kChains; ++i) {
            const size_t channel = layout.channels == 1 ? 0 : i / kPairs;
            const size_t block = std::min(layout.channels == 1 ? i : i % kPairs, count - 1);
            samples[i] = frames + block * layout.frames * layout.channels + channel;
            bytes[i] = blocks + block * layout.block_size + channel * kImaHeader;
        }
    }

    TOLVANE_AVX2_INLINE Predictors Start() const {
        return {{Joined(&values[0], &values[kPairs]), Joined(&values[8], &values[kPairs + 8])},
                _mm256_load_si256(reinterpret_cast<const Vector*>(indexes))};
    }
};

template <size_t kChannels>
TOLVANE_AVX2 void DecodeRun(const uint8_t* in, size_t count, const ImaLayout& layout, int16_t* frames) {
    Chains<int16_t, const uint8_t> chains(frames, in, count, layout);
    for (size_t i = 0; i < kChains; ++i) {
        std::memcpy(&chains.values[i], chains.bytes[i], sizeof chains.values[i]);
        chains.indexes[i] = std::min(chains.bytes[i][2], uint8_t{kImaLastIndex});
        *chains.samples[i] = chains.values[i];
    }
    Predictors predictors = chains.Start();
    const Vector nibble = _mm256_set1_epi8(15);
    for (size_t frame = 1, byte = kImaHeader * kChannels; frame < layout.frames;
         frame += kImaGroup, byte += kImaHeader * kChannels) {
        uint32_t groups[kChains];
        for (size_t i = 0; i < kChains; ++i)
            std::memcpy(&groups[i], chains.bytes[i] + byte, sizeof groups[i]);
        Vector bytes[4], a[8], b[8];
        LoadGroup(groups, bytes);
        for (size_t i = 0; i < kImaGroup; ++i) {
            const Vector both = bytes[i / 2], codes = i % 2 ? _mm256_srli_epi16(both, 4) : both;
            const Words samples = predictors.Decode(_mm256_and_si256(codes, nibble));
            a[i] = samples.a;
            b[i] = samples.b;
        }
        Transpose(a);
        Transpose(b);
        const size_t at = frame * kChannels;
        for (size_t i = 0; i < 8; ++i) {
            StorePair<kChannels>(a[i], chains.samples[i] + at, chains.samples[kPairs + i] + at);
            StorePair<kChannels>(b[i], chains.samples[i + 8] + at, chains.samples[kPairs + i + 8] + at);
        }
    }
}

template <size_t kChannels>
TOLVANE_AVX2 void EncodeRun(const int16_t* frames, size_t count, const ImaLayout& layout, uint8_t* out) {
    Chains<const int16_t, uint8_t> chains(frames, out, count, layout);
    for (size_t i = 0; i < kChains; ++i) {
        chains.values[i] = *chains.samples[i];
        chains.indexes[i] = static_cast<uint8_t>(ImaStartIndex(chains.samples[i], layout));
        std::memcpy(chains.bytes[i], &chains.values[i], sizeof chains.values[i]);
        chains.bytes[i][2] = chains.indexes[i];
        chains.bytes[i][3] = 0;
    }
    Predictors predictors = chains.Start();
    for (size_t frame = 1, byte = kImaHeader * kChannels; frame < layout.frames;
         frame += kImaGroup, byte += kImaHeader * kChannels) {
        Vector a[8], b[8], bytes[4];
        const size_t at = frame * kChannels;
        for (size_t i = 0; i < 8; ++i) {
            a[i] = LoadPair<kChannels>(chains.samples[i] + at, chains.samples[kPairs + i] + at);
            b[i] = LoadPair<kChannels>(chains.samples[i + 8] + at, chains.samples[kPairs + i + 8] + at);
        }
        Transpose(a);
        Transpose(b);
        for (size_t i = 0; i < kImaGroup; i += 2) {
            const Vector low = predictors.Encode({a[i], b[i]}),
                         high = predictors.Encode({a[i + 1], b[i + 1]});
            bytes[i / 2] = _mm256_or_si256(low, _mm256_slli_epi16(high, 4));
        }
        uint32_t groups[kChains];
        StoreGroup(bytes, groups);
        for (size_t i = 0; i < kChains; ++i)
            std::memcpy(chains.bytes[i] + byte, &groups[i], sizeof groups[i]);
    }
}

// Few blocks go the plain way: a run costs the same however full it is.
constexpr size_t kFewestChains = 4;

}  // namespace

void DecodeImaBlocks(const uint8_t* in, size_t blocks, const ImaLayout& layout, int16_t* frames) {
    const size_t most = kChains / layout.channels;
    while (blocks * layout.channels >= kFewestChains) {
        const size_t count = std::min(blocks, most);
        (layout.channels == 1 ? DecodeRun<1> : DecodeRun<2>)(in, count, layout, frames);
        blocks -= count;
        in += count * layout.block_size;
        frames += count * layout.frames * layout.channels;
    }
    plain::DecodeImaBlocks(in, blocks, layout, frames);
}

void EncodeImaBlocks(const int16_t* frames, size_t blocks, const ImaLayout& layout, uint8_t* out) {
    const size_t most = kChains / layout.channels, used = ImaBytesOf(layout);
    while (blocks * layout.channels >= kFewestChains) {
        const size_t count = std::min(blocks, most);
        (layout.channels == 1 ? EncodeRun<1> : EncodeRun<2>)(frames, count, layout, out);
        for (size_t i = 0; i < count; ++i)
            std::memset(out + i * layout.block_size + used, 0, layout.block_size - used);
        blocks -= count;
        frames += count * layout.frames * layout.channels;
        out += count * layout.block_size;
    }
    plain::EncodeImaBlocks(frames, blocks, layout, out);
}

}  // namespace tolvane::platform::avx2
