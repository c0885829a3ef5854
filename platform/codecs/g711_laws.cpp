// The arithmetic of G.711: one sample after the other, and the choice of the faster way.
#include "platform/codecs/g711_laws.h"

#include "platform/codecs/processor.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>

namespace tolvane::platform {
namespace {

using namespace g711;

constexpr int Mantissa(int code) {
    return code & 15;
}
constexpr int Exponent(int code) {
    return code >> 4 & 7;
}

constexpr int16_t MuLawSample(uint8_t byte) {
    const int code = byte ^ 0xFF, size = ((Mantissa(code) * 8 + kMuBias) << Exponent(code)) - kMuBias;
    return static_cast<int16_t>(code & 0x80 ? -size : size);
}

constexpr int16_t ALawSample(uint8_t byte) {
    const int code = byte ^ 0xD5, linear = Mantissa(code) * 16 + 8;
    const int size = Exponent(code) ? (linear + 256) << (Exponent(code) - 1) : linear;
    return static_cast<int16_t>(code & 0x80 ? -size : size);
}

constexpr int FloatCode(int size) {
    const auto bits = static_cast<int>(std::bit_cast<uint32_t>(static_cast<float>(size)));
    return (bits >> kFloatToCode) - ((bits >> kFloatToMidpoint & 0x7F) == 0) - kCodeOf128;
}

constexpr uint8_t MuLawByte(int sample) {
    const int code = FloatCode(std::min(std::abs(sample), kMuLargest) + kMuBias);
    return static_cast<uint8_t>((sample < 0 ? 0x7F : 0xFF) - code);
}

constexpr uint8_t ALawByte(int sample) {
    const int size = std::min(std::abs(sample), 32'767);
    const int code = std::max(FloatCode(size), std::min(size / 16, 31));
    return static_cast<uint8_t>(code ^ (sample < 0 ? 0x55 : 0xD5));
}

template <int16_t Sample(uint8_t)>
constexpr std::array<int16_t, 256> TableOf() {
    std::array<int16_t, 256> table{};
    for (size_t i = 0; i < table.size(); ++i)
        table[i] = Sample(static_cast<uint8_t>(i));
    return table;
}
constexpr std::array<int16_t, 256> kMuLawSamples = TableOf<MuLawSample>(),
                                   kALawSamples = TableOf<ALawSample>();

}  // namespace

namespace plain {

void DecodeMuLaw(const uint8_t* in, size_t count, int16_t* out) {
    std::transform(in, in + count, out, [](uint8_t byte) { return kMuLawSamples[byte]; });
}

void DecodeALaw(const uint8_t* in, size_t count, int16_t* out) {
    std::transform(in, in + count, out, [](uint8_t byte) { return kALawSamples[byte]; });
}

void EncodeMuLaw(const int16_t* in, size_t count, uint8_t* out) {
    std::transform(in, in + count, out, MuLawByte);
}

void EncodeALaw(const int16_t* in, size_t count, uint8_t* out) {
    std::transform(in, in + count, out, ALawByte);
}

}  // namespace plain

void DecodeMuLaw(const uint8_t* in, size_t count, int16_t* out) {
    (HasAvx2() ? avx2::DecodeMuLaw : plain::DecodeMuLaw)(in, count, out);
}

void DecodeALaw(const uint8_t* in, size_t count, int16_t* out) {
    (HasAvx2() ? avx2::DecodeALaw : plain::DecodeALaw)(in, count, out);
}

void EncodeMuLaw(const int16_t* in, size_t count, uint8_t* out) {
    (HasAvx2() ? avx2::EncodeMuLaw : plain::EncodeMuLaw)(in, count, out);
}

void EncodeALaw(const int16_t* in, size_t count, uint8_t* out) {
    (HasAvx2() ? avx2::EncodeALaw : plain::EncodeALaw)(in, count, out);
}

}  // namespace tolvane::platform
