// Conversion streams: what every codec's stream keeps to, how well it keeps the sound, and the refusals.
#include "platform/codec_stream.h"
#include "platform/testing/faults.h"
#include "platform/workspace.h"

#include <platform_codecs.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <tuple>

#include "convert/registered_codec.h"

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

TEST(CodecStreams, ThreadsConvertSideBySide) {
    std::vector<std::thread> threads;
    for (const Case& c : Cases())
        threads.emplace_back([c] {
            AcmStream stream(c.Source(), c.Target());
            const Bytes sound = Sound(c.channels, c.rate, c.bits, 9'000), whole = ConvertAll(stream, sound);
            for (unsigned seed = 1; seed < 4; ++seed)
                EXPECT_TRUE(ConvertAll(stream, sound, 900, 3'000, seed) == whole) << c.name;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(PlatformOpenStreams(), 0u);
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

TEST(CodecStreams, ServicesFailOnRequest) {
    AcmStream stream(Pcm(1, 8'000, 16), Pcm(2, 8'000, 8));
    AnyFormat format = Pcm(1, 8'000, 16);
    AcmHeader header(stream.handle, 8, 8);
    HACMSTREAM opened = nullptr;
    DWORD size = 0;
    const std::pair<const char*, std::function<MMRESULT()>> services[] = {
        {"acmStreamOpen",
         [&] { return acmStreamOpen(&opened, nullptr, format.get(), format.get(), nullptr, 0, 0, 0); }},
        {"acmStreamSize", [&] { return acmStreamSize(stream.handle, 8, &size, 0); }},
        {"acmStreamReset", [&] { return acmStreamReset(stream.handle, 0); }},
        {"acmStreamPrepareHeader", [&] { return acmStreamPrepareHeader(stream.handle, &header.header, 0); }},
        {"acmStreamConvert", [&] { return header.Convert(8, 8, 0); }},
        {"acmStreamUnprepareHeader",
         [&] { return acmStreamUnprepareHeader(stream.handle, &header.header, 0); }},
    };
    for (const auto& [name, call] : services) {
        PlatformFailCall(name, 1, 0, 0);
        EXPECT_NE(call(), 0u) << name;
        PlatformFailCall(name, 1, 77, 0);
        EXPECT_EQ(call(), 77u) << name;
    }
    EXPECT_EQ(opened, nullptr);
    ASSERT_EQ(acmStreamOpen(&opened, nullptr, format.get(), format.get(), nullptr, 0, 0, 0), 0u);
    PlatformFailCall("acmStreamClose", 1, 77, 0);
    EXPECT_EQ(acmStreamClose(opened, 0), 77u);
    PlatformFailNone();
    EXPECT_EQ(PlatformOpenStreams(), 1u) << "it is gone all the same";
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

TEST(CodecStreams, GsmOfAnotherProgramDecodesAsThere) {
    const tolvane::testing::Workspace folder;
    const std::string wave = folder.Name("gsm.wav"), raw = folder.Name("raw");
    Execute("sox -n -r 8000 -c 1 -e gsm-full-rate " + wave + " synth 3 pluck 200 vol 0.8");
    Execute("sox " + wave + " -t raw -e signed -b 16 " + raw);
    Bytes file = File(wave);
    constexpr char kData[] = {'d', 'a', 't', 'a'};
    const auto data = std::search(file.begin(), file.end(), kData, kData + 4);
    ASSERT_LT(data, file.end());
    file.erase(file.begin(), data + 8);
    AcmStream stream(Compressed(WAVE_FORMAT_GSM610, Pcm(1, 8'000, 16)), Pcm(1, 8'000, 16));
    const Bytes wanted = File(raw), heard = ConvertAll(stream, file);
    ASSERT_GE(heard.size(), wanted.size());
    EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), heard.begin()));
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

// ---- A driver of a host's own, which turns every byte into two ----

struct Doubler {
    int streams = 0;
    bool fails = false;
    uint32_t flags = 0;
    HACMSTREAM own = nullptr;  // what to come back to from within
};

const PlatformCodecStream kDoubling = {[](void* context, const void*, const void*) {
                                           ++static_cast<Doubler*>(context)->streams;
                                           return context;
                                       },
                                       [](void*, uint32_t source) { return source * 2; },
                                       [](void* stream, const void* source, uint32_t size, uint32_t* used,
                                          void* target, uint32_t room, uint32_t* produced, uint32_t flags) {
                                           auto& doubler = *static_cast<Doubler*>(stream);
                                           doubler.flags = flags;
                                           if (doubler.own) {
                                               EXPECT_EQ(acmStreamReset(doubler.own, 0), UINT{ACMERR_BUSY});
                                               EXPECT_EQ(acmStreamClose(doubler.own, 0), UINT{ACMERR_BUSY});
                                           }
                                           if (doubler.fails) return uint32_t{MMSYSERR_ERROR};
                                           *used = std::min(size, room / 2);
                                           *produced = *used * 2;
                                           for (uint32_t i = 0; i < *produced; ++i)
                                               static_cast<uint8_t*>(target)[i] =
                                                   static_cast<const uint8_t*>(source)[i / 2];
                                           return uint32_t{MMSYSERR_NOERROR};
                                       },
                                       [](void* stream) { --static_cast<Doubler*>(stream)->streams; }};

TEST(CodecStreams, AHostsDriverConvertsWhateverBecomesOfIt) {
    Doubler doubler;
    const std::vector<PlatformCodecTag> tags{{0x1234, "Twelve"}};
    PlatformCodec codec = CodecNamed("Doubler", ACMDRIVERDETAILS_SUPPORTF_CODEC, tags);
    codec.context = &doubler;
    codec.stream = &kDoubling;
    AnyFormat pcm = Pcm(1, 8'000, 16), twelve = pcm;
    twelve->wFormatTag = 0x1234;
    {
        HACMDRIVER driver = nullptr;
        auto registered = std::make_unique<RegisteredCodec>(codec);
        ASSERT_EQ(acmDriverOpen(&driver, reinterpret_cast<HACMDRIVERID>(uintptr_t{registered->Id()}), 0), 0u);
        AcmStream stream(pcm, twelve, driver);
        ASSERT_EQ(stream.result, 0u);
        EXPECT_EQ(acmDriverClose(driver, 0), 0u);
        registered.reset();
        EXPECT_EQ(stream.Size(100), 200u);
        EXPECT_EQ(stream.Size(101, ACM_STREAMSIZEF_DESTINATION), 50u);
        EXPECT_EQ(ConvertAll(stream, {1, 2, 3}, 2, 3), (Bytes{1, 1, 2, 2, 3, 3}));
        AcmHeader header(stream.handle, 4, 4);
        EXPECT_EQ(acmStreamReset(stream.handle, 0), 0u);
        EXPECT_EQ(header.Convert(4, 4, ACM_STREAMCONVERTF_END), 0u);
        EXPECT_EQ(doubler.flags, DWORD{ACM_STREAMCONVERTF_START | ACM_STREAMCONVERTF_END});
        doubler.own = stream.handle;
        EXPECT_EQ(header.Convert(4, 4, 0), 0u);
        doubler.own = nullptr;
        doubler.fails = true;
        EXPECT_EQ(header.Convert(4, 4, 0), UINT{MMSYSERR_ERROR});
        EXPECT_EQ(header.header.cbSrcLengthUsed | header.header.cbDstLengthUsed, 0u);
        EXPECT_EQ(doubler.streams, 1);
        EXPECT_EQ(PlatformOpenStreams(), 1u);
    }
    EXPECT_EQ(doubler.streams, 0);
    EXPECT_EQ(AcmStream(pcm, twelve).result, UINT{ACMERR_NOTPOSSIBLE}) << "it is removed";
    codec.stream = nullptr;
    const RegisteredCodec idle(codec);
    EXPECT_EQ(AcmStream(pcm, twelve).result, UINT{ACMERR_NOTPOSSIBLE}) << "it converts nothing";
}

}  // namespace
