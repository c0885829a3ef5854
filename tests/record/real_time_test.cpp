// Recording at its real pace, beside a playback: about as long as it ran, and
// every piece that was played is in it.
#include <algorithm>

#include "record/probe_effect.h"
#include "support/real_devices.h"

namespace tolvane::test {
namespace {

constexpr Format kFormat{48000, 2, 16};
constexpr size_t kHeader = 46;

class ServerRealTimeRecording : public RealDevices {
  protected:
    void SetUp() override {
        AudioStopRecord();
        RealDevices::SetUp();
        if (!IsSkipped() && GetNumberOfInputDevices() == 0) GTEST_SKIP() << "there is no input device";
    }
    void TearDown() override {
        AudioStopRecord();
        SelectOutputDevice(TOLVANE_WAVE_MAPPER);
        RealDevices::TearDown();
    }
    uint16_t Record() {
        std::string name = path_;
        return AudioStartRecord(name.data(), kFormat.rate, kFormat.bits, kFormat.channels, 0);
    }
    Bytes Sound() const {
        const Bytes file = ReadAll(path_);
        EXPECT_EQ(file, Riff(Part(file, 12, file.size()))) << "as long as it says";
        return Part(file, kHeader, file.size());
    }
    std::string path_ = folder_.Path("record.wav");
};

TEST_F(ServerRealTimeRecording, IsAboutAsLongAsItRan) {
    const Stopwatch all;
    ASSERT_EQ(Record(), TOLVANE_OK);
    const Stopwatch watch;
    Sleep(0.9);
    const double before = watch.Seconds(), position = AudioGetRecordPosition(TOLVANE_MILLISECONDS) / 1000.0;
    EXPECT_GT(position, before - 0.01);
    EXPECT_LT(position, all.Seconds() + 0.01);
    const size_t so_far = ReadAll(path_).size();
    EXPECT_GT(so_far, kHeader) << "the file grows while it is recorded";
    EXPECT_EQ(AudioStopRecord(), TOLVANE_OK);
    EXPECT_LT(all.Seconds(), 0.9 + kStartAllowance);
    const double seconds = static_cast<double>(Sound().size()) / kFormat.BytesPerSecond();
    EXPECT_GT(seconds, before - 0.5);
    EXPECT_LT(seconds, all.Seconds() + 0.1);
}

// Also where plug-ins are called as only a 32-bit system calls them.
TEST_F(ServerRealTimeRecording, GoesThroughAPlugin) {
    ProbeLog log = {};
    const ProbeParameters probe = {&log, 1, 0, 0};
    ASSERT_EQ(LoadEffectFile(2, TOLVANE_PROBE_EFFECT), 1);
    SetEffectsParameters(2, &probe, sizeof probe);
    SetEffectState(2, 1);
    const Bytes wave = Pattern(20000);
    ASSERT_EQ(Record(), TOLVANE_OK);
    EXPECT_EQ(AudioMixEffectWithRecord(folder_.Write("wave.wav", WaveFile(kFormat, wave)).c_str()),
              TOLVANE_OK);
    Sleep(0.9);
    AudioStopRecord();
    Bytes sound = Sound();
    for (auto& byte : sound)
        --byte;
    ASSERT_GT(sound.size(), wave.size());
    EXPECT_EQ(Part(sound, 0, wave.size()), wave);
    EXPECT_EQ(Part(sound, wave.size(), sound.size()), Bytes(sound.size() - wave.size())) << "silence";
    EXPECT_EQ(log.sets, 1u);
    EXPECT_EQ(log.frees, 1u);
    EXPECT_EQ(log.strange + log.zeros, 0u);
    EXPECT_EQ(log.which, 0xFF00u);
    EXPECT_EQ(log.format.nSamplesPerSec, kFormat.rate);
    SetEffectsParameters(2, nullptr, 0);
    SetEffectState(2, 0);
}

// The server's input hears one of its outputs.
class ServerRealTimeRecordingOfAPlayback : public ServerRealTimeRecording {
  protected:
    // How many pieces of 10 milliseconds of what this output plays are in the recording.
    size_t Heard(uint32_t output) {
        SelectOutputDevice(output);
        const auto played = Write(kFormat, 1);
        EXPECT_EQ(Record(), TOLVANE_OK);
        Sleep(0.2);
        EXPECT_EQ(Play(played), TOLVANE_OK);
        EXPECT_TRUE(window_.AwaitEnd(++ended_));
        Sleep(0.3);
        AudioStopRecord();
        const Bytes sound = Sound(), pattern = Part(ReadAll(played), 44, SIZE_MAX);
        const auto piece = static_cast<ptrdiff_t>(kFormat.BytesPerSecond() / 100);
        size_t heard = 0;
        for (auto at = pattern.begin(); pattern.end() - at >= piece; at += piece)
            heard += std::search(sound.begin(), sound.end(), at, at + piece) != sound.end();
        return heard;
    }
    int ended_ = 0;
};

// A busy machine may lose a piece, or put silence between two.
TEST_F(ServerRealTimeRecordingOfAPlayback, HasEveryPieceOfIt) {
    if (GetNumberOfOutputDevices() < 2) GTEST_SKIP() << "no output that the input hears";
    size_t heard = 0;
    for (uint32_t output = 0; output < GetNumberOfOutputDevices() && heard == 0; ++output)
        heard = Heard(output);
    EXPECT_GE(heard, 90u) << "of 100";
}

}  // namespace
}  // namespace tolvane::test
