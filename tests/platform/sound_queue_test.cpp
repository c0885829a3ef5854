// The queue of a wave-out device, on the virtual card with the clock in the test's hand: every byte, flag and
// message.
#include <atomic>
#include <string_view>

#include "platform/testing/faults.h"
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

TEST_F(SoundQueue, PauseHoldsAndRestartGoesOn) {
    const Bytes sound = Noise(400, 1);
    player_.Written(sound);
    PlatformVirtualAdvance(0, 25);
    for (int twice = 0; twice < 2; twice++)
        EXPECT_EQ(waveOutPause(player_.handle), MMSYSERR_NOERROR);
    PlatformVirtualState state;
    ASSERT_TRUE(PlatformVirtualGetState(0, &state));
    EXPECT_TRUE(state.open && state.paused && state.rate == 44100 && state.channels == 2 && state.bits == 16);
    EXPECT_EQ(PlatformVirtualAdvance(0, 100), 0u);
    player_.Written(Noise(40, 2));
    EXPECT_EQ(player_.Position(), 100u);
    EXPECT_EQ(waveOutRestart(player_.handle), MMSYSERR_NOERROR);
    EXPECT_EQ(PlatformVirtualAdvance(0, 1000), 85u);
    EXPECT_EQ(Played(), sound + Noise(40, 2));
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

TEST_F(SoundQueue, TakesAnyNumberOfHeaders) {
    Bytes expected;
    std::vector<Told> told;
    for (uint32_t i = 0; i < 200; i++) {
        told.push_back({MM_WOM_DONE, player_.Written(Noise(4 + 4 * (i % 7), i))});
        expected = expected + Noise(4 + 4 * (i % 7), i);
        if (i % 3 == 0) PlatformVirtualAdvance(0, 1);
    }
    PlatformVirtualAdvance(0, 10000);
    EXPECT_EQ(player_.Messages(), told);
    EXPECT_EQ(Played(), expected);
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

TEST_F(SoundQueue, FailsAServiceOnPurposeAndNothingElse) {
    Bytes sound = Noise(8, 1);
    WAVEHDR header = {};
    header.lpData = reinterpret_cast<char*>(sound.data());
    header.dwBufferLength = 8;
    const auto names = CallAll(nullptr, &header);
    for (const auto& [failing, unused] : names) {
        const std::string_view name = failing;
        // What follows these fails too.
        if (name == "waveOutPrepareHeader" || name == "waveOutReset" || name == "waveOutClose") continue;
        PlatformFailCall(failing, 1, MMSYSERR_HANDLEBUSY, 0);
        for (const auto& [service, result] : CallAll(player_.handle, &header))
            EXPECT_EQ(result, service == failing ? UINT{MMSYSERR_HANDLEBUSY} : UINT{MMSYSERR_NOERROR})
                << service;
        PlatformFailNone();
        if (header.dwFlags & WHDR_INQUEUE) ADD_FAILURE() << failing << " left the header queued";
        header.dwFlags = 0;
        ASSERT_EQ(player_.Open(Pcm(44100, 2, 16)), MMSYSERR_NOERROR);
    }
    PlatformFailCall("waveOutClose", 1, 0, 0);
    EXPECT_EQ(waveOutClose(player_.handle), UINT{MMSYSERR_NOMEM});
    PlatformFailNone();
    EXPECT_EQ(waveOutPause(player_.handle), MMSYSERR_NOERROR) << "a failed close leaves the device open";
}

// A thread that plays a ring of buffers as a library's callback thread does.
class Refiller {
  public:
    Refiller(size_t buffers, size_t bytes, uint32_t refills) : left_(refills) {
        thread_ = std::thread([=, this] { Run(buffers, bytes); });
        while (!ready_)
            std::this_thread::yield();
    }
    ~Refiller() { Join(); }
    Refiller(const Refiller&) = delete;
    Refiller& operator=(const Refiller&) = delete;
    void Join() {
        if (thread_.joinable()) thread_.join();
    }

  private:
    void Run(size_t buffers, size_t bytes) {
        WavePlayer player;
        EXPECT_EQ(player.Open(Pcm(8000, 1, 8)), MMSYSERR_NOERROR);
        uint32_t next = 0;
        for (size_t i = 0; i < buffers; i++)
            player.Written(Noise(bytes, next++));
        ready_ = true;
        MSG message;
        for (size_t queued = buffers; queued > 0 && GetMessageA(&message, nullptr, 0, 0);) {
            if (message.message != MM_WOM_DONE) continue;
            auto* const header = reinterpret_cast<WAVEHDR*>(message.lParam);
            const Bytes sound = Noise(bytes, next++);
            std::memcpy(header->lpData, sound.data(), bytes);
            if (next > left_ || player.Write(header) != MMSYSERR_NOERROR) queued--;
        }
    }

    const uint32_t left_;
    std::atomic<bool> ready_ = false;
    std::thread thread_;
};

Bytes NoiseOf(uint32_t buffers, size_t bytes) {
    Bytes all;
    for (uint32_t i = 0; i < buffers; i++)
        all = all + Noise(bytes, i);
    return all;
}

using SoundRefill = OnVirtualCard;

TEST_F(SoundRefill, TheClockWaitsForTheThreadThatRefills) {
    Refiller refiller(2, 10, 300);
    EXPECT_EQ(PlatformVirtualAdvance(0, 2995), 2995u);
    EXPECT_EQ(PlatformVirtualAdvance(0, 2995), 5u);
    refiller.Join();
    EXPECT_EQ(Played(), NoiseOf(300, 10));
}

class SoundFreeRunning : public OnVirtualCard {
  protected:
    SoundFreeRunning() : OnVirtualCard(PLATFORM_CLOCK_FREE_RUNNING) {}
};

TEST_F(SoundFreeRunning, PlaysAsFastAsBuffersCome) {
    const auto from = steady_clock::now();
    {
        Refiller refiller(3, 800, 300);
        refiller.Join();
    }
    EXPECT_EQ(Played(), NoiseOf(300, 800));
    EXPECT_LT(Milliseconds(steady_clock::now() - from), 15000) << "30 seconds of sound";
}

TEST_F(SoundFreeRunning, ManyThreadsOnOneDevice) {
    WavePlayer player;
    ASSERT_EQ(player.Open(Pcm(48000, 2, 16)), MMSYSERR_NOERROR);
    std::atomic<bool> stop = false;
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        while (!stop)
            waveOutReset(player.handle);
    });
    threads.emplace_back([&] {
        while (!stop)
            player.Position(), waveOutPause(player.handle), waveOutRestart(player.handle);
    });
    size_t written = 4, back = 0;
    for (size_t i = 0; i < written; i++)
        player.Written(Noise(400, 1));
    while (back < written)
        if (WAVEHDR* const header = player.NextDone(); !header) {
            ADD_FAILURE() << back << " of " << written << " came back";
            break;
        } else if (++back < 2000) {
            EXPECT_EQ(player.Write(header), MMSYSERR_NOERROR);
            written++;
        }
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
}  // namespace tolvane::test
