// The queues of wave devices on the virtual card: every byte, flag and message, with the clock in the test's hand; and
// the card's real time.
#include <ctime>

#include "platform/wave_player.h"

namespace tolvane::test {
namespace {

constexpr DWORD kDone = WHDR_PREPARED | WHDR_DONE;
constexpr DWORD kQueued = WHDR_PREPARED | WHDR_INQUEUE;

const WAVEFORMATEX kFormat = Pcm(44100, 2, 16);

class SoundQueue : public OnVirtualCard {
  protected:
    void SetUp() override {
        OnVirtualCard::SetUp();
        ASSERT_EQ(player_.Open(kFormat), MMSYSERR_NOERROR);
        ASSERT_EQ(recorder_.Open(kFormat), MMSYSERR_NOERROR);
        EXPECT_EQ(player_.Messages(), (std::vector<Told>{{MM_WOM_OPEN, nullptr}}));
        EXPECT_EQ(recorder_.Messages(), (std::vector<Told>{{MM_WIM_OPEN, nullptr}}));
    }
    void TearDown() override {
        player_.Reset();
        recorder_.Reset();
        player_.Messages();
        recorder_.Messages();
        EXPECT_EQ(player_.Close(), MMSYSERR_NOERROR);
        EXPECT_EQ(recorder_.Close(), MMSYSERR_NOERROR);
        EXPECT_EQ(player_.Messages(), (std::vector<Told>{{MM_WOM_CLOSE, nullptr}}));
        EXPECT_EQ(recorder_.Messages(), (std::vector<Told>{{MM_WIM_CLOSE, nullptr}}));
        player_.handle = nullptr;
        recorder_.handle = nullptr;
        OnVirtualCard::TearDown();
    }

    // Headers of 100 frames, of none, of 10 and a part, and of 20 are dealt with in order, whole frames at a time.
    template <typename Device>
    static void ExpectHeadersInOrder(Device& device, WAVEHDR* const (&headers)[4],
                                     uint32_t (*advance)(uint32_t, uint32_t)) {
        const auto done = [](WAVEHDR* header) { return Told{Device::kDone, header}; };
        EXPECT_EQ(headers[0]->dwFlags, kQueued);
        EXPECT_EQ(advance(0, 99), 99u);
        EXPECT_TRUE(device.Messages().empty());
        EXPECT_EQ(advance(0, 1), 1u);
        EXPECT_EQ(headers[0]->dwFlags, kDone);
        EXPECT_EQ(headers[1]->dwFlags, kDone);
        EXPECT_EQ(device.Messages(), (std::vector<Told>{done(headers[0]), done(headers[1])}));
        EXPECT_EQ(advance(0, 1000), 30u) << "no further than the last header";
        EXPECT_EQ(device.Messages(), (std::vector<Told>{done(headers[2]), done(headers[3])}));
    }

    WavePlayer player_;
    WaveRecorder recorder_;
};

TEST_F(SoundQueue, PlaysWholeFramesInOrderAndHandsHeadersBack) {
    const Bytes first = Noise(400, 1), odd = Noise(43, 2), last = Noise(80, 3);
    WAVEHDR* const headers[] = {player_.Written(first), player_.Written({}), player_.Written(odd),
                                player_.Written(last)};
    uint32_t lengths[4] = {};
    EXPECT_EQ(PlatformVirtualQueued(0, lengths, 4), 4u);
    EXPECT_EQ(std::vector(lengths, lengths + 4), (std::vector<uint32_t>{400, 0, 40, 80}));
    ExpectHeadersInOrder(player_, headers, PlatformVirtualAdvance);
    EXPECT_EQ(Played(), first + Part(odd, 0, 40) + last);
    EXPECT_EQ(player_.Position(TIME_BYTES), 520u);
    EXPECT_EQ(player_.Position(TIME_SAMPLES), 130u);
    EXPECT_EQ(player_.Position(TIME_MS), 2u) << "130 frames are 2.9 ms";
    MMTIME other = {};
    other.wType = TIME_SMPTE;
    EXPECT_EQ(waveOutGetPosition(player_.handle, &other, sizeof other), MMSYSERR_NOERROR);
    EXPECT_EQ(other.wType, UINT{TIME_BYTES});
    WAVEHDR* const empty = player_.Written({});
    EXPECT_EQ(player_.Messages(), (std::vector<Told>{{MM_WOM_DONE, empty}})) << "at once";
}

TEST_F(SoundQueue, FillsWholeFramesInOrderAndHandsHeadersBack) {
    const Bytes sound = Noise(600, 1);
    EXPECT_TRUE(PlatformVirtualFeed(0, sound.data(), sound.size()));
    WAVEHDR* const headers[] = {recorder_.Added(400), recorder_.Added(0), recorder_.Added(43),
                                recorder_.Added(80)};
    EXPECT_EQ(PlatformVirtualAdvanceInput(0, 99), 0u) << "not started";
    EXPECT_EQ(recorder_.Start(), MMSYSERR_NOERROR);
    ExpectHeadersInOrder(recorder_, headers, PlatformVirtualAdvanceInput);
    EXPECT_EQ(recorder_.In(headers[0]), Part(sound, 0, 400));
    EXPECT_EQ(recorder_.In(headers[1]), Bytes());
    EXPECT_EQ(recorder_.In(headers[2]), Part(sound, 400, 440));
    EXPECT_EQ(static_cast<uint8_t>(headers[2]->lpData[40]), WaveRecorder::kUntouched);
    EXPECT_EQ(recorder_.In(headers[3]), Part(sound, 440, 520));
}

TEST_F(SoundQueue, AResetHandsEverythingBackAndBeginsAnew) {
    WAVEHDR* const headers[] = {player_.Written(Noise(400, 1)), player_.Written(Noise(400, 2)),
                                player_.Written(Noise(400, 3))};
    PlatformVirtualAdvance(0, 150);
    player_.Messages();
    waveOutPause(player_.handle);
    EXPECT_EQ(player_.Reset(), MMSYSERR_NOERROR);
    EXPECT_EQ(player_.Messages(), (std::vector<Told>{{MM_WOM_DONE, headers[1]}, {MM_WOM_DONE, headers[2]}}));
    EXPECT_EQ(player_.Position(), 0u);
    PlatformVirtualClearPlayed(0);
    EXPECT_EQ(player_.Queue(headers[2]), MMSYSERR_NOERROR);
    EXPECT_EQ(PlatformVirtualAdvance(0, 100), 100u) << "a reset ends the pause";
    EXPECT_EQ(Played(), Noise(400, 3));
    EXPECT_EQ(player_.Position(), 400u);

    WAVEHDR* const filled = recorder_.Added(400);
    WAVEHDR* const empty = recorder_.Added(400);
    recorder_.Start();
    PlatformVirtualAdvanceInput(0, 10);
    EXPECT_EQ(recorder_.Reset(), MMSYSERR_NOERROR);
    EXPECT_EQ(recorder_.Messages(), (std::vector<Told>{{MM_WIM_DATA, filled}, {MM_WIM_DATA, empty}}));
    EXPECT_EQ(filled->dwBytesRecorded, 40u) << "what is partly filled";
    EXPECT_EQ(empty->dwBytesRecorded, 0u);
    EXPECT_EQ(recorder_.Queue(filled), MMSYSERR_NOERROR);
    EXPECT_EQ(PlatformVirtualAdvanceInput(0, 10), 0u) << "a reset stops";
}

// What devices of both directions refuse, on one that is open and holds nothing.
template <typename Device>
void ExpectOrderIsKept(Device& device, WAVEHDR* prepared, uint32_t (*advance)(uint32_t, uint32_t)) {
    WAVEHDR bare = {};
    char byte = 0;
    bare.dwBufferLength = 1;
    EXPECT_EQ(device.Prepare(&bare), UINT{MMSYSERR_INVALPARAM}) << "there is nothing behind it";
    bare.lpData = &byte;
    EXPECT_EQ(device.Queue(&bare, sizeof bare - 1), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(device.Queue(&bare), UINT{WAVERR_UNPREPARED});

    EXPECT_EQ(device.Queue(prepared), MMSYSERR_NOERROR);
    EXPECT_EQ(device.Queue(prepared), UINT{WAVERR_STILLPLAYING});
    EXPECT_EQ(device.Unprepare(prepared), UINT{WAVERR_STILLPLAYING});
    EXPECT_EQ(device.Close(), UINT{WAVERR_STILLPLAYING});
    EXPECT_FALSE(PlatformUseCard(PLATFORM_CARD_NONE)) << "a device is open";
    EXPECT_FALSE(PlatformVirtualReset());
    EXPECT_FALSE(PlatformVirtualSetOutputs(nullptr, 0));
    Device second;
    EXPECT_EQ(second.Open(kFormat), UINT{MMSYSERR_ALLOCATED});
    EXPECT_EQ(advance(0, 1000), prepared->dwBufferLength / 4);
    EXPECT_EQ(device.Unprepare(prepared), MMSYSERR_NOERROR);
    EXPECT_EQ(prepared->dwFlags, DWORD{WHDR_DONE});
    EXPECT_EQ(device.Queue(prepared), UINT{WAVERR_UNPREPARED});

    const auto handle = device.handle;
    EXPECT_EQ(device.Close(), MMSYSERR_NOERROR);
    for (const auto bad :
         {handle, typename Device::Handle{}, reinterpret_cast<typename Device::Handle>(&bare)}) {
        device.handle = bad;
        EXPECT_EQ(device.Prepare(&bare), UINT{MMSYSERR_INVALHANDLE});
        EXPECT_EQ(device.Queue(&bare), UINT{MMSYSERR_INVALHANDLE});
        EXPECT_EQ(device.Unprepare(&bare), UINT{MMSYSERR_INVALHANDLE});
        EXPECT_EQ(device.Reset(), UINT{MMSYSERR_INVALHANDLE});
        EXPECT_EQ(device.Close(), UINT{MMSYSERR_INVALHANDLE});
    }
    ASSERT_EQ(device.Open(kFormat), MMSYSERR_NOERROR);
    EXPECT_NE(device.handle, handle) << "a handle is never given out again";
}

TEST_F(SoundQueue, RefusesWhatIsOutOfOrder) {
    ExpectOrderIsKept(player_, player_.Prepared(Noise(8, 1)), PlatformVirtualAdvance);
    recorder_.Start();
    EXPECT_EQ(waveOutReset(reinterpret_cast<HWAVEOUT>(recorder_.handle)), UINT{MMSYSERR_INVALHANDLE});
    ExpectOrderIsKept(recorder_, recorder_.Prepared(8), PlatformVirtualAdvanceInput);
}

TEST_F(SoundQueue, AnUnpluggedInputHandsEverythingBackAndIsGone) {
    WAVEHDR* const headers[] = {recorder_.Added(80), recorder_.Added(80)};
    recorder_.Start();
    PlatformVirtualAdvanceInput(0, 10);
    EXPECT_TRUE(PlatformVirtualUnplugInput(0));
    EXPECT_EQ(recorder_.Messages(),
              (std::vector<Told>{{MM_WIM_DATA, headers[0]}, {MM_WIM_DATA, headers[1]}}));
    EXPECT_EQ(headers[0]->dwBytesRecorded, 40u);
    EXPECT_EQ(headers[1]->dwBytesRecorded, 0u);
    for (const MMRESULT result :
         {recorder_.Prepare(headers[0]), recorder_.Queue(headers[0]), recorder_.Start(), recorder_.Reset()})
        EXPECT_EQ(result, UINT{MMSYSERR_NODRIVER});
    EXPECT_EQ(recorder_.Unprepare(headers[0]), MMSYSERR_NOERROR);
}

class SoundClock : public OnVirtualCard {
  protected:
    SoundClock() : OnVirtualCard(PLATFORM_CLOCK_REAL_TIME) {}
};

// A busy machine may be late, but sound is never early.
constexpr double kLate = 60;

TEST_F(SoundClock, IsTheWallClockForWhatPlays) {
    WavePlayer player;
    ASSERT_EQ(player.Open(Pcm(8000, 1, 8)), MMSYSERR_NOERROR);
    waveOutPause(player.handle);
    for (uint32_t i = 0; i < 3; i++)
        player.Written(Noise(240, i));
    std::this_thread::sleep_for(milliseconds(20));
    EXPECT_EQ(player.Position(), 0u) << "paused";
    const auto from = steady_clock::now();
    waveOutRestart(player.handle);
    DWORD before = 0;
    for (int i = 1; i <= 3; i++) {
        ASSERT_TRUE(player.NextDone());
        const double passed = Milliseconds(steady_clock::now() - from);
        EXPECT_GE(passed, 30 * i);
        EXPECT_LE(passed, 30 * i + kLate);
        const DWORD position = player.Position();
        EXPECT_GE(position, DWORD(240 * i));
        EXPECT_GE(position, before);
        EXPECT_LE(position, std::min(720.0, 8 * Milliseconds(steady_clock::now() - from)));
        before = position;
    }
    EXPECT_EQ(Played(), Noise(240, 0) + Noise(240, 1) + Noise(240, 2));
    player.Written(Noise(80, 3));
    ASSERT_TRUE(player.NextDone()) << "after a pause without sound";
    EXPECT_EQ(player.Position(), 800u);
}

TEST_F(SoundClock, IsTheWallClockForWhatIsRecordedAndRests) {
    WaveRecorder recorder;
    ASSERT_EQ(recorder.Open(kFormat), MMSYSERR_NOERROR);
    for (int i = 0; i < 3; i++)
        recorder.Added(5292);
    const std::clock_t worked = std::clock();
    const auto from = steady_clock::now();
    recorder.Start();
    for (int i = 1; i <= 3; i++) {
        ASSERT_TRUE(recorder.NextDone());
        const double passed = Milliseconds(steady_clock::now() - from);
        EXPECT_GE(passed, 30 * i);
        EXPECT_LE(passed, 30 * i + kLate);
    }
    std::this_thread::sleep_for(milliseconds(100));  // without a buffer
    EXPECT_LT(double(std::clock() - worked) / CLOCKS_PER_SEC, 0.05);
    const auto again = steady_clock::now();
    WAVEHDR* const last = recorder.Added(200000);
    std::this_thread::sleep_for(milliseconds(30));
    EXPECT_EQ(recorder.Reset(), MMSYSERR_NOERROR);
    const double passed = Milliseconds(steady_clock::now() - again);
    ASSERT_EQ(recorder.NextDone(), last);
    constexpr double kBytesAMillisecond = 176.4;
    EXPECT_GE(last->dwBytesRecorded, 30 * kBytesAMillisecond - 8);
    EXPECT_LE(last->dwBytesRecorded, passed * kBytesAMillisecond);
}

}  // namespace
}  // namespace tolvane::test
