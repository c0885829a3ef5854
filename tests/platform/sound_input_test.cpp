// Wave-in devices on the virtual card: every byte, flag and message, and what an input hears.
#include <cmath>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <numbers>

#include "platform/wave_player.h"

namespace tolvane::test {
namespace {

constexpr DWORD kDone = WHDR_PREPARED | WHDR_DONE;
constexpr DWORD kQueued = WHDR_PREPARED | WHDR_INQUEUE;

Bytes Part(const Bytes& bytes, size_t from, size_t to) {
    return Bytes(bytes.begin() + static_cast<ptrdiff_t>(from), bytes.begin() + static_cast<ptrdiff_t>(to));
}

class SoundInput : public OnVirtualCard {
  protected:
    explicit SoundInput(PlatformClock clock = PLATFORM_CLOCK_MOVED) : OnVirtualCard(clock) {}
    void SetUp() override {
        OnVirtualCard::SetUp();
        ASSERT_EQ(recorder_.Open(Pcm(44100, 2, 16)), MMSYSERR_NOERROR);
        EXPECT_EQ(recorder_.Messages(), (std::vector<Told>{{MM_WIM_OPEN, nullptr}}));
    }
    void TearDown() override {
        waveInReset(recorder_.handle);
        recorder_.Messages();
        EXPECT_EQ(waveInClose(recorder_.handle), MMSYSERR_NOERROR);
        EXPECT_EQ(recorder_.Messages(), (std::vector<Told>{{MM_WIM_CLOSE, nullptr}}));
        recorder_.handle = nullptr;
        OnVirtualCard::TearDown();
    }

    static void Feed(const Bytes& sound) { EXPECT_TRUE(PlatformVirtualFeed(0, sound.data(), sound.size())); }
    std::vector<Told> Data(std::vector<WAVEHDR*> headers) {
        std::vector<Told> told;
        for (WAVEHDR* const header : headers)
            told.push_back({MM_WIM_DATA, header});
        return told;
    }

    WaveRecorder recorder_;
};

TEST_F(SoundInput, FillsWholeFramesInOrderAndHandsHeadersBack) {
    const Bytes sound = Noise(600, 1);
    Feed(sound);
    WAVEHDR* const headers[] = {recorder_.Added(400), recorder_.Added(0), recorder_.Added(43),
                                recorder_.Added(80)};
    uint32_t lengths[4] = {};
    EXPECT_EQ(PlatformVirtualInputQueued(0, lengths, 4), 4u);
    EXPECT_EQ(std::vector(lengths, lengths + 4), (std::vector<uint32_t>{400, 0, 40, 80}));
    EXPECT_EQ(headers[0]->dwFlags, kQueued);
    PlatformVirtualState state;
    ASSERT_TRUE(PlatformVirtualGetInputState(0, &state));
    EXPECT_TRUE(state.open && state.paused && state.rate == 44100 && state.channels == 2 && state.bits == 16);
    EXPECT_EQ(PlatformVirtualAdvanceInput(0, 99), 0u) << "not started";

    EXPECT_EQ(recorder_.Start(), MMSYSERR_NOERROR);
    EXPECT_EQ(PlatformVirtualAdvanceInput(0, 99), 99u);
    EXPECT_TRUE(recorder_.Messages().empty());
    EXPECT_EQ(recorder_.Position(), 396u);
    EXPECT_EQ(PlatformVirtualUnheard(0), 204u);
    EXPECT_EQ(PlatformVirtualAdvanceInput(0, 1), 1u);
    EXPECT_EQ(recorder_.Messages(), Data({headers[0], headers[1]}));
    EXPECT_EQ(headers[0]->dwFlags, kDone);
    EXPECT_EQ(headers[1]->dwFlags, kDone);
    EXPECT_EQ(recorder_.In(headers[0]), Part(sound, 0, 400));
    EXPECT_EQ(headers[1]->dwBytesRecorded, 0u);

    EXPECT_EQ(PlatformVirtualAdvanceInput(0, 1000), 30u) << "where there is no buffer nothing is recorded";
    EXPECT_EQ(recorder_.Messages(), Data({headers[2], headers[3]}));
    EXPECT_EQ(recorder_.In(headers[2]), Part(sound, 400, 440));
    EXPECT_EQ(static_cast<uint8_t>(headers[2]->lpData[40]), WaveRecorder::kUntouched);
    EXPECT_EQ(recorder_.In(headers[3]), Part(sound, 440, 520));
    EXPECT_EQ(recorder_.Position(TIME_BYTES), 520u);
    EXPECT_EQ(recorder_.Position(TIME_SAMPLES), 130u);
    EXPECT_EQ(recorder_.Position(TIME_MS), 2u) << "130 frames are 2.9 ms";
    EXPECT_EQ(PlatformVirtualUnheard(0), 80u);
}

TEST_F(SoundInput, StopHandsBackWhatIsPartlyFilledAndResetEverything) {
    const Bytes sound = Noise(1000, 2);
    Feed(sound);
    WAVEHDR* const headers[] = {recorder_.Added(400), recorder_.Added(400), recorder_.Added(400)};
    recorder_.Start();
    PlatformVirtualAdvanceInput(0, 110);
    recorder_.Messages();
    for (int twice = 0; twice < 2; twice++)
        EXPECT_EQ(waveInStop(recorder_.handle), MMSYSERR_NOERROR);
    EXPECT_EQ(recorder_.Messages(), Data({headers[1]}));
    EXPECT_EQ(headers[1]->dwFlags, kDone);
    EXPECT_EQ(recorder_.In(headers[1]), Part(sound, 400, 440));
    EXPECT_EQ(headers[2]->dwFlags, kQueued);
    EXPECT_EQ(PlatformVirtualAdvanceInput(0, 10), 0u);
    EXPECT_EQ(recorder_.Position(), 440u);

    headers[1]->dwFlags = WHDR_PREPARED;
    EXPECT_EQ(recorder_.Add(headers[1]), MMSYSERR_NOERROR);
    EXPECT_EQ(headers[1]->dwBytesRecorded, 0u);
    for (int twice = 0; twice < 2; twice++)
        EXPECT_EQ(recorder_.Start(), MMSYSERR_NOERROR);
    EXPECT_EQ(PlatformVirtualAdvanceInput(0, 25), 25u);
    EXPECT_EQ(waveInReset(recorder_.handle), MMSYSERR_NOERROR);
    EXPECT_EQ(recorder_.Messages(), Data({headers[2], headers[1]}));
    EXPECT_EQ(recorder_.In(headers[2]), Part(sound, 440, 540));
    EXPECT_EQ(headers[1]->dwBytesRecorded, 0u);
    EXPECT_EQ(headers[1]->dwFlags, kDone);
    EXPECT_EQ(recorder_.Position(), 0u);

    EXPECT_EQ(recorder_.Add(headers[0]), MMSYSERR_NOERROR);
    EXPECT_EQ(PlatformVirtualAdvanceInput(0, 10), 0u) << "a reset stops";
    recorder_.Start();
    EXPECT_EQ(PlatformVirtualAdvanceInput(0, 100), 100u);
    EXPECT_EQ(recorder_.In(headers[0]), Part(sound, 540, 940));
    EXPECT_EQ(recorder_.Position(), 400u);
}

TEST_F(SoundInput, RefusesWhatIsOutOfOrder) {
    WAVEHDR bare = {};
    char byte = 0;
    bare.lpData = &byte;
    bare.dwBufferLength = 1;
    EXPECT_EQ(recorder_.Add(&bare), UINT{WAVERR_UNPREPARED});
    EXPECT_EQ(waveInAddBuffer(recorder_.handle, &bare, sizeof bare - 1), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(waveInAddBuffer(recorder_.handle, nullptr, sizeof bare), UINT{MMSYSERR_INVALPARAM});
    bare.lpData = nullptr;
    EXPECT_EQ(waveInPrepareHeader(recorder_.handle, &bare, sizeof bare), UINT{MMSYSERR_INVALPARAM});

    WAVEHDR* const queued = recorder_.Added(8);
    EXPECT_EQ(recorder_.Add(queued), UINT{WAVERR_STILLPLAYING});
    EXPECT_EQ(waveInUnprepareHeader(recorder_.handle, queued, sizeof *queued), UINT{WAVERR_STILLPLAYING});
    EXPECT_EQ(waveInClose(recorder_.handle), UINT{WAVERR_STILLPLAYING});
    EXPECT_FALSE(PlatformUseCard(PLATFORM_CARD_NONE)) << "a device is open";
    EXPECT_FALSE(PlatformVirtualReset());
    EXPECT_FALSE(PlatformVirtualSetOutputs(nullptr, 0));
    HWAVEIN second = nullptr;
    const WAVEFORMATEX format = Pcm(44100, 2, 16);
    EXPECT_EQ(waveInOpen(&second, 0, &format, 0, 0, 0), UINT{MMSYSERR_ALLOCATED});
    recorder_.Start();
    PlatformVirtualAdvanceInput(0, 2);
    EXPECT_EQ(waveInUnprepareHeader(recorder_.handle, queued, sizeof *queued), MMSYSERR_NOERROR);
    EXPECT_EQ(queued->dwFlags, DWORD{WHDR_DONE});
    EXPECT_EQ(recorder_.Add(queued), UINT{WAVERR_UNPREPARED});
    MMTIME time = {};
    EXPECT_EQ(waveInGetPosition(recorder_.handle, &time, sizeof time - 1), UINT{MMSYSERR_INVALPARAM});
}

// Every service that takes a device's handle, on one header.
std::vector<std::pair<const char*, MMRESULT>> CallAll(HWAVEIN handle, WAVEHDR* header) {
    MMTIME time = {};
    return {{"waveInPrepareHeader", waveInPrepareHeader(handle, header, sizeof *header)},
            {"waveInAddBuffer", waveInAddBuffer(handle, header, sizeof *header)},
            {"waveInStart", waveInStart(handle)},
            {"waveInGetPosition", waveInGetPosition(handle, &time, sizeof time)},
            {"waveInStop", waveInStop(handle)},
            {"waveInReset", waveInReset(handle)},
            {"waveInUnprepareHeader", waveInUnprepareHeader(handle, header, sizeof *header)},
            {"waveInClose", waveInClose(handle)}};
}

TEST_F(SoundInput, KnowsABadHandle) {
    WAVEHDR* const header = recorder_.Prepared(8);
    WavePlayer player;
    ASSERT_EQ(player.Open(Pcm(44100, 2, 16)), MMSYSERR_NOERROR);
    for (const HWAVEIN bad :
         {HWAVEIN{}, reinterpret_cast<HWAVEIN>(header), reinterpret_cast<HWAVEIN>(player.handle)})
        for (const auto& [service, result] : CallAll(bad, header))
            EXPECT_EQ(result, UINT{MMSYSERR_INVALHANDLE}) << service;
    EXPECT_EQ(waveOutReset(reinterpret_cast<HWAVEOUT>(recorder_.handle)), UINT{MMSYSERR_INVALHANDLE});
}

TEST_F(SoundInput, AnUnpluggedDeviceHandsEverythingBackAndIsGone) {
    const Bytes sound = Noise(100, 5);
    Feed(sound);
    WAVEHDR* const headers[] = {recorder_.Added(80), recorder_.Added(80)};
    recorder_.Start();
    PlatformVirtualAdvanceInput(0, 10);
    recorder_.Messages();
    EXPECT_TRUE(PlatformVirtualUnplugInput(0));
    EXPECT_EQ(recorder_.Messages(), Data({headers[0], headers[1]}));
    EXPECT_EQ(recorder_.In(headers[0]), Part(sound, 0, 40));
    EXPECT_EQ(headers[1]->dwBytesRecorded, 0u);
    EXPECT_EQ(PlatformVirtualAdvanceInput(0, 10), 0u);
    for (const auto& [service, result] : CallAll(recorder_.handle, headers[0])) {
        const bool gives_back =
            service == std::string("waveInUnprepareHeader") || service == std::string("waveInClose");
        EXPECT_EQ(result, gives_back ? MMSYSERR_NOERROR : UINT{MMSYSERR_NODRIVER}) << service;
    }
    EXPECT_FALSE(PlatformVirtualUnplugInput(0)) << "nothing is open";
    ASSERT_EQ(recorder_.Open(Pcm(44100, 2, 16)), MMSYSERR_NOERROR);
    WAVEHDR* const again = recorder_.Added(60);
    recorder_.Start();
    EXPECT_EQ(PlatformVirtualAdvanceInput(0, 15), 15u);
    EXPECT_EQ(recorder_.In(again), Part(sound, 40, 100));
}

class SoundHeard : public SoundInput {
  protected:
    void SetUp() override {
        SoundInput::SetUp();
        path_ = std::filesystem::temp_directory_path() / ("heard-" + std::to_string(getpid()) + ".wav");
    }
    void TearDown() override {
        SoundInput::TearDown();
        std::filesystem::remove(path_);
    }

    // A wave file that says its data chunk is `claimed` bytes long.
    void WriteFile(const WAVEFORMATEX& format, const Bytes& sound, uint32_t claimed) {
        std::ofstream file(path_, std::ios::binary);
        const auto number = [&](uint32_t value) { file.write(reinterpret_cast<const char*>(&value), 4); };
        file << "RIFF", number(0xFFFFFFFF), file << "WAVEjunk", number(3), file << "odd" << '\0' << "fmt ";
        number(18), file.write(reinterpret_cast<const char*>(&format), 18), file << "data", number(claimed);
        file.write(reinterpret_cast<const char*>(sound.data()), static_cast<std::streamsize>(sound.size()));
    }
    bool HearFile() { return PlatformVirtualRecordFrom(0, path_.c_str()); }
    Bytes Record(uint32_t frames, uint32_t frame_bytes) {
        WAVEHDR* const header = recorder_.Added(frames * frame_bytes);
        recorder_.Start();
        EXPECT_EQ(PlatformVirtualAdvanceInput(0, frames), frames);
        return recorder_.In(header);
    }
    void Reopen(const WAVEFORMATEX& format) {
        waveInReset(recorder_.handle);
        ASSERT_EQ(waveInClose(recorder_.handle), MMSYSERR_NOERROR);
        ASSERT_EQ(recorder_.Open(format), MMSYSERR_NOERROR);
    }

    std::string path_;
};

TEST_F(SoundHeard, IsWhatWasFedThenAFileThenAToneThenSilence) {
    const Bytes fed = Noise(42, 1), rest = Noise(2, 2), sound = Noise(62, 3);
    WriteFile(Pcm(44100, 2, 16), sound, 4000);
    ASSERT_TRUE(HearFile());
    Feed(fed);
    EXPECT_EQ(Record(10, 4), Part(fed, 0, 40));
    Feed(rest);
    EXPECT_EQ(Record(6, 4), Part(fed, 40, 42) + rest + Part(sound, 0, 20));
    EXPECT_EQ(Record(20, 4), Part(sound, 20, 60) + Bytes(40, 0)) << "what the file has, not what it claims";
    EXPECT_EQ(Record(10, 4), Bytes(40, 0)) << "once";

    ASSERT_TRUE(HearFile());
    ASSERT_TRUE(PlatformVirtualRecordFrom(0, nullptr));
    ASSERT_TRUE(PlatformVirtualTone(0, 1000, 50));
    Bytes tone = Record(44100, 4);
    tone = tone + Record(100, 4);
    for (size_t i = 0; i < tone.size() / 2; i++) {
        int16_t sample = 0;
        std::memcpy(&sample, &tone[2 * i], 2);
        const double turns = 1000.0 * double(i / 2) / 44100;
        ASSERT_NEAR(sample, 16383.5 * std::sin(2 * std::numbers::pi * turns), 0.51) << i;
    }
    Reopen(Pcm(11025, 1, 8));
    ASSERT_TRUE(PlatformVirtualTone(0, 2205, 100));
    const Bytes small = Record(6, 1);
    const double step = 2 * std::numbers::pi / 5;
    for (int i = 0; i < 6; i++)
        EXPECT_NEAR(small[size_t(i)], 128 + 127 * std::sin(i * step), 0.51) << i;
    ASSERT_TRUE(PlatformVirtualTone(0, 0, 100));
    EXPECT_EQ(Record(3, 1), Bytes(3, 0x80));
    EXPECT_FALSE(PlatformVirtualTone(0, 440, 101));
    EXPECT_FALSE(PlatformVirtualTone(1, 440, 50));
    EXPECT_FALSE(PlatformVirtualFeed(0, nullptr, 1));
    EXPECT_FALSE(PlatformVirtualFeed(1, &fed, 1));
    EXPECT_EQ(PlatformVirtualUnheard(1), 0u);
}

TEST_F(SoundHeard, AFileIsHeardInItsOwnFormatOrNotAtAll) {
    WriteFile(Pcm(8000, 1, 8), Noise(10, 1), 10);
    EXPECT_FALSE(HearFile()) << "the device is open in another format";
    ASSERT_EQ(waveInClose(recorder_.handle), MMSYSERR_NOERROR);
    ASSERT_TRUE(HearFile());
    EXPECT_EQ(recorder_.Open(Pcm(44100, 2, 16)), UINT{WAVERR_BADFORMAT});
    ASSERT_EQ(recorder_.Open(Pcm(8000, 1, 8)), MMSYSERR_NOERROR);
    EXPECT_EQ(Record(10, 1), Noise(10, 1));
    Reopen(Pcm(44100, 2, 16));

    EXPECT_FALSE(PlatformVirtualRecordFrom(1, path_.c_str()));
    std::filesystem::resize_file(path_, 30);
    EXPECT_FALSE(HearFile()) << "it ends in its format";
    WAVEFORMATEX format = Pcm(44100, 2, 16);
    format.wFormatTag = 85;
    WriteFile(format, Noise(10, 1), 10);
    EXPECT_FALSE(HearFile());
    std::ofstream(path_) << "no wave file at all";
    EXPECT_FALSE(HearFile());
    std::filesystem::remove(path_);
    EXPECT_FALSE(HearFile());
}

class SoundInputRealTime : public SoundInput {
  protected:
    SoundInputRealTime() : SoundInput(PLATFORM_CLOCK_REAL_TIME) {}
};

// A busy machine may be late, but sound is never early.
constexpr double kLate = 60;
constexpr double kBytesAMillisecond = 176.4;

TEST_F(SoundInputRealTime, RecordsByTheWallClockAndRests) {
    const Bytes sound = Noise(5 * 5292 + 200000, 1);
    Feed(sound);
    for (int i = 0; i < 3; i++)
        recorder_.Added(5292);
    const std::clock_t worked = std::clock();
    const auto from = steady_clock::now();
    recorder_.Start();
    for (int i = 1; i <= 3; i++) {
        ASSERT_TRUE(recorder_.NextDone());
        const double passed = Milliseconds(steady_clock::now() - from);
        EXPECT_GE(passed, 30 * i);
        EXPECT_LE(passed, 30 * i + kLate);
    }
    std::this_thread::sleep_for(milliseconds(100));  // without a buffer
    EXPECT_LT(double(std::clock() - worked) / CLOCKS_PER_SEC, 0.05);
    EXPECT_EQ(recorder_.Position(), 3 * 5292u);

    const auto again = steady_clock::now();
    WAVEHDR* const last = recorder_.Added(200000);
    std::this_thread::sleep_for(milliseconds(30));
    const DWORD position = recorder_.Position();
    EXPECT_EQ(waveInStop(recorder_.handle), MMSYSERR_NOERROR);
    const double passed = Milliseconds(steady_clock::now() - again);
    ASSERT_EQ(recorder_.NextDone(), last);
    EXPECT_GE(position, 3 * 5292 + 30 * kBytesAMillisecond - 8);
    EXPECT_GE(last->dwBytesRecorded, position - 3 * 5292u);
    EXPECT_LE(last->dwBytesRecorded, passed * kBytesAMillisecond);
    EXPECT_EQ(recorder_.In(last), Part(sound, 3 * 5292, 3 * 5292 + last->dwBytesRecorded));
}

}  // namespace
}  // namespace tolvane::test
