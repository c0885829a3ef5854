// The sound server dies while a file plays: the end is told, and the next start works once a server is there
// again.
#include <thread>

#include "support/real_devices.h"
#include "support/private_server.h"

namespace tolvane::test {
namespace {

class ServerDeath : public PrivateServer {
  protected:
    // Plays until something is heard.
    void PlayAWhile(bool pause) {
        ASSERT_EQ(AudioPlayWaveEx(path_.c_str(), 0, 0, 0, 1, 0, 1), TOLVANE_OK);
        const Stopwatch watch;
        while (AudioGetPosition(TOLVANE_MILLISECONDS) < 50 && watch.Seconds() < 5)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        ASSERT_GE(AudioGetPosition(TOLVANE_MILLISECONDS), 50u);
        if (pause) AudioPause();
    }

    HostWindow window_;
    Watchdog watchdog_;
    const std::string path_ = folder_.Write("x.wav", WaveFile({44100, 2, 16}, Pattern(4 * 44100)));
};

TEST_F(ServerDeath, EndsThePlaybackAndNothingElse) {
    if (IsParent()) return;
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
    if (IsParent()) return;
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
