// The peak of a block that the host supplies: what is measured, what is passed over, what is left alone.
#include <gtest/gtest.h>

#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

struct Level {
    uint32_t left, right;
    bool operator==(const Level&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Level& level) {
    return out << level.left << '|' << level.right;
}

constexpr Level kUntouched{777, 888};

Level Measure(uint16_t channels, uint16_t bits, const uint8_t* data, size_t size) {
    InputFileInfo format{};
    format.nChannels = channels;
    format.wBitsPerSample = bits;
    Level level = kUntouched;
    EXPECT_EQ(AudioGetLevelInBuffer(&format, data, static_cast<uint32_t>(size), &level.left, &level.right),
              TOLVANE_OK);
    return level;
}

Level Measure(uint16_t channels, uint16_t bits, const Bytes& data) {
    return Measure(channels, bits, data.data(), data.size());
}

Bytes Words(std::initializer_list<int> samples) {
    Bytes bytes;
    for (const int sample : samples)
        bytes = std::move(bytes) + Little(static_cast<uint16_t>(sample), 2);
    return bytes;
}

TEST(LevelInBuffer, MeasuresBytesAroundTheirMiddle) {
    EXPECT_EQ(Measure(1, 8, {128, 128, 128}), (Level{0, 0}));
    EXPECT_EQ(Measure(1, 8, {128, 255, 128}), (Level{99, 99}));
    EXPECT_EQ(Measure(1, 8, {1, 255}), (Level{99, 99}));
    EXPECT_EQ(Measure(1, 8, {64}), (Level{50, 50}));
    EXPECT_EQ(Measure(2, 8, {128, 64, 192, 128}), (Level{50, 50}));
    EXPECT_EQ(Measure(2, 8, {128, 192, 96, 128}), (Level{25, 50}));
    EXPECT_EQ(Measure(2, 8, {128, 129, 255}), (Level{0, 0})) << "half a frame at the end is not looked at";
}

TEST(LevelInBuffer, ReportsNothingForAChannelThatHoldsTheLowestByte) {
    EXPECT_EQ(Measure(1, 8, {128, 0, 255}), (Level{0, 0}));
    EXPECT_EQ(Measure(2, 8, {0, 255, 255, 1}), (Level{0, 99}));
    EXPECT_EQ(Measure(2, 8, {200, 0, 128, 128}), (Level{56, 0}));
}

TEST(LevelInBuffer, MeasuresWordsAndEverySecondStereoFrame) {
    EXPECT_EQ(Measure(1, 16, Words({0, 0})), (Level{0, 0}));
    EXPECT_EQ(Measure(1, 16, Words({3, -32768})), (Level{100, 100}));
    EXPECT_EQ(Measure(1, 16, Words({32767})), (Level{100, 100}));
    EXPECT_EQ(Measure(1, 16, Words({-16384, 5})), (Level{50, 50}));
    EXPECT_EQ(Measure(1, 16, Words({32766})), (Level{99, 99}));
    EXPECT_EQ(Measure(1, 16, Words({327}) + Bytes{0xFF}), (Level{0, 0})) << "a lone byte at the end";
    EXPECT_EQ(Measure(2, 16, Words({-328, 655, 32767, 32767, 1, 2, -32768, -32768})), (Level{1, 1}));
    EXPECT_EQ(Measure(2, 16, Words({0, 0, 32767, 32767, 32767, -16384, 0, 0})), (Level{100, 50}));
}

TEST(LevelInBuffer, LeavesTheValuesAloneWhereThereIsNothingToMeasure) {
    const Bytes loud(64, 255);
    EXPECT_EQ(Measure(1, 8, nullptr, 10), kUntouched);
    EXPECT_EQ(Measure(1, 8, loud.data(), 0), kUntouched);
    for (const auto& [channels, bits] :
         {std::pair<uint16_t, uint16_t>{3, 16}, {0, 8}, {2, 24}, {1, 0}, {65535, 8}, {1, 32}})
        EXPECT_EQ(Measure(channels, bits, loud), kUntouched) << channels << " channels, " << bits << " bits";
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
