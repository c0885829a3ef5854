// Many threads record and play at once: nothing breaks, and what is left is a whole file.
#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "examples/effects/gain.h"
#include "support/virtual_card.h"
#include "support/watchdog.h"

namespace tolvane::test {
namespace {

constexpr Format kFormat{44100, 2, 16};
constexpr uint32_t kStop = 300000;

// On whatever card there is; on the virtual one as fast as the buffers come.
class RecordThreads : public ::testing::Test {
  protected:
    void SetUp() override {
        if (PlatformUseCard(PLATFORM_CARD_VIRTUAL)) {
            PlatformVirtualReset();
            PlatformVirtualSetClock(PLATFORM_CLOCK_FREE_RUNNING);
            PlatformVirtualKeepPlayed(0, 0);
            PlatformVirtualTone(0, 440, 100);
        }
        if (GetNumberOfOutputDevices() == 0 || GetNumberOfInputDevices() == 0)
            GTEST_SKIP() << "there is no output or no input device";
        ASSERT_EQ(LoadEffectFile(0, TOLVANE_GAIN_EFFECT), 1);
        SetEffectsParameters(0, &gain_, sizeof gain_);
    }
    void TearDown() override {
        AudioStop();
        AudioStopRecord();
        SetEffectsParameters(0, nullptr, 0);
        PlatformVirtualReset();
        PlatformUseCard(PLATFORM_CARD_DEFAULT);
    }

    void Work(uint32_t seed) {
        std::mt19937 random(seed);
        while (!done_)
            random() % 4 ? Record(random() % 12) : Play(random() % 5);
    }
    void Record(size_t operation) {
        std::string path = operation % 2 ? path_ : other_;
        uint32_t left = 0, right = 0;
        AudioFileInfo info = {};
        switch (operation) {
            case 0:
            case 1:
                recorded_ +=
                    AudioStartRecordEx(window_.Handle(), WM_USER, path.data(), kFormat.rate, kFormat.bits,
                                       kFormat.channels, 0, 100, 200, kStop, 1000) == TOLVANE_OK;
                return;
            case 2:
                recorded_ += AudioStartRecordLevelTest(8000, 8, 1) == TOLVANE_OK;
                return;
            case 3:
                AudioStopRecord();
                return;
            case 4:
                return PauseRecording();
            case 5:
                return ResumeRecording();
            case 6:
                AudioGetRecordLevel(&left, &right);
                EXPECT_LE(left, 100u);
                return;
            case 7:
                AudioGetRecordPosition(TOLVANE_SAMPLES);
                return;
            case 8:
                AudioMixEffectWithRecord(sound_.c_str());
                return;
            case 9:
                EXPECT_EQ(LoadEffectFile(1, TOLVANE_GAIN_EFFECT), 1);
                SetEffectState(0, recorded_ % 2);
                return;
            case 10:
                AudioGetFileInfo(&info, nullptr, 0, 0);
                EXPECT_TRUE(info.recordingSampleRate == 0 || info.recordingSampleRate == 8000 ||
                            info.recordingSampleRate == kFormat.rate);
                return;
            default:
                EffectChanged();
        }
    }
    void Play(size_t operation) {
        switch (operation) {
            case 0:
                played_ += AudioPlayWave(sound_.c_str(), 0, TOLVANE_SAMPLES, 0, 1, 0) == TOLVANE_OK;
                return;
            case 1:
                AudioStop();
                return;
            case 2:
                AudioMoveTo(100, TOLVANE_SAMPLES);
                return;
            default:
                AudioGetPosition(TOLVANE_SAMPLES);
        }
    }
    static void ExpectWhole(const Bytes& file) {
        if (file.empty()) return;
        ASSERT_GE(file.size(), 46u);
        EXPECT_EQ(file, Riff(Part(file, 12, file.size()))) << "as long as it says";
        EXPECT_LE(file.size(), kStop);
    }

    TempFolder folder_;
    HostWindow window_;
    Watchdog watchdog_;
    GainParameters gain_ = {50, 0};
    std::string sound_ = folder_.Write("x.wav", WaveFile(kFormat, Pattern(4 * 50000)));
    std::string path_ = folder_.Path("record.wav"), other_ = folder_.Path("other.wav");
    std::atomic<bool> done_ = false;
    std::atomic<int> recorded_ = 0, played_ = 0;
};

TEST_F(RecordThreads, RecordAndPlayAtOnce) {
    std::vector<std::thread> threads;
    for (uint32_t seed = 0; seed < 6; ++seed)
        threads.emplace_back([this, seed] { Work(seed); });
    std::this_thread::sleep_for(std::chrono::seconds(2));
    done_ = true;
    for (auto& thread : threads)
        thread.join();
    AudioStop();
    AudioStopRecord();
    EXPECT_GT(recorded_, 0);
    EXPECT_GT(played_, 0);
    ExpectWhole(ReadAll(path_));
    ExpectWhole(ReadAll(other_));
}

}  // namespace
}  // namespace tolvane::test
