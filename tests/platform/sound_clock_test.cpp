// The virtual card in real time, and the wave files it plays into.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "platform/wave_player.h"

namespace tolvane::test {
namespace {

class SoundRealTime : public OnVirtualCard {
  protected:
    SoundRealTime() : OnVirtualCard(PLATFORM_CLOCK_REAL_TIME) {}
};

// A busy machine may be late, but sound is never early.
constexpr double kLate = 60;

TEST_F(SoundRealTime, PlaysByTheWallClock) {
    WavePlayer player;
    ASSERT_EQ(player.Open(Pcm(8000, 1, 8)), MMSYSERR_NOERROR);
    waveOutPause(player.handle);
    for (uint32_t i = 0; i < 3; i++)
        player.Written(Noise(240, i));
    std::this_thread::sleep_for(milliseconds(20));
    EXPECT_EQ(player.Position(), 0u) << "paused";
    const auto from = steady_clock::now();
    waveOutRestart(player.handle);
    DWORD before = 0;
    for (int i = 1; i <= 3; i++) {
        ASSERT_TRUE(player.NextDone());
        const double passed = Milliseconds(steady_clock::now() - from);
        EXPECT_GE(passed, 30 * i);
        EXPECT_LE(passed, 30 * i + kLate);
        const DWORD position = player.Position();
        EXPECT_GE(position, DWORD(240 * i));
        EXPECT_GE(position, before);
        EXPECT_LE(position, std::min(720.0, 8 * Milliseconds(steady_clock::now() - from)));
        before = position;
    }
    EXPECT_EQ(Played(), Noise(240, 0) + Noise(240, 1) + Noise(240, 2));
    player.Written(Noise(80, 3));
    EXPECT_LE(player.Position(), 720 + 80u);
    ASSERT_TRUE(player.NextDone()) << "after a pause without sound";
    EXPECT_EQ(player.Position(), 800u);
}

class SoundFile : public OnVirtualCard {
  protected:
    void SetUp() override {
        OnVirtualCard::SetUp();
        folder_ = std::filesystem::temp_directory_path() / ("sound-file-" + std::to_string(getpid()));
        std::filesystem::create_directory(folder_);
    }
    void TearDown() override {
        OnVirtualCard::TearDown();
        std::filesystem::remove_all(folder_);
    }

    void Play(const WAVEFORMATEX& format, const Bytes& sound) {
        WavePlayer player;
        ASSERT_EQ(player.Open(format), MMSYSERR_NOERROR);
        player.Written(sound);
        PlatformVirtualAdvance(0, 100000);
    }
    static Bytes Read(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(file), {});
    }

    std::filesystem::path folder_;
};

template <typename Number>
Number At(const Bytes& bytes, size_t offset) {
    Number number = 0;
    if (offset + sizeof number <= bytes.size()) std::memcpy(&number, bytes.data() + offset, sizeof number);
    return number;
}

TEST_F(SoundFile, PlaysIntoAWaveFileThatOthersRead) {
    const std::string path = folder_ / "played.wav";
    ASSERT_TRUE(PlatformVirtualPlayInto(0, path.c_str()));
    Play(Pcm(44100, 2, 16), Noise(4000, 1));
    Play(Pcm(11025, 1, 8), Noise(333, 2));  // written anew
    const Bytes file = Read(path);
    ASSERT_EQ(file.size(), 44u + 334u) << "an odd chunk is padded";
    EXPECT_EQ(std::string(file.begin(), file.begin() + 4), "RIFF");
    EXPECT_EQ(At<uint32_t>(file, 4), file.size() - 8);
    EXPECT_EQ(std::string(file.begin() + 8, file.begin() + 16), "WAVEfmt ");
    EXPECT_EQ(At<uint32_t>(file, 16), 16u);
    EXPECT_EQ(At<uint16_t>(file, 20), 1);
    EXPECT_EQ(At<uint16_t>(file, 22), 1);
    EXPECT_EQ(At<uint32_t>(file, 24), 11025u);
    EXPECT_EQ(At<uint32_t>(file, 28), 11025u);
    EXPECT_EQ(At<uint16_t>(file, 32), 1);
    EXPECT_EQ(At<uint16_t>(file, 34), 8);
    EXPECT_EQ(std::string(file.begin() + 36, file.begin() + 40), "data");
    EXPECT_EQ(At<uint32_t>(file, 40), 333u);
    EXPECT_EQ(Bytes(file.begin() + 44, file.begin() + 377), Noise(333, 2));

    ASSERT_TRUE(PlatformVirtualPlayInto(0, nullptr));
    Play(Pcm(44100, 2, 16), Noise(40, 3));
    EXPECT_EQ(Read(path), file) << "no longer written";
}

TEST_F(SoundFile, KeepsInMemoryOnlyWhatItShould) {
    PlatformVirtualKeepPlayed(0, 0);
    Play(Pcm(8000, 1, 8), Noise(100, 1));
    EXPECT_EQ(Played(), Bytes());
    PlatformVirtualKeepPlayed(0, 1);
    Play(Pcm(8000, 1, 8), Noise(100, 2));
    Play(Pcm(8000, 1, 8), Noise(100, 3));
    EXPECT_EQ(Played(), Noise(100, 2) + Noise(100, 3));
    Bytes part(50);
    EXPECT_EQ(PlatformVirtualPlayed(0, 150, part.data(), 20), 50u) << "what there is, however much is taken";
    const Bytes expected = Noise(100, 3);
    EXPECT_TRUE(std::equal(part.begin(), part.begin() + 20, expected.begin() + 50));
    EXPECT_EQ(part[20], 0);
    EXPECT_EQ(PlatformVirtualPlayed(0, 200, nullptr, 0), 0u);
}

}  // namespace
}  // namespace tolvane::test
