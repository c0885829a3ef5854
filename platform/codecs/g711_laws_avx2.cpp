// The arithmetic of G.711 for 16 or 32 samples at a time.
#include "platform/codecs/g711_laws.h"

#include "platform/codecs/processor.h"

#include <immintrin.h>

namespace tolvane::platform::avx2 {
namespace {

using namespace g711;
using Vector = __m256i;

TOLVANE_AVX2_INLINE Vector Words(int value) {
    return _mm256_set1_epi16(static_cast<short>(value));
}
TOLVANE_AVX2_INLINE Vector Wide(int value) {
    return _mm256_set1_epi32(value);
}

TOLVANE_AVX2_INLINE Vector Load(const int16_t* in) {
    return _mm256_loadu_si256(reinterpret_cast<const Vector*>(in));
}

// The magnitudes, the most negative one too, as far as a limit.
TOLVANE_AVX2_INLINE Vector Sizes(Vector samples, int limit) {
    return _mm256_min_epu16(_mm256_abs_epi16(samples), Words(limit));
}

TOLVANE_AVX2_INLINE Vector WideFloatCodes(Vector sizes) {
    const Vector bits = _mm256_castps_si256(_mm256_cvtepi32_ps(sizes));
    const Vector above = _mm256_and_si256(bits, Wide(0x7F << kFloatToMidpoint));
    const Vector midpoint = _mm256_cmpeq_epi32(above, _mm256_setzero_si256());
    return _mm256_add_epi32(_mm256_srli_epi32(bits, kFloatToCode), midpoint);
}

TOLVANE_AVX2_INLINE Vector FloatCodes(Vector sizes) {
    const Vector zero = _mm256_setzero_si256();
    const Vector codes = _mm256_packs_epi32(WideFloatCodes(_mm256_unpacklo_epi16(sizes, zero)),
                                            WideFloatCodes(_mm256_unpackhi_epi16(sizes, zero)));
    return _mm256_sub_epi16(codes, Words(kCodeOf128));
}

TOLVANE_AVX2_INLINE Vector MuLawWords(Vector samples) {
    const Vector codes = FloatCodes(_mm256_add_epi16(Sizes(samples, kMuLargest), Words(kMuBias)));
    const Vector negative = _mm256_srai_epi16(samples, 15);
    return _mm256_xor_si256(_mm256_xor_si256(codes, Words(0xFF)), _mm256_and_si256(negative, Words(0x80)));
}

TOLVANE_AVX2_INLINE Vector ALawWords(Vector samples) {
    const Vector sizes = Sizes(samples, 32'767);
    const Vector linear = _mm256_min_epi16(_mm256_srli_epi16(sizes, 4), Words(31));
    const Vector codes = _mm256_max_epi16(FloatCodes(sizes), linear);
    const Vector negative = _mm256_srai_epi16(samples, 15);
    return _mm256_xor_si256(_mm256_xor_si256(codes, Words(0xD5)), _mm256_and_si256(negative, Words(0x80)));
}

template <auto Encode>
TOLVANE_AVX2_INLINE size_t EncodeMost(const int16_t* in, size_t count, uint8_t* out) {
    size_t done = 0;
    for (; done + 32 <= count; done += 32) {
        const Vector packed = _mm256_packus_epi16(Encode(Load(in + done)), Encode(Load(in + done + 16)));
        const Vector bytes = _mm256_permute4x64_epi64(packed, 0b11'01'10'00);
        _mm256_storeu_si256(reinterpret_cast<Vector*>(out + done), bytes);
    }
    return done;
}

// Two to the exponent of each code.
TOLVANE_AVX2_INLINE Vector Powers(Vector exponents) {
    const Vector powers = _mm256_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 0, 0, 0, 0, 0, 0, 0, 0,  //
                                           1, 2, 4, 8, 16, 32, 64, -128, 0, 0, 0, 0, 0, 0, 0, 0);
    // The upper byte of each word picks a zero.
    return _mm256_shuffle_epi8(powers, _mm256_or_si256(exponents, Words(0x8000)));
}

TOLVANE_AVX2_INLINE Vector Signed(Vector sizes, Vector codes) {
    const Vector negative = _mm256_srai_epi16(_mm256_slli_epi16(codes, 8), 15);
    return _mm256_sub_epi16(_mm256_xor_si256(sizes, negative), negative);
}

TOLVANE_AVX2_INLINE Vector MuLawSamples(Vector bytes) {
    const Vector codes = _mm256_xor_si256(bytes, Words(0xFF));
    const Vector exponents = _mm256_and_si256(_mm256_srli_epi16(codes, 4), Words(7));
    const Vector mantissas = _mm256_slli_epi16(_mm256_and_si256(codes, Words(15)), 3);
    const Vector biased = _mm256_mullo_epi16(_mm256_add_epi16(mantissas, Words(kMuBias)), Powers(exponents));
    return Signed(_mm256_sub_epi16(biased, Words(kMuBias)), codes);
}

TOLVANE_AVX2_INLINE Vector ALawSamples(Vector bytes) {
    const Vector codes = _mm256_xor_si256(bytes, Words(0xD5));
    const Vector exponents = _mm256_and_si256(_mm256_srli_epi16(codes, 4), Words(7));
    const Vector linear =
        _mm256_add_epi16(_mm256_slli_epi16(_mm256_and_si256(codes, Words(15)), 4), Words(8));
    const Vector above = _mm256_min_epi16(exponents, Words(1));
    const Vector sizes = _mm256_add_epi16(linear, _mm256_slli_epi16(above, 8));
    return Signed(_mm256_mullo_epi16(sizes, Powers(_mm256_sub_epi16(exponents, above))), codes);
}

template <auto Decode>
TOLVANE_AVX2_INLINE size_t DecodeMost(const uint8_t* in, size_t count, int16_t* out) {
    size_t done = 0;
    for (; done + 16 <= count; done += 16) {
        const Vector bytes =
            _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + done)));
        _mm256_storeu_si256(reinterpret_cast<Vector*>(out + done), Decode(bytes));
    }
    return done;
}

}  // namespace

TOLVANE_AVX2 void DecodeMuLaw(const uint8_t* in, size_t count, int16_t* out) {
    const size_t done = DecodeMost<MuLawSamples>(in, count, out);
    plain::DecodeMuLaw(in + done, count - done, out + done);
}

TOLVANE_AVX2 void DecodeALaw(const uint8_t* in, size_t count, int16_t* out) {
    const size_t done = DecodeMost<ALawSamples>(in, count, out);
    plain::DecodeALaw(in + done, count - done, out + done);
}

TOLVANE_AVX2 void EncodeMuLaw(const int16_t* in, size_t count, uint8_t* out) {
    const size_t done = EncodeMost<MuLawWords>(in, count, out);
    plain::EncodeMuLaw(in + done, count - done, out + done);
}

TOLVANE_AVX2 void EncodeALaw(const int16_t* in, size_t count, uint8_t* out) {
    const size_t done = EncodeMost<ALawWords>(in, count, out);
    plain::EncodeALaw(in + done, count - done, out + done);
}

}  // namespace tolvane::platform::avx2
