// The queue of a wave-out device, on the virtual card with the clock in the test's hand: every byte, flag and
// message.
#include "platform/wave_player.h"

namespace tolvane::test {
namespace {

constexpr DWORD kDone = WHDR_PREPARED | WHDR_DONE;
constexpr DWORD kQueued = WHDR_PREPARED | WHDR_INQUEUE;

class SoundQueue : public OnVirtualCard {
  protected:
    void SetUp() override {
        OnVirtualCard::SetUp();
        ASSERT_EQ(player_.Open(Pcm(44100, 2, 16)), MMSYSERR_NOERROR);
        EXPECT_EQ(player_.Messages(), (std::vector<Told>{{MM_WOM_OPEN, nullptr}}));
    }
    void TearDown() override {
        waveOutReset(player_.handle);
        EXPECT_EQ(waveOutClose(player_.handle), MMSYSERR_NOERROR);
        player_.handle = nullptr;
        OnVirtualCard::TearDown();
    }

    WavePlayer player_;
};

TEST_F(SoundQueue, PlaysWholeFramesInOrderAndHandsHeadersBack) {
    const Bytes first = Noise(400, 1), odd = Noise(43, 2), last = Noise(80, 3);
    WAVEHDR* const headers[] = {player_.Written(first), player_.Written({}), player_.Written(odd),
                                player_.Written(last)};
    uint32_t lengths[4] = {};
    EXPECT_EQ(PlatformVirtualQueued(0, lengths, 4), 4u);
    EXPECT_EQ(std::vector(lengths, lengths + 4), (std::vector<uint32_t>{400, 0, 40, 80}));
    EXPECT_EQ(headers[0]->dwFlags, kQueued);

    EXPECT_EQ(PlatformVirtualAdvance(0, 99), 99u);
    EXPECT_TRUE(player_.Messages().empty());
    EXPECT_EQ(player_.Position(), 396u);
    EXPECT_EQ(PlatformVirtualAdvance(0, 1), 1u);
    EXPECT_EQ(headers[0]->dwFlags, kDone);
    EXPECT_EQ(headers[1]->dwFlags, kDone);
    EXPECT_EQ(player_.Messages(), (std::vector<Told>{{MM_WOM_DONE, headers[0]}, {MM_WOM_DONE, headers[1]}}));

    EXPECT_EQ(PlatformVirtualAdvance(0, 1000), 30u) << "what is not there is not played";
    EXPECT_EQ(player_.Messages(), (std::vector<Told>{{MM_WOM_DONE, headers[2]}, {MM_WOM_DONE, headers[3]}}));
    EXPECT_EQ(Played(), first + Bytes(odd.begin(), odd.begin() + 40) + last);
    EXPECT_EQ(player_.Position(TIME_BYTES), 520u);
    EXPECT_EQ(player_.Position(TIME_SAMPLES), 130u);
    EXPECT_EQ(player_.Position(TIME_MS), 2u) << "130 frames are 2.9 ms";
    MMTIME smpte = {};
    smpte.wType = TIME_SMPTE;
    EXPECT_EQ(waveOutGetPosition(player_.handle, &smpte, sizeof smpte), MMSYSERR_NOERROR);
    EXPECT_EQ(smpte.wType, UINT{TIME_BYTES});
    EXPECT_EQ(smpte.u.cb, 520u);
}

TEST_F(SoundQueue, HeadersWithoutAFrameAreDoneAtOnce) {
    WAVEHDR* const empty = player_.Written({});
    WAVEHDR* const partial = player_.Written(Noise(3, 1));
    EXPECT_EQ(player_.Messages(), (std::vector<Told>{{MM_WOM_DONE, empty}, {MM_WOM_DONE, partial}}));
    const Bytes sound = Noise(8, 2);
    WAVEHDR* const whole = player_.Written(sound);
    EXPECT_EQ(PlatformVirtualAdvance(0, 5), 2u);
    EXPECT_EQ(player_.Messages(), (std::vector<Told>{{MM_WOM_DONE, whole}}));
    EXPECT_EQ(Played(), sound);
}

TEST_F(SoundQueue, ResetHandsEverythingBackAndBeginsAnew) {
    WAVEHDR* const headers[] = {player_.Written(Noise(400, 1)), player_.Written(Noise(400, 2)),
                                player_.Written(Noise(400, 3))};
    PlatformVirtualAdvance(0, 150);
    player_.Messages();
    waveOutPause(player_.handle);
    EXPECT_EQ(waveOutReset(player_.handle), MMSYSERR_NOERROR);
    EXPECT_EQ(player_.Messages(), (std::vector<Told>{{MM_WOM_DONE, headers[1]}, {MM_WOM_DONE, headers[2]}}));
    EXPECT_EQ(headers[1]->dwFlags, kDone);
    EXPECT_EQ(player_.Position(), 0u);
    PlatformVirtualClearPlayed(0);
    EXPECT_EQ(player_.Write(headers[2]), MMSYSERR_NOERROR);
    EXPECT_EQ(headers[2]->dwFlags, kQueued);
    EXPECT_EQ(PlatformVirtualAdvance(0, 100), 100u) << "a reset ends the pause";
    EXPECT_EQ(Played(), Noise(400, 3));
    EXPECT_EQ(player_.Position(), 400u);
}

TEST_F(SoundQueue, RefusesWhatIsOutOfOrder) {
    WAVEHDR bare = {};
    char byte = 0;
    bare.lpData = &byte;
    bare.dwBufferLength = 1;
    EXPECT_EQ(player_.Write(&bare), UINT{WAVERR_UNPREPARED});
    WAVEHDR nowhere = {};
    nowhere.dwBufferLength = 4;
    EXPECT_EQ(waveOutPrepareHeader(player_.handle, &nowhere, sizeof nowhere), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(waveOutPrepareHeader(player_.handle, &bare, sizeof bare - 1), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(waveOutPrepareHeader(player_.handle, nullptr, sizeof bare), UINT{MMSYSERR_INVALPARAM});

    WAVEHDR* const queued = player_.Written(Noise(8, 1));
    EXPECT_EQ(player_.Write(queued), UINT{WAVERR_STILLPLAYING});
    EXPECT_EQ(waveOutUnprepareHeader(player_.handle, queued, sizeof *queued), UINT{WAVERR_STILLPLAYING});
    EXPECT_EQ(waveOutClose(player_.handle), UINT{WAVERR_STILLPLAYING});
    EXPECT_FALSE(PlatformUseCard(PLATFORM_CARD_NONE)) << "a device is open";
    EXPECT_FALSE(PlatformVirtualReset());
    PlatformVirtualAdvance(0, 2);
    EXPECT_EQ(waveOutUnprepareHeader(player_.handle, queued, sizeof *queued), MMSYSERR_NOERROR);
    EXPECT_EQ(queued->dwFlags, DWORD{WHDR_DONE});
    EXPECT_EQ(player_.Write(queued), UINT{WAVERR_UNPREPARED});
    MMTIME time = {};
    EXPECT_EQ(waveOutGetPosition(player_.handle, &time, sizeof time - 1), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(waveOutGetPosition(player_.handle, nullptr, sizeof time), UINT{MMSYSERR_INVALPARAM});
}

// Every service that takes a device's handle, on one header.
std::vector<std::pair<const char*, MMRESULT>> CallAll(HWAVEOUT handle, WAVEHDR* header) {
    MMTIME time = {};
    UINT id = 0;
    return {{"waveOutPrepareHeader", waveOutPrepareHeader(handle, header, sizeof *header)},
            {"waveOutWrite", waveOutWrite(handle, header, sizeof *header)},
            {"waveOutPause", waveOutPause(handle)},
            {"waveOutGetPosition", waveOutGetPosition(handle, &time, sizeof time)},
            {"waveOutGetID", waveOutGetID(handle, &id)},
            {"waveOutRestart", waveOutRestart(handle)},
            {"waveOutReset", waveOutReset(handle)},
            {"waveOutUnprepareHeader", waveOutUnprepareHeader(handle, header, sizeof *header)},
            {"waveOutClose", waveOutClose(handle)}};
}

TEST_F(SoundQueue, KnowsABadHandle) {
    Bytes sound = Noise(8, 1);
    WAVEHDR header = {};
    header.lpData = reinterpret_cast<char*>(sound.data());
    header.dwBufferLength = 8;
    const HWAVEOUT was_open = player_.handle;
    for (const auto& [service, result] : CallAll(was_open, &header))
        EXPECT_EQ(result, MMSYSERR_NOERROR) << service;
    for (const HWAVEOUT bad : {was_open, HWAVEOUT{}, reinterpret_cast<HWAVEOUT>(&header),
                               reinterpret_cast<HWAVEOUT>(uintptr_t{0xFFFFFFFF})})
        for (const auto& [service, result] : CallAll(bad, &header))
            EXPECT_EQ(result, UINT{MMSYSERR_INVALHANDLE}) << service;
    EXPECT_EQ(header.dwFlags, DWORD{WHDR_DONE});
    ASSERT_EQ(player_.Open(Pcm(44100, 2, 16)), MMSYSERR_NOERROR);
    EXPECT_NE(player_.handle, was_open);
}

}  // namespace
}  // namespace tolvane::test
