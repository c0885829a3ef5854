// Which wave devices there are, what they are called, which formats they take, and what the mapper makes of
// them.
#include <mmddk.h>

#include "platform/testing/faults.h"
#include "platform/wave_player.h"

namespace tolvane::test {
namespace {

using SoundDevices = OnVirtualCard;

std::string NameOf(UINT device) {
    WAVEOUTCAPSA caps = {};
    EXPECT_EQ(waveOutGetDevCapsA(device, &caps, sizeof caps), MMSYSERR_NOERROR);
    return caps.szPname;
}

MMRESULT Preferred(bool output, uintptr_t handle, DWORD& device) {
    DWORD flags = 7;
    const auto first = reinterpret_cast<DWORD_PTR>(&device), second = reinterpret_cast<DWORD_PTR>(&flags);
    const MMRESULT result =
        output ? waveOutMessage(reinterpret_cast<HWAVEOUT>(handle), DRVM_MAPPER_PREFERRED_GET, first, second)
               : waveInMessage(reinterpret_cast<HWAVEIN>(handle), DRVM_MAPPER_PREFERRED_GET, first, second);
    EXPECT_EQ(flags, result ? 7u : 0u);
    return result;
}

static_assert(sizeof(WAVEOUTCAPSA) == 52 && sizeof(WAVEINCAPSA) == 48 && sizeof(WAVEFORMATEX) == 18 &&
              sizeof(MMTIME) == 12);

TEST_F(SoundDevices, TellsNamesAsFarAsTheyFit) {
    const char* const too_long =
        "a name of 31 bytes and then \xC3\xA9\xE2\x82\xAC!";  // the euro sign would be cut in two
    const PlatformVirtualDevice outputs[] = {
        {"  Speakers ", 1, 192000, 2, 3}, {"   ", 1, 192000, 2, 3}, {"", 1, 192000, 2, 3}};
    ASSERT_TRUE(PlatformVirtualSetOutputs(outputs, 3));
    PlatformVirtualDevice input = {"", 8000, 22050, 1, 2};
    strcpy(input.name, too_long);
    ASSERT_TRUE(PlatformVirtualSetInputs(&input, 1));
    EXPECT_EQ(waveOutGetNumDevs(), 3u);
    EXPECT_EQ(waveInGetNumDevs(), 1u);
    EXPECT_EQ(NameOf(0), "  Speakers ");
    EXPECT_EQ(NameOf(1), "   ");
    EXPECT_EQ(NameOf(2), "");
    WAVEINCAPSA caps;
    ASSERT_EQ(waveInGetDevCapsA(0, &caps, sizeof caps), MMSYSERR_NOERROR);
    EXPECT_EQ(std::string(caps.szPname), "a name of 31 bytes and then \xC3\xA9");
    EXPECT_EQ(caps.wChannels, 1);
    EXPECT_EQ(caps.dwFormats, DWORD{WAVE_FORMAT_1M16 | WAVE_FORMAT_2M16});
    WAVEOUTCAPSA out = {};
    EXPECT_EQ(waveOutGetDevCapsA(3, &out, sizeof out), UINT{MMSYSERR_BADDEVICEID});
    EXPECT_EQ(waveInGetDevCapsA(1, &caps, sizeof caps), UINT{MMSYSERR_BADDEVICEID});
    EXPECT_EQ(waveOutGetDevCapsA(0, nullptr, sizeof out), UINT{MMSYSERR_INVALPARAM});
    ASSERT_EQ(waveOutGetDevCapsA(WAVE_MAPPER, &out, sizeof out), MMSYSERR_NOERROR);
    EXPECT_EQ(out.dwFormats, 0xFFFu);
    EXPECT_NE(std::string(out.szPname), NameOf(0));
}

TEST_F(SoundDevices, TheMapperTellsWhatIsPreferred) {
    const PlatformVirtualDevice devices[3] = {
        {"a", 1, 192000, 2, 3}, {"b", 1, 192000, 2, 3}, {"c", 1, 192000, 2, 3}};
    ASSERT_TRUE(PlatformVirtualSetOutputs(devices, 3) && PlatformVirtualSetInputs(devices, 2));
    ASSERT_TRUE(PlatformVirtualSetPreferred(2, 1));
    DWORD device = 9;
    for (const uintptr_t mapper : {uintptr_t{0xFFFFFFFF}, UINTPTR_MAX}) {
        EXPECT_EQ(Preferred(true, mapper, device), MMSYSERR_NOERROR);
        EXPECT_EQ(device, 2u);
        EXPECT_EQ(Preferred(false, mapper, device), MMSYSERR_NOERROR);
        EXPECT_EQ(device, 1u);
    }
    {
        WavePlayer player;
        ASSERT_EQ(player.Open(Pcm(8000, 1, 8)), MMSYSERR_NOERROR);
        PlatformVirtualState state;
        ASSERT_TRUE(PlatformVirtualGetState(2, &state));
        EXPECT_EQ(state.open, 1u);
        UINT id = 0;
        EXPECT_EQ(waveOutGetID(player.handle, &id), MMSYSERR_NOERROR);
        EXPECT_EQ(id, WAVE_MAPPER);
        WaveRecorder recorder;
        ASSERT_EQ(recorder.Open(Pcm(8000, 1, 8)), MMSYSERR_NOERROR);
        ASSERT_TRUE(PlatformVirtualGetInputState(1, &state));
        EXPECT_EQ(state.open, 1u);
    }
    PlatformVirtualSetPreferred(UINT32_MAX, UINT32_MAX);
    device = 9;
    EXPECT_EQ(Preferred(true, WAVE_MAPPER, device), UINT{MMSYSERR_NOTSUPPORTED});
    EXPECT_EQ(Preferred(false, WAVE_MAPPER, device), UINT{MMSYSERR_NOTSUPPORTED});
    EXPECT_EQ(device, 9u);
    EXPECT_EQ(Preferred(true, 1, device), UINT{MMSYSERR_INVALHANDLE});
    const auto mapper = reinterpret_cast<HWAVEOUT>(uintptr_t{WAVE_MAPPER});
    EXPECT_EQ(waveOutMessage(mapper, DRVM_MAPPER_PREFERRED_GET, 0, 0), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(waveOutMessage(mapper, 1, 0, 0), UINT{MMSYSERR_NOTSUPPORTED});
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
    std::vector<WAVEFORMATEX> refused = {Pcm(7999, 1, 16), Pcm(48001, 2, 16), Pcm(44100, 3, 16),
                                         Pcm(44100, 2, 8), Pcm(44100, 0, 16), Pcm(44100, 2, 0),
                                         Pcm(0, 2, 16),    Pcm(44100, 2, 12)};
    WAVEFORMATEX format = Pcm(44100, 2, 16);
    format.nBlockAlign = 3;
    refused.push_back(format);
    format = Pcm(44100, 2, 16);
    format.wFormatTag = 85;
    refused.push_back(format);
    for (const auto query : {Query, QueryInput}) {
        for (const UINT device : {WAVE_MAPPER, 0u})
            for (size_t i = 0; i < refused.size(); i++)
                EXPECT_EQ(query(refused[i], device), UINT{WAVERR_BADFORMAT}) << "format " << i;
        format = Pcm(44100, 2, 16);
        format.nAvgBytesPerSec = 1;  // a host that changes the rate leaves it as it was
        EXPECT_EQ(query(format, WAVE_MAPPER), MMSYSERR_NOERROR);
        EXPECT_EQ(query(format, 1), UINT{MMSYSERR_BADDEVICEID});
    }
    PlatformVirtualState output, input;
    ASSERT_TRUE(PlatformVirtualGetState(0, &output) && PlatformVirtualGetInputState(0, &input));
    EXPECT_EQ(output.opens + input.opens, 0u) << "a question opens nothing";
}

TEST_F(SoundDevices, OpensOnceAndChecksItsArguments) {
    const WAVEFORMATEX format = Pcm(44100, 2, 16);
    HWAVEOUT handle = nullptr;
    EXPECT_EQ(waveOutOpen(&handle, 0, nullptr, 0, 0, 0), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(waveOutOpen(nullptr, 0, &format, 0, 0, 0), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(waveOutOpen(&handle, 0, &format, 0, 0, CALLBACK_THREAD), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(waveOutOpen(&handle, 0, &format, 0, 0, CALLBACK_WINDOW), UINT{MMSYSERR_INVALFLAG});
    EXPECT_EQ(waveOutOpen(&handle, 0, &format, 0, 0, 0x80000000), UINT{MMSYSERR_INVALFLAG});
    PlatformFailCall("waveOutOpen", 1, 0, 0);
    EXPECT_EQ(waveOutOpen(&handle, 0, &format, 0, 0, 0), UINT{MMSYSERR_NOMEM});
    PlatformFailNone();
    EXPECT_EQ(handle, nullptr);
    ASSERT_EQ(waveOutOpen(&handle, 0, &format, 0, 0, CALLBACK_NULL | WAVE_ALLOWSYNC), MMSYSERR_NOERROR);
    HWAVEOUT second = nullptr;
    EXPECT_EQ(waveOutOpen(&second, 0, &format, 0, 0, 0), UINT{MMSYSERR_ALLOCATED});
    EXPECT_EQ(waveOutClose(handle), MMSYSERR_NOERROR);
    ASSERT_EQ(waveOutOpen(&second, 0, &format, 0, 0, 0), MMSYSERR_NOERROR);
    EXPECT_EQ(waveOutClose(second), MMSYSERR_NOERROR);

    HWAVEIN input = nullptr;
    EXPECT_EQ(waveInOpen(&input, 0, nullptr, 0, 0, 0), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(waveInOpen(nullptr, 0, &format, 0, 0, 0), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(waveInOpen(&input, 0, &format, 0, 0, CALLBACK_FUNCTION), UINT{MMSYSERR_INVALFLAG});
    ASSERT_EQ(waveInOpen(&input, 0, &format, 0, 0, CALLBACK_NULL), MMSYSERR_NOERROR);
    EXPECT_EQ(waveInClose(input), MMSYSERR_NOERROR);
}

TEST_F(SoundDevices, EveryResultHasASentence) {
    char text[MAXERRORLENGTH], shortened[6];
    for (const MMRESULT error : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 32u, 33u, 34u, 35u}) {
        ASSERT_EQ(waveOutGetErrorTextA(error, text, sizeof text), MMSYSERR_NOERROR) << error;
        EXPECT_GT(strlen(text), 10u);
    }
    EXPECT_EQ(waveOutGetErrorTextA(0, shortened, sizeof shortened), MMSYSERR_NOERROR);
    EXPECT_EQ(std::string(shortened), "There");
    EXPECT_EQ(waveOutGetErrorTextA(31, text, sizeof text), UINT{MMSYSERR_BADERRNUM});
    EXPECT_EQ(waveOutGetErrorTextA(0, nullptr, 5), UINT{MMSYSERR_INVALPARAM});
}

}  // namespace
}  // namespace tolvane::test
