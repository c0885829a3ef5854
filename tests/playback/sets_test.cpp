// Playback sets: files of several formats as one timeline, and what can be asked about it.
#include <cstring>

#include <gmock/gmock.h>

#include "support/faults.h"
#include "support/virtual_card.h"

namespace tolvane::test {
namespace {

constexpr Format kCd{44100, 2, 16};
constexpr Format kVoice{8000, 1, 8};

class Sets : public Playing {
  protected:
    void Add(const Format& format, size_t frames) {
        const auto number = static_cast<uint32_t>(entries_.size());
        sounds_.push_back(Pattern(frames * format.Block(), number + 1));
        PlaybackSetEntry entry = {};
        const std::string path =
            folder_.Write("part" + std::to_string(number) + ".wav", WaveFile(format, sounds_.back()));
        strcpy(entry.path, path.c_str());
        entries_.push_back(entry);
    }
    void AddSecondsOfCd(int count) {
        for (int i = 0; i < count; ++i)
            Add(kCd, 44100);
    }
    uint16_t Begin(uint32_t start, uint16_t unit = TOLVANE_MILLISECONDS, uint32_t end = 0) {
        PlatformVirtualClearPlayed(0);
        return AudioPlayWaveFilesSet(entries_.data(), static_cast<uint32_t>(entries_.size()), start, unit, 0,
                                     1, end);
    }
    PlaybackSetInfo Info(uint16_t unit = TOLVANE_MILLISECONDS) {
        PlaybackSetInfo info;
        memset(&info, 0x5A, sizeof info);
        AudioGetPlaybackSetInfo(&info, unit);
        return info;
    }
    Bytes Tail(size_t entry, size_t from) const { return Part(sounds_[entry], from, sounds_[entry].size()); }

    std::vector<PlaybackSetEntry> entries_;
    std::vector<Bytes> sounds_;
};

TEST_F(Sets, PlayTheFileOfAPositionToItsEnd) {
    AddSecondsOfCd(3);
    ASSERT_EQ(Begin(1500), TOLVANE_OK);
    EXPECT_EQ(State().opens, 1u);
    uint32_t lengths[8];
    ASSERT_EQ(PlatformVirtualQueued(0, lengths, 8), 2u) << "two buffers of half a second";
    EXPECT_EQ(lengths[0], 86u * 1024);
    PlaybackSetInfo info = Info();
    EXPECT_STREQ(info.path, entries_[1].path);
    EXPECT_EQ(info.position, 1500u);
    EXPECT_THAT((std::vector<uint32_t>{info.totalMilliseconds, info.totalSamples, info.totalBytes,
                                       info.sampleRate, info.channels, info.bitsPerSample, info.formatTag}),
                testing::ElementsAre(3000, 132300, 529200, 44100, 2, 16, 1));
    Advance(4410);
    EXPECT_EQ(+Info().position, 1600u);
    EXPECT_EQ(+Info(7).position, 1600u) << "every other unit is milliseconds";
    EXPECT_EQ(+Info(TOLVANE_SAMPLES).position, 44100u * 3 / 2 + 4410);
    EXPECT_EQ(+Info(TOLVANE_BYTES).position, (44100u * 3 / 2 + 4410) * 4);
    EXPECT_EQ(AudioEditCanPaste(), 0u);
    EXPECT_EQ(AudioClear(entries_[1].path, 0, 9, 1, nullptr, 1, nullptr), TOLVANE_FILE_IS_PLAYING);
    PlayOut();
    EXPECT_TRUE(HeardBytes(Tail(1, 22050 * 4)));
    EXPECT_EQ(+Info().totalMilliseconds, 3000u) << "the set outlives its playback";
    EXPECT_STREQ(Info().path, entries_[1].path);
    AudioPause();  // that there was a playback is forgotten
    EXPECT_EQ(+Info().sampleRate, 0u);
    EXPECT_EQ(+Info().totalMilliseconds, 3000u);
    AudioStop();
    info = Info();
    EXPECT_EQ(info.position + info.totalMilliseconds + info.totalSamples + info.totalBytes + info.sampleRate,
              0u);
    EXPECT_EQ(info.path[0], 0x5A);
}

TEST_F(Sets, CountMillisecondsAsEveryPlaybackDoes) {
    Add({37800, 1, 8}, 10);
    Add({37800, 1, 8}, 9450);
    Add({37800, 1, 8}, 37800);
    // 25 ms of 37,800 Hz: 945 frames exactly. The end counts in the file that plays.
    ASSERT_EQ(Begin(entries_[0].milliseconds + 250 + 25, TOLVANE_MILLISECONDS, 50), TOLVANE_OK);
    PlayOut();
    EXPECT_TRUE(HeardBytes(Part(sounds_[2], 945, 1890)));
}

TEST_F(Sets, MoveToAnyPlace) {
    AddSecondsOfCd(3);
    ASSERT_EQ(Begin(0), TOLVANE_OK);
    Advance(100);
    AudioMoveIntoPlaybackSet(2500, TOLVANE_MILLISECONDS);
    AudioMoveIntoPlaybackSet(3000, TOLVANE_MILLISECONDS);
    AudioMoveIntoPlaybackSet(1, 7);
    PlatformVirtualSettle();
    EXPECT_EQ(window_.Ended(), 0);
    EXPECT_STREQ(Info().path, entries_[2].path);
    Advance(50);
    AudioMoveIntoPlaybackSet(2 * 44100 + 10, TOLVANE_SAMPLES);
    AudioPause();
    AudioMoveIntoPlaybackSet(8, TOLVANE_BYTES);
    EXPECT_EQ(Advance(500), 0u) << "a paused playback stays paused";
    EXPECT_EQ(+Info(TOLVANE_BYTES).position, 8u);
    AudioResume();
    Advance(30);
    AudioMoveTo(44000, TOLVANE_SAMPLES);
    EXPECT_EQ(+Info(TOLVANE_SAMPLES).position, 44000u);
    PlayOut();
    EXPECT_TRUE(HeardBytes(Part(sounds_[0], 0, 400) + Part(sounds_[2], 22050 * 4, 22100 * 4) +
                           Part(sounds_[0], 8, 128) + Tail(0, 44000 * 4)));
    EXPECT_EQ(State().opens, 1u) << "one format, one device";
}

TEST_F(Sets, OpenTheDeviceAnewForAnotherFormat) {
    Add(kCd, 20000);
    Add(kVoice, 9000);
    Add(kCd, 500);
    ASSERT_EQ(Begin(0), TOLVANE_OK);
    Advance(1000);
    const uint32_t first = entries_[0].milliseconds;
    AudioMoveIntoPlaybackSet(first + 1000, TOLVANE_MILLISECONDS);
    EXPECT_EQ(State().rate, 8000u);
    EXPECT_EQ(+Info().sampleRate, 8000u);
    EXPECT_EQ(+Info().position, first + 1000);
    Advance(10);
    AudioPause();
    AudioMoveIntoPlaybackSet(20000 + 9000 + 100, TOLVANE_SAMPLES);
    EXPECT_EQ(State().rate, 44100u);
    EXPECT_EQ(Advance(10), 0u);
    AudioResume();
    PlayOut();
    EXPECT_EQ(State().opens, 3u);
    EXPECT_EQ(window_.Ended(), 1);
    EXPECT_TRUE(HeardBytes(Part(sounds_[0], 0, 4000) + Part(sounds_[1], 8000, 8010) + Tail(2, 400)));
    ASSERT_EQ(Begin(first + 1000), TOLVANE_OK) << "a start in a file of another format";
    EXPECT_EQ(State().rate, 8000u);
    PlayOut();
    EXPECT_TRUE(HeardBytes(Tail(1, 8000)));
}

TEST_F(Sets, RefuseWhatCannotBePlayed) {
    EXPECT_EQ(AudioPlayWaveFilesSet(nullptr, 5, 0, 0, 0, 1, 0), TOLVANE_OK);
    AddSecondsOfCd(2);
    EXPECT_EQ(AudioPlayWaveFilesSet(entries_.data(), 0, 0, 0, 0, 1, 0), TOLVANE_OK);
    for (const auto& [start, unit] :
         {std::pair<uint32_t, uint16_t>{2000, 0}, {88200, 1}, {352800, 2}, {0, 3}, {UINT32_MAX, 0}}) {
        EXPECT_EQ(Begin(start, unit), TOLVANE_OK) << start;
        EXPECT_EQ(State().opens + Info().totalBytes, 0u) << start;
    }
    const PlaybackSetEntry good = entries_[1];
    strcpy(entries_[1].path, "none.wav");
    EXPECT_EQ(Begin(0), TOLVANE_CANNOT_OPEN);
    memset(entries_[1].path, 'x', sizeof entries_[1].path);
    EXPECT_EQ(Begin(0), TOLVANE_CANNOT_OPEN);
    entries_[1] = good;
    EXPECT_EQ(+Info().totalBytes, 0u);
    AudioMoveIntoPlaybackSet(5, 0);
    AudioGetPlaybackSetInfo(nullptr, 0);
    EXPECT_EQ(State().opens, 0u);
    ASSERT_EQ(Begin(0), TOLVANE_OK);
    EXPECT_EQ(Begin(0), TOLVANE_ALREADY_PLAYING);
    EXPECT_EQ(+Info().totalBytes, 0u) << "after a failure there is no set";
}

TEST_F(Sets, AMoveThatCannotBeMadeEndsThePlayback) {
    Add(kCd, 20000);
    Add(kVoice, 9000);
    ASSERT_EQ(Begin(0), TOLVANE_OK);
    DeleteFileA(entries_[1].path);
    AudioMoveIntoPlaybackSet(entries_[0].milliseconds + 1, 0);
    PlatformVirtualSettle();
    EXPECT_TRUE(Closed());
    EXPECT_EQ(window_.Ended(), 1);
    AudioStop();
    folder_.Write("part1.wav", WaveFile(kVoice, sounds_[1]));
    for (const char* service :
         {"waveOutOpen", "CreateMutexA", "GlobalAlloc", "waveOutPrepareHeader", "mmioSeek"}) {
        SCOPED_TRACE(service);
        const int before = window_.Ended();
        ASSERT_EQ(Begin(0), TOLVANE_OK);
        {
            const FaultScope fault(service, 1, true);
            AudioMoveIntoPlaybackSet(entries_[0].milliseconds + 1, 0);
        }
        PlatformVirtualSettle();
        EXPECT_TRUE(Closed());
        EXPECT_EQ(window_.Ended(), before + 1);
        AudioStop();
    }
}

}  // namespace
}  // namespace tolvane::test
