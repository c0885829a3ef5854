// What the tests of the wave devices share: buffers with sound of their own, open devices, the messages they
// send.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstring>
#include <deque>
#include <optional>
#include <thread>
#include <vector>

#include <windows.h>
#include <mmsystem.h>
#include <platform.h>

#include <gtest/gtest.h>

namespace tolvane::test {

using Bytes = std::vector<uint8_t>;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

inline WAVEFORMATEX Pcm(uint32_t rate, uint16_t channels, uint16_t bits) {
    const auto frame = static_cast<WORD>(channels * bits / 8);
    return {WAVE_FORMAT_PCM, channels, rate, rate * frame, frame, bits, 0};
}

// Sound in which no stretch looks like another and no byte is silence.
inline Bytes Noise(size_t bytes, uint32_t seed) {
    Bytes noise(bytes);
    for (uint8_t& byte : noise) {
        seed = seed * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(1 + (seed >> 24) % 127);
    }
    return noise;
}

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline Bytes Part(const Bytes& bytes, size_t from, size_t to) {
    return Bytes(bytes.begin() + static_cast<ptrdiff_t>(from), bytes.begin() + static_cast<ptrdiff_t>(to));
}

inline double Milliseconds(steady_clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

struct Told {
    UINT message;
    WAVEHDR* header;
    bool operator==(const Told&) const = default;
};

// A device whose messages come to the thread that opened it; closed, whatever it does, at the end. Of either
// direction, with the services of that direction.
template <typename HandleType, UINT opened, auto open, auto prepare, auto unprepare, auto queue, auto reset,
          auto close>
class WaveDevice {
  public:
    using Handle = HandleType;
    static constexpr UINT kDone = opened + 2;

    WaveDevice() { PeekMessageA(&message_, nullptr, 0, 0, PM_NOREMOVE); }
    ~WaveDevice() {
        if (!handle) return;
        reset(handle);
        close(handle);
        Messages();
    }
    WaveDevice(const WaveDevice&) = delete;
    WaveDevice& operator=(const WaveDevice&) = delete;

    MMRESULT Open(const WAVEFORMATEX& format, UINT device = WAVE_MAPPER) {
        return open(&handle, device, &format, GetCurrentThreadId(), 0, CALLBACK_THREAD);
    }
    MMRESULT Prepare(WAVEHDR* header, UINT size = sizeof(WAVEHDR)) { return prepare(handle, header, size); }
    MMRESULT Unprepare(WAVEHDR* header) { return unprepare(handle, header, sizeof *header); }
    MMRESULT Queue(WAVEHDR* header, UINT size = sizeof(WAVEHDR)) { return queue(handle, header, size); }
    MMRESULT Reset() { return reset(handle); }
    MMRESULT Close() { return close(handle); }

    // What came since the last call.
    std::vector<Told> Messages() {
        std::vector<Told> told;
        while (Peek())
            told.push_back({message_.message, reinterpret_cast<WAVEHDR*>(message_.lParam)});
        return told;
    }
    // The next message, waited for; nothing when none came in time.
    std::optional<Told> Next(milliseconds patience = milliseconds(3000)) {
        const auto until = steady_clock::now() + patience;
        while (!Peek()) {
            const auto left = std::chrono::ceil<milliseconds>(until - steady_clock::now()).count();
            if (left <= 0) return std::nullopt;
            MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(left), QS_ALLINPUT);
        }
        return Told{message_.message, reinterpret_cast<WAVEHDR*>(message_.lParam)};
    }
    // The header handed back next, other messages left out.
    WAVEHDR* NextDone(milliseconds patience = milliseconds(3000)) {
        auto told = Next(patience);
        while (told && told->message != kDone)
            told = Next(patience);
        return told ? told->header : nullptr;
    }

    Handle handle = nullptr;

  protected:
    // A header over bytes that live as long as this.
    WAVEHDR* PreparedOver(Bytes bytes) {
        sounds_.push_back(std::move(bytes));
        headers_.push_back({});
        headers_.back().lpData = reinterpret_cast<char*>(sounds_.back().data());
        headers_.back().dwBufferLength = static_cast<DWORD>(sounds_.back().size());
        EXPECT_EQ(Prepare(&headers_.back()), MMSYSERR_NOERROR);
        return &headers_.back();
    }

  private:
    // Reads this device's next message, dropping those of a device that was open before.
    bool Peek() {
        while (PeekMessageA(&message_, nullptr, opened, kDone, PM_REMOVE))
            if (reinterpret_cast<Handle>(message_.wParam) == handle) return true;
        return false;
    }

    std::deque<WAVEHDR> headers_;
    std::deque<Bytes> sounds_;
    MSG message_;
};

class WavePlayer : public WaveDevice<HWAVEOUT, MM_WOM_OPEN, waveOutOpen, waveOutPrepareHeader,
                                     waveOutUnprepareHeader, waveOutWrite, waveOutReset, waveOutClose> {
  public:
    DWORD Position(UINT type = TIME_BYTES) {
        MMTIME time = {};
        time.wType = type;
        EXPECT_EQ(waveOutGetPosition(handle, &time, sizeof time), MMSYSERR_NOERROR);
        EXPECT_EQ(time.wType, type);
        return time.u.cb;
    }
    WAVEHDR* Prepared(Bytes bytes) { return PreparedOver(std::move(bytes)); }
    WAVEHDR* Written(Bytes bytes) {
        WAVEHDR* const header = Prepared(std::move(bytes));
        EXPECT_EQ(Queue(header), MMSYSERR_NOERROR);
        return header;
    }
};

// A buffer is made full of bytes that no test records.
class WaveRecorder : public WaveDevice<HWAVEIN, MM_WIM_OPEN, waveInOpen, waveInPrepareHeader,
                                       waveInUnprepareHeader, waveInAddBuffer, waveInReset, waveInClose> {
  public:
    static constexpr uint8_t kUntouched = 0xEE;

    WAVEHDR* Prepared(size_t bytes) { return PreparedOver(Bytes(bytes, kUntouched)); }
    WAVEHDR* Added(size_t bytes) {
        WAVEHDR* const header = Prepared(bytes);
        EXPECT_EQ(Queue(header), MMSYSERR_NOERROR);
        return header;
    }
    MMRESULT Start() { return waveInStart(handle); }

    static Bytes In(const WAVEHDR* header) {
        const auto* const data = reinterpret_cast<const uint8_t*>(header->lpData);
        return Bytes(data, data + std::min(header->dwBytesRecorded, header->dwBufferLength));
    }
};

inline Bytes Played(uint32_t output = 0) {
    Bytes bytes(PlatformVirtualPlayed(output, 0, nullptr, 0));
    PlatformVirtualPlayed(output, 0, bytes.data(), bytes.size());
    return bytes;
}

// The virtual card as it is set up at first, with the given clock.
class OnVirtualCard : public ::testing::Test {
  protected:
    explicit OnVirtualCard(PlatformClock clock = PLATFORM_CLOCK_MOVED) : clock_(clock) {}
    void SetUp() override {
        ASSERT_TRUE(PlatformUseCard(PLATFORM_CARD_VIRTUAL));
        ASSERT_TRUE(PlatformVirtualReset());
        ASSERT_TRUE(PlatformVirtualSetClock(clock_));
    }
    void TearDown() override {
        EXPECT_TRUE(PlatformVirtualReset()) << "a device was left open";
        EXPECT_TRUE(PlatformUseCard(PLATFORM_CARD_DEFAULT));
    }

  private:
    const PlatformClock clock_;
};

}  // namespace tolvane::test
