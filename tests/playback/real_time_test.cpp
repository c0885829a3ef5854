// Playback at its real pace: ends, pauses, moves and positions in about the right
// time.
#include "support/level.h"
#include "support/real_devices.h"

namespace tolvane::test {
namespace {

constexpr Format kStereo{44100, 2, 16};
using ServerRealTime = RealDevices;

TEST_F(ServerRealTime, PlaysToTheEndInAboutItsLength) {
    int ended = 0;
    for (const Format& format : {kStereo, Format{22050, 1, 8}, Format{48000, 2, 8}, Format{8000, 1, 16}}) {
        SCOPED_TRACE(format.rate);
        const auto path = Write(format, 0.5);
        const Stopwatch watch;
        ASSERT_EQ(Play(path), TOLVANE_OK);
        ASSERT_TRUE(window_.AwaitEnd(++ended));
        EXPECT_GT(watch.Seconds(), 0.4);
        EXPECT_LT(watch.Seconds(), 0.5 + kStartAllowance);
        EXPECT_EQ(AudioGetPosition(TOLVANE_SAMPLES), 0u);
    }
    Sleep(0.2);
    EXPECT_EQ(window_.Ended(), ended) << "each end is told once";
    EXPECT_TRUE(window_.AllPlain());
}

TEST_F(ServerRealTime, CountsThePositionForwardToTheEnd) {
    ASSERT_EQ(Play(Write(kStereo, 0.8), 100), TOLVANE_OK);
    uint32_t last = 0, told = 0;
    while (window_.Ended() == 0) {
        const uint32_t position = AudioGetPosition(TOLVANE_MILLISECONDS);
        if (position == 0) continue;  // the end is near, its message on the way
        ASSERT_GE(position, last);
        ASSERT_GE(position, 100u);
        ASSERT_LE(position, 800u);
        told += position != last;
        last = position;
        Sleep(0.002);
    }
    EXPECT_GT(last, 500u);
    EXPECT_GT(told, 10u) << "in more than a few steps";
}

TEST_F(ServerRealTime, HoldsInAPauseAndGoesOn) {
    ASSERT_EQ(Play(Write(kStereo, 1)), TOLVANE_OK);
    while (AudioGetPosition(TOLVANE_MILLISECONDS) < 100)
        Sleep(0.002);
    AudioPause();
    Sleep(0.1);  // what the device had under way
    const uint32_t held = AudioGetPosition(TOLVANE_MILLISECONDS);
    Sleep(1.2);
    EXPECT_EQ(AudioGetPosition(TOLVANE_MILLISECONDS), held);
    EXPECT_EQ(window_.Ended(), 0);
    AudioResume();
    const Stopwatch watch;
    ASSERT_TRUE(window_.AwaitEnd());
    EXPECT_GT(watch.Seconds(), 1 - held / 1000.0 - 0.2);
}

TEST_F(ServerRealTime, MovesAtOnce) {
    ASSERT_EQ(Play(Write(kStereo, 20)), TOLVANE_OK);
    Sleep(0.1);
    AudioMoveTo(10000, TOLVANE_MILLISECONDS);
    Sleep(0.3);
    const uint32_t there = AudioGetPosition(TOLVANE_MILLISECONDS);
    EXPECT_GE(there, 10000u);
    EXPECT_LT(there, 10000 + 1000 * kStartAllowance);
    AudioMoveTo(1000, TOLVANE_MILLISECONDS);
    EXPECT_LT(AudioGetPosition(TOLVANE_MILLISECONDS), 1000 + 1000 * kStartAllowance);
    AudioMoveTo(19900, TOLVANE_MILLISECONDS);
    EXPECT_TRUE(window_.AwaitEnd(1, 4000));
    EXPECT_EQ(window_.Ended(), 1);
}

TEST_F(ServerRealTime, StopsAndStartsInQuickSuccession) {
    const auto path = Write(kStereo, 5);
    for (int round = 1; round <= 12; ++round) {
        ASSERT_EQ(Play(path), TOLVANE_OK) << round;
        Sleep(0.02 * (round % 4));
        if (round % 3 == 0) AudioPause();
        const Stopwatch watch;
        AudioStop();
        EXPECT_LT(watch.Seconds(), kStartAllowance);
        EXPECT_EQ(window_.Ended(), round) << "told when the call returns";
    }
}

TEST_F(ServerRealTime, TellsTheLevelOfWhatIsHeard) {
    Bytes sound(4 * 44100);  // silence, then a square wave at half scale
    for (size_t i = sound.size() / 2 + 1; i < sound.size(); i += 2)
        sound[i] = 0x40;
    const auto path = folder_.Write("x.wav", WaveFile(kStereo, sound));
    ASSERT_EQ(AudioPlayWave(path.c_str(), 0, 0, 0, 1, 0), TOLVANE_OK);
    Sleep(0.05);
    EXPECT_EQ(PlaybackLevel(), (Level{0, 0}));
    uint32_t loudest = 0;
    while (window_.Ended() == 0) {
        if (const Level level = PlaybackLevel(); level != Level())
            loudest = std::max({loudest, level.left, level.right});
        Sleep(0.01);
    }
    EXPECT_EQ(loudest, 50u);
}

}  // namespace
}  // namespace tolvane::test
