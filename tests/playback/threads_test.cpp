// Many threads steer one playback at once: nothing breaks, and every playback that began is told once as
// ended.
#include "support/many_threads.h"

namespace tolvane::test {
namespace {

using PlaybackThreads = ManyThreads;

TEST_F(PlaybackThreads, SteerOnePlayback) {
    const char* path = sound_.c_str();
    const auto play = [&](uint32_t at) {
        played_ += AudioPlayWaveEx(path, at, TOLVANE_SAMPLES, 0, 1, 0, at % 2) == TOLVANE_OK;
    };
    const auto level = [](uint32_t) {
        uint32_t left = 0, right = 0;
        AudioGetPlaybackLevel(&left, &right);
        EXPECT_LE(left, 100u);
    };
    const auto resume = [](uint32_t) { AudioResume(); };
    Run({play, play, resume, resume, level, [&](uint32_t) { AudioLoadFile(path); },
         [&](uint32_t at) { played_ += AudioPlayCurrentFile(at, TOLVANE_SAMPLES) == TOLVANE_OK; },
         [](uint32_t) { AudioStop(); }, [](uint32_t) { AudioPause(); },
         [](uint32_t at) { AudioMoveTo(at, TOLVANE_SAMPLES); },
         [&](uint32_t) { SetCallbackWindow(window_.Handle()); },
         [](uint32_t) { EXPECT_LE(AudioGetPosition(TOLVANE_SAMPLES) / 2, 0x7FFFFFFFu); }});
    EXPECT_GT(played_, 0);
    EXPECT_TRUE(window_.AwaitEnd(played_)) << window_.Ended() << " ends of " << played_ << " playbacks";
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(window_.Ended(), played_);
}

// A host may name its entries again while they play: they are measured anew beside those who ask.
TEST_F(PlaybackThreads, StartAndAskAboutOneSet) {
    PlaybackSetEntry entry = {};
    sound_.copy(entry.path, sizeof entry.path - 1);
    std::atomic<int> asked = 0;
    std::atomic<bool> done = false;
    std::thread asker([&] {
        for (PlaybackSetInfo info = {}; !done; asked += info.totalSamples == 50000)
            AudioGetPlaybackSetInfo(&info, TOLVANE_SAMPLES), AudioMoveIntoPlaybackSet(100, TOLVANE_SAMPLES);
    });
    for (int i = 0; i < 40; ++i) {
        AudioStop();
        played_ += AudioPlayWaveFilesSet(&entry, 1, 0, TOLVANE_SAMPLES, 0, 1, 0) == TOLVANE_OK;
        AudioPlayWaveFilesSet(&entry, 1, 0, TOLVANE_SAMPLES, 0, 1, 0);
    }
    done = true;
    asker.join();
    EXPECT_EQ(played_, 40);
    EXPECT_GT(asked, 0);
}

}  // namespace
}  // namespace tolvane::test
