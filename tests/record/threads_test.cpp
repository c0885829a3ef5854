// Many threads record and play at once: nothing breaks, and what is left is a whole file.
#include "examples/effects/gain.h"
#include "support/many_threads.h"

namespace tolvane::test {
namespace {

constexpr uint32_t kStop = 300000;

using RecordThreads = ManyThreads;

TEST_F(RecordThreads, RecordAndPlayAtOnce) {
    const GainParameters gain = {50, 0};
    ASSERT_EQ(LoadEffectFile(0, TOLVANE_GAIN_EFFECT), 1);
    SetEffectsParameters(0, &gain, sizeof gain);
    const std::string files[] = {folder_.Path("record.wav"), folder_.Path("other.wav")};
    const auto record = [&](uint32_t which) {
        std::string path = files[which % 2];
        recorded_ += AudioStartRecordEx(window_.Handle(), WM_USER, path.data(), 44100, 16, 2, 0, 100, 200,
                                        kStop, 1000) == TOLVANE_OK;
    };
    const auto level = [](uint32_t) {
        uint32_t left = 0, right = 0;
        AudioGetRecordLevel(&left, &right);
        EXPECT_LE(left, 100u);
    };
    const auto change_effects = [&](uint32_t) {
        EXPECT_EQ(LoadEffectFile(1, TOLVANE_GAIN_EFFECT), 1);
        SetEffectState(0, recorded_ % 2);
    };
    const auto ask = [](uint32_t) {
        AudioFileInfo info = {};
        AudioGetFileInfo(&info, nullptr, 0, 0);
        EXPECT_TRUE(info.recordingSampleRate == 0 || info.recordingSampleRate == 8000 ||
                    info.recordingSampleRate == 44100);
    };
    Run({record, record, level, change_effects, ask,
         [&](uint32_t) { recorded_ += AudioStartRecordLevelTest(8000, 8, 1) == TOLVANE_OK; },
         [](uint32_t) { AudioStopRecord(); }, [](uint32_t) { PauseRecording(); },
         [](uint32_t) { ResumeRecording(); }, [](uint32_t) { AudioGetRecordPosition(TOLVANE_SAMPLES); },
         [&](uint32_t) { AudioMixEffectWithRecord(sound_.c_str()); }, [](uint32_t) { EffectChanged(); },
         [&](uint32_t) { played_ += AudioPlayWave(sound_.c_str(), 0, 1, 0, 1, 0) == TOLVANE_OK; },
         [](uint32_t) { AudioStop(); }, [](uint32_t) { AudioMoveTo(100, TOLVANE_SAMPLES); },
         [](uint32_t) { AudioGetPosition(TOLVANE_SAMPLES); }});
    SetEffectsParameters(0, nullptr, 0);
    EXPECT_GT(recorded_, 0);
    EXPECT_GT(played_, 0);
    for (const std::string& path : files) {
        const Bytes file = ReadAll(path);
        if (file.empty()) continue;
        ASSERT_GE(file.size(), 46u);
        EXPECT_EQ(file, Riff(Part(file, 12, file.size()))) << "as long as it says";
        EXPECT_LE(file.size(), kStop);
    }
}

}  // namespace
}  // namespace tolvane::test
