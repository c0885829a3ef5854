// The sound server dies while a file plays: the end is told, and the next start works once a server is there
// again.
#include <thread>

#include "support/any_card.h"
#include "support/child.h"
#include "support/resources.h"

namespace tolvane::test {
namespace {

class ServerDeath : public ::testing::Test {
  protected:
    void SetUp() override {
        AudioStop();
        if (!PlatformUseCard(PLATFORM_CARD_SERVER)) GTEST_SKIP() << "the card cannot be chosen here";
        started_ = StartSoundServer(server_);
        if (!started_) GTEST_SKIP() << "no sound server can be run here";
    }
    void TearDown() override {
        AudioStop();
        if (started_) StopSoundServer(server_);
        PlatformUseCard(PLATFORM_CARD_DEFAULT);
    }
    // Plays until something is heard.
    void PlayAWhile(bool pause) {
        ASSERT_EQ(AudioPlayWaveEx(path_.c_str(), 0, 0, 0, 1, 0, 1), TOLVANE_OK);
        const Stopwatch watch;
        while (AudioGetPosition(TOLVANE_MILLISECONDS) < 50 && watch.Seconds() < 5)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        ASSERT_GE(AudioGetPosition(TOLVANE_MILLISECONDS), 50u);
        if (pause) AudioPause();
    }

    bool started_ = false;
    TempFolder folder_;
    HostWindow window_;
    Watchdog watchdog_;
    const std::string server_ = folder_.Path("server");
    const Variable home_{"PULSE_SERVER", "unix:" + server_ + "/native"};
    const std::string path_ = folder_.Write("x.wav", WaveFile({44100, 2, 16}, Pattern(4 * 44100)));
};

TEST_F(ServerDeath, EndsThePlaybackAndNothingElse) {
    int ended = 0;
    for (const bool pause : {false, true}) {
        PlayAWhile(pause);
        StopSoundServer(server_);
        const Stopwatch watch;
        EXPECT_TRUE(window_.AwaitEnd(++ended, 5000));
        EXPECT_LT(watch.Seconds(), 2.0) << (pause ? "paused" : "playing");
        EXPECT_EQ(AudioGetPosition(TOLVANE_MILLISECONDS), 0u);
        EXPECT_EQ(GetNumberOfOutputDevices(), 0u);
        EXPECT_EQ(AudioPlayWave(path_.c_str(), 0, 0, 0, 1, 0), TOLVANE_FORMAT_NOT_PLAYABLE);
        ASSERT_TRUE(StartSoundServer(server_));
    }
    PlayAWhile(false);
    AudioStop();
    EXPECT_EQ(window_.Ended(), ended + 1);
}

// The stop meets a server that has just gone.
TEST_F(ServerDeath, DoesNotHoldUpAStop) {
    PlayAWhile(false);
    StopSoundServer(server_);
    const Stopwatch watch;
    AudioStop();
    EXPECT_LT(watch.Seconds(), 2.0);
    EXPECT_TRUE(window_.AwaitEnd(1, 2000));
    ASSERT_TRUE(StartSoundServer(server_));
    PlayAWhile(false);
}

}  // namespace
}  // namespace tolvane::test
