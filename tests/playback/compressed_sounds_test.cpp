// Compressed files of real codecs, heard: the card gets what a conversion into PCM gives, whether the library makes a
// copy first or the system's wave mapper decodes on the way.
#include "convert/real_codecs.h"
#include "support/any_card.h"
#include "support/child.h"
#include "support/virtual_card.h"

namespace tolvane::test {
namespace {

constexpr Format kFormat{44100, 2, 16};
constexpr size_t kFrames = 30001;

struct Making {
    const char* name;
    uint16_t tag;
    const char* command;
};
constexpr Making kMakings[] = {{"mu-law", kMuLaw, "sox -D in.wav -e mu-law x.wav"},
                               {"IMA ADPCM", kImaAdpcm, "sox -D in.wav -e ima-adpcm x.wav"},
                               {"MP3", kMp3, "ffmpeg -v error -y -i in.wav -f wav -c:a libmp3lame x.wav"}};

bool MakeSound(const TempFolder& folder, const Making& making) {
    folder.Write("in.wav", WaveFile(kFormat, Music(kFormat, kFrames)));
    return RunTools(folder.Path(), making.command);
}

uint16_t Play(const std::string& path, bool convert) {
    return AudioPlayWaveEx(path.c_str(), 0, 0, 0, convert, 0, 0);
}

Bytes Decoded(const TempFolder& folder) {
    const std::string target = folder.Path("decoded.wav");
    const WAVEFORMATEX format{1, 2, 44100, 176400, 4, 16, 0};
    EXPECT_EQ(ACMAudioConvertFormatPCM(folder.Path("x.wav").c_str(), target.c_str(), &format), 0u);
    return TakeApart(ReadAll(target)).data;
}

class CompressedSounds : public Playing {};

TEST_F(CompressedSounds, AreHeardAsTheyAreDecoded) {
    for (const Making& making : kMakings) {
        SCOPED_TRACE(making.name);
        ASSERT_TRUE(MakeSound(folder_, making));
        const Bytes sound = Decoded(folder_);
        EXPECT_GE(sound.size(), kFrames * kFormat.Block());
        for (const bool convert : {true, true, false}) {
            PlatformVirtualClearPlayed(0);
            ASSERT_EQ(test::Play(folder_.Path("x.wav"), convert), TOLVANE_OK);
            PlayOut();
            EXPECT_TRUE(HeardBytes(sound)) << convert;
        }
    }
}

class CompressedInRealTime : public AnyCard {};

TEST_P(CompressedInRealTime, PlayToTheEndInAboutTheirLength) {
    int ended = 0;
    for (const Making& making : kMakings)
        for (const bool convert : {true, false}) {
            if (making.tag == kMp3 && !AreOwnCodecs()) continue;  // Wine's decoder divides by 0 on such files
            SCOPED_TRACE(std::string(making.name) + (convert ? " copied" : " as it is"));
            ASSERT_TRUE(MakeSound(folder_, making));
            const Stopwatch watch;
            ASSERT_EQ(Play(folder_.Path("x.wav"), convert), TOLVANE_OK);
            ASSERT_TRUE(window_.AwaitEnd(++ended));
            EXPECT_GT(watch.Seconds(), 0.55);
            EXPECT_LT(watch.Seconds(), 0.7 + 2.5);
        }
}

INSTANTIATE_TEST_SUITE_P(Server, CompressedInRealTime, ::testing::Values(PLATFORM_CARD_DEFAULT));
INSTANTIATE_TEST_SUITE_P(Virtual, CompressedInRealTime, ::testing::Values(PLATFORM_CARD_VIRTUAL));

}  // namespace
}  // namespace tolvane::test
