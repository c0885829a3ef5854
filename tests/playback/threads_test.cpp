// Many threads steer one playback at once: nothing breaks, and every playback that began is told once as
// ended.
#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "support/virtual_card.h"
#include "support/watchdog.h"

namespace tolvane::test {
namespace {

// On whatever card there is; on the virtual one as fast as the buffers come.
class ManyThreads : public ::testing::Test {
  protected:
    void SetUp() override {
        if (PlatformUseCard(PLATFORM_CARD_VIRTUAL)) {
            PlatformVirtualReset();
            PlatformVirtualSetClock(PLATFORM_CLOCK_FREE_RUNNING);
            PlatformVirtualKeepPlayed(0, 0);
        }
        if (GetNumberOfOutputDevices() == 0) GTEST_SKIP() << "there is no output device";
    }
    void TearDown() override {
        AudioStop();
        PlatformVirtualReset();
        PlatformUseCard(PLATFORM_CARD_DEFAULT);
    }

    void Steer(uint32_t seed) {
        std::mt19937 random(seed);
        while (!done_)
            Operate(static_cast<uint32_t>(random() % 12), static_cast<uint32_t>(random() % 50000));
    }
    void Operate(uint32_t operation, uint32_t value) {
        uint32_t left = 0, right = 0;
        switch (operation) {
            case 0:
            case 1:
                started_ += AudioPlayWaveEx(path_.c_str(), value, 1, 0, 1, 0, value % 2) == TOLVANE_OK;
                break;
            case 2:
                AudioLoadFile(path_.c_str());
                break;
            case 3:
                started_ += AudioPlayCurrentFile(value, TOLVANE_SAMPLES) == TOLVANE_OK;
                break;
            case 4:
                AudioStop();
                break;
            case 5:
                AudioPause();
                break;
            case 6:
            case 7:
                AudioResume();
                break;
            case 8:
                AudioMoveTo(value, TOLVANE_SAMPLES);
                break;
            case 9:
                SetCallbackWindow(window_.Handle());
                break;
            case 10:
                EXPECT_LE(AudioGetPosition(TOLVANE_SAMPLES) / 2, 0x7FFFFFFFu);
                break;
            default:
                AudioGetPlaybackLevel(&left, &right);
                EXPECT_LE(left, 100u);
        }
    }

    TempFolder folder_;
    HostWindow window_;
    Watchdog watchdog_;
    std::string path_ = folder_.Write("x.wav", WaveFile({44100, 2, 16}, Pattern(4 * 50000)));
    std::atomic<bool> done_ = false;
    std::atomic<int> started_ = 0;
};

TEST_F(ManyThreads, SteerOnePlayback) {
    std::vector<std::thread> threads;
    for (uint32_t seed = 0; seed < 6; ++seed)
        threads.emplace_back([this, seed] { Steer(seed); });
    std::this_thread::sleep_for(std::chrono::seconds(2));
    done_ = true;
    for (auto& thread : threads)
        thread.join();
    AudioStop();
    EXPECT_GT(started_, 0);
    EXPECT_TRUE(window_.AwaitEnd(started_)) << window_.Ended() << " ends of " << started_ << " playbacks";
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(window_.Ended(), started_);
}

// A host may name its entries again while they play: they are measured anew beside those who ask.
TEST_F(ManyThreads, StartAndAskAboutOneSet) {
    PlaybackSetEntry entry = {};
    path_.copy(entry.path, sizeof entry.path - 1);
    std::atomic<int> asked = 0;
    std::thread asker([&] {
        for (PlaybackSetInfo info = {}; !done_; asked += info.totalSamples == 50000)
            AudioGetPlaybackSetInfo(&info, TOLVANE_SAMPLES), AudioMoveIntoPlaybackSet(100, TOLVANE_SAMPLES);
    });
    for (int i = 0; i < 40; ++i) {
        AudioStop();
        started_ += AudioPlayWaveFilesSet(&entry, 1, 0, TOLVANE_SAMPLES, 0, 1, 0) == TOLVANE_OK;
        AudioPlayWaveFilesSet(&entry, 1, 0, TOLVANE_SAMPLES, 0, 1, 0);
    }
    done_ = true;
    asker.join();
    AudioStop();
    EXPECT_EQ(started_, 40);
    EXPECT_GT(asked, 0);
}

}  // namespace
}  // namespace tolvane::test
