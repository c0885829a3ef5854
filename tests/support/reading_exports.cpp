// The answers must be documented ones and must agree with each other.
#include "support/reading_exports.h"

#include <gmock/gmock.h>

#include "platform.h"
#include "tolvane.h"

namespace tolvane::test {

using ::testing::AnyOf;

// To its end where the clock can be moved, which is quicker than a stop; a stop ends what is left.
static void PlayOut() {
    PlatformVirtualAdvance(0, 100000);
    AudioStop();
}

static void Play(const char* path) {
    EXPECT_THAT(AudioLoadFile(path), AnyOf(0, 102, 104));
    EXPECT_THAT(AudioPlayCurrentFile(1, TOLVANE_SAMPLES), AnyOf(0, 102, 103, 104, 105, 106, 113));
    PlayOut();
    for (const uint32_t convert : {0u, 1u}) {
        const uint16_t code = AudioPlayWaveEx(path, 3, TOLVANE_MILLISECONDS, 0, convert, 0, 0);
        EXPECT_THAT(code, AnyOf(0, 102, 103, 104, 105, 106, 113,
                                ::testing::AllOf(::testing::Ge(400), ::testing::Le(430))));
        uint32_t left = 0, right = 0;
        AudioGetPlaybackLevel(&left, &right);
        EXPECT_LE(left, 100u);
        AudioGetPosition(TOLVANE_MILLISECONDS);
        AudioMoveTo(1, TOLVANE_SAMPLES);
        PlayOut();
        EXPECT_EQ(AudioGetPosition(TOLVANE_BYTES), 0u);
    }
}

void ReadEverything(const std::string& name, bool play) {
    const char* path = name.c_str();
    InputFileInfo format{};
    const uint16_t code = GetInputFileInfo(path, &format);
    EXPECT_THAT(code, AnyOf(0, 102, 115, 116));
    uint32_t size = 0;
    EXPECT_THAT(GetDataChunkSize(path, &size), AnyOf(0, 102, 107, 110));
    for (const uint16_t unit : {TOLVANE_MILLISECONDS, TOLVANE_SAMPLES, TOLVANE_BYTES}) {
        AudioFileInfo info{};
        const uint16_t told = AudioGetFileInfo(&info, path, unit, 1);
        EXPECT_THAT(told, AnyOf(code, 107));
        EXPECT_TRUE(told != TOLVANE_OK ||
                    (info.formatTag == 1 && info.channels && info.sampleRate && info.bitsPerSample));
    }
    EXPECT_EQ(CanSetPositionAndSampleRate(path), code == TOLVANE_OK && format.wFormatTag == 1 ? 1u : 0u);
    EXPECT_LE(AudioIsTheSampleSpeedSupported(path, 44100), 1u);
    if (play) Play(path);
}

}  // namespace tolvane::test
