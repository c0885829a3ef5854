// The arithmetic of mixing and software volume beside the plain rule, sample by sample, and both in playbacks.
#include <cmath>
#include <cstring>

#include "support/faults.h"
#include "support/virtual_card.h"

namespace tolvane::test {
namespace {

constexpr float kGains[] = {1,    0,      -1, 0.5F, 0.333F,    1.0F / 3, 0.0031F,
                            1.5F, -2.25F, 40, 1e9F, -INFINITY, NAN};

struct Volume {
    Volume(float main_left, float main_right, float mix_left = 1, float mix_right = 1) {
        SetVolume(main_left, main_right, mix_left, mix_right);
    }
    ~Volume() { SetVolume(1, 1, 1, 1); }
};

// The rule: one sample, its gain, truncated toward zero; an infinite product is as large as any.
int64_t Gained(int sample, float gain) {
    if (sample == 0 || std::isnan(gain)) return 0;
    const long double product = static_cast<long double>(sample) * gain;
    return static_cast<int64_t>(std::trunc(std::fmin(std::fmax(product, -1e12L), 1e12L)));
}
int64_t Limited(int64_t value, int64_t low, int64_t high) {
    return value < low ? low : value > high ? high : value;
}

struct Mixed {
    int block, mix;
    bool clipped;
};
Mixed Rule(int bits, int sample, int mix, float main_gain, float mix_gain, bool average) {
    const int64_t low = bits == 8 ? -128 : -32768, high = -low - 1;
    const auto limit16 = [&](int64_t value) { return bits == 8 ? value : Limited(value, low, high); };
    const int64_t a = limit16(Gained(sample, main_gain)), b = limit16(Gained(mix, mix_gain));
    const int64_t sum = average ? a / 2 + b / 2 : a + b;
    const int64_t stored = Limited(sum, low, high);
    return {static_cast<int>(stored), bits == 8 ? mix : static_cast<int>(b), !average && stored != sum};
}

Bytes Samples(const std::vector<int>& values, int bits) {
    Bytes bytes;
    for (const int value : values)
        bytes = std::move(bytes) + (bits == 8 ? Bytes{static_cast<uint8_t>(value + 128)}
                                              : Little(static_cast<uint16_t>(value), 2));
    return bytes;
}

// Every 8-bit value, and 16-bit ones close together where rounding and limits are.
std::vector<int> Values(int bits, size_t count, int step) {
    std::vector<int> values;
    for (size_t i = 0; i < count; ++i) {
        const int raw = static_cast<int>(i) * step;
        values.push_back(bits == 8 ? raw % 256 - 128 : raw % 65536 - 32768);
    }
    return values;
}

void ExpectRule(uint16_t bits, uint16_t channels, float left, float right, bool average) {
    const std::vector<int> mine = Values(bits, 2400 * channels, bits == 8 ? 1 : 27);
    const std::vector<int> other = Values(bits, 2400 * channels + channels, bits == 8 ? 3 : 12007);
    const Volume volume(left, right, right, left);
    Bytes block = Samples(mine, bits), mix = Samples(other, bits);
    const size_t length = block.size();
    block.resize(mix.size());
    uint32_t clip = 7;
    MixData(block.data(), static_cast<uint32_t>(length), mix.data(), static_cast<uint32_t>(mix.size()),
            channels, bits, average, &clip);
    std::vector<int> expected, written;
    bool clipped = false;
    for (size_t i = 0; i < other.size(); ++i) {
        const size_t channel = i % channels;
        const Mixed made = Rule(bits, i < mine.size() ? mine[i] : 0, other[i], channel ? right : left,
                                channel ? left : right, average);
        const bool touched = channel < 2;
        expected.push_back(touched ? made.block : i < mine.size() ? mine[i] : bits == 8 ? -128 : 0);
        written.push_back(touched ? made.mix : other[i]);
        clipped |= touched && made.clipped;
    }
    ASSERT_EQ(block, Samples(expected, bits));
    ASSERT_EQ(mix, Samples(written, bits));
    ASSERT_EQ(clip, clipped ? 1u : 7u);
}

TEST(MixData, FollowsTheRuleForEverySample) {
    for (const uint16_t bits : std::initializer_list<uint16_t>{8, 16})
        for (const uint16_t channels : std::initializer_list<uint16_t>{1, 2, 3})
            for (const float left : kGains)
                for (const float right : {1.0F, 0.7F, left})
                    for (const bool average : {false, true}) {
                        SCOPED_TRACE(::testing::Message()
                                     << bits << " bits, " << channels << " channels, gains " << left
                                     << " and " << right << ", average " << average);
                        ASSERT_NO_FATAL_FAILURE(ExpectRule(bits, channels, left, right, average));
                    }
}

// The last samples of a block fill no whole vector.
TEST(MixData, OfQuietSoundClipsNothingAtAnyLength) {
    for (const uint16_t bits : {uint16_t{8}, uint16_t{16}})
        for (uint32_t frames = 1; frames < 70; ++frames) {
            Bytes a(frames * bits / 8u, bits == 8 ? uint8_t{130} : uint8_t{1}), b = a;
            uint32_t clipped = 0;
            MixData(a.data(), static_cast<uint32_t>(a.size()), b.data(), static_cast<uint32_t>(b.size()), 1,
                    bits, 0, &clipped);
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
    // What a whole mixed playback is heard as.
    Bytes Model(const Bytes& mix, bool average, float left, float right, float mix_left,
                float mix_right) const {
        Bytes heard = sound_;
        for (size_t i = 0; i + 1 < std::min(sound_.size(), mix.size()); i += 2) {
            int16_t mine, other;
            memcpy(&mine, &sound_[i], 2);
            memcpy(&other, &mix[i], 2);
            const bool is_right = i / 2 % 2;
            const auto made = static_cast<int16_t>(
                Rule(16, mine, other, is_right ? right : left, is_right ? mix_right : mix_left, average)
                    .block);
            memcpy(&heard[i], &made, 2);
        }
        return heard;
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
            const Bytes model = Model(mix, average, 0.8F, -0.5F, 1, 1.5F);
            // Blocks that the second file does not reach at all are as they were.
            EXPECT_TRUE(HeardBytes(model));
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
    if (!FaultsAvailable()) GTEST_SKIP() << "services cannot be made to fail here";
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
    const size_t width = format_.bits / 8, channels = format_.channels;
    const size_t buffered = 8 * size_t{format_.BufferSize()};
    ASSERT_EQ(Play(), TOLVANE_OK);
    const Volume volume(0.3F, -1.7F);
    PlayOut();
    Bytes expected = sound_;
    for (size_t i = buffered / format_.Block() * format_.Block(); i + width <= sound_.size(); i += width) {
        const size_t channel = i / width % channels;
        if (channel > 1) continue;
        int16_t sample = 0;
        memcpy(&sample, &sound_[i], width);
        const int value = width == 1 ? sound_[i] - 128 : sample;
        const Mixed made = Rule(format_.bits, value, 0, channel ? -1.7F : 0.3F, 1, false);
        const Bytes stored = Samples({made.block}, format_.bits);
        std::copy(stored.begin(), stored.end(), expected.begin() + static_cast<ptrdiff_t>(i));
    }
    EXPECT_TRUE(HeardBytes(expected));
}

INSTANTIATE_TEST_SUITE_P(Formats, SoftwareVolume,
                         ::testing::Values(Format{8000, 1, 8}, Format{11025, 2, 8}, Format{8000, 1, 16},
                                           Format{22050, 2, 16}));

}  // namespace
}  // namespace tolvane::test
