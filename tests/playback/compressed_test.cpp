// Compressed files: the copy they are played from, made once and again after a change.
#include "convert/converting.h"
#include "support/faults.h"
#include "support/virtual_card.h"

namespace tolvane::test {
namespace {

class PlaybackCopy : public Playing {
  protected:
    void SetUp() override {
        Playing::SetUp();
        if (IsSkipped()) return;
        PlatformShowBuiltInCodecs(0);
        driver_.emplace(FlipDriver(codec_, {{1, "PCM"}, {kFlipTag, "Flip"}}));
        Compress(Pattern(30000));
    }
    void TearDown() override {
        Playing::TearDown();
        driver_.reset();
        PlatformShowBuiltInCodecs(1);
        SetTempPath(testing::TempDir().c_str());
    }
    void Compress(const Bytes& sound) {
        sound_ = sound;
        format_ = kFlipPcm;
        path_ = folder_.Write("x.wav", WaveFile(kFlipFormat, Flipped(sound)));
    }
    // The number of conversions that a playback of the whole file took.
    int PlayWhole() {
        const int before = codec_.opened;
        PlatformVirtualClearPlayed(0);
        EXPECT_EQ(Play(), TOLVANE_OK);
        PlayOut();
        EXPECT_TRUE(HeardBytes(sound_));
        return codec_.opened - before;
    }

    FlipCodec codec_;
    std::optional<RegisteredCodec> driver_;
};

TEST_F(PlaybackCopy, IsMadeOnceAndAgainAfterAChange) {
    EXPECT_EQ(PlayWhole(), 1);
    EXPECT_EQ(PlayWhole(), 0);
    EXPECT_EQ(PlayWhole(), 0) << "reading it does not change a file";
    Compress(Pattern(20000, 7));
    EXPECT_EQ(PlayWhole(), 1);
    EXPECT_EQ(PlayWhole(), 0);
    const std::string other = folder_.Write("other.wav", WaveFile(kFlipPcm, Pattern(100)));
    EXPECT_EQ(AudioPlayWave(other.c_str(), 0, 0, 0, 1, 0), TOLVANE_OK);
    PlayOut();
    EXPECT_EQ(PlayWhole(), 1) << "another file was played in between";
    EXPECT_EQ(SetTempPath(folder_.MakeFolder("temp").c_str()), 0u);
    EXPECT_EQ(PlayWhole(), 1) << "the copy went with the old temp folder";
    AudioLoadFile(path_.c_str());
    EXPECT_EQ(PlayWhole(), 1);
    codec_.suggests = false;
    EXPECT_EQ(AudioPlayWave(path_.c_str(), 0, 0, 0, 0, 0), TOLVANE_FORMAT_NOT_PLAYABLE);
    codec_.suggests = true;
    EXPECT_EQ(PlayWhole(), 1) << "a failed start forgets the copy";
}

// What another thread of the host may do while the copy is made: the copy then serves nobody later.
TEST_F(PlaybackCopy, IsNotTakenForThatOfAnotherFile) {
    const Bytes sound = sound_, other_sound = Pattern(25000, 3);
    const std::string path = path_,
                      other = folder_.Write("other.wav", WaveFile(kFlipFormat, Flipped(other_sound)));
    const std::function<void()> interruptions[] = {
        [&] { EXPECT_EQ(AudioPlayWave(other.c_str(), 0, 0, 0, 1, 0), TOLVANE_ALREADY_PLAYING); },
        [&] { EXPECT_EQ(AudioLoadFile(other.c_str()), TOLVANE_ALREADY_PLAYING); }};
    for (const auto& interruption : interruptions) {
        codec_.at_work = interruption;
        EXPECT_EQ(PlayWhole(), 1);
        path_ = other;
        sound_ = other_sound;
        EXPECT_EQ(PlayWhole(), 1);
        path_ = path;
        sound_ = sound;
    }
    codec_.at_work = [&] { EXPECT_EQ(SetTempPath(folder_.MakeFolder("temp").c_str()), 0u); };
    EXPECT_EQ(Play(), TOLVANE_CANNOT_OPEN);
    EXPECT_THAT(NamesIn(folder_.Path("temp")), testing::SizeIs(5)) << "the copy that was made is gone";
    EXPECT_EQ(PlayWhole(), 1);
}

TEST_F(PlaybackCopy, IsPlayedLikeAnyFile) {
    ASSERT_EQ(Play(10000, 25000), TOLVANE_OK);
    EXPECT_EQ(AudioPlayWave(path_.c_str(), 0, 0, 0, 1, 0), TOLVANE_ALREADY_PLAYING);
    PlayOut();
    EXPECT_TRUE(Heard({{10000, 25000}}));
}

TEST_F(PlaybackCopy, IsNotMadeWhereTheDeviceDecodes) {
    EXPECT_EQ(AudioPlayWave(path_.c_str(), 5'000, 2, 0, 0, 0), TOLVANE_OK);
    PlayOut();
    EXPECT_TRUE(HeardBytes(sound_)) << "from the beginning, whatever the start";
    EXPECT_EQ(PlayWhole(), 1);
}

TEST_F(PlaybackCopy, ThatCannotBeMade) {
    codec_.fails_at = codec_.calls + 1;
    EXPECT_EQ(Play(), TOLVANE_NOT_CONVERTED);
    codec_.fails_at = 0;
    EXPECT_EQ(PlayWhole(), 1);
    path_ = folder_.Write("alien.wav", WaveFile({8000, 1, 8, 0x99}, sound_));
    EXPECT_EQ(Play(), TOLVANE_CANNOT_OPEN) << "no codec lists it";
    codec_.suggests = false;
    Compress(sound_);
    EXPECT_EQ(Play(), TOLVANE_NO_PCM_SUGGESTION);
    EXPECT_TRUE(Closed());
    EXPECT_EQ(PlatformOpenStreams(), 0u);
    EXPECT_EQ(PlatformOpenCodecs(), 0u);
}

}  // namespace
}  // namespace tolvane::test
