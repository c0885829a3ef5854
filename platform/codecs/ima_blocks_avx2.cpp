// The arithmetic of IMA ADPCM for many channels of blocks at a time.
//
// Channels go in pairs: the two of a stereo block, or those of two mono blocks. Samples lie in words, the first of each
// of eight pairs in a vector's lower half and the second in the upper. Decoding has 16 pairs in two such vectors;
// encoding has eight pairs there twice, once for each of two ways. Codes and step indexes lie in the bytes of one vector
// in the order in which packing the two leaves them.
#include "platform/codecs/ima_blocks.h"

#include "platform/codecs/processor.h"

#include <immintrin.h>

#include <algorithm>
#include <cstring>
#include <utility>

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

TOLVANE_AVX2_INLINE Vector Distance(Vector a, Vector b) {
    return _mm256_sub_epi16(_mm256_max_epi16(a, b), _mm256_min_epi16(a, b));
}

// The neighbour of each code on the side where the sample is; `left` is what the code leaves of the distance.
TOLVANE_AVX2_INLINE Vector SecondBest(Vector codes, Vector left, Vector step) {
    const Vector above = AtLeast(left, _mm256_srli_epi16(step, 3));
    const Vector change = _mm256_sub_epi16(_mm256_set1_epi16(-1), _mm256_add_epi16(above, above));
    const Vector size = _mm256_add_epi16(_mm256_and_si256(codes, _mm256_set1_epi16(7)), change);
    const Vector crossed = _mm256_srai_epi16(size, 15), over = _mm256_cmpgt_epi16(size, _mm256_set1_epi16(7));
    const Vector within = _mm256_add_epi16(_mm256_andnot_si256(crossed, size), _mm256_add_epi16(over, over));
    const Vector sign = _mm256_and_si256(_mm256_xor_si256(codes, crossed), _mm256_set1_epi16(8));
    return _mm256_or_si256(within, sign);
}

template <bool kSecondBest>
TOLVANE_AVX2_INLINE Vector EncodeWords(Vector& value, Vector step, Vector samples) {
    const Vector negative = _mm256_cmpgt_epi16(value, samples);
    Vector distance = Distance(value, samples);
    const Vector has4 = AtLeast(distance, step), large = _mm256_and_si256(has4, step);
    distance = _mm256_sub_epi16(distance, large);
    const Vector step2 = _mm256_srli_epi16(step, 1);
    const Vector has2 = AtLeast(distance, step2), half = _mm256_and_si256(has2, step2);
    distance = _mm256_sub_epi16(distance, half);
    const Vector step1 = _mm256_srli_epi16(step, 2);
    const Vector has1 = AtLeast(distance, step1), quarter = _mm256_and_si256(has1, step1);
    const Vector codes = _mm256_or_si256(_mm256_or_si256(Bit(negative, 8), Bit(has4, 4)),
                                         _mm256_or_si256(Bit(has2, 2), Bit(has1, 1)));
    if constexpr (kSecondBest) {
        const Vector others = SecondBest(codes, _mm256_sub_epi16(distance, quarter), step);
        DecodeWords(value, step, others);
        return others;
    }
    const Vector small = _mm256_add_epi16(_mm256_add_epi16(half, quarter), _mm256_srli_epi16(step, 3));
    value = Moved(value, large, small, negative);
    return codes;
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

    template <bool kSecondBestA, bool kSecondBestB>
    TOLVANE_AVX2_INLINE Vector Encode(Vector samples) {
        const Words steps = StepsAt(indexes);
        const Vector codes = _mm256_packus_epi16(EncodeWords<kSecondBestA>(values.a, steps.a, samples),
                                                 EncodeWords<kSecondBestB>(values.b, steps.b, samples));
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

// The bytes of a group, one of each chain in a vector, become four bytes a chain, and back.
TOLVANE_AVX2_INLINE void StoreGroup(const Vector (&bytes)[4], uint32_t (&groups)[kPairs]) {
    const Vector first = _mm256_unpacklo_epi8(bytes[0], bytes[1]),
                 second = _mm256_unpacklo_epi8(bytes[2], bytes[3]);
    Split(_mm256_unpacklo_epi16(first, second), &groups[0], &groups[8]);
    Split(_mm256_unpackhi_epi16(first, second), &groups[4], &groups[12]);
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

// Where the samples and bytes of so many pairs of chains are, and their headers: firsts, then seconds.
template <size_t kCount, class Sample, class Byte>
struct Chains {
    Sample* samples[2 * kCount];
    Byte* bytes[2 * kCount];
    int16_t values[2 * kCount];
    uint8_t indexes[2 * kCount];

    // Where there are fewer blocks than places, the last block is worked on more than once.
    Chains(Sample* frames, Byte* blocks, size_t count, const ImaLayout& layout) {
        for (size_t i = 0; i < 2 * kCount; ++i) {
            const size_t channel = layout.channels == 1 ? 0 : i / kCount;
            const size_t block = std::min(layout.channels == 1 ? i : i % kCount, count - 1);
            samples[i] = frames + block * layout.frames * layout.channels + channel;
            bytes[i] = blocks + block * layout.block_size + channel * kImaHeader;
        }
    }
};

template <size_t kChannels>
TOLVANE_AVX2 void DecodeRun(const uint8_t* in, size_t count, const ImaLayout& layout, int16_t* frames) {
    Chains<kPairs, int16_t, const uint8_t> chains(frames, in, count, layout);
    for (size_t i = 0; i < kChains; ++i) {
        std::memcpy(&chains.values[i], chains.bytes[i], sizeof chains.values[i]);
        chains.indexes[i] = std::min(chains.bytes[i][2], uint8_t{kImaLastIndex});
        *chains.samples[i] = chains.values[i];
    }
    Predictors predictors{{Joined(&chains.values[0], &chains.values[kPairs]),
                           Joined(&chains.values[8], &chains.values[kPairs + 8])},
                          Joined(&chains.indexes[0], &chains.indexes[kPairs])};
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

// Eight pairs of chains encode a group in four ways: two tries of two ways each, one in each half of the words.
struct Try {
    Predictors predictors;
    Words errors;
    Vector codes[kImaGroup];
};

template <size_t kWay, size_t kPlace>
TOLVANE_AVX2_INLINE void EncodePlace(Try& at, Vector samples) {
    Predictors& predictors = at.predictors;
    at.codes[kPlace] = predictors.Encode<kWay == kPlace + 1, kWay == kPlace>(samples);
    at.errors.a = _mm256_adds_epu16(at.errors.a, Distance(predictors.values.a, samples));
    at.errors.b = _mm256_adds_epu16(at.errors.b, Distance(predictors.values.b, samples));
}

template <size_t... kPlaces>
TOLVANE_AVX2_INLINE void EncodePlaces(Try (&tries)[2], const Vector (&samples)[kImaGroup],
                                      std::index_sequence<kPlaces...>) {
    ((EncodePlace<0, kPlaces>(tries[0], samples[kPlaces]),
      EncodePlace<2, kPlaces>(tries[1], samples[kPlaces])),
     ...);
}

// A selection of words for both the words themselves and, packed, for bytes.
struct Selection {
    Vector words, bytes;

    TOLVANE_AVX2_INLINE static Selection Smaller(Vector other, Vector present) {
        const Vector stays = _mm256_cmpeq_epi16(_mm256_min_epu16(present, other), present);
        return {stays, _mm256_packs_epi16(stays, stays)};
    }
    TOLVANE_AVX2_INLINE Vector Words(Vector present, Vector other) const {
        return _mm256_blendv_epi8(other, present, words);
    }
    TOLVANE_AVX2_INLINE Vector Bytes(Vector present, Vector other) const {
        return _mm256_blendv_epi8(other, present, bytes);
    }
};

// The better way of a try, in both halves.
TOLVANE_AVX2_INLINE void Settle(Try& at, Vector (&bytes)[4]) {
    const Selection best = Selection::Smaller(at.errors.b, at.errors.a);
    at.errors.a = _mm256_min_epu16(at.errors.a, at.errors.b);
    at.predictors.values.a = best.Words(at.predictors.values.a, at.predictors.values.b);
    const auto halves = [&best](Vector both) __attribute__((target("avx2"))) {
        return best.Bytes(_mm256_unpacklo_epi64(both, both), _mm256_unpackhi_epi64(both, both));
    };
    at.predictors.indexes = halves(at.predictors.indexes);
    for (size_t i = 0; i < 4; ++i)
        bytes[i] = halves(_mm256_or_si256(at.codes[2 * i], _mm256_slli_epi16(at.codes[2 * i + 1], 4)));
}

TOLVANE_AVX2_INLINE void EncodeGroup(Predictors& start, const Vector (&samples)[kImaGroup],
                                     Vector (&bytes)[4]) {
    const Vector zero = _mm256_setzero_si256();
    Try tries[2] = {{start, {zero, zero}, {}}, {start, {zero, zero}, {}}};
    EncodePlaces(tries, samples, std::make_index_sequence<kImaGroup>());
    Vector others[4];
    Settle(tries[0], bytes);
    Settle(tries[1], others);
    const Selection best = Selection::Smaller(tries[1].errors.a, tries[0].errors.a);
    const Vector value = best.Words(tries[0].predictors.values.a, tries[1].predictors.values.a);
    start = {{value, value}, best.Bytes(tries[0].predictors.indexes, tries[1].predictors.indexes)};
    for (size_t i = 0; i < 4; ++i)
        bytes[i] = best.Bytes(bytes[i], others[i]);
}

template <size_t kChannels>
TOLVANE_AVX2 void EncodeRun(const int16_t* frames, size_t count, const ImaLayout& layout, uint8_t* out) {
    constexpr size_t kRunPairs = kPairs / 2, kRunChains = 2 * kRunPairs;
    Chains<kRunPairs, const int16_t, uint8_t> chains(frames, out, count, layout);
    for (size_t i = 0; i < kRunChains; ++i) {
        chains.values[i] = *chains.samples[i];
        chains.indexes[i] = static_cast<uint8_t>(ImaStartIndex(chains.samples[i], layout));
        std::memcpy(chains.bytes[i], &chains.values[i], sizeof chains.values[i]);
        chains.bytes[i][2] = chains.indexes[i];
        chains.bytes[i][3] = 0;
    }
    const Vector values = Joined(&chains.values[0], &chains.values[kRunPairs]);
    const Vector indexes = _mm256_permute4x64_epi64(Repeated(chains.indexes), 0b01'01'00'00);
    Predictors predictors{{values, values}, indexes};
    for (size_t frame = 1, byte = kImaHeader * kChannels; frame < layout.frames;
         frame += kImaGroup, byte += kImaHeader * kChannels) {
        Vector samples[kImaGroup], bytes[4];
        const size_t at = frame * kChannels;
        for (size_t i = 0; i < kRunPairs; ++i)
            samples[i] = LoadPair<kChannels>(chains.samples[i] + at, chains.samples[kRunPairs + i] + at);
        Transpose(samples);
        EncodeGroup(predictors, samples, bytes);
        uint32_t groups[kRunChains];
        StoreGroup(bytes, groups);
        for (size_t i = 0; i < kRunChains; ++i)
            std::memcpy(chains.bytes[i] + byte, &groups[i], sizeof groups[i]);
    }
}

// Few blocks are decoded the plain way: a run costs the same however full it is.
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
    const size_t most = kPairs / layout.channels, used = ImaBytesOf(layout);
    while (blocks > 0) {
        const size_t count = std::min(blocks, most);
        (layout.channels == 1 ? EncodeRun<1> : EncodeRun<2>)(frames, count, layout, out);
        for (size_t i = 0; i < count; ++i)
            std::memset(out + i * layout.block_size + used, 0, layout.block_size - used);
        blocks -= count;
        frames += count * layout.frames * layout.channels;
        out += count * layout.block_size;
    }
}

}  // namespace tolvane::platform::avx2
