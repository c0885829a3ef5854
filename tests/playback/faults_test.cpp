// A playback whose services fail: refused buffers, and every call of every operation failing in turn.
#include <gmock/gmock.h>

#include "support/faults.h"
#include "support/virtual_card.h"
#include "support/watchdog.h"

namespace tolvane::test {
namespace {

constexpr Format kStereo{44100, 2, 16};
constexpr uint32_t kBuffer = 21 * 1024 / 4;  // frames

class PlaybackFaults : public Playing {
  protected:
    // After a fault, whatever came of it: the playback can be stopped, was told as ended at most once, and a
    // new one is heard whole.
    void ExpectGoodOrder() {
        watchdog_.At("good order");
        AudioStop();
        PlatformVirtualSettle();
        EXPECT_TRUE(Closed());
        EXPECT_LE(window_.Ended(), ended_ + 1);
        PlatformVirtualClearPlayed(0);
        ASSERT_EQ(Play(), TOLVANE_OK);
        PlayOut();
        EXPECT_TRUE(Heard({{0, sound_.size() / format_.Block()}}));
        ended_ = window_.Ended();
    }
    void Sweep(
        const char* name, const Step& action, const Step& prepare = [] {}) {
        FailEachCall(
            name, action, [&] { ExpectGoodOrder(); }, prepare);
    }

    int ended_ = 0;
    Watchdog watchdog_;
};

TEST_F(PlaybackFaults, ARefusedBufferDropsOutOfTheRing) {
    Make(kStereo, 12 * kBuffer);
    {
        FaultScope fault("waveOutWrite", 3);
        ASSERT_EQ(Play(), TOLVANE_OK);
    }
    EXPECT_EQ(PlatformVirtualQueued(0, nullptr, 0), 7u);
    Advance(kBuffer);
    EXPECT_EQ(PlatformVirtualQueued(0, nullptr, 0), 7u);
    PlayOut();
    EXPECT_TRUE(Heard({{0, 2 * kBuffer}, {3 * kBuffer, 12 * kBuffer}}));
}

TEST_F(PlaybackFaults, APlaybackWithoutBuffersEnds) {
    Make(kStereo, 12 * kBuffer);
    {
        FaultScope fault("waveOutWrite", 1, true);
        ASSERT_EQ(Play(), TOLVANE_OK);
        EXPECT_TRUE(window_.AwaitEnd());
    }
    EXPECT_TRUE(Closed());
    EXPECT_TRUE(Heard({}));
    ExpectGoodOrder();

    PlatformVirtualClearPlayed(0);
    ASSERT_EQ(Play(), TOLVANE_OK);
    Advance(kBuffer / 2);
    {
        FaultScope fault("waveOutWrite", 1, true);
        PlayOut();
    }
    EXPECT_TRUE(Heard({{0, 8 * kBuffer}})) << "what was queued is still played";
}

TEST_F(PlaybackFaults, AFileThatFailsToBeReadEndsThePlayback) {
    Make(kStereo, 20 * kBuffer);
    ASSERT_EQ(Play(), TOLVANE_OK);
    Advance(kBuffer + 5);
    {
        FaultScope fault("mmioRead", 1, true);
        PlayOut();
    }
    EXPECT_TRUE(Heard({{0, 9 * kBuffer}}));
    ASSERT_EQ(Play(0, 0, TOLVANE_SAMPLES, true), TOLVANE_OK) << "a repeat of nothing must not go on for ever";
    {
        FaultScope fault("mmioRead", 1, true);
        PlayOut();
    }
    ended_ = window_.Ended();
    ExpectGoodOrder();
}

TEST_F(PlaybackFaults, EveryCallOfAStartMayFail) {
    Make({8000, 1, 8}, 3000);
    ExpectGoodOrder();
    Sweep("AudioPlayWaveEx", [&] {
        watchdog_.At("start");
        EXPECT_THAT(Play(), ::testing::AnyOf(0, 102, 103, 104, 105, 106, 113, ::testing::Ge(400)));
    });
    Sweep("AudioLoadFile and AudioPlayCurrentFile", [&] {
        watchdog_.At("load and start");
        EXPECT_THAT(AudioLoadFile(path_.c_str()), ::testing::AnyOf(0, 102, 104));
        EXPECT_THAT(AudioPlayCurrentFile(5, TOLVANE_SAMPLES),
                    ::testing::AnyOf(0, 102, 103, 104, 105, 106, 113));
    });
}

// What steers a playback has no code to give: the playback goes on or ends, and good order follows.
TEST_F(PlaybackFaults, EveryCallOfARunningPlaybackMayFail) {
    Make({8000, 1, 8}, 30000);
    ExpectGoodOrder();
    const auto while_playing = [&](const char* name, const Step& steps) {
        Sweep(name, steps, [&] {
            watchdog_.At(name);
            ASSERT_EQ(Play(), TOLVANE_OK);
            Advance(500);
        });
    };
    while_playing("pause and resume", [] { AudioPause(), AudioResume(); });
    while_playing("position and level", [] {
        uint32_t left, right;
        AudioGetPosition(TOLVANE_SAMPLES);
        AudioGetPlaybackLevel(&left, &right);
    });
    while_playing("move", [] { AudioMoveTo(7, TOLVANE_MILLISECONDS), PlatformVirtualSettle(); });
    while_playing("refill", [&] { Advance(2000); });
    while_playing("end", [&] { AudioMoveTo(30000, TOLVANE_SAMPLES), PlatformVirtualSettle(); });
    while_playing("stop", [] { AudioStop(); });
    while_playing("stop in a pause", [] { AudioPause(), AudioStop(); });
}

}  // namespace
}  // namespace tolvane::test
