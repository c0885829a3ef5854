// The peak of a block that the host supplies: what is measured, what is passed over, what is left alone.
#include <algorithm>
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

#include "support/level.h"
#include "support/samples.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

Level Measure(uint16_t channels, uint16_t bits, const uint8_t* data, size_t size) {
    InputFileInfo format{};
    format.nChannels = channels;
    format.wBitsPerSample = bits;
    Level level;
    EXPECT_EQ(AudioGetLevelInBuffer(&format, data, static_cast<uint32_t>(size), &level.left, &level.right),
              TOLVANE_OK);
    return level;
}

Level Measure(uint16_t channels, uint16_t bits, const Bytes& data) {
    return Measure(channels, bits, data.data(), data.size());
}

// The largest size of a sample in percent, of 16-bit stereo in every second frame. A byte of 0 has no positive
// counterpart: the channel that holds one is told to be silent. Half a frame at the end is not looked at.
Level Expected(uint16_t channels, uint16_t bits, const Bytes& data) {
    const size_t sample = bits / 8u, frame = channels * sample, step = frame == 4 ? 8 : frame;
    uint32_t percent[2] = {};
    for (size_t channel = 0; channel < channels; ++channel) {
        int peak = 0;
        for (size_t at = 0; at + frame <= data.size(); at += step) {
            peak = std::max(peak, std::abs(SampleAt(data, at / sample + channel, bits)));
        }
        percent[channel] = static_cast<uint32_t>(bits == 16    ? peak * 100 / 32767
                                                 : peak == 128 ? 0
                                                               : peak * 100 / 128);
    }
    return {percent[0], percent[channels - 1]};
}

TEST(LevelInBuffer, IsTheLargestSample) {
    std::mt19937 random(3);
    for (int round = 0; round < 8000; ++round) {
        Bytes block(1 + random() % (round % 2 ? 300 : 9));
        for (auto& byte : block)
            byte = random() % 4 ? static_cast<uint8_t>(128 + random() % 9) : static_cast<uint8_t>(random());
        if (round % 5 == 0) block[random() % block.size()] = 0;
        for (const uint16_t channels : {uint16_t{1}, uint16_t{2}})
            for (const uint16_t bits : {uint16_t{8}, uint16_t{16}})
                ASSERT_EQ(Measure(channels, bits, block), Expected(channels, bits, block))
                    << channels << " x " << bits << " bits, " << block.size() << " bytes";
    }
    for (const int loudest : {-32768, -32767, -16384, 327, 328, 32766, 32767}) {
        const Bytes block = Bytes(200) + Little(static_cast<uint16_t>(loudest), 2) + Bytes(200);
        EXPECT_EQ(Measure(1, 16, block), Expected(1, 16, block)) << loudest;
    }
}

TEST(LevelInBuffer, LeavesTheValuesAloneWhereThereIsNothingToMeasure) {
    const Bytes loud(64, 255);
    EXPECT_EQ(Measure(1, 8, nullptr, 10), Level());
    EXPECT_EQ(Measure(1, 8, loud.data(), 0), Level());
    for (const auto& [channels, bits] :
         {std::pair<uint16_t, uint16_t>{3, 16}, {0, 8}, {2, 24}, {1, 0}, {65535, 8}, {1, 32}})
        EXPECT_EQ(Measure(channels, bits, loud), Level()) << channels << " channels, " << bits << " bits";
    uint32_t left = 5;
    InputFileInfo format{};
    format.nChannels = 1, format.wBitsPerSample = 8;
    EXPECT_EQ(AudioGetLevelInBuffer(nullptr, loud.data(), 64, &left, &left), TOLVANE_OK);
    EXPECT_EQ(left, 5u);
    EXPECT_EQ(AudioGetLevelInBuffer(&format, loud.data(), 64, nullptr, nullptr), TOLVANE_OK);
    EXPECT_EQ(AudioGetLevelInBuffer(&format, loud.data(), 64, nullptr, &left), TOLVANE_OK);
    EXPECT_EQ(left, 99u);
}

TEST(LevelInBuffer, IsNoneForMemoryThatCannotBeRead) {
    const auto* nowhere = reinterpret_cast<const uint8_t*>(uintptr_t{16});
    EXPECT_EQ(Measure(1, 8, nowhere, 100), (Level{0, 0}));
    EXPECT_EQ(Measure(2, 16, nowhere, 100), (Level{0, 0}));
    const Bytes loud(64, 255);
    EXPECT_EQ(Measure(2, 16, loud.data(), 0xF0000000u), (Level{0, 0})) << "readable at its beginning only";
}

}  // namespace
}  // namespace tolvane::test
