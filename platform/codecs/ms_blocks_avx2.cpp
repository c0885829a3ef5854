// The arithmetic of MS ADPCM: the eight ways of a segment in the lanes of one vector.
#include "platform/codecs/ms_blocks.h"

#include "platform/codecs/processor.h"

#include <immintrin.h>

#include <bit>

namespace tolvane::platform::avx2 {
namespace {

using Vector = __m256i;

TOLVANE_AVX2_INLINE Vector All(int value) {
    return _mm256_set1_epi32(value);
}

TOLVANE_AVX2_INLINE Vector Clamped(Vector value, int low, int high) {
    return _mm256_min_epi32(_mm256_max_epi32(value, All(low)), All(high));
}

struct Ways {
    Vector history;  // words: the last sample, the one before
    Vector predictor, step, codes;
    __m256 error;

    TOLVANE_AVX2_INLINE static int Pair(int low, int high) {
        return static_cast<int>(static_cast<uint32_t>(high) << 16 | (static_cast<uint32_t>(low) & 0xFFFF));
    }

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
        const Vector adaptation = _mm256_loadu_si256(reinterpret_cast<const Vector*>(kMsAdaptation.data()));
        const Vector sample = All(sample_value);
        const Vector expected = _mm256_srai_epi32(_mm256_madd_epi16(history, predictor), 8);
        const Vector code = ChooseCodes(_mm256_sub_epi32(sample, expected), second);
        const Vector value =
            Clamped(_mm256_add_epi32(expected, _mm256_mullo_epi32(code, step)), -32768, 32767);
        const __m256 difference = _mm256_cvtepi32_ps(_mm256_sub_epi32(sample, value));
        error = _mm256_add_ps(error, _mm256_mul_ps(difference, difference));
        const Vector speed = _mm256_max_epi32(_mm256_sub_epi32(_mm256_abs_epi32(code), All(1)), All(0));
        const Vector factor = _mm256_permutevar8x32_epi32(adaptation, speed);
        step =
            Clamped(_mm256_srai_epi32(_mm256_mullo_epi32(factor, step), 8), kMsSmallestStep, kMsLargestStep);
        history = _mm256_blend_epi16(_mm256_slli_epi32(history, 16), value, 0b01010101);
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

}  // namespace tolvane::platform::avx2
