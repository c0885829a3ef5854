// Which wave devices there are, what they are called, which formats they take, and what the mapper makes of
// them.
#include "platform/codec_stream.h"
#include "platform/wave_player.h"

#include <platform_codecs.h>

namespace tolvane::test {
namespace {

using SoundDevices = OnVirtualCard;

static_assert(sizeof(WAVEOUTCAPSA) == 52 && sizeof(WAVEINCAPSA) == 48 && sizeof(WAVEFORMATEX) == 18 &&
              sizeof(MMTIME) == 12);

TEST_F(SoundDevices, TellsNamesAsFarAsTheyFit) {
    const char* const too_long =
        "a name of 31 bytes and then \xC3\xA9\xE2\x82\xAC!";  // the euro sign would be cut in two
    PlatformVirtualDevice input = {"", 8000, 22050, 1, 2};
    strcpy(input.name, too_long);
    ASSERT_TRUE(PlatformVirtualSetInputs(&input, 1));
    WAVEINCAPSA caps;
    ASSERT_EQ(waveInGetDevCapsA(0, &caps, sizeof caps), MMSYSERR_NOERROR);
    EXPECT_EQ(std::string(caps.szPname), "a name of 31 bytes and then \xC3\xA9");
    EXPECT_EQ(caps.wChannels, 1);
    EXPECT_EQ(caps.dwFormats, DWORD{WAVE_FORMAT_1M16 | WAVE_FORMAT_2M16});
}

MMRESULT Query(const WAVEFORMATEX& format, UINT device = WAVE_MAPPER) {
    return waveOutOpen(nullptr, device, &format, 0, 0, WAVE_FORMAT_QUERY);
}

MMRESULT QueryInput(const WAVEFORMATEX& format, UINT device = WAVE_MAPPER) {
    return waveInOpen(nullptr, device, &format, 0, 0, WAVE_FORMAT_QUERY);
}

TEST_F(SoundDevices, TakesTheFormatsOfItsRangeAndNoOther) {
    const PlatformVirtualDevice narrow = {"narrow", 8000, 48000, 2, 2};
    ASSERT_TRUE(PlatformVirtualSetOutputs(&narrow, 1) && PlatformVirtualSetInputs(&narrow, 1));
    for (const auto query : {Query, QueryInput})
        for (const auto& format : {Pcm(8000, 1, 16), Pcm(48000, 2, 16)})
            EXPECT_EQ(query(format, WAVE_MAPPER), MMSYSERR_NOERROR);
    WAVEFORMATEX odd = Pcm(44100, 2, 16), packed = odd, slow = odd;
    odd.nBlockAlign = 3;
    packed.wFormatTag = 85;
    slow.nAvgBytesPerSec = 1;  // a host that changes the rate leaves it as it was
    for (const auto query : {Query, QueryInput}) {
        for (const auto& format : {Pcm(7999, 1, 16), Pcm(48001, 2, 16), Pcm(44100, 3, 16), Pcm(44100, 2, 8),
                                   Pcm(44100, 0, 16), Pcm(0, 2, 16), odd, packed})
            EXPECT_EQ(query(format, 0), UINT{WAVERR_BADFORMAT})
                << format.nSamplesPerSec << " " << format.nChannels;
        EXPECT_EQ(query(slow, WAVE_MAPPER), MMSYSERR_NOERROR);
        EXPECT_EQ(query(slow, 1), UINT{MMSYSERR_BADDEVICEID});
    }
    PlatformVirtualState output, input;
    ASSERT_TRUE(PlatformVirtualGetState(0, &output) && PlatformVirtualGetInputState(0, &input));
    EXPECT_EQ(output.opens + input.opens, 0u) << "a question opens nothing";
}

// ---- Compressed sound, through the mapper ----

struct Sounding {
    WORD tag, channels;
    DWORD rate;
    AnyFormat format, pcm;
    Bytes packed, decoded;
};

Sounding Make(WORD tag, WORD channels, DWORD rate) {
    const AnyFormat pcm = ::Pcm(channels, rate, 16), format = Compressed(tag, pcm);
    AcmStream there(pcm, format), back(format, pcm);
    const Bytes packed = ConvertAll(there, Sound(channels, rate, 16, 20'000));
    return {tag, channels, rate, format, pcm, packed, ConvertAll(back, packed)};
}

std::vector<Sounding> Soundings() {
    return {Make(WAVE_FORMAT_MULAW, 1, 8'000), Make(WAVE_FORMAT_IMA_ADPCM, 2, 22'050),
            Make(WAVE_FORMAT_MPEGLAYER3, 2, 44'100)};
}

std::deque<WAVEHDR*> WriteAll(WavePlayer& player, const Bytes& packed, size_t piece) {
    std::deque<WAVEHDR*> headers;
    for (size_t at = 0; at < packed.size(); at += piece) {
        const auto from = packed.begin() + static_cast<std::ptrdiff_t>(at);
        headers.push_back(
            player.Written({from, from + static_cast<std::ptrdiff_t>(std::min(piece, packed.size() - at))}));
    }
    return headers;
}

TEST_F(SoundDevices, PlaysWhatTheCodecDecodesAndCountsTheHostsBytes) {
    for (Sounding& s : Soundings()) {
        SCOPED_TRACE(s.tag);
        PlatformVirtualClearPlayed(0);
        WavePlayer player;
        ASSERT_EQ(player.Open(*s.format.get()), 0u);
        const size_t piece = 777 + s.format->nBlockAlign;
        auto headers = WriteAll(player, s.packed, piece);
        player.Messages();
        const DWORD frames = static_cast<DWORD>(s.decoded.size() / s.pcm->nBlockAlign);
        for (DWORD done = 0, at = 0; PlatformVirtualAdvance(0, 500); at = player.Position()) {
            EXPECT_GE(player.Position(), at);
            for (const Told& told : player.Messages()) {
                ASSERT_EQ(told, (Told{MM_WOM_DONE, headers.front()}));
                done += headers.front()->dwBufferLength;
                headers.pop_front();
            }
            EXPECT_GE(player.Position(), done) << "a header is done when its sound was heard";
            EXPECT_LE(player.Position(), done + piece);
            const double share = static_cast<double>(player.Position(TIME_SAMPLES)) / frames;
            EXPECT_NEAR(player.Position(), share * static_cast<double>(s.packed.size()),
                        2.0 * static_cast<double>(piece));
        }
        EXPECT_TRUE(headers.empty());
        EXPECT_TRUE(Played() == s.decoded) << Played().size() << " and " << s.decoded.size();
        EXPECT_EQ(player.Position(), s.packed.size());
        EXPECT_EQ(player.Position(TIME_SAMPLES), frames);
        EXPECT_EQ(player.Position(TIME_MS), frames * uint64_t{1'000} / s.rate);
    }
}

TEST_F(SoundDevices, DecodeForTheMapperAloneAndForWhatTheDeviceCanPlay) {
    Sounding s = Make(WAVE_FORMAT_IMA_ADPCM, 2, 22'050);
    const auto query = [&](UINT device, DWORD flags) {
        return waveOutOpen(nullptr, device, s.format.get(), 0, 0, WAVE_FORMAT_QUERY | flags);
    };
    EXPECT_EQ(query(WAVE_MAPPER, 0), 0u);
    EXPECT_EQ(query(WAVE_MAPPER, WAVE_FORMAT_DIRECT), UINT{WAVERR_BADFORMAT});
    EXPECT_EQ(query(0, 0), UINT{WAVERR_BADFORMAT});
    const PlatformVirtualDevice narrow = {"narrow", 8'000, 11'025, 2, 2};
    ASSERT_TRUE(PlatformVirtualSetOutputs(&narrow, 1));
    EXPECT_EQ(query(WAVE_MAPPER, 0), UINT{WAVERR_BADFORMAT});
    PlatformShowBuiltInCodecs(0);
    EXPECT_EQ(query(WAVE_MAPPER, 0), UINT{WAVERR_BADFORMAT});
    PlatformShowBuiltInCodecs(1);
}

}  // namespace
}  // namespace tolvane::test
