// A fixture for playbacks in real time.
#pragma once

#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "platform.h"
#include "support/host_window.h"
#include "support/watchdog.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {

// The parameter is the card: the machine's own (DEFAULT), or the virtual one at its real pace.
class AnyCard : public ::testing::TestWithParam<PlatformCard> {
  protected:
    void SetUp() override {
        AudioStop();
        if (!PlatformUseCard(GetParam())) GTEST_SKIP() << "cards cannot be chosen here: no virtual card";
        PlatformVirtualReset();
        if (GetNumberOfOutputDevices() == 0) GTEST_SKIP() << "there is no output device";
    }
    void TearDown() override {
        AudioStop();
        PlatformUseCard(PLATFORM_CARD_DEFAULT);
    }

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
