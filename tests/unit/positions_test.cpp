// Position arithmetic: units, truncation, extremes.
#include "files/positions.h"

#include <gtest/gtest.h>

namespace tolvane {
namespace {

constexpr uint32_t kMost = 0xFFFFFFFF;

InputFileInfo Pcm(uint32_t rate, uint16_t channels, uint16_t bits) {
    const auto block = static_cast<uint16_t>(uint32_t{channels} * bits / 8);
    return {1, channels, rate, rate * block, block, bits};
}

const InputFileInfo kStereo = Pcm(44100, 2, 16);

struct Case {
    uint32_t from;
    uint16_t unit;
    InputFileInfo format;
    uint32_t to;
};

TEST(Positions, BecomeBytes) {
    for (const Case& item : {
             Case{3, TOLVANE_MILLISECONDS, kStereo, 529},  // inside a frame
             {1000, TOLVANE_MILLISECONDS, kStereo, 176400},
             {1000, 3, Pcm(11025, 1, 16), 22050},
             {999, TOLVANE_MILLISECONDS, Pcm(8000, 1, 8), 7992},
             {1, TOLVANE_MILLISECONDS, Pcm(500, 1, 8), 0},
             {3, TOLVANE_SAMPLES, Pcm(8000, 3, 24), 27},
             {kMost, TOLVANE_BYTES, kStereo, kMost},
             {kMost / 4, TOLVANE_SAMPLES, kStereo, kMost - 3},
             {kMost / 4 + 1, TOLVANE_SAMPLES, kStereo, kMost},
             {kMost, TOLVANE_SAMPLES, Pcm(44100, 65535, 65535), kMost},
             {kMost, TOLVANE_MILLISECONDS, kStereo, kMost},
             {5, TOLVANE_SAMPLES, Pcm(44100, 0, 16), 0},
             {5, TOLVANE_MILLISECONDS, Pcm(0, 2, 16), 0},
         })
        EXPECT_EQ(PositionToBytes(item.from, item.unit, item.format), item.to)
            << item.from << " in unit " << item.unit;
}

// Doubles in every step and on every processor: a wider unit would find the one or the other a millisecond early.
TEST(Positions, OfWholeMillisecondsAreRoundedAlike) {
    for (const InputFileInfo& format : {Pcm(8000, 1, 8), Pcm(48000, 2, 16)})
        for (uint32_t i = 1; i < 3000; ++i) {
            const uint32_t bytes = i * (format.nAvgBytesPerSec / 1000);
            const volatile double seconds = bytes / (format.nAvgBytesPerSec * 8.0);
            const volatile double position = seconds * 8000;
            EXPECT_EQ(BytesToPosition(bytes, TOLVANE_MILLISECONDS, format), static_cast<uint32_t>(position))
                << bytes;
        }
    EXPECT_EQ(BytesToPosition(8008, TOLVANE_MILLISECONDS, Pcm(8000, 1, 8)), 1000u);
}

TEST(Positions, ComeFromBytes) {
    for (const Case& item : {
             Case{176400, TOLVANE_MILLISECONDS, kStereo, 1000},
             {529, TOLVANE_MILLISECONDS, kStereo, 2},
             {22050, 9, Pcm(11025, 1, 16), 1000},
             {kMost, TOLVANE_MILLISECONDS, kStereo, 24347887},
             {kMost, TOLVANE_MILLISECONDS, Pcm(1, 1, 8), kMost},
             {15, TOLVANE_SAMPLES, kStereo, 3},
             {kMost, TOLVANE_BYTES, kStereo, kMost},
             {9, TOLVANE_SAMPLES, Pcm(8000, 0, 0), 0},
             {9, TOLVANE_MILLISECONDS, Pcm(0, 2, 16), 0},
             {9, TOLVANE_MILLISECONDS, Pcm(8000, 0, 16), 0},
         })
        EXPECT_EQ(BytesToPosition(item.from, item.unit, item.format), item.to)
            << item.from << " in unit " << item.unit;
    EXPECT_EQ(DownToBlock(529, 4), 528u);
    EXPECT_EQ(DownToBlock(kMost, 0), kMost);
}

}  // namespace
}  // namespace tolvane
