// Conversion streams: what every codec's stream keeps to, how well it keeps the sound, and the refusals.
#include "platform/codec_stream.h"

#include <platform_codecs.h>

#include <tuple>

namespace {

constexpr double kTurn = 6.283185307179586;

struct Case {
    const char* name;
    WORD tag;  // the target's; PCM goes to `target`
    WORD channels;
    DWORD rate;
    WORD bits;
    double least_snr;  // of the way there and back; 0: there is no way back
    AnyFormat target{};

    // Frames of silence that the way there and back puts in front.
    size_t Delay() const { return tag == WAVE_FORMAT_MPEGLAYER3 ? 1'105 : 0; }
    AnyFormat Source() const { return Pcm(channels, rate, bits); }
    AnyFormat Target() const { return tag == WAVE_FORMAT_PCM ? target : Compressed(tag, Source()); }
};

std::vector<Case> Cases() {
    return {
        {"gsm", WAVE_FORMAT_GSM610, 1, 8'000, 16, 15},
        {"gsm of 8 bits", WAVE_FORMAT_GSM610, 1, 11'025, 8, 15},
        {"ima", WAVE_FORMAT_IMA_ADPCM, 2, 44'100, 16, 35},
        {"ima of 8 bits", WAVE_FORMAT_IMA_ADPCM, 1, 11'025, 8, 25},
        {"ms adpcm", WAVE_FORMAT_ADPCM, 2, 44'100, 16, 35},
        {"ms adpcm of 8 bits", WAVE_FORMAT_ADPCM, 1, 11'025, 8, 25},
        {"mu-law", WAVE_FORMAT_MULAW, 2, 44'100, 16, 35},
        {"a-law of 8 bits", WAVE_FORMAT_ALAW, 1, 11'025, 8, 35},
        {"mp3 at a full rate", WAVE_FORMAT_MPEGLAYER3, 2, 44'100, 16, 24},
        {"mp3 at half a rate, of 8 bits", WAVE_FORMAT_MPEGLAYER3, 1, 16'000, 8, 23},
        {"48 to 44.1 kHz", WAVE_FORMAT_PCM, 2, 48'000, 16, 65, Pcm(2, 44'100, 16)},
        {"8 to 48 kHz, mono 8 to stereo 16", WAVE_FORMAT_PCM, 1, 8'000, 8, 58, Pcm(2, 48'000, 16)},
        {"8 to 11,025 Hz, stereo to mono", WAVE_FORMAT_PCM, 2, 8'000, 16, 0, Pcm(1, 11'025, 16)},
        {"16 to 8 bits", WAVE_FORMAT_PCM, 2, 44'100, 16, 43, Pcm(2, 44'100, 8)},
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
        if (c.least_snr == 0) continue;
        const double snr =
            SignalToNoise(Samples(sound, c.bits), Samples(heard, c.bits), c.Delay() * c.channels);
        EXPECT_GE(snr, c.least_snr);
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

// The tone alone, by a fit at its frequency, against all that is not the tone.
double ToneToRest(const std::vector<double>& heard, double cycles) {
    const size_t skip = 4'000, count = heard.size() - 2 * skip;
    double in_phase = 0, in_quadrature = 0, rest = 0;
    for (size_t i = skip; i < skip + count; ++i) {
        in_phase +=
            heard[i] * std::cos(kTurn * cycles * static_cast<double>(i)) * 2 / static_cast<double>(count);
        in_quadrature +=
            heard[i] * std::sin(kTurn * cycles * static_cast<double>(i)) * 2 / static_cast<double>(count);
    }
    for (size_t i = skip; i < skip + count; ++i) {
        const double phase = kTurn * cycles * static_cast<double>(i);
        const double off = heard[i] - in_phase * std::cos(phase) - in_quadrature * std::sin(phase);
        rest += off * off;
    }
    const double tone = (in_phase * in_phase + in_quadrature * in_quadrature) / 2;
    return 10 * std::log10(tone / (rest / static_cast<double>(count)));
}

Bytes Tone(DWORD rate, double frequency, size_t frames) {
    Bytes bytes(frames * 2);
    for (size_t i = 0; i < frames; ++i) {
        const auto sample = static_cast<int16_t>(
            std::lround(30'000 * std::sin(kTurn * frequency * static_cast<double>(i) / rate)));
        memcpy(&bytes[i * 2], &sample, 2);
    }
    return bytes;
}

TEST(CodecStreams, AnotherRateKeepsAToneCleanAndLetsNoAliasThrough) {
    AcmStream stream(Pcm(1, 48'000, 16), Pcm(1, 44'100, 16));
    const Bytes heard = ConvertAll(stream, Tone(48'000, 1'000, 96'000), 65'536, 200'000);
    EXPECT_EQ(heard.size(), 88'200u * 2);
    EXPECT_GE(ToneToRest(Samples(heard, 16), 1'000 / 44'100.0), 80);
    EXPECT_GE(SignalToNoise(Samples(Tone(44'100, 1'000, 88'200), 16), Samples(heard, 16)), 50) << "no delay";
    for (const auto& [from, to, frequency] : {std::tuple{48'000u, 44'100u, 23'500},
                                              {44'100u, 8'000u, 6'000},
                                              {192'000u, 8'000u, 5'000},
                                              {192'000u, 4'000u, 3'000}}) {
        AcmStream down(Pcm(1, from, 16), Pcm(1, to, 16));
        const auto left = Samples(ConvertAll(down, Tone(from, frequency, from), 65'536, 300'000), 16);
        const auto loud = [](double sample) { return std::abs(sample) > 3; };
        EXPECT_EQ(std::count_if(left.begin() + 1'000, left.end() - 1'000, loud), 0) << from << " to " << to;
    }
}

// As a caller with buffers of 64 KiB does, which takes a call that produces nothing for the end.
TEST(CodecStreams, SixtyFourKibibytesAlwaysBecomeSound) {
    for (const auto& [from, to] : {std::pair{192'000u, 8'000u},
                                   {192'000u, 7'999u},
                                   {192'000u, 1'600u},
                                   {44'100u, 1'000u},
                                   {1'600u, 192'000u},
                                   {8'000u, 44'100u},
                                   {44'101u, 44'100u}}) {
        SCOPED_TRACE(testing::Message() << from << " to " << to);
        AcmStream stream(Pcm(2, from, 16), Pcm(2, to, 16));
        ASSERT_EQ(stream.result, 0u);
        constexpr DWORD kPiece = 65'536;
        const DWORD room = stream.Size(kPiece);
        AcmHeader header(stream.handle, kPiece, room);
        uint64_t used = 0, produced = 0;
        const auto count = [&] {
            used += header.header.cbSrcLengthUsed;
            produced += header.header.cbDstLengthUsed;
        };
        for (int call = 0; call < 20; ++call, count()) {
            ASSERT_EQ(header.Convert(kPiece, room, ACM_STREAMCONVERTF_BLOCKALIGN), 0u);
            ASSERT_GT(header.header.cbDstLengthUsed, 0u) << call;
        }
        ASSERT_EQ(header.Convert(kPiece, room, ACM_STREAMCONVERTF_END), 0u);
        count();
        EXPECT_EQ(header.header.cbSrcLengthUsed, kPiece);
        EXPECT_EQ(produced / 4,
                  static_cast<uint64_t>(std::llround(static_cast<double>(used / 4) * to / from)));
    }
}

}  // namespace
