// Conversion streams: what every codec's stream keeps to, how well it keeps the sound, and the refusals.
#include "platform/codec_stream.h"

#include <platform_codecs.h>

namespace {

struct Case {
    const char* name;
    WORD tag;  // the target's; PCM goes to `target`
    WORD channels;
    DWORD rate;
    WORD bits;
    double least_snr;  // of the way there and back
    AnyFormat target{};

    AnyFormat Source() const { return Pcm(channels, rate, bits); }
    AnyFormat Target() const { return tag == WAVE_FORMAT_PCM ? target : Compressed(tag, Source()); }
};

std::vector<Case> Cases() {
    return {
        {"gsm", WAVE_FORMAT_GSM610, 1, 8'000, 16, 9},
        {"gsm of 8 bits", WAVE_FORMAT_GSM610, 1, 11'025, 8, 9},
        {"16 to 8 bits", WAVE_FORMAT_PCM, 2, 44'100, 16, 40, Pcm(2, 44'100, 8)},
        {"mono to stereo", WAVE_FORMAT_PCM, 1, 22'050, 16, 190, Pcm(2, 22'050, 16)},
        {"mono 8 to stereo 16", WAVE_FORMAT_PCM, 1, 22'050, 8, 190, Pcm(2, 22'050, 16)},
    };
}

// Sizes that fall within blocks, and an odd byte at the end.
constexpr size_t kFrames = 20'011;

TEST(CodecStreams, PiecesOfAnySizeGiveTheSameBytes) {
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.name);
        AcmStream there(c.Source(), c.Target()), back(c.Target(), c.Source());
        ASSERT_EQ(there.result | back.result, 0u);
        Bytes sound = Sound(c.channels, c.rate, c.bits, kFrames);
        sound.push_back(1);
        const Bytes packed = ConvertAll(there, sound), heard = ConvertAll(back, packed);
        EXPECT_GE(heard.size(), sound.size() - 1) << "nothing is lost at the end";
        for (unsigned seed = 1; seed < 5; ++seed) {
            const size_t piece = seed % 2 ? 700 : 30'000, room = seed < 3 ? 150 : 40'000;
            EXPECT_TRUE(ConvertAll(there, sound, piece, room, seed) == packed) << seed;
            EXPECT_TRUE(ConvertAll(back, packed, piece, room, seed) == heard) << seed;
        }
    }
}

TEST(CodecStreams, KeepTheSound) {
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.name);
        AcmStream there(c.Source(), c.Target()), back(c.Target(), c.Source());
        ASSERT_EQ(there.result | back.result, 0u);
        const Bytes sound = Sound(c.channels, c.rate, c.bits, kFrames);
        const Bytes heard = ConvertAll(back, ConvertAll(there, sound));
        EXPECT_GE(SignalToNoise(Samples(sound, c.bits), Samples(heard, c.bits)), c.least_snr);
    }
}

TEST(CodecStreams, NeverProduceMoreThanTheBound) {
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.name);
        for (const bool forth : {true, false}) {
            AcmStream stream(forth ? c.Source() : c.Target(), forth ? c.Target() : c.Source());
            ASSERT_EQ(stream.result, 0u);
            AcmStream there(c.Source(), c.Target());
            const Bytes sound = Sound(c.channels, c.rate, c.bits, kFrames);
            const Bytes input = forth ? sound : ConvertAll(there, sound);
            for (size_t size = 1; size < input.size(); size += size / 2 + 1) {
                const Bytes start(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(size));
                const DWORD bound = stream.Size(static_cast<DWORD>(size));
                EXPECT_LE(ConvertAll(stream, start, size, bound + 100'000).size(), bound) << size;
                const DWORD room = bound + 77;
                const DWORD fits = stream.Size(room, ACM_STREAMSIZEF_DESTINATION);
                EXPECT_GE(fits, size);
                EXPECT_LE(stream.Size(fits), room);
            }
        }
    }
    EXPECT_EQ(PlatformOpenStreams(), 0u);
}

}  // namespace
