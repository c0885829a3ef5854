// Peak measurement against a few plain lines, on random blocks of every length and shape.
#include "files/peaks.h"

#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

#include "support/wave_files.h"

namespace tolvane {
namespace {

int Sample(const test::Bytes& block, size_t at, int bits) {
    return bits == 8 ? block[at] - 128 : static_cast<int16_t>(block[at] | block[at + 1] << 8);
}

// Samples of a channel, one stride apart, as long as a whole stride fits.
Peaks Expected(const test::Bytes& block, int channels, int bits) {
    const size_t size = static_cast<size_t>(bits / 8),
                 stride = channels == 2 && bits == 16 ? 8 : size * static_cast<size_t>(channels);
    const size_t frame = size * static_cast<size_t>(channels);
    int left = 0, right = 0;
    for (size_t at = 0; at + frame <= block.size(); at += stride) {
        left = std::max(left, std::abs(Sample(block, at, bits)));
        right = std::max(right, std::abs(Sample(block, channels == 2 ? at + size : at, bits)));
    }
    return {static_cast<uint16_t>(left), static_cast<uint16_t>(right)};
}

TEST(PeakMeasurement, FindsTheLargestMagnitude) {
    std::mt19937 random(3);
    for (int round = 0; round < 4000; ++round) {
        test::Bytes block(1 + random() % 300);
        for (auto& byte : block)
            byte = random() % 4 ? static_cast<uint8_t>(128 + random() % 9) : static_cast<uint8_t>(random());
        for (const int channels : {1, 2})
            for (const int bits : {8, 16}) {
                Peaks peaks{9, 9};
                ASSERT_TRUE(MeasurePeaks(block.data(), static_cast<uint32_t>(block.size()),
                                         static_cast<uint16_t>(channels), static_cast<uint16_t>(bits),
                                         &peaks));
                const Peaks expected = Expected(block, channels, bits);
                ASSERT_EQ(peaks.left, expected.left)
                    << channels << " x " << bits << " bits, " << block.size() << " bytes";
                ASSERT_EQ(peaks.right, expected.right)
                    << channels << " x " << bits << " bits, " << block.size();
            }
    }
}

}  // namespace
}  // namespace tolvane
