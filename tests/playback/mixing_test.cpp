// Mixing and software volume beside the plain rule, in blocks of the host and in playbacks.
#include <cmath>

#include "playback/mixing_model.h"
#include "support/faults.h"
#include "support/virtual_card.h"

namespace tolvane::test {
namespace {

struct Volume {
    Volume(float main_left, float main_right, float mix_left = 1, float mix_right = 1) {
        SetVolume(main_left, main_right, mix_left, mix_right);
    }
    ~Volume() { SetVolume(1, 1, 1, 1); }
};

// The block ends a frame before what is mixed into it, and has room for that.
void ExpectRule(const MixRule& rule) {
    constexpr uint32_t kFrames = 400;
    const uint32_t frame = static_cast<uint32_t>(rule.channels) * static_cast<uint32_t>(rule.bits) / 8;
    const int values = 1 << rule.bits;
    const size_t samples = (kFrames + 1) * rule.channels;
    Bytes mix = Block(rule.bits, samples, [=](int i) { return i * 12007 % values - values / 2; });
    Bytes block = Part(Block(rule.bits, samples, [=](int i) { return i * 27 % values - values / 2; }), 0,
                       kFrames * frame);
    block.resize(mix.size());
    Bytes padded = block;
    for (size_t channel = 0; channel < std::min<size_t>(rule.channels, 2); ++channel)
        PutSample(padded, kFrames * rule.channels + channel, rule.bits, 0);
    const Mixed model(padded, mix, rule);
    const Volume volume(rule.main[0], rule.main[1], rule.mixed[0], rule.mixed[1]);
    uint32_t clip = 7;
    MixData(block.data(), kFrames * frame, mix.data(), (kFrames + 1) * frame,
            static_cast<uint16_t>(rule.channels), static_cast<uint16_t>(rule.bits), rule.average, &clip);
    ASSERT_EQ(block, model.block);
    ASSERT_EQ(mix, model.mixed);
    ASSERT_EQ(clip, model.limited ? 1u : 7u);
}

TEST(MixData, FollowsTheRule) {
    for (const int bits : {8, 16})
        for (const size_t channels : {1u, 2u, 3u})
            for (const float gain : {1.0F, 0.0F, 0.333F, 0.0031F, -2.25F, 1e9F, -INFINITY, NAN})
                for (const bool average : {false, true}) {
                    SCOPED_TRACE(::testing::Message() << bits << " bits, " << channels << " channels, gain "
                                                      << gain << ", average " << average);
                    ExpectRule({channels, bits, {gain, 0.7F}, {0.7F, gain}, average});
                }
}

// The last samples of a block fill no whole vector.
TEST(MixData, OfQuietSoundClipsNothingAtAnyLength) {
    for (const uint16_t bits : {uint16_t{8}, uint16_t{16}})
        for (uint32_t frames = 1; frames < 70; ++frames) {
            Bytes a = Block(bits, frames, [](int) { return 2; }), b = a;
            const auto size = static_cast<uint32_t>(a.size());
            uint32_t clipped = 0;
            MixData(a.data(), size, b.data(), size, 1, bits, 0, &clipped);
            EXPECT_EQ(clipped, 0u) << frames << " samples of " << bits << " bits";
        }
}

TEST(MixData, LeavesAloneWhatItCannotMix) {
    for (const auto& [channels, bits] : {std::pair<uint16_t, uint16_t>{0, 16}, {2, 24}, {1, 0}, {1, 32}}) {
        Bytes block = Pattern(24), mix = Pattern(24, 2);
        MixData(block.data(), 24, mix.data(), 24, channels, bits, 0, nullptr);
        EXPECT_EQ(block, Pattern(24)) << channels << " channels, " << bits << " bits";
    }
    Bytes block = Pattern(7), mix = Pattern(7, 2);
    MixData(nullptr, 7, mix.data(), 7, 2, 16, 0, nullptr);
    MixData(block.data(), 7, nullptr, 7, 2, 16, 0, nullptr);
    EXPECT_EQ(block, Pattern(7));
    MixData(block.data(), 7, mix.data(), 7, 2, 16, 0, nullptr);
    EXPECT_EQ(Part(block, 4, 7), Part(Pattern(7), 4, 7)) << "no whole frame";
}

class MixedPlayback : public Playing {
  protected:
    uint16_t PlayMixed(const char* mix, bool average, uint32_t start = 0) {
        return AudioPlayMixWave(path_.c_str(), mix, start, TOLVANE_SAMPLES, 0, 1, 0, average);
    }
};

TEST_F(MixedPlayback, LaysTheSecondFileOverTheFirst) {
    Make({44100, 2, 16}, 60000);
    for (const size_t mix_frames : {0u, 20011u, 60000u, 90000u})
        for (const bool average : {true, false}) {
            SCOPED_TRACE(::testing::Message() << mix_frames << (average ? " averaged" : " added"));
            const Bytes mix = Pattern(mix_frames * 4, 9);
            const std::string mix_path = folder_.Write("mix.wav", WaveFile(format_, mix));
            PlatformVirtualClearPlayed(0);
            const Volume volume(0.8F, -0.5F, 1, 1.5F);
            ASSERT_EQ(PlayMixed(mix_path.c_str(), average), TOLVANE_OK);
            PlayOut();
            // Blocks that the second file does not reach at all are as they were.
            EXPECT_TRUE(HeardBytes(Mixed(sound_, mix, {2, 16, {0.8F, -0.5F}, {1, 1.5F}, average}).block));
        }
    EXPECT_FALSE(window_.AllPlain()) << "a sum was limited";
}

TEST_F(MixedPlayback, RefusesWhatIsNoPcmFile) {
    Make({44100, 2, 16}, 3000);
    const std::string mulaw = folder_.Write("mulaw.wav", WaveFile({8000, 1, 8, 7}, Pattern(100)));
    const std::string text = folder_.Write("text.wav", Pattern(100));
    for (const char* mix : {"", "none.wav", mulaw.c_str(), text.c_str()})
        EXPECT_EQ(PlayMixed(mix, false), TOLVANE_CANNOT_OPEN) << mix;
    ASSERT_EQ(PlayMixed(nullptr, false), TOLVANE_OK);
    PlayOut();
    EXPECT_TRUE(Heard({{0, 3000}}));
}

TEST_F(MixedPlayback, WithoutMemoryPlaysUnmixed) {
    Make({44100, 2, 16}, 30000);
    const std::string mix_path = folder_.Write("mix.wav", WaveFile(format_, Pattern(30000 * 4, 9)));
    // Eight buffers of two allocations each come first, and two format records.
    const FaultScope fault("GlobalAlloc", 19, true);
    ASSERT_EQ(PlayMixed(mix_path.c_str(), false), TOLVANE_OK);
    PlayOut();
    EXPECT_TRUE(Heard({{0, 30000}}));
}

class SoftwareVolume : public MixedPlayback, public ::testing::WithParamInterface<Format> {};

TEST_P(SoftwareVolume, IsInForceFromTheNextBufferOn) {
    Make(GetParam(), 50000);
    const size_t buffered = 8 * size_t{format_.BufferSize()} / format_.Block() * format_.Block();
    ASSERT_EQ(Play(), TOLVANE_OK);
    const Volume volume(0.3F, -1.7F);
    PlayOut();
    EXPECT_TRUE(
        HeardBytes(Part(sound_, 0, buffered) + Gained(Part(sound_, buffered, sound_.size()),
                                                      {format_.channels, format_.bits, {0.3F, -1.7F}})));
}

INSTANTIATE_TEST_SUITE_P(Formats, SoftwareVolume,
                         ::testing::Values(Format{8000, 1, 8}, Format{11025, 2, 8}, Format{8000, 1, 16},
                                           Format{22050, 2, 16}));

}  // namespace
}  // namespace tolvane::test
