// The loops of software volume and mixing beside the plain rule: every sample, and gains close together where rounding,
// limits and the choice between two ways of computing are.
#include "playback/mixing_loops.h"

#include <cmath>
#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "playback/mixing_model.h"

namespace tolvane::test {
namespace {

Bytes EverySample(int bits) {
    return Block(bits, size_t{1} << bits, [&](int i) { return i - (1 << (bits - 1)); });
}

void AddNeighbours(float gain, std::vector<float>* gains) {
    for (const float sign : {1.0F, -1.0F})
        for (const float near : {std::nextafter(gain, -1e30F), gain, std::nextafter(gain, 1e30F)})
            gains->push_back(sign * near);
}

// Small ones, whole ones and any between, up to what no sample can be multiplied by.
std::vector<float> ManyGains(size_t random_ones) {
    std::vector<float> gains = {INFINITY, -INFINITY, NAN, 1e-45F, 3e38F};
    for (const float gain : {0.0F, 1.0F / 65536, 1.0F / 256, 0.5F, 1.0F, 1.0F / 3, 2.0F, 3.0F, 30000.0F,
                             32767.0F, 32768.0F, 65535.0F, 1e9F})
        AddNeighbours(gain, &gains);
    std::mt19937 random(4);
    std::uniform_real_distribution<float> power(-12, 17);
    for (size_t i = 0; i < random_ones; ++i)
        gains.push_back((i % 2 ? 1.0F : -1.0F) * std::exp2(power(random)));
    return gains;
}

// Gains between two neighbouring fractions with denominators up to 128 make the same of each of the 256 samples: the
// fractions and what lies beside them are all there is to try.
std::vector<float> EveryKindOfGain8(int most) {
    std::vector<float> gains;
    for (int below = 1; below <= 128; ++below)
        for (int above = 1; above <= most * below; ++above)
            if (std::gcd(above, below) == 1)
                AddNeighbours(static_cast<float>(above) / static_cast<float>(below), &gains);
    return gains;
}

// Taken in pieces that no vector divides, at places that are not aligned.
template <class Work>
void ForPieces(size_t frames, Work work) {
    for (size_t at = 0, length = 1; at < frames; at += length, length = length % 97 + 13)
        work(at, std::min(length, frames - at));
}

void ExpectGained(const Bytes& samples, int bits, uint16_t channels, Gains gains) {
    const FrameLayout layout{channels, static_cast<uint16_t>(bits)};
    const size_t frames = samples.size() / layout.Bytes();
    Bytes block(1);
    block.insert(block.end(), samples.begin(), samples.end());
    ForPieces(frames, [&](size_t at, size_t length) {
        GainFrames(block.data() + 1 + at * layout.Bytes(), length, layout, gains);
    });
    const Bytes expected = Gained(samples, {channels, bits, {gains.left, gains.right}});
    ASSERT_TRUE(Part(block, 1, block.size()) == expected)
        << bits << " bits, " << channels << " channels, " << gains.left << ", " << gains.right;
}

void ExpectGainedAlike(const Bytes& samples, int bits, const std::vector<float>& gains) {
    for (size_t i = 0; i < gains.size(); ++i) {
        const Gains pair{gains[i], gains[(i * 7 + 5) % gains.size()]};
        ASSERT_NO_FATAL_FAILURE(ExpectGained(samples, bits, static_cast<uint16_t>(i % 3 + 1), pair));
    }
}

TEST(SoftwareGain, EverySampleOf8BitsByEveryKindOfGain) {
    const std::vector<float> gains = EveryKindOfGain8(3);
    ASSERT_GT(gains.size(), 80'000u);
    const Bytes samples = EverySample(8), twice = samples + samples;
    for (size_t i = 0; i < gains.size(); i += 2) {
        ASSERT_NO_FATAL_FAILURE(ExpectGained(samples, 8, 1, {gains[i], 0}));
        ASSERT_NO_FATAL_FAILURE(ExpectGained(samples, 8, 1, {gains[i + 1], 0}));
    }
    ExpectGainedAlike(twice + twice + twice, 8, ManyGains(3'000));
}

TEST(SoftwareGain, EverySampleOf16BitsByManyGains) {
    const Bytes samples = EverySample(16);
    for (const float gain : ManyGains(100))
        ASSERT_NO_FATAL_FAILURE(ExpectGained(samples, 16, 1, {gain, 0}));
    const Bytes some = Block(16, 6'000, [](int i) { return i % 65'521 * 11 - 32'768; });
    ExpectGainedAlike(some, 16, ManyGains(3'000));
}

void ExpectMixed(const Bytes& own, const Bytes& other, const Mix& mix) {
    const size_t frame = mix.layout.Bytes();
    const MixRule rule{mix.layout.channels,
                       mix.layout.bits,
                       {mix.main.left, mix.main.right},
                       {mix.mixed.left, mix.mixed.right},
                       mix.average};
    ForPieces(own.size() / frame, [&](size_t at, size_t length) {
        Bytes block = Part(own, at * frame, (at + length) * frame);
        Bytes mixed = Part(other, at * frame, (at + length) * frame);
        const Mixed model(block, mixed, rule);
        const bool limited = MixFrames(block.data(), mixed.data(), length, mix);
        ASSERT_TRUE(block == model.block && mixed == model.mixed && limited == model.limited)
            << mix.layout.bits << " bits, " << mix.layout.channels << " channels, " << mix.main.left << ", "
            << mix.main.right << ", " << mix.mixed.left << ", " << mix.mixed.right
            << (mix.average ? " averaged" : "");
    });
}

void ExpectMixedByMany(const Bytes& own, const Bytes& other, uint16_t bits, size_t rounds) {
    const std::vector<float> gains = ManyGains(200);
    const auto any = [&](size_t i) { return i % 5 ? gains[i * 31 % gains.size()] : 1.0F; };
    for (size_t i = 0; i < rounds; ++i) {
        const Mix mix{{static_cast<uint16_t>(i % 3 + 1), bits},
                      {any(i), any(i + 1)},
                      {any(i + 2), any(i + 3)},
                      i % 2 == 0};
        ASSERT_NO_FATAL_FAILURE(ExpectMixed(own, other, mix));
    }
}

TEST(Mixing, EveryPairOfSamplesOf8Bits) {
    const Bytes own = Block(8, 65'536, [](int i) { return i / 256 - 128; });
    const Bytes other = Block(8, 65'536, [](int i) { return i % 256 - 128; });
    for (const bool average : {false, true})
        for (const float gain : {1.0F, 0.7F, -1.9F, 40.0F})
            ExpectMixed(own, other, {{1, 8}, {1, 1}, {gain, 1}, average});
    ExpectMixedByMany(Part(own, 0, 6'000), Part(other, 13, 6'013), 8, 500);
}

TEST(Mixing, SamplesOf16BitsAlsoWhereASumJustFits) {
    const Bytes own = Block(16, 65'536, [](int i) { return i * 27 % 65'536 - 32'768; });
    const Bytes other = Block(16, 65'536, [](int i) { return i * 12'007 % 65'536 - 32'768; });
    const Bytes just = Block(16, 65'536, [&](int i) {
        const int sample = SampleAt(own, static_cast<size_t>(i), 16);
        return std::clamp((sample < 0 ? -32'768 : 32'767) - sample + i / 7 % 3 - 1, -32'768, 32'767);
    });
    for (const bool average : {false, true})
        for (const Bytes& second : {other, just})
            ExpectMixed(own, second, {{2, 16}, {1, 1}, {1, 1}, average});
    ExpectMixedByMany(Part(own, 0, 12'000), Part(other, 0, 12'000), 16, 500);
}

}  // namespace
}  // namespace tolvane::test
