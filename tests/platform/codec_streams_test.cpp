// Conversion streams: what every codec's stream keeps to, how well it keeps the sound, and the refusals.
#include "platform/codec_stream.h"
#include "platform/workspace.h"

#include <platform_codecs.h>

#include <cstdlib>
#include <string>
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
        {"ima", WAVE_FORMAT_IMA_ADPCM, 2, 22'050, 16, 30},
        {"ms of 8 bits", WAVE_FORMAT_ADPCM, 1, 11'025, 8, 30},
        {"a-law", WAVE_FORMAT_ALAW, 2, 8'000, 16, 37},
        {"mu-law of 8 bits", WAVE_FORMAT_MULAW, 1, 8'000, 8, 36},
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

Bytes Tone(DWORD rate, double frequency, size_t frames) {
    Bytes bytes(frames * 2);
    for (size_t i = 0; i < frames; ++i) {
        const auto sample = static_cast<int16_t>(
            std::lround(30'000 * std::sin(kTurn * frequency * static_cast<double>(i) / rate)));
        memcpy(&bytes[i * 2], &sample, 2);
    }
    return bytes;
}

TEST(CodecStreams, AnotherRateLetsNoAliasThrough) {
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

TEST(CodecStreams, EndsAsOftenAsAskedAndForgetsAtAStart) {
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.name);
        AcmStream stream(c.Source(), c.Target());
        const Bytes sound = Sound(c.channels, c.rate, c.bits, 9'000), whole = ConvertAll(stream, sound);
        AcmHeader header(stream.handle, sound.size(), whole.size() + 60'000);
        const auto size = static_cast<DWORD>(sound.size()), room = static_cast<DWORD>(header.target.size());
        for (const bool reset : {true, false}) {
            header.source.assign(sound.size(), 0x55);
            ASSERT_EQ(header.Convert(size, room, ACM_STREAMCONVERTF_BLOCKALIGN), 0u);
            EXPECT_EQ(reset ? acmStreamReset(stream.handle, 0) : MMSYSERR_NOERROR, 0u);
            std::copy(sound.begin(), sound.end(), header.source.begin());
            ASSERT_EQ(
                header.Convert(size, room, ACM_STREAMCONVERTF_END | (reset ? 0 : ACM_STREAMCONVERTF_START)),
                0u);
            EXPECT_EQ(header.header.cbSrcLengthUsed, size);
            EXPECT_TRUE(Bytes(header.target.begin(), header.target.begin() + header.header.cbDstLengthUsed) ==
                        whole);
            for (int again = 0; again < 2; ++again) {
                ASSERT_EQ(header.Convert(0, room, ACM_STREAMCONVERTF_END), 0u);
                EXPECT_EQ(header.header.cbSrcLengthUsed | header.header.cbDstLengthUsed, 0u);
            }
        }
    }
}

AnyFormat Spoilt(AnyFormat format, void (*spoil)(WAVEFORMATEX&)) {
    spoil(*format.get());
    return format;
}

TEST(CodecStreams, OpenRefusesWhatCannotBe) {
    const AnyFormat pcm = Pcm(1, 8'000, 16), gsm = Compressed(WAVE_FORMAT_GSM610, pcm),
                    mpeg = Compressed(WAVE_FORMAT_MPEGLAYER3, pcm);
    const std::pair<AnyFormat, AnyFormat> pairs[] = {
        {gsm, mpeg},
        {gsm, gsm},
        {gsm, Pcm(1, 11'025, 16)},
        {gsm, Pcm(2, 8'000, 16)},
        {gsm, Pcm(1, 8'000, 24)},
        {pcm, Pcm(65'535, 8'000, 16)},
        {pcm, Pcm(1, 0, 16)},
        {pcm, Pcm(1, 0xFFFFFFFF, 16)},
        {Pcm(1, 192'000, 16), Pcm(1, 1'500, 16)},
        {Spoilt(pcm, [](WAVEFORMATEX& f) { f.nBlockAlign = 0; }), gsm},
        {Spoilt(gsm, [](WAVEFORMATEX& f) { f.nBlockAlign = 0; }), pcm},
        {Spoilt(gsm, [](WAVEFORMATEX& f) { f.cbSize = 0; }), pcm},
        {Spoilt(gsm, [](WAVEFORMATEX& f) { f.nChannels = 65'535; }), pcm},
        {Spoilt(mpeg, [](WAVEFORMATEX& f) { f.cbSize = 11; }), pcm},
        {pcm, Spoilt(mpeg, [](WAVEFORMATEX& f) { f.nAvgBytesPerSec = 0; })},
        {pcm, Spoilt(mpeg, [](WAVEFORMATEX& f) { f.nAvgBytesPerSec = 0xFFFFFFFF; })},
        {pcm, Spoilt(pcm, [](WAVEFORMATEX& f) { f.wFormatTag = 0x7777; })},
    };
    for (const auto& [source, target] : pairs)
        EXPECT_EQ(AcmStream(source, target).result, UINT{ACMERR_NOTPOSSIBLE}) << &source - &pairs[0].first;
    AnyFormat from = pcm, to = gsm;
    HACMSTREAM stream = nullptr;
    int filter = 0;
    const auto open = [&](HACMDRIVER driver, DWORD flags, void* with = nullptr) {
        return acmStreamOpen(&stream, driver, from.get(), to.get(), static_cast<LPWAVEFILTER>(with), 0, 0,
                             flags);
    };
    EXPECT_EQ(open(nullptr, 0, &filter), UINT{ACMERR_NOTPOSSIBLE});
    EXPECT_EQ(open(nullptr, ACM_STREAMOPENF_ASYNC), UINT{ACMERR_NOTPOSSIBLE});
    EXPECT_EQ(open(nullptr, CALLBACK_THREAD), UINT{MMSYSERR_NOTSUPPORTED});
    EXPECT_EQ(open(nullptr, 8), UINT{MMSYSERR_INVALFLAG});
    EXPECT_EQ(open(reinterpret_cast<HACMDRIVER>(uintptr_t{2'000'002}), 0), UINT{MMSYSERR_INVALHANDLE});
    EXPECT_EQ(acmStreamOpen(nullptr, nullptr, from.get(), to.get(), nullptr, 0, 0, 0),
              UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(acmStreamOpen(&stream, nullptr, nullptr, to.get(), nullptr, 0, 0, 0),
              UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(open(nullptr, ACM_STREAMOPENF_QUERY), 0u);
    EXPECT_EQ(acmStreamOpen(nullptr, nullptr, from.get(), to.get(), nullptr, 0, 0, ACM_STREAMOPENF_QUERY),
              0u);
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(PlatformOpenStreams(), 0u);
}

TEST(CodecStreams, ServicesRefuseWhatIsNotReady) {
    const AnyFormat pcm = Pcm(1, 8'000, 16), gsm = Compressed(WAVE_FORMAT_GSM610, pcm);
    AcmStream stream(pcm, gsm), other(pcm, gsm);
    DWORD size = 0;
    EXPECT_EQ(acmStreamSize(stream.handle, 0, &size, 0), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(acmStreamSize(stream.handle, 1, nullptr, 0), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(acmStreamSize(stream.handle, 1, &size, 2), UINT{MMSYSERR_INVALFLAG});
    EXPECT_EQ(acmStreamSize(stream.handle, 64, &size, ACM_STREAMSIZEF_DESTINATION), UINT{ACMERR_NOTPOSSIBLE});
    EXPECT_EQ(acmStreamReset(stream.handle, 1), UINT{MMSYSERR_INVALFLAG});
    EXPECT_EQ(acmStreamClose(stream.handle, 1), UINT{MMSYSERR_INVALFLAG});
    uint8_t bytes[700];
    ACMSTREAMHEADER header{};
    const auto prepare = [&] { return acmStreamPrepareHeader(stream.handle, &header, 0); };
    const auto convert = [&](DWORD flags = 0) { return acmStreamConvert(stream.handle, &header, flags); };
    const auto unprepare = [&] { return acmStreamUnprepareHeader(stream.handle, &header, 0); };
    EXPECT_EQ(prepare(), UINT{MMSYSERR_INVALPARAM}) << "no size";
    header.cbStruct = sizeof header;
    EXPECT_EQ(prepare(), UINT{MMSYSERR_INVALPARAM}) << "no buffers";
    header.pbSrc = header.pbDst = bytes;
    header.cbSrcLength = header.cbDstLength = 640;
    EXPECT_EQ(convert(), UINT{ACMERR_UNPREPARED});
    EXPECT_EQ(unprepare(), UINT{ACMERR_UNPREPARED});
    EXPECT_EQ(acmStreamPrepareHeader(stream.handle, &header, 1), UINT{MMSYSERR_INVALFLAG});
    EXPECT_EQ(prepare(), 0u);
    EXPECT_EQ(header.fdwStatus, DWORD{ACMSTREAMHEADER_STATUSF_PREPARED});
    EXPECT_EQ(acmStreamConvert(other.handle, &header, 0), UINT{ACMERR_UNPREPARED});
    EXPECT_EQ(convert(1), UINT{MMSYSERR_INVALFLAG});
    header.cbSrcLength = 641;
    EXPECT_EQ(convert(), UINT{MMSYSERR_INVALPARAM}) << "more than was prepared";
    EXPECT_EQ(unprepare(), UINT{MMSYSERR_INVALPARAM}) << "other lengths than were prepared";
    header.cbSrcLength = 640;
    EXPECT_EQ(unprepare(), 0u);
    EXPECT_EQ(header.fdwStatus & ACMSTREAMHEADER_STATUSF_PREPARED, 0u);
    for (HACMSTREAM none : {HACMSTREAM{}, reinterpret_cast<HACMSTREAM>(uintptr_t{3'000'003})}) {
        EXPECT_EQ(acmStreamClose(none, 0), UINT{MMSYSERR_INVALHANDLE});
        EXPECT_EQ(acmStreamConvert(none, &header, 0), UINT{MMSYSERR_INVALHANDLE});
        EXPECT_EQ(acmStreamSize(none, 1, &size, 0), UINT{MMSYSERR_INVALHANDLE});
        EXPECT_EQ(acmStreamPrepareHeader(none, &header, 0), UINT{MMSYSERR_INVALHANDLE});
    }
}

TEST(CodecStreams, AnyBytesAreTakenForSound) {
    std::mt19937 random(7);
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.name);
        AcmStream there(c.Source(), c.Target()), back(c.Target(), c.Source());
        Bytes bytes = ConvertAll(there, Sound(c.channels, c.rate, c.bits, 20'000));
        for (size_t at = 3'000; at < bytes.size(); at += random() % 300)
            bytes[at] = static_cast<uint8_t>(random());
        EXPECT_LE(ConvertAll(back, bytes, 65'536, 300'000).size(),
                  back.Size(static_cast<DWORD>(bytes.size())));
        Bytes noise(70'000);
        std::generate(noise.begin(), noise.end(), [&] { return static_cast<uint8_t>(random()); });
        EXPECT_LE(ConvertAll(back, noise, 65'536, 300'000).size(), back.Size(70'000));
    }
}

// ---- Files that other programs made ----

void Execute(const std::string& command) {
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

Bytes File(const std::string& name) {
    const std::string bytes = tolvane::testing::Contents(name);
    return {bytes.begin(), bytes.end()};
}

TEST(CodecStreams, MpegOfAnotherProgramComesWithoutItsDelay) {
    const tolvane::testing::Workspace folder;
    const std::string raw = folder.Name("raw"), mpeg = folder.Name("mp3"), decoded = folder.Name("decoded");
    const Bytes sound = Sound(2, 44'100, 16, 70'001);
    tolvane::testing::Put(raw, {sound.begin(), sound.end()});
    Execute("lame --quiet -r -s 44.1 -b 192 " + raw + " " + mpeg);
    Execute("lame --quiet --decode -t " + mpeg + " " + decoded);
    AcmStream stream(Compressed(WAVE_FORMAT_MPEGLAYER3, Pcm(2, 44'100, 16)), Pcm(2, 44'100, 16));
    const Bytes heard = ConvertAll(stream, File(mpeg), 5'000, 50'000);
    EXPECT_EQ(heard.size(), sound.size());
    EXPECT_GE(SignalToNoise(Samples(sound, 16), Samples(heard, 16)), 30);
    EXPECT_GE(SignalToNoise(Samples(File(decoded), 16), Samples(heard, 16)), 80);
}

}  // namespace
