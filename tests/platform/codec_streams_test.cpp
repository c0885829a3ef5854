// Conversion streams: what every codec's stream keeps to.
#include "platform/codec_stream.h"

#include <platform_codecs.h>

namespace {

struct Case {
    const char* name;
    WORD tag;  // the target's; PCM goes to `target`
    WORD channels;
    DWORD rate;
    WORD bits;
    AnyFormat target{};

    AnyFormat Source() const { return Pcm(channels, rate, bits); }
    AnyFormat Target() const { return tag == WAVE_FORMAT_PCM ? target : Compressed(tag, Source()); }
};

std::vector<Case> Cases() {
    return {
        {"gsm", WAVE_FORMAT_GSM610, 1, 8'000, 16},
        {"gsm of 8 bits", WAVE_FORMAT_GSM610, 1, 11'025, 8},
        {"ima", WAVE_FORMAT_IMA_ADPCM, 2, 44'100, 16},
        {"ms adpcm", WAVE_FORMAT_ADPCM, 2, 44'100, 16},
        {"mu-law", WAVE_FORMAT_MULAW, 2, 44'100, 16},
        {"ms of 8 bits", WAVE_FORMAT_ADPCM, 1, 11'025, 8},
        {"a-law", WAVE_FORMAT_ALAW, 2, 8'000, 16},
        {"mp3 at a full rate", WAVE_FORMAT_MPEGLAYER3, 2, 44'100, 16},
        {"mp3 at half a rate, of 8 bits", WAVE_FORMAT_MPEGLAYER3, 1, 16'000, 8},
        {"48 to 44.1 kHz", WAVE_FORMAT_PCM, 2, 48'000, 16, Pcm(2, 44'100, 16)},
        {"8 to 48 kHz, mono 8 to stereo 16", WAVE_FORMAT_PCM, 1, 8'000, 8, Pcm(2, 48'000, 16)},
        {"8 to 11,025 Hz, stereo to mono", WAVE_FORMAT_PCM, 2, 8'000, 16, Pcm(1, 11'025, 16)},
        {"16 to 8 bits", WAVE_FORMAT_PCM, 2, 44'100, 16, Pcm(2, 44'100, 8)},
        {"mono 8 to stereo 16", WAVE_FORMAT_PCM, 1, 22'050, 8, Pcm(2, 22'050, 16)},
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

TEST(CodecStreams, EndsAsOftenAsAskedAndForgetsAtAStart) {
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.name);
        AcmStream stream(c.Source(), c.Target());
        const Bytes sound = Sound(c.channels, c.rate, c.bits, 9'000), whole = ConvertAll(stream, sound);
        AcmHeader header(stream.handle, sound.size(), whole.size() + 60'000);
        const auto size = static_cast<DWORD>(sound.size()), room = static_cast<DWORD>(header.target.size());
        header.source.assign(sound.size(), 0x55);
        ASSERT_EQ(header.Convert(size, room, ACM_STREAMCONVERTF_BLOCKALIGN), 0u);
        std::copy(sound.begin(), sound.end(), header.source.begin());
        ASSERT_EQ(header.Convert(size, room, ACM_STREAMCONVERTF_END | ACM_STREAMCONVERTF_START), 0u);
        EXPECT_EQ(header.header.cbSrcLengthUsed, size);
        EXPECT_TRUE(Bytes(header.target.begin(), header.target.begin() + header.header.cbDstLengthUsed) ==
                    whole);
        for (int again = 0; again < 2; ++again) {
            ASSERT_EQ(header.Convert(0, room, ACM_STREAMCONVERTF_END), 0u);
            EXPECT_EQ(header.header.cbSrcLengthUsed | header.header.cbDstLengthUsed, 0u);
        }
    }
}

}  // namespace
