// What random operations on one file do not reach: formats, files that lie about their length, buffers, levels.
#include <gmock/gmock.h>

#include "support/level.h"
#include "support/virtual_card.h"

namespace tolvane::test {
namespace {

using ::testing::Each;

constexpr Format kStereo{44100, 2, 16};
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

TEST_F(Sequence, PlaysEveryPcmFormatAndAtAnotherRate) {
    for (const uint32_t rate : {8000u, 11025u, 22050u, 44100u, 48000u})
        for (const uint16_t channels : {uint16_t{1}, uint16_t{2}})
            for (const uint16_t bits : {uint16_t{8}, uint16_t{16}}) {
                SCOPED_TRACE(::testing::Message()
                             << rate << " Hz, " << channels << " channels, " << bits << " bits");
                StartAnew({rate, channels, bits}, rate + 7);
                const uint32_t wish = bits == 8 ? 0 : 32000;
                ASSERT_EQ(Play(0, 0, TOLVANE_SAMPLES, false, wish), TOLVANE_OK);
                EXPECT_EQ(Queued().at(0), format_.BufferSize());
                EXPECT_EQ(State().rate, wish ? wish : rate);
                EXPECT_EQ(State().channels, channels);
                EXPECT_EQ(State().bits, bits);
                PlayOut();
                EXPECT_TRUE(Heard({{0, rate + 7}}));
            }
}

// What a file claims and what it holds may differ; what it holds is played, in whole frames, and the end is told.
TEST_F(Sequence, PlaysNoMoreThanTheFileHolds) {
    const struct {
        size_t bytes;
        uint32_t claimed;
        size_t heard;
        bool behind;  // something that is no sound
    } cases[] = {{20000, 40000, 20000, false},    {20000, 0xFFFFFFF0, 20000, false},
                 {100001, 200000, 100000, false}, {30003, 30003, 30000, false},
                 {20000, 10000, 10000, false},    {20000, 9999, 9996, false},
                 {8, 0x7FFFFFFF, 8, false},       {31108, 31108, 31108, true}};
    for (const auto& item : cases) {
        SCOPED_TRACE(::testing::Message() << item.bytes << " bytes that claim to be " << item.claimed);
        PlatformVirtualClearPlayed(0);
        format_ = kStereo, sound_ = Pattern(item.bytes);
        const Bytes behind = item.behind ? Chunk("LIST", Pattern(99999, 2)) : Bytes();
        Bytes file = Riff(Chunk("fact", Pattern(4)) + Chunk("fmt ", FormatRecord(kStereo, Pattern(3))) +
                          Chunk("data", sound_, item.claimed) + behind);
        if (!item.behind) file.resize(12 + 12 + 30 + 8 + item.bytes);  // not even a pad byte
        path_ = folder_.Write("lying.wav", file);
        ASSERT_EQ(Play(), TOLVANE_OK);
        PlayOut();
        EXPECT_TRUE(HeardBytes(Part(sound_, 0, item.heard)));
    }
}

// The last buffers are on their way: fewer of them than usual take part in the move.
TEST_F(Sequence, MovesBackFromTheLastBuffers) {
    Make(kStereo, 12 * kBuffer);
    for (const uint32_t left : {1u, kBuffer, 3 * kBuffer}) {
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

TEST_F(Sequence, TellsThePositionInEveryUnit) {
    Make({22050, 1, 8}, 50000);
    ASSERT_EQ(Play(100), TOLVANE_OK);
    EXPECT_EQ(AudioGetPosition(TOLVANE_SAMPLES), 100u);
    Advance(22100);
    EXPECT_EQ(AudioGetPosition(TOLVANE_SAMPLES), 22200u);
    EXPECT_EQ(AudioGetPosition(TOLVANE_BYTES), 22200u);
    EXPECT_EQ(AudioGetPosition(TOLVANE_MILLISECONDS), 1006u);
    EXPECT_EQ(AudioGetPosition(9), 1006u);
    StartAnew(kStereo, 30000);
    ASSERT_EQ(Play(), TOLVANE_OK);
    Advance(22050);
    EXPECT_EQ(AudioGetPosition(TOLVANE_BYTES), 88200u);
    EXPECT_EQ(AudioGetPosition(TOLVANE_MILLISECONDS), 500u);
}

// Buffer n of the file holds the constant peaks 5n and 3n percent (a trifle more, to be rounded down).
TEST_F(Sequence, TellsTheLevelOfTheBufferThatIsHeard) {
    EXPECT_EQ(PlaybackLevel(), Level()) << "nothing plays";
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
    EXPECT_EQ(PlaybackLevel(), Level());
    StartAnew({8000, 2, 8}, 100);
    sound_.assign(200, 128);
    sound_[0] = 0, sound_[3] = 64;
    WriteFile(path_, WaveFile(format_, sound_));
    ASSERT_EQ(Play(), TOLVANE_OK);
    EXPECT_EQ(PlaybackLevel(), (Level{100, 50})) << "the lowest byte is full scale";
}

}  // namespace
}  // namespace tolvane::test
