// The loops of the change of format, sample by sample, for every sample value and for counts that no vector divides.
#include <cstring>

#include <gtest/gtest.h>

#include "convert/sample_loops.h"
#include "support/wave_files.h"

namespace tolvane::test {
namespace {

template <class Sample, class From>
void Append(Bytes* to, From value) {
    const auto sample = static_cast<Sample>(value);
    const auto* bytes = reinterpret_cast<const uint8_t*>(&sample);
    to->insert(to->end(), bytes, bytes + sizeof sample);
}

Bytes Looped(BlockLoop loop, const Bytes& in, size_t count, uint32_t factor, size_t room) {
    Bytes out(room + 64, 0xA5);
    const size_t made = loop(in.data(), count, factor, out.data());
    EXPECT_EQ(Part(out, made, out.size()), Bytes(out.size() - made, 0xA5)) << "wrote beyond what it made";
    out.resize(made);
    return out;
}

TEST(SampleLoops, RepeatAndKeepUnits) {
    for (uint32_t unit : {1u, 2u, 4u})
        for (uint32_t factor : {2u, 3u, 4u, 7u, 300u})
            for (size_t count : {0u, 1u, 2u, 15u, 63u, 64u, 257u}) {
                const Bytes in = Pattern(count * unit, unit * factor);
                Bytes repeated, kept;
                for (size_t i = 0; i < count; ++i) {
                    const Bytes one = Part(in, i * unit, (i + 1) * unit);
                    for (uint32_t j = 0; j < factor; ++j)
                        repeated.insert(repeated.end(), one.begin(), one.end());
                    if (i % factor == 0) kept.insert(kept.end(), one.begin(), one.end());
                }
                SCOPED_TRACE(::testing::Message() << unit << " bytes, " << count << " units by " << factor);
                ASSERT_EQ(Looped(RepeatLoop(unit), in, count, factor, repeated.size()), repeated);
                ASSERT_EQ(Looped(KeepLoop(unit), in, count, factor, kept.size()), kept);
            }
}

TEST(SampleLoops, ChangeTheSizeOfEverySample) {
    Bytes narrow_in, narrowed, wide_in, widened;
    for (int s = -32768; s < 32768; ++s) {
        Append<int16_t>(&narrow_in, s);
        const int toward_zero = s < 0 ? -(-s / 256) : s / 256;
        Append<uint8_t>(&narrowed, toward_zero + 128);
    }
    for (int s = 0; s < 256; ++s) {
        Append<uint8_t>(&wide_in, s);
        Append<int16_t>(&widened, (s - 128) * 256);
    }
    EXPECT_EQ(Looped(NarrowSamples, narrow_in, 65536, 1, 65536), narrowed);
    EXPECT_EQ(Looped(WidenSamples, wide_in, 256, 1, 512), widened);
    EXPECT_EQ(Looped(NarrowSamples, narrow_in, 37, 1, 37), Part(narrowed, 0, 37));
    EXPECT_EQ(Looped(WidenSamples, wide_in, 37, 1, 74), Part(widened, 0, 74));
}

// The halving in other words: of the absolute value, with the sign put back.
int Half(int sum) {
    return sum < 0 ? -(-sum / 2) : sum / 2;
}

TEST(SampleLoops, AverageFramesTowardZero) {
    Bytes in8, out8, in16, out16;
    for (int left = 0; left < 256; ++left)
        for (int right = 0; right < 256; ++right) {
            Append<uint8_t>(&in8, left);
            Append<uint8_t>(&in8, right);
            Append<uint8_t>(&out8, Half(left + right - 256) + 128);
        }
    for (int left = -32768; left < 32768; left += 17)
        for (int right : {-32768, -32767, -1001, -2, -1, 0, 1, 999, 32767, left, -left - 1}) {
            Append<int16_t>(&in16, left);
            Append<int16_t>(&in16, right);
            Append<int16_t>(&out16, Half(left + right));
        }
    EXPECT_EQ(Looped(AverageLoop(1), in8, out8.size(), 2, out8.size()), out8);
    EXPECT_EQ(Looped(AverageLoop(2), in16, out16.size() / 2, 2, out16.size()), out16);
    EXPECT_EQ(Looped(AverageLoop(2), in16, 37, 2, 74), Part(out16, 0, 74));
}

}  // namespace
}  // namespace tolvane::test
