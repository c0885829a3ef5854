// A fixture for playbacks and recordings in real time.
#pragma once

#include <chrono>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "support/host_window.h"
#include "support/watchdog.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {

// Seconds that a slow machine or a far server may take for a start or an end.
inline constexpr double kStartAllowance = 2.5;

inline void Sleep(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

// The machine's own devices: natively those of the sound server, after which its suites are named.
class RealDevices : public ::testing::Test {
  protected:
    void SetUp() override {
        AudioStop();
        if (GetNumberOfOutputDevices() == 0) GTEST_SKIP() << "there is no output device";
    }
    void TearDown() override { AudioStop(); }

    std::string Write(const Format& format, double seconds) {
        const auto frames = static_cast<size_t>(format.rate * seconds);
        return folder_.Write("x.wav", WaveFile(format, Pattern(frames * format.Block())));
    }
    static uint16_t Play(const std::string& path, uint32_t start = 0, uint32_t end = 0, bool repeat = false) {
        return AudioPlayWaveEx(path.c_str(), start, TOLVANE_MILLISECONDS, 0, 1, end, repeat);
    }

    TempFolder folder_;
    HostWindow window_;
    Watchdog watchdog_;
};

// Seconds since it was made.
class Stopwatch {
  public:
    double Seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start_ = Clock::now();
};

}  // namespace tolvane::test
