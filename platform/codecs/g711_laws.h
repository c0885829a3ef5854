// The arithmetic of G.711: samples of 16 bits to bytes of mu-law or A-law and back.
//
// A byte is decoded as everybody does; a sample becomes the byte that decodes to the nearest value.
#ifndef TOLVANE_PLATFORM_CODECS_G711_LAWS_H
#define TOLVANE_PLATFORM_CODECS_G711_LAWS_H

#include <cstddef>
#include <cstdint>

namespace tolvane::platform {

void DecodeMuLaw(const uint8_t* in, size_t count, int16_t* out);
void DecodeALaw(const uint8_t* in, size_t count, int16_t* out);
void EncodeMuLaw(const int16_t* in, size_t count, uint8_t* out);
void EncodeALaw(const int16_t* in, size_t count, uint8_t* out);

// The two ways to the same bytes; the second wants a processor with AVX2.
namespace plain {
void DecodeMuLaw(const uint8_t* in, size_t count, int16_t* out);
void DecodeALaw(const uint8_t* in, size_t count, int16_t* out);
void EncodeMuLaw(const int16_t* in, size_t count, uint8_t* out);
void EncodeALaw(const int16_t* in, size_t count, uint8_t* out);
}  // namespace plain
namespace avx2 {
void DecodeMuLaw(const uint8_t* in, size_t count, int16_t* out);
void DecodeALaw(const uint8_t* in, size_t count, int16_t* out);
void EncodeMuLaw(const int16_t* in, size_t count, uint8_t* out);
void EncodeALaw(const int16_t* in, size_t count, uint8_t* out);
}  // namespace avx2

// Both laws are short floating-point numbers: sign, three bits of exponent, four of mantissa. mu-law adds a bias first,
// so that its smallest numbers follow the same rule; A-law's smallest exponent is linear. A sample turned into a real
// float therefore has its code in the top bits. Only where the exponent changes is the midpoint of two neighbours not a
// change of these bits: the first 128th above a power of two belongs to the byte below.
namespace g711 {
constexpr int kMuBias = 132, kMuLargest = 32'635;
constexpr int kFloatToCode = 19, kFloatToMidpoint = 16;
// The code of a float is relative to that of 128: the first segment's begin for mu-law; A-law's is linear as far as
// 512, which has code 32 there too.
constexpr int kCodeOf128 = (127 + 7) << 4;
}  // namespace g711

}  // namespace tolvane::platform
#endif
