// The arithmetic of MS ADPCM in the eight lanes of a vector: the ways of a segment, or channels of several blocks.
#include "platform/codecs/ms_blocks.h"

#include "platform/codecs/processor.h"

#include <immintrin.h>

#include <bit>
#include <cstring>

namespace tolvane::platform::avx2 {
namespace {

using Vector = __m256i;

TOLVANE_AVX2_INLINE Vector All(int value) {
    return _mm256_set1_epi32(value);
}

TOLVANE_AVX2_INLINE Vector Clamped(Vector value, int low, int high) {
    return _mm256_min_epi32(_mm256_max_epi32(value, All(low)), All(high));
}

struct Channels {
    Vector history;  // words: the last sample, the one before
    Vector predictor, step;

    TOLVANE_AVX2_INLINE Vector Expected() const {
        return _mm256_srai_epi32(_mm256_madd_epi16(history, predictor), 8);
    }

    TOLVANE_AVX2_INLINE Vector Decode(Vector expected, Vector code) {
        const Vector adaptation = _mm256_loadu_si256(reinterpret_cast<const Vector*>(kMsAdaptation.data()));
        const Vector value =
            Clamped(_mm256_add_epi32(expected, _mm256_mullo_epi32(code, step)), -32768, 32767);
        const Vector speed = _mm256_max_epi32(_mm256_sub_epi32(_mm256_abs_epi32(code), All(1)), All(0));
        const Vector factor = _mm256_permutevar8x32_epi32(adaptation, speed);
        step =
            Clamped(_mm256_srai_epi32(_mm256_mullo_epi32(factor, step), 8), kMsSmallestStep, kMsLargestStep);
        history = _mm256_blend_epi16(_mm256_slli_epi32(history, 16), value, 0b01010101);
        return value;
    }
};

int Pair(int low, int high) {
    return static_cast<int>(static_cast<uint32_t>(high) << 16 | (static_cast<uint32_t>(low) & 0xFFFF));
}

struct Ways : Channels {
    Vector codes;
    __m256 error;

    TOLVANE_AVX2_INLINE void Start(const MsChannel& channel) {
        history = All(Pair(channel.last, channel.before));
        predictor = All(Pair(channel.predictor.first, channel.predictor.second));
        step = All(channel.step);
        codes = _mm256_setzero_si256();
        error = _mm256_setzero_ps();
    }

    TOLVANE_AVX2_INLINE Vector ChooseCodes(Vector distance, Vector second) const {
        const Vector far = _mm256_abs_epi32(distance);
        const Vector limit = _mm256_sub_epi32(All(7), _mm256_srai_epi32(distance, 31));
        // No quotient that matters is so near to a whole number that a float would round it up.
        const __m256 ratio = _mm256_div_ps(
            _mm256_cvtepi32_ps(_mm256_add_epi32(far, _mm256_srli_epi32(step, 1))), _mm256_cvtepi32_ps(step));
        const Vector nearest = _mm256_cvttps_epi32(ratio);
        const Vector beyond = _mm256_cmpgt_epi32(_mm256_mullo_epi32(nearest, step), far);
        const Vector other = _mm256_add_epi32(nearest, _mm256_or_si256(beyond, All(1)));
        const Vector over = _mm256_cmpgt_epi32(other, limit);
        const Vector other_size = _mm256_blendv_epi8(other, _mm256_sub_epi32(limit, All(1)), over);
        const Vector size = _mm256_blendv_epi8(_mm256_min_epi32(nearest, limit), other_size, second);
        return _mm256_sign_epi32(size, _mm256_or_si256(distance, All(1)));
    }

    // `second` marks the way that takes the second best code.
    TOLVANE_AVX2_INLINE void Encode(int sample_value, Vector second) {
        const Vector sample = All(sample_value), expected = Expected();
        const Vector code = ChooseCodes(_mm256_sub_epi32(sample, expected), second);
        const Vector value = Decode(expected, code);
        const __m256 difference = _mm256_cvtepi32_ps(_mm256_sub_epi32(sample, value));
        error = _mm256_add_ps(error, _mm256_mul_ps(difference, difference));
        codes = _mm256_or_si256(_mm256_slli_epi32(codes, 4), _mm256_and_si256(code, All(15)));
    }

    TOLVANE_AVX2_INLINE static int At(Vector vector, int lane) {
        return _mm_cvtsi128_si32(_mm256_castsi256_si128(_mm256_permutevar8x32_epi32(vector, All(lane))));
    }

    // The first of the ways with the smallest error.
    TOLVANE_AVX2_INLINE int Best() const {
        __m256 least = _mm256_min_ps(error, _mm256_permute2f128_ps(error, error, 1));
        least = _mm256_min_ps(least, _mm256_permute_ps(least, 0b01'00'11'10));
        least = _mm256_min_ps(least, _mm256_permute_ps(least, 0b10'11'00'01));
        const int equal = _mm256_movemask_ps(_mm256_cmp_ps(error, least, _CMP_EQ_OQ));
        return std::countr_zero(static_cast<unsigned>(equal));
    }

    TOLVANE_AVX2_INLINE void Finish(MsChannel& channel, uint32_t& best_codes) const {
        const int best = Best(), samples = At(history, best);
        channel.last = static_cast<int16_t>(samples);
        channel.before = samples >> 16;
        channel.step = At(step, best);
        best_codes = static_cast<uint32_t>(At(codes, best));
    }
};

constexpr size_t kLanes = 8, kWord = 4;

struct Lanes {
    const uint8_t* bytes[kLanes];  // of the block of each lane
    int16_t* frames[kLanes];
    int history[kLanes], predictor[kLanes], step[kLanes];

    void Read(const uint8_t* in, const MsLayout& layout, int16_t* out) {
        for (size_t i = 0; i < kLanes; ++i) {
            const size_t block = i / layout.channels, channel = i % layout.channels;
            const uint8_t* bytes_in = in + block * layout.block_size;
            const MsChannel start = ReadMsHeader(bytes_in, channel, layout);
            history[i] = Pair(start.last, start.before);
            predictor[i] = Pair(start.predictor.first, start.predictor.second);
            step[i] = start.step;
            bytes[i] = bytes_in + kMsHeader * layout.channels;
            frames[i] = out + block * layout.frames * layout.channels;
            frames[i][channel] = static_cast<int16_t>(start.before);
            frames[i][channel + layout.channels] = static_cast<int16_t>(start.last);
            frames[i] += kMsFirstFrames * layout.channels;
        }
    }

    // What is left of the blocks after so many samples: less than a word of codes.
    void Finish(const MsLayout& layout, size_t done) const {
        for (size_t i = 0; i < kLanes; ++i) {
            MsChannel channel{{static_cast<int16_t>(predictor[i]), static_cast<int16_t>(predictor[i] >> 16)},
                              step[i],
                              static_cast<int16_t>(history[i]),
                              history[i] >> 16};
            const size_t end = (layout.frames - kMsFirstFrames) * layout.channels;
            for (size_t at = done + i % layout.channels; at < end; at += layout.channels) {
                const int codes = bytes[i][at / 2];
                frames[i][at] = DecodeMsCode(channel, at % 2 ? codes & 15 : codes >> 4);
            }
        }
    }
};

// The values of two places of four lanes become words, those of one lane beside each other.
TOLVANE_AVX2_INLINE Vector Paired(Vector first, Vector second) {
    const Vector packed = _mm256_packs_epi32(first, second);
    return _mm256_unpacklo_epi16(packed, _mm256_srli_si256(packed, 8));
}

TOLVANE_AVX2_INLINE void Put(Vector lower_and_upper, int16_t* lower, int16_t* upper) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(lower), _mm256_castsi256_si128(lower_and_upper));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(upper), _mm256_extracti128_si256(lower_and_upper, 1));
}

// Eight places of eight mono blocks.
TOLVANE_AVX2_INLINE void StoreMono(const Vector (&values)[8], const Lanes& lanes, size_t at) {
    const Vector a = Paired(values[0], values[1]), b = Paired(values[2], values[3]);
    const Vector c = Paired(values[4], values[5]), d = Paired(values[6], values[7]);
    const Vector ab_low = _mm256_unpacklo_epi32(a, b), ab_high = _mm256_unpackhi_epi32(a, b);
    const Vector cd_low = _mm256_unpacklo_epi32(c, d), cd_high = _mm256_unpackhi_epi32(c, d);
    Put(_mm256_unpacklo_epi64(ab_low, cd_low), lanes.frames[0] + at, lanes.frames[4] + at);
    Put(_mm256_unpackhi_epi64(ab_low, cd_low), lanes.frames[1] + at, lanes.frames[5] + at);
    Put(_mm256_unpacklo_epi64(ab_high, cd_high), lanes.frames[2] + at, lanes.frames[6] + at);
    Put(_mm256_unpackhi_epi64(ab_high, cd_high), lanes.frames[3] + at, lanes.frames[7] + at);
}

// Four places of both channels of four stereo blocks.
TOLVANE_AVX2_INLINE void StoreStereo(const Vector (&values)[8], const Lanes& lanes, size_t at) {
    constexpr int kMiddleSwapped = 0b11'01'10'00;
    const Vector a = _mm256_shuffle_epi32(_mm256_packs_epi32(values[0], values[1]), kMiddleSwapped);
    const Vector b = _mm256_shuffle_epi32(_mm256_packs_epi32(values[2], values[3]), kMiddleSwapped);
    Put(_mm256_unpacklo_epi64(a, b), lanes.frames[0] + at, lanes.frames[4] + at);
    Put(_mm256_unpackhi_epi64(a, b), lanes.frames[2] + at, lanes.frames[6] + at);
}

// A word of codes of each lane, the first in the highest bits.
TOLVANE_AVX2_INLINE Vector LoadCodes(const Lanes& lanes, size_t at) {
    uint32_t words[kLanes];
    for (size_t i = 0; i < kLanes; ++i) {
        std::memcpy(&words[i], lanes.bytes[i] + at / 2, kWord);
        words[i] = __builtin_bswap32(words[i]);
    }
    return _mm256_loadu_si256(reinterpret_cast<const Vector*>(words));
}

TOLVANE_AVX2_INLINE Vector Load(const int (&values)[kLanes]) {
    return _mm256_loadu_si256(reinterpret_cast<const Vector*>(values));
}

TOLVANE_AVX2_INLINE void Store(Vector values, int (&into)[kLanes]) {
    _mm256_storeu_si256(reinterpret_cast<Vector*>(into), values);
}

// As many blocks as have eight channels together.
template <size_t kChannels>
TOLVANE_AVX2 void DecodeRun(const uint8_t* in, const MsLayout& layout, int16_t* frames) {
    Lanes lanes;
    lanes.Read(in, layout, frames);
    Channels channels{Load(lanes.history), Load(lanes.predictor), Load(lanes.step)};
    const Vector odd = _mm256_setr_epi32(0, 4, 0, 4, 0, 4, 0, 4);
    const size_t samples = (layout.frames - kMsFirstFrames) * kChannels;
    size_t at = 0;
    for (; at + 2 * kWord <= samples; at += 2 * kWord) {
        Vector codes = LoadCodes(lanes, at), values[8];
        if (kChannels == 2) codes = _mm256_sllv_epi32(codes, odd);
        for (size_t place = 0; place < 8 / kChannels; ++place) {
            values[place] = channels.Decode(channels.Expected(), _mm256_srai_epi32(codes, 28));
            codes = _mm256_slli_epi32(codes, 4 * kChannels);
        }
        if (kChannels == 1)
            StoreMono(values, lanes, at);
        else
            StoreStereo(values, lanes, at);
    }
    Store(channels.history, lanes.history);
    Store(channels.step, lanes.step);
    lanes.Finish(layout, at);
}

}  // namespace

TOLVANE_AVX2 void EncodeMsSegments(MsSegments& segments, size_t stride, size_t count) {
    Ways ways[kMsSideBySide];
    for (size_t i = 0; i < kMsSideBySide; ++i)
        ways[i].Start(segments.channels[i]);
    const Vector places = _mm256_setr_epi32(-1, 0, 1, 2, 3, 4, 5, 6);
    for (size_t place = 0; place < count; ++place) {
        const Vector second = _mm256_cmpeq_epi32(places, All(static_cast<int>(place)));
        for (size_t i = 0; i < kMsSideBySide; ++i)
            ways[i].Encode(segments.samples[i][place * stride], second);
    }
    for (size_t i = 0; i < kMsSideBySide; ++i)
        ways[i].Finish(segments.channels[i], segments.codes[i]);
}

void DecodeMsBlocks(const uint8_t* in, size_t blocks, const MsLayout& layout, int16_t* frames) {
    const size_t count = kLanes / layout.channels;
    for (; blocks >= count; blocks -= count) {
        (layout.channels == 1 ? DecodeRun<1> : DecodeRun<2>)(in, layout, frames);
        in += count * layout.block_size;
        frames += count * layout.frames * layout.channels;
    }
    plain::DecodeMsBlocks(in, blocks, layout, frames);
}

}  // namespace tolvane::platform::avx2
