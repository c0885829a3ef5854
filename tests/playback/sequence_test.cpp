// Which frames are heard, exactly, for every way to start, repeat, pause, move and stop a playback.
#include <gmock/gmock.h>

#include "support/virtual_card.h"

namespace tolvane::test {
namespace {

using ::testing::Each;

constexpr Format kStereo{44100, 2, 16};
constexpr uint32_t kFrames = 30000;
constexpr uint32_t kBuffer = 21 * 1024 / 4;  // frames

class Sequence : public Playing {
  protected:
    std::vector<uint32_t> Queued() const {
        std::vector<uint32_t> lengths(32);
        lengths.resize(PlatformVirtualQueued(0, lengths.data(), 32));
        return lengths;
    }
    void StartAnew(const Format& format, size_t frames) {
        AudioStop();
        PlatformVirtualClearPlayed(0);
        Make(format, frames);
    }
};

TEST_F(Sequence, PlaysAFileOnceFromBeginningToEnd) {
    Make(kStereo, 100000);
    ASSERT_EQ(Play(), TOLVANE_OK);
    EXPECT_THAT(Queued(), ::testing::AllOf(::testing::SizeIs(8), Each(21u * 1024)));
    EXPECT_EQ(window_.Ended(), 0);
    EXPECT_EQ(Advance(99999), 99999u);
    EXPECT_EQ(AudioGetPosition(TOLVANE_SAMPLES), 99999u);
    EXPECT_EQ(window_.Ended(), 0);
    EXPECT_EQ(Advance(5), 1u);
    EXPECT_EQ(window_.Ended(), 1);
    EXPECT_TRUE(window_.AllPlain());
    EXPECT_TRUE(Closed());
    EXPECT_EQ(AudioGetPosition(TOLVANE_SAMPLES), 0u);
    EXPECT_TRUE(Heard({{0, 100000}}));
    ASSERT_EQ(Play(), TOLVANE_OK) << "again";
    PlayOut();
}

TEST_F(Sequence, PlaysFromStartToEndInEveryUnit) {
    constexpr uint32_t kMany = 0xFFFFFFFF;
    const struct {
        uint32_t start, end;
        uint16_t unit;
        size_t from, to;
    } cases[] = {
        {5, 17, TOLVANE_SAMPLES, 5, 17},
        {kBuffer, 2 * kBuffer, TOLVANE_SAMPLES, kBuffer, 2 * kBuffer},
        {1, kBuffer + 2, TOLVANE_SAMPLES, 1, kBuffer + 2},
        {kFrames - 1, 0, TOLVANE_SAMPLES, kFrames - 1, kFrames},
        {kFrames, 0, TOLVANE_SAMPLES, 0, kFrames},
        {kFrames + 1, 50, TOLVANE_SAMPLES, 0, 50},
        {kMany, 0, TOLVANE_SAMPLES, 0, kFrames},
        {10, kFrames, TOLVANE_SAMPLES, 10, kFrames},
        {10, kFrames + 1, TOLVANE_SAMPLES, 10, kFrames},
        {10, kMany, TOLVANE_SAMPLES, 10, kFrames},
        {10, 10, TOLVANE_SAMPLES, 0, 0},
        {11, 10, TOLVANE_SAMPLES, 0, 0},
        {kFrames - 1, 1, TOLVANE_SAMPLES, 0, 0},
        {7, 41, TOLVANE_BYTES, 1, 10},
        {4 * kFrames - 1, 0, TOLVANE_BYTES, kFrames - 1, kFrames},
        {4 * kFrames, 0, TOLVANE_BYTES, 0, kFrames},
        {0, 3, TOLVANE_BYTES, 0, 0},
        {6, 7, TOLVANE_BYTES, 0, 0},
        {kMany, kMany, TOLVANE_BYTES, 0, kFrames},
        {3, 100, TOLVANE_MILLISECONDS, 132, 4410},
        {680, 681, 77, 29988, kFrames},
        {681, 0, TOLVANE_MILLISECONDS, 0, kFrames},
        {kMany, kMany, TOLVANE_MILLISECONDS, 0, kFrames},
    };
    int ended = 0;
    for (const auto& item : cases) {
        SCOPED_TRACE(::testing::Message() << item.start << " to " << item.end << " in unit " << item.unit);
        StartAnew(kStereo, kFrames);
        ASSERT_EQ(Play(item.start, item.end, item.unit), TOLVANE_OK);
        if (item.from == item.to) {
            EXPECT_TRUE(window_.AwaitEnd(ended + 1));
            EXPECT_TRUE(Closed());
        } else {
            PlayOut();
        }
        EXPECT_TRUE(Heard({{item.from, item.to}}));
        EXPECT_EQ(window_.Ended(), ++ended);
    }
}

TEST_F(Sequence, PlaysEveryPcmFormat) {
    int ended = 0;
    for (const uint32_t rate : {8000u, 11025u, 22050u, 44100u, 48000u})
        for (const uint16_t channels : {uint16_t{1}, uint16_t{2}})
            for (const uint16_t bits : {uint16_t{8}, uint16_t{16}}) {
                SCOPED_TRACE(::testing::Message()
                             << rate << " Hz, " << channels << " channels, " << bits << " bits");
                StartAnew({rate, channels, bits}, rate + 7);
                ASSERT_EQ(Play(), TOLVANE_OK);
                EXPECT_EQ(Queued().at(0), format_.BufferSize());
                EXPECT_EQ(State().rate, rate);
                EXPECT_EQ(State().channels, channels);
                EXPECT_EQ(State().bits, bits);
                PlayOut();
                EXPECT_TRUE(Heard({{0, rate + 7}}));
                EXPECT_EQ(window_.Ended(), ++ended);
            }
}

// Frames that do not divide a buffer: three channels.
TEST_F(Sequence, KeepsFramesWholeWhereTheyDoNotDivideABuffer) {
    const PlatformVirtualDevice surround{"surround", 1, 192000, 6, 3};
    ASSERT_TRUE(PlatformVirtualSetOutputs(&surround, 1));
    PlatformVirtualSetClock(PLATFORM_CLOCK_MOVED);
    for (const Format& format : {Format{44100, 3, 16}, Format{8000, 5, 8}}) {
        StartAnew(format, 20000);
        ASSERT_EQ(Play(11, 19000, TOLVANE_SAMPLES, true), TOLVANE_OK);
        Advance(25000);
        AudioMoveTo(4001, TOLVANE_SAMPLES);
        Advance(1000);
        EXPECT_EQ(AudioGetPosition(TOLVANE_SAMPLES), 5001u);
        EXPECT_TRUE(Heard({{11, 19000}, {11, 6022}, {4001, 5001}}));
    }
}

TEST_F(Sequence, PlaysAtAnotherRate) {
    Make(kStereo, kFrames);
    ASSERT_EQ(Play(0, 0, TOLVANE_SAMPLES, false, 32000), TOLVANE_OK);
    EXPECT_EQ(State().rate, 32000u);
    PlayOut();
    EXPECT_TRUE(Heard({{0, kFrames}}));
}

// What a file claims and what it holds may differ; what it holds is played, in whole frames, and the end is
// told.
TEST_F(Sequence, PlaysNoMoreThanTheFileHolds) {
    const struct {
        size_t bytes;
        uint32_t claimed;
        size_t heard;
    } cases[] = {
        {20000, 40000, 20000}, {20000, 0xFFFFFFF0, 20000}, {100001, 200000, 100000}, {30003, 30003, 30000},
        {20000, 10000, 10000}, {20000, 9999, 9996},        {8, 0x7FFFFFFF, 8},
    };
    int ended = 0;
    for (const auto& item : cases) {
        SCOPED_TRACE(::testing::Message() << item.bytes << " bytes that claim to be " << item.claimed);
        PlatformVirtualClearPlayed(0);
        format_ = kStereo, sound_ = Pattern(item.bytes);
        // Written last and cut after the sound, so that nothing stands behind it but what it holds itself.
        Bytes file = Riff(Chunk("fmt ", FormatRecord(kStereo)) + Chunk("data", sound_, item.claimed));
        file.resize(44 + item.bytes);
        path_ = folder_.Write("lying.wav", file);
        ASSERT_EQ(Play(), TOLVANE_OK);
        PlayOut();
        EXPECT_EQ(window_.Ended(), ++ended);
        EXPECT_TRUE(HeardBytes(Part(sound_, 0, item.heard)));
    }
}

TEST_F(Sequence, LeavesOutWhatStandsBehindTheSound) {
    Make(kStereo, 7777);
    WriteFile(path_,
              Riff(Chunk("fact", Pattern(4)) + Chunk("fmt ", FormatRecord(kStereo, Pattern(3))) +
                   Chunk("LIST", Pattern(77)) + Chunk("data", sound_) + Chunk("LIST", Pattern(99999, 2))));
    ASSERT_EQ(Play(), TOLVANE_OK);
    PlayOut();
    EXPECT_TRUE(Heard({{0, 7777}}));
}

TEST_F(Sequence, RepeatsTheShortestPieces) {
    Make(kStereo, kFrames);
    ASSERT_EQ(Play(10, 13, TOLVANE_SAMPLES, true), TOLVANE_OK);
    EXPECT_EQ(Advance(10), 10u);
    EXPECT_TRUE(Heard({{10, 13}, {10, 13}, {10, 13}, {10, 11}}));
    StartAnew(kStereo, kFrames);
    ASSERT_EQ(Play(kFrames - 2, 0, TOLVANE_SAMPLES, true), TOLVANE_OK);
    EXPECT_EQ(Advance(3), 3u);
    EXPECT_TRUE(Heard({{kFrames - 2, kFrames}, {kFrames - 2, kFrames - 1}}));
    StartAnew(kStereo, kFrames);
    ASSERT_EQ(Play(9, 9, TOLVANE_SAMPLES, true), TOLVANE_OK) << "nothing to repeat";
    EXPECT_TRUE(window_.AwaitEnd(3));
    EXPECT_TRUE(Closed());
}

TEST_F(Sequence, MovesWhereItIsTold) {
    const struct {
        uint32_t position;
        uint16_t unit;
        size_t frame;
    } moves[] = {
        {20000, TOLVANE_SAMPLES, 20000},
        {0, TOLVANE_SAMPLES, 0},
        {103, TOLVANE_BYTES, 25},
        {3, TOLVANE_MILLISECONDS, 132},
        {500, 9, 22050},
        {kFrames - 300, TOLVANE_SAMPLES, kFrames - 300},
        {1, TOLVANE_SAMPLES, 1},
    };
    Make(kStereo, kFrames);
    ASSERT_EQ(Play(), TOLVANE_OK);
    std::vector<Span> spans{{0, 50}};
    Advance(50);
    for (const auto& move : moves) {
        AudioMoveTo(move.position, move.unit);
        EXPECT_EQ(AudioGetPosition(TOLVANE_SAMPLES), move.frame);
        EXPECT_EQ(Advance(200), 200u);
        EXPECT_EQ(AudioGetPosition(TOLVANE_SAMPLES), move.frame + 200);
        spans.push_back({move.frame, move.frame + 200});
    }
    EXPECT_TRUE(Heard(spans));
    EXPECT_EQ(window_.Ended(), 0);
}

// Positions in bytes and samples that a comparison of bare numbers would pass over.
TEST_F(Sequence, EndsWhenMovedBehindTheEnd) {
    const struct {
        uint32_t position;
        uint16_t unit;
    } moves[] = {{kFrames, TOLVANE_SAMPLES},   {kFrames + 1, TOLVANE_SAMPLES}, {0xFFFFFFFF, TOLVANE_SAMPLES},
                 {4 * kFrames, TOLVANE_BYTES}, {681, TOLVANE_MILLISECONDS},    {0xFFFFFFFF, TOLVANE_BYTES}};
    Make(kStereo, kFrames);
    int ended = 0;
    for (const bool paused : {false, true})
        for (const auto& move : moves) {
            SCOPED_TRACE(::testing::Message() << "to " << move.position << " in unit " << move.unit);
            PlatformVirtualClearPlayed(0);
            ASSERT_EQ(Play(), TOLVANE_OK);
            Advance(50);
            if (paused) AudioPause();
            AudioMoveTo(move.position, move.unit);
            PlatformVirtualSettle();
            EXPECT_EQ(window_.Ended(), ++ended);
            EXPECT_TRUE(Closed());
            EXPECT_TRUE(Heard({{0, 50}}));
            AudioResume();
            AudioStop();
            EXPECT_EQ(window_.Ended(), ended);
        }
    ASSERT_EQ(Play(100, 200), TOLVANE_OK);
    Advance(10);
    AudioMoveTo(200, TOLVANE_SAMPLES);
    PlatformVirtualSettle();
    EXPECT_EQ(window_.Ended(), ++ended) << "the end of what is to be played";
}

// A playback that ended while it was paused must not leave the next one with a pause that counts as made.
TEST_F(Sequence, PausesAnewAfterAPausedEnd) {
    Make(kStereo, kFrames);
    ASSERT_EQ(Play(), TOLVANE_OK);
    AudioPause();
    AudioMoveTo(kFrames, TOLVANE_SAMPLES);
    PlatformVirtualSettle();
    ASSERT_EQ(Play(), TOLVANE_OK);
    EXPECT_EQ(Advance(10), 10u);
    AudioPause();
    EXPECT_EQ(Advance(10), 0u);
    AudioResume();
    EXPECT_EQ(Advance(10), 10u);
}

// The last buffers are on their way: fewer of them than usual take part in the move.
TEST_F(Sequence, MovesBackFromTheLastBuffers) {
    Make(kStereo, 12 * kBuffer);
    for (const uint32_t left : {1u, kBuffer - 1, kBuffer, kBuffer + 1, 3 * kBuffer, 8 * kBuffer}) {
        SCOPED_TRACE(left);
        PlatformVirtualClearPlayed(0);
        ASSERT_EQ(Play(), TOLVANE_OK);
        Advance(12 * kBuffer - left);
        AudioMoveTo(kBuffer, TOLVANE_SAMPLES);
        PlatformVirtualSettle();
        EXPECT_THAT(Queued(), ::testing::SizeIs(8)) << "all buffers are in use again";
        PlayOut();
        EXPECT_TRUE(Heard({{0, 12 * kBuffer - left}, {kBuffer, 12 * kBuffer}}));
    }
}

TEST_F(Sequence, StopsInEveryState) {
    Make(kStereo, 12 * kBuffer);
    const struct {
        const char* state;
        uint32_t played;
        bool pause;
    } states[] = {{"just started", 0, false},
                  {"playing", kBuffer + 9, false},
                  {"paused at once", 0, true},
                  {"paused", 99, true},
                  {"draining", 11 * kBuffer + 1, false},
                  {"paused while draining", 6 * kBuffer, true},
                  {"one frame left", 12 * kBuffer - 1, false}};
    int ended = 0;
    for (const auto& item : states) {
        SCOPED_TRACE(item.state);
        PlatformVirtualClearPlayed(0);
        ASSERT_EQ(Play(), TOLVANE_OK);
        Advance(item.played);
        if (item.pause) AudioPause();
        EXPECT_EQ(AudioStop(), TOLVANE_OK);
        EXPECT_TRUE(Closed()) << "when the call returns";
        EXPECT_EQ(window_.Ended(), ++ended);
        EXPECT_EQ(AudioGetPosition(TOLVANE_SAMPLES), 0u);
        EXPECT_TRUE(Heard({{0, item.played}}));
    }
    EXPECT_EQ(AudioStop(), TOLVANE_OK);
    EXPECT_EQ(AudioPause(), TOLVANE_OK);
    EXPECT_EQ(AudioResume(), TOLVANE_OK);
    EXPECT_EQ(AudioMoveTo(5, TOLVANE_SAMPLES), TOLVANE_OK);
    EXPECT_EQ(AudioStop(), TOLVANE_OK);
    EXPECT_EQ(window_.Ended(), ended) << "with nothing playing";
}

TEST_F(Sequence, TellsThePositionInEveryUnit) {
    Make({22050, 1, 8}, 50000);
    ASSERT_EQ(Play(100), TOLVANE_OK);
    EXPECT_EQ(AudioGetPosition(TOLVANE_SAMPLES), 100u);
    Advance(22100);
    EXPECT_EQ(AudioGetPosition(TOLVANE_SAMPLES), 22200u);
    EXPECT_EQ(AudioGetPosition(TOLVANE_BYTES), 22200u);
    EXPECT_EQ(AudioGetPosition(TOLVANE_MILLISECONDS), 1006u);
    EXPECT_EQ(AudioGetPosition(9), 1006u);
    StartAnew(kStereo, kFrames);
    ASSERT_EQ(Play(), TOLVANE_OK);
    Advance(22050);
    EXPECT_EQ(AudioGetPosition(TOLVANE_BYTES), 88200u);
    EXPECT_EQ(AudioGetPosition(TOLVANE_MILLISECONDS), 500u);
}

struct Level {
    uint32_t left, right;
    bool operator==(const Level&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Level& level) {
    return out << level.left << '|' << level.right;
}

Level PlaybackLevel() {
    Level level{777, 888};
    AudioGetPlaybackLevel(&level.left, &level.right);
    return level;
}

// Buffer n of the file holds the constant peaks 5n and 3n percent (a trifle more, to be rounded down).
TEST_F(Sequence, TellsTheLevelOfTheBufferThatIsHeard) {
    EXPECT_EQ(PlaybackLevel(), (Level{777, 888})) << "nothing plays";
    Make(kStereo, 12 * kBuffer);
    for (size_t frame = 0; frame < 12 * kBuffer; ++frame) {
        const auto n = static_cast<int>(frame / kBuffer);
        const Bytes samples =
            Little(static_cast<uint16_t>(-(n * 5 * 328)), 2) + Little(static_cast<uint16_t>(n * 3 * 328), 2);
        std::copy(samples.begin(), samples.end(), sound_.begin() + static_cast<ptrdiff_t>(4 * frame));
    }
    WriteFile(path_, WaveFile(kStereo, sound_));
    ASSERT_EQ(Play(), TOLVANE_OK);
    for (uint32_t n = 0; n < 12; ++n) {
        Advance(1);
        EXPECT_EQ(PlaybackLevel(), (Level{n * 5, n * 3}));
        Advance(kBuffer - 2);
        EXPECT_EQ(PlaybackLevel(), (Level{n * 5, n * 3}));
        if (n < 11) Advance(1);
    }
    AudioMoveTo(4 * kBuffer, TOLVANE_SAMPLES);
    Advance(kBuffer + 1);
    EXPECT_EQ(PlaybackLevel(), (Level{25, 15})) << "after a move";
    AudioGetPlaybackLevel(nullptr, nullptr);
    AudioStop();
    EXPECT_EQ(PlaybackLevel(), (Level{777, 888}));
}

TEST_F(Sequence, TellsFullScaleForTheLowestByte) {
    StartAnew({8000, 2, 8}, 100);
    sound_.assign(200, 128);
    sound_[0] = 0, sound_[3] = 64;
    WriteFile(path_, WaveFile(format_, sound_));
    ASSERT_EQ(Play(), TOLVANE_OK);
    EXPECT_EQ(PlaybackLevel(), (Level{100, 50}));
}

}  // namespace
}  // namespace tolvane::test
