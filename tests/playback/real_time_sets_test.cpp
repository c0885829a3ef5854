// Sets, MP3 files and mixed playback at their real pace.
#include <cstring>
#include <functional>

#include "convert/sound_math.h"
#include "support/real_devices.h"
#include "support/child.h"

namespace tolvane::test {
namespace {

class Lasting : public RealDevices {
  protected:
    void TearDown() override {
        SetVolume(1, 1, 1, 1);
        RealDevices::TearDown();
    }
    // False where there is no encoder.
    bool Encode(const std::string& name, const Format& format, double seconds, const std::string& options) {
        const auto frames = static_cast<size_t>(format.rate * seconds);
        folder_.Write("in.wav", WaveFile(format, Music(format, frames)));
        return RunTools(folder_.Path(), "lame --quiet " + options + " in.wav " + name);
    }
    void AwaitPosition(const std::function<uint32_t()>& position, uint32_t wanted) {
        const Stopwatch watch;
        while (position() < wanted && window_.Ended() == ended_ && watch.Seconds() < 5)
            Sleep(0.002);
        EXPECT_GE(position(), wanted);
    }
    // In about so many seconds from now, told once.
    void ExpectEnd(double seconds) {
        const Stopwatch watch;
        ASSERT_TRUE(window_.AwaitEnd(++ended_));
        EXPECT_GT(watch.Seconds(), seconds - 0.3);
        EXPECT_LT(watch.Seconds(), seconds + kStartAllowance);
        Sleep(0.1);
        EXPECT_EQ(window_.Ended(), ended_);
    }

    int ended_ = 0;
};

class ServerRealTimeSets : public Lasting {
  protected:
    void Add(const std::string& path) {
        PlaybackSetEntry entry = {};
        strcpy(entry.path, path.c_str());
        entries_.push_back(entry);
    }
    PlaybackSetInfo Info() {
        PlaybackSetInfo info = {};
        AudioGetPlaybackSetInfo(&info, TOLVANE_MILLISECONDS);
        return info;
    }
    void ExpectAt(size_t entry, uint32_t from) {
        const PlaybackSetInfo info = Info();
        EXPECT_STREQ(info.path, entries_[entry].path);
        EXPECT_GE(info.position, from);
        EXPECT_LT(info.position, from + 1000 * kStartAllowance);
        AwaitPosition([&] { return Info().position; }, from + 100);
    }

    std::vector<PlaybackSetEntry> entries_;
};

TEST_F(ServerRealTimeSets, GoFromFileToFileAlsoOfOtherFormats) {
    constexpr Format kFormats[] = {{44100, 2, 16}, {44100, 2, 16}, {22050, 1, 8}, {48000, 1, 16}};
    for (const Format& format : kFormats)
        Add(folder_.Write(std::to_string(entries_.size()) + ".wav",
                          WaveFile(format, Pattern(format.BytesPerSecond()))));
    ASSERT_EQ(AudioPlayWaveFilesSet(entries_.data(), 4, 500, 0, 0, 1, 0), TOLVANE_OK);
    ExpectAt(0, 500);
    for (const size_t entry : {1u, 2u, 0u, 3u}) {
        AudioMoveIntoPlaybackSet(static_cast<uint32_t>(entry) * 1000 + 200, TOLVANE_MILLISECONDS);
        ExpectAt(entry, static_cast<uint32_t>(entry) * 1000 + 200);
        EXPECT_EQ(Info().sampleRate, kFormats[entry].rate);
    }
    EXPECT_EQ(window_.Ended(), 0);
    ExpectEnd(0.7);
}

TEST_F(ServerRealTimeSets, OfMp3FilesToo) {
    if (!Encode("one.mp3", {44100, 2, 16}, 2, "-b 128")) GTEST_SKIP() << "lame is not here";
    ASSERT_TRUE(Encode("two.mp3", {22050, 1, 16}, 1, "-m m -b 32"));
    Add(folder_.Path("one.mp3"));
    Add(folder_.Path("two.mp3"));
    ASSERT_EQ(AudioPlayMP3FilesSet(entries_.data(), 2, 0, 0, 0, 0, 0), TOLVANE_OK);
    Sleep(0.3);
    AudioMoveIntoPlaybackSet(entries_[0].milliseconds, TOLVANE_MILLISECONDS);
    EXPECT_STREQ(Info().path, entries_[1].path);
    EXPECT_EQ(window_.Ended(), 0);
    ExpectEnd(1);
}

using ServerRealTimeMp3 = Lasting;

TEST_F(ServerRealTimeMp3, PlaysEveryKindOfFileToItsEnd) {
    for (const auto& [format, options] : {std::pair<Format, const char*>{{44100, 2, 16}, "-m j -b 128"},
                                          {{44100, 1, 16}, "-m m -V 4"},
                                          {{22050, 2, 16}, "-b 64 --id3v1-only --tt Title"},
                                          {{48000, 2, 16}, "-p -b 320"}}) {
        SCOPED_TRACE(options);
        if (!Encode("x.mp3", format, 0.6, options)) GTEST_SKIP() << "lame is not here";
        ASSERT_EQ(AudioPlayMP3(folder_.Path("x.mp3").c_str(), 0, 0, 0, 0, 0), TOLVANE_OK);
        ExpectEnd(0.6);
    }
}

TEST_F(ServerRealTimeMp3, CountsItsBytesHoldsAndStops) {
    if (!Encode("x.mp3", {44100, 2, 16}, 20, "-b 128")) GTEST_SKIP() << "lame is not here";
    const auto position = [] { return AudioGetPosition(TOLVANE_BYTES); };
    ASSERT_EQ(AudioPlayMP3(folder_.Path("x.mp3").c_str(), 0, 0, 0, 0, 0), TOLVANE_OK);
    const Stopwatch watch;
    AwaitPosition(position, 16'000);
    EXPECT_GT(watch.Seconds(), 0.7) << "a second of sound";
    AudioPause();
    Sleep(0.1);  // what the device had under way
    const uint32_t held = position();
    Sleep(0.4);
    EXPECT_EQ(position(), held);
    AudioResume();
    AwaitPosition(position, held + 3'000);
    AudioStop();
    EXPECT_EQ(window_.Ended(), 1);
}

using ServerRealTimeMixing = Lasting;

TEST_F(ServerRealTimeMixing, LastsAsLongAsTheFirstFile) {
    const std::string mix = folder_.Write("mix.wav", WaveFile({44100, 2, 16}, Pattern(176'400 * 3, 2)));
    const std::string path = Write({44100, 2, 16}, 1);
    SetVolume(0.5, 0.25, 0.5, 0.5);
    ASSERT_EQ(AudioPlayMixWave(path.c_str(), mix.c_str(), 0, 0, 0, 1, 0, 0), TOLVANE_OK);
    Sleep(0.2);
    SetVolume(1, 0, 0, 1);
    ExpectEnd(0.8);
    EXPECT_TRUE(window_.AllPlain()) << "no sum of such a volume is beyond the limits";
}

}  // namespace
}  // namespace tolvane::test
